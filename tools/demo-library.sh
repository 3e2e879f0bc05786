#!/usr/bin/env bash
# Writes a small demo sample library (about 300 files) with the library generator, so
# that a newcomer has something real-looking to index. Leaves an existing one alone.
#   tools/demo-library.sh [DIR]    (default: ~/Music/Quorvalinder Demo Library)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
dir=${1:-"$HOME/Music/Quorvalinder Demo Library"}

if [[ -d "$dir" && -n "$(ls -A "$dir")" ]]; then
  echo "demo-library: \"$dir\" already holds files; leaving it as it is."
  exit 0
fi

bash "$root/tools/setup.sh"
QV_TARGETS=qv-genlib bash "$root/tools/build.sh" "$root/build" >/dev/null

"$root/build/testkit/qv-genlib" --out "$dir" --files 300 --seed 1
echo "demo-library: add \"$dir\" to Quorvalinder as a library to see it indexed."
