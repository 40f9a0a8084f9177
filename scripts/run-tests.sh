#!/usr/bin/env bash
# The test command: installs what is missing, then configures, builds and runs
# every test twice, once in a normal build and once under AddressSanitizer and
# UndefinedBehaviorSanitizer, and fuzzes each fuzz target briefly. The 32-bit
# build has a script of its own, scripts/run-tests-32.sh.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

jobs=$(nproc)

run_suite() {
  local name=$1; shift
  local dir=build/$name
  echo "=== $name: configure"
  cmake -S . -B "$dir" -G Ninja "$@" >/dev/null
  echo "=== $name: build"
  cmake --build "$dir" -j "$jobs"
  echo "=== $name: test"
  ctest --test-dir "$dir" --output-on-failure -j "$jobs" --timeout 600
}

run_suite normal -DCMAKE_BUILD_TYPE=RelWithDebInfo
# The benchmarks are built (and so kept compiling) only in the normal build.
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
run_suite sanitize -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_FLAGS_DEBUG="-g -O1" \
  -DCMAKE_CXX_FLAGS_DEBUG="-g -O1" -DKC_SANITIZE=ON -DKC_BUILD_BENCH=OFF
# Where clang is, the fuzz targets run as libFuzzer programs, a few seconds
# each (tests/fuzz/README.md); every build above replays their seeds.
echo "=== fuzz"
scripts/fuzz.sh
echo "=== all suites passed"
