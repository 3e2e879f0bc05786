#!/usr/bin/env bash
# Installs what is missing, builds the application (only what it needs), and starts it.
# Add your sample folders from the window ("Add Sample Folder", or drop them on it).
#   tools/run.sh [--demo]   --demo first writes and indexes a small generated library
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

bash tools/setup.sh
if [[ "${1:-}" == "--demo" ]]; then
  shift
  QV_TARGETS="quorvalinder quorvalinder-cli qv-genlib" bash tools/build.sh build
  demo="$HOME/Music/Quorvalinder Demo Library"
  bash tools/demo-library.sh "$demo"
  build/cli/quorvalinder-cli scan "$demo"
else
  QV_TARGETS=quorvalinder bash tools/build.sh build
fi
exec build/app/quorvalinder "$@"
