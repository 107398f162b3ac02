#!/bin/sh
# Builds everything and runs every test. Arguments go to ctest.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-packages.sh" g++ cmake ninja-build libgtest-dev libcli11-dev \
    libbenchmark-dev binutils
"$root/scripts/build.sh" "$root/build"
ctest --test-dir "$root/build" --output-on-failure -j"$(nproc)" --timeout 120 "$@"
