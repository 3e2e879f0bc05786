#!/usr/bin/env bash
# Configures (once) and builds one configuration.
#   tools/build.sh [build-dir] [extra cmake arguments...]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
dir=${1:-$root/build}
shift || true
if [[ ! -f "$dir/build.ninja" ]]; then
  cmake -S "$root" -B "$dir" -G Ninja "$@"
fi
cmake --build "$dir" --parallel "$(nproc)"
