#!/usr/bin/env bash
# Runs the platform and plug-in test programs under valgrind's memcheck, one
# process per program with all of its tests: an invalid read or write, a
# jump on uninitialised memory, a bad free or a definitely lost block is an
# error, and any error fails the run. Figures: scripts/README.md.
#
#   scripts/valgrind.sh                 # every platform and plug-in program
#   scripts/valgrind.sh security_       # the programs whose names match
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
if ! command -v valgrind >/dev/null; then
  apt-get update -qq
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq valgrind
fi

# The normal build of the test command, brought up to date.
dir=build/normal
pattern=${1:-}
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$dir" -j "$(nproc)"

# The test programs of tests/platform and tests/plugin: the targets built
# there that are GoogleTest programs.
programs=()
for target in "$dir"/tests/platform/*/CMakeFiles/*.dir "$dir"/tests/plugin/CMakeFiles/*.dir; do
  name=$(basename "$target" .dir)
  exe=$dir/bin/$name
  [ -x "$exe" ] && [[ $name == *$pattern* ]] || continue
  # (grep reads all of nm's output: stopping early would fail the pipe.)
  if nm -C "$exe" 2>/dev/null | grep -c 'testing::InitGoogleTest' >/dev/null; then programs+=("$exe"); fi
done

mkdir -p "$dir/memcheck"
failed=0
total_start=$(date +%s)
printf '%-48s %8s %7s %s\n' program seconds tests errors
for exe in "${programs[@]}"; do
  name=$(basename "$exe")
  log=$dir/memcheck/$name.log
  start=$(date +%s)
  # Children (keychain writers, compilers) run natively; the program's own
  # process is what is checked.
  if valgrind --tool=memcheck --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite \
      --show-leak-kinds=definite --track-origins=yes --log-file="$log" \
      "$exe" --gtest_brief=1 >"$dir/memcheck/$name.out" 2>&1; then
    status=0
  else
    status=$?
  fi
  tests=$(grep -Eo '[0-9]+ tests? from [0-9]+ test suites? ran' "$dir/memcheck/$name.out" | grep -Eo '^[0-9]+' || echo '?')
  errors=$(grep -Eo 'ERROR SUMMARY: [0-9]+' "$log" | tail -1 | grep -Eo '[0-9]+$' || echo '?')
  printf '%-48s %8s %7s %s\n' "$name" "$(( $(date +%s) - start ))" "$tests" "$errors"
  if [ "$status" -ne 0 ]; then
    failed=1
    echo "  exit $status; see $log and $dir/memcheck/$name.out"
  fi
done
echo "total: ${#programs[@]} programs in $(( $(date +%s) - total_start )) s"
if [ "$failed" -ne 0 ]; then
  echo "memcheck found errors or a test failed"
  exit 1
fi
echo "memcheck: no errors"
