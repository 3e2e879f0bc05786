#!/usr/bin/env bash
# Installs what is missing, builds everything, and starts Quorvalinder.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

bash tools/setup.sh
bash tools/build.sh build

if [[ -x build/app/quorvalinder ]]; then
  exec build/app/quorvalinder "$@"
fi

cat <<MSG

Built the core library and its tests in build/:
  build/core/libqvcore.a      the index, inference and search core
  build/tests/qvcore_tests    the core test suite (ctest --test-dir build)

The window does not exist yet; the core is used from the tests for now.
MSG
