#!/bin/bash
# Runs the tests that need real IIO devices, in a guest with the distribution's stock kernel:
# kernel-test.sh [BUILD_DIRECTORY [GOOGLETEST OPTIONS...]]
# kernel-guest.sh says what is fetched, and where it is kept.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
shift || true
"$root/scripts/build.sh" -p libgtest-dev -t kernel_test "$build"

work=$build/kernel
mkdir -p "$work"
{
    printf 'exec kernel_test --gtest_color=no'
    [ $# -eq 0 ] || printf " '%s'" "$@"
    echo
} >"$work/test-script"
"$root/scripts/kernel-guest.sh" "$work" "$work/test-script" \
    "$build/tests/kernel/kernel_test" "$build/subhal/libsensorhub_subhal.so" |
    grep --line-buffered -vE '^\[( RUN  |----------)' && status=0 || status=${PIPESTATUS[0]}
passed=$(sed -n 's/^\[  PASSED  \] \([0-9]*\) tests*.*/\1/p' "$work/output.log" | tail -1)
if [ "$status" -eq 0 ] && [ "${passed:-0}" -eq 0 ]; then
    echo "kernel-test: no test has run" >&2
    exit 1
fi
exit "$status"
