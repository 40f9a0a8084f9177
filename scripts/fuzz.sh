#!/usr/bin/env bash
# Builds the fuzz targets of tests/fuzz with clang as libFuzzer programs
# (AddressSanitizer and UndefinedBehaviorSanitizer on everything) in
# build/fuzz, then fuzzes. See tests/fuzz/README.md.
#
#   scripts/fuzz.sh                 # each target for KC_FUZZ_SECONDS (10 s) as a test
#   scripts/fuzz.sh run TARGET N    # one target for N executions, on one core
set -euo pipefail
cd "$(dirname "$0")/.."

if ! command -v clang++ >/dev/null; then
  echo "fuzz: no clang++; skipped"
  exit 0
fi
major=$(clang++ -dumpversion | cut -d. -f1)
if ! ls /usr/lib/llvm-"$major"/lib/clang/*/lib/linux/libclang_rt.fuzzer-x86_64.a >/dev/null 2>&1; then
  apt-get update -qq
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "libclang-rt-$major-dev"
fi

dir=build/fuzz
cmake -S . -B "$dir" -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_FLAGS_DEBUG="-g -O1" -DCMAKE_CXX_FLAGS_DEBUG="-g -O1" \
  -DKC_SANITIZE=ON -DKC_FUZZ=ON -DKC_BUILD_TESTS=OFF -DKC_BUILD_BENCH=OFF \
  -DKC_COMPONENTS="sdk;platform/CoreFoundation;platform/ApplicationServices;platform/Security;host;plugin" \
  -DKC_FUZZ_SECONDS="${KC_FUZZ_SECONDS:-10}" >/dev/null
cmake --build "$dir" -j "$(nproc)"

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
if [ "${1:-}" = run ]; then
  target=$2
  runs=$3
  found=$dir/tests/fuzz/found/$target
  mkdir -p "$found"
  exec "$dir/bin/fuzz_$target" -runs="$runs" -timeout=20 -rss_limit_mb=2048 \
    -print_final_stats=1 "$found" "tests/fuzz/corpus/$target"
fi
ctest --test-dir "$dir" --output-on-failure
