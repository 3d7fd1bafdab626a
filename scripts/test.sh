#!/usr/bin/env bash
# Installs what is missing, then builds and runs every test twice: in a plain
# build and in an AddressSanitizer + UndefinedBehaviorSanitizer build. Fails on
# any failed, skipped or missing test.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-deps.sh

run_suite() {
  local dir=$1; shift
  echo "== building $dir"
  bash scripts/build.sh "$dir" "$@"
  echo "== testing $dir"
  local log="$dir/ctest.log"
  set +e
  ctest --test-dir "$dir" -j2 --output-on-failure --no-tests=error --timeout 300 2>&1 | tee "$log"
  local status=${PIPESTATUS[0]}
  set -e
  if [ "$status" -ne 0 ]; then
    echo "== $dir: tests failed"
    return 1
  fi
  if grep -qE 'tests did not run|\*\*\*Skipped|Not Run' "$log"; then
    echo "== $dir: some tests were skipped; every test must run"
    return 1
  fi
}

run_suite build
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
run_suite build-asan -DQUILLON_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug
echo "== all tests passed in both builds"
