#!/bin/bash
# Runs a build directory's tests: run-tests.sh DIRECTORY [CTEST OPTIONS...]
# One line that moves on a terminal; otherwise failures and the closing lines. No test is a failure.
set -euo pipefail
directory=$1
shift
cd "$directory"
set -- --no-tests=error --output-on-failure -j"$(nproc)" "$@"
if [ -t 1 ]; then
    exec ctest --progress "$@"
fi
ctest "$@" 2>&1 | grep -vE '^ +Start +[0-9]+: |^ *[0-9]+/[0-9]+ Test +#.* Passed '
