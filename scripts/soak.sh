#!/bin/sh
# Repeats the same work and fails if descriptors, mappings or memory grow: soak.sh [DIVISOR]
# Takes some minutes, with a divisor of 100 some seconds.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck disable=SC2086 # a list of options
"$root/scripts/build.sh" -p libgtest-dev "$root/build" ${SENSORHUB_BUILD_OPTIONS:-}
exec "$root/build/tests/soak" "$@"
