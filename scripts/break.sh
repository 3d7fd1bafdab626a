#!/usr/bin/env bash
# Breaks the code on purpose and checks that the suite notices:
#   scripts/break.sh FAULT.patch [TEST_REGEX [BUILD_DIR]]
# Applies the patch, builds BUILD_DIR (default build) through build.sh, runs
# the tests whose names match TEST_REGEX (default: the patch's own
# "Caught by: REGEX" line), and takes the patch out again, also when
# interrupted. See tests/README.md. Exit status: 0 when a test failed (the fault is caught),
# 1 when every test passed (it slipped through), 2 when the patch does not
# apply, no test matches or the broken code does not build.
set -uo pipefail
cd "$(dirname "$0")/.."
if [ $# -lt 1 ] || [ ! -f "$1" ]; then
  echo "usage: $0 FAULT.patch [TEST_REGEX [BUILD_DIR]]" >&2
  exit 2
fi
patch=$1
regex=${2:-$(sed -n 's/^Caught by: //p' "$patch" | head -n 1)}
dir=${3:-build}
[ -n "$regex" ] || { echo "== $patch names no tests (Caught by: REGEX)" >&2; exit 2; }

git apply --check "$patch" || { echo "== $patch does not apply to this tree" >&2; exit 2; }
log=$(mktemp)
git apply "$patch"
trap 'git apply -R "$patch" && echo "== $patch taken out again"; rm -f "$log"' EXIT

bash scripts/build.sh "$dir" || { echo "== the broken code does not build" >&2; exit 2; }
ctest --test-dir "$dir" -R "$regex" -j2 --output-on-failure --no-tests=error 2>&1 | tee "$log"
status=${PIPESTATUS[0]}
if grep -q "No tests were found" "$log"; then
  echo "== no test matches '$regex'" >&2
  exit 2
fi
if [ "$status" -eq 0 ]; then
  echo "== SLIPPED THROUGH: every test matching '$regex' passed with $patch"
  exit 1
fi
echo "== caught: a test matching '$regex' failed with $patch"
