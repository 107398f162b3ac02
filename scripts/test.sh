#!/bin/sh
# Builds everything and runs every test. Arguments go to ctest, SENSORHUB_BUILD_OPTIONS to CMake.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck disable=SC2086 # a list of options
"$root/scripts/build.sh" -p libgtest-dev -p libcli11-dev -p nlohmann-json3-dev -p libbenchmark-dev \
    -p binutils -p python3 "$root/build" ${SENSORHUB_BUILD_OPTIONS:-}
"$root/scripts/run-tests.sh" "$root/build" "$@"
