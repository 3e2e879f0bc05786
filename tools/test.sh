#!/usr/bin/env bash
# Installs what is missing, builds, and runs the whole test suite: every test in the
# normal build, the core and window tests again under AddressSanitizer and UBSan, the threaded tests
# under ThreadSanitizer, then a short run of each fuzz target, and the preview player
# through a real audio sink (a private PulseAudio null sink), and the real window under
# Xvfb driven by key presses, and the screenshots of every screen (tools/screenshots.sh,
# into build/screenshots). This is what CI runs.
#   tools/test.sh            everything
#   tools/test.sh --quick    the normal build and its tests only, for day-to-day work
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
start=$SECONDS
quick=0
[[ "${1:-}" == "--quick" ]] && quick=1

bash tools/setup.sh

echo "== build (RelWithDebInfo)"
bash tools/build.sh build

# Real audio output on a headless machine: a private PulseAudio daemon with a null sink,
# stopped by its pid however this script ends. The test fails rather than skips here.
echo "== preview through a real audio sink (PulseAudio null sink)"
(
  source tools/lib/session.sh
  qv_start_pulse
  QV_REQUIRE_AUDIO=1 ctest --test-dir build -L audio --output-on-failure
)

echo "== the window end to end (Xvfb, PulseAudio null sink, real key presses)"
bash tests/e2e/window_e2e.sh build

echo "== a desktop install into a private prefix"
bash tests/e2e/install_check.sh build

if ((!quick)); then
  echo "== build (address + undefined sanitizers)"
  # Only what runs there: the core suite and the window's (threads, players' lifetimes).
  QV_TARGETS="qvcore_tests qvapp_tests" bash tools/build.sh build-asan -DCMAKE_BUILD_TYPE=Debug -DQV_SANITIZE=ON \
    -DQV_BUILD_BENCH=OFF

  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

  echo "== core and window tests under sanitizers"
  ctest --test-dir build-asan -L 'core|app' --output-on-failure --parallel "$(nproc)"

  echo "== threads under ThreadSanitizer (one test executable only)"
  if [[ ! -f build-tsan/build.ninja ]]; then
    cmake -S . -B build-tsan -G Ninja -DQV_SANITIZE_THREAD=ON -DQV_BUILD_BENCH=OFF
  fi
  cmake --build build-tsan --parallel "$(nproc)" --target qvconcurrency_tests
  TSAN_OPTIONS=halt_on_error=1 build-tsan/tests/qvconcurrency_tests

  echo "== fuzz targets, a few seconds each"
  bash tools/fuzz.sh 10
fi

echo "== screenshots of every screen (Xvfb, real input; fails on a crash or a blank picture)"
bash tools/screenshots.sh build/screenshots

echo "== all tests ($((SECONDS - start)) s so far)"
# Last, so that CTest's summary closes the output.
ctest --test-dir build --output-on-failure --parallel "$(nproc)"
