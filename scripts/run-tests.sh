#!/bin/bash
# Runs a build directory's tests: run-tests.sh DIRECTORY [CTEST OPTIONS...]
# Shows one changing line on a terminal, otherwise failures and the summary. No tests is a failure.
set -euo pipefail
directory=$1
shift
cd "$directory"
set -- --no-tests=error --output-on-failure -j"$(nproc)" "$@"
[ ! -t 1 ] || exec ctest --progress "$@"
ctest "$@" 2>&1 | grep -vE '^ +Start +[0-9]+: |^ *[0-9]+/[0-9]+ Test +#.* Passed '
