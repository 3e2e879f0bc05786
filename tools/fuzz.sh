#!/usr/bin/env bash
# Builds the libFuzzer targets with clang, AddressSanitizer and UBSan in build-fuzz, and
# runs each for a bounded time, starting from the seeds in tests/fuzz/corpus (inputs that
# once failed are kept there, so every run replays them first).
#   tools/fuzz.sh [seconds-per-target]      (default 60)
# Prints executions and findings per target; exits non-zero when a target found
# something (the input is kept under build-fuzz/findings/<target>/). Skips, with a
# message, when clang or its libFuzzer runtime is missing.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
seconds=${1:-60}
dir=$root/build-fuzz

if ! command -v clang >/dev/null || ! command -v clang++ >/dev/null; then
  echo "fuzz: clang is not installed; skipping the fuzz targets"
  exit 0
fi
probe=$(mktemp -d)
trap 'rm -rf "$probe"' EXIT
echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }' >"$probe/p.cpp"
if ! clang++ -fsanitize=fuzzer,address "$probe/p.cpp" -o "$probe/p" 2>/dev/null; then
  echo "fuzz: clang has no libFuzzer runtime (libclang-rt-dev); skipping the fuzz targets"
  exit 0
fi

if [[ ! -f "$dir/build.ninja" ]]; then
  CC=clang CXX=clang++ cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQV_FUZZ=ON -DQV_SANITIZE=ON -DQV_BUILD_TESTS=OFF -DQV_BUILD_BENCH=OFF >/dev/null
fi
cmake --build "$dir" --parallel "$(nproc)" --target qv_fuzz_analyze qv_fuzz_names qv_fuzz_search qv_fuzz_fts \
  qv_fuzz_peaks qv_fuzz_player

# The analyze, peaks and player targets write each input to a scratch file, the fts
# target its index.
export TMPDIR=$dir/tmp
mkdir -p "$TMPDIR"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

failed=0
run() {
  local name=$1 dict=$2
  local corpus=$dir/corpus/$name findings=$dir/findings/$name log=$dir/fuzz-$name.log
  mkdir -p "$corpus" "$findings"
  # The corpus grows in build-fuzz; the committed seeds are only read.
  set +e
  "$dir/tests/fuzz/qv_fuzz_$name" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
    -dict="$root/tests/fuzz/$dict" -artifact_prefix="$findings/" \
    "$corpus" "$root/tests/fuzz/corpus/$name" >"$log" 2>&1
  local status=$?
  set -e
  local runs found
  runs=$(grep -Eo 'stat::number_of_executed_units: *[0-9]+' "$log" | grep -Eo '[0-9]+$' || echo "?")
  found=$(find "$findings" -type f | wc -l)
  echo "fuzz: $name: $runs executions in ${seconds}s, $found findings (exit $status, log $log)"
  if ((status != 0 || found > 0)); then
    failed=1
    find "$findings" -type f -printf '  finding: %p\n'
    tail -n 30 "$log"
  fi
}
run analyze wave.dict
run names names.dict
run search search.dict
run fts fts.dict
run peaks wave.dict
run player wave.dict
exit $failed
