#!/bin/sh
# Builds everything and runs every test. Arguments go to ctest; SENSORHUB_BUILD_OPTIONS, when set,
# holds further options for CMake.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-packages.sh" g++ cmake ninja-build libgtest-dev libcli11-dev \
    nlohmann-json3-dev libbenchmark-dev binutils python3 gnuplot-nox
# shellcheck disable=SC2086 # a list of options
"$root/scripts/build.sh" "$root/build" ${SENSORHUB_BUILD_OPTIONS:-}
ctest --test-dir "$root/build" --output-on-failure -j"$(nproc)" --timeout 120 "$@"
