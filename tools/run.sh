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

cli=build/cli/quorvalinder-cli
demo="$HOME/Music/Quorvalinder Demo Library"

cat <<MSG

Built in build/:
  build/cli/quorvalinder-cli   the index from a terminal (scan, libraries, inspect; --json)
  build/testkit/qv-genlib        a generator of realistic sample libraries
  build/tests/                 the test suites (ctest --test-dir build)

The window does not exist yet; the index works from the terminal.
MSG

if [[ -z "$("$cli" libraries --json 2>/dev/null | tr -d '[:space:][]')" ]]; then
  answer=n
  if [[ -t 0 ]]; then
    read -r -p "Your index is empty. Build and index a small demo library in \"$demo\"? [Y/n] " answer || true
    answer=${answer:-y}
  fi
  if [[ "$answer" == [Yy]* ]]; then
    bash tools/demo-library.sh "$demo"
    "$cli" scan "$demo"
  else
    echo "Index a folder of samples with: $cli scan DIR   (or make a demo one: bash tools/demo-library.sh)"
  fi
fi

cat <<MSG

Try:
  $cli libraries
  find "$demo" -name '*.wav' | head -3 | xargs -d '\n' $cli inspect
  find "$demo" -name '*.wav' | head -1 | xargs -d '\n' $cli peaks
  $cli --help
MSG
