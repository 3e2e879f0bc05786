#!/usr/bin/env bash
# Configures (once) and builds one configuration; QV_TARGETS (space-separated) builds
# only those targets.
#   tools/build.sh [build-dir] [extra cmake arguments...]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
dir=${1:-$root/build}
shift || true
if [[ ! -f "$dir/build.ninja" ]]; then
  cmake -S "$root" -B "$dir" -G Ninja "$@"
fi
targets=()
for target in ${QV_TARGETS:-}; do targets+=(--target "$target"); done
cmake --build "$dir" --parallel "$(nproc)" "${targets[@]}"
