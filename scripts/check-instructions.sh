#!/bin/bash
# The library's own instructions for an event, from the return of the record's read to the call of
# the proxy, against a budget: a count does not move with the machine's mood, as a time does.
#
#     check-instructions.sh [BUILD DIRECTORY]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
"$root/scripts/build.sh" -p valgrind -p libbenchmark-dev -t event_instructions "$build"

failed=0
# sensor, handle, bytes of a record, budget
while read -r name handle size budget; do
    out=$(mktemp)
    total=$(valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$out" \
        "$build/bench/event_instructions" "$handle" "$size" 1000 2>&1 |
        sed -n 's/.*Collected : //p')
    rm -f "$out"
    count=$((${total:?callgrind counted nothing} / 1000))
    verdict=ok
    if [ "$count" -gt "$budget" ] || [ "$count" -eq 0 ]; then
        verdict="OUT OF BUDGET"
        failed=1
    fi
    printf '%-14s %4d instructions an event, budget %4d: %s\n' "$name" "$count" "$budget" "$verdict"
done <<'TABLE'
accelerometer 1 14 230
light 5 12 225
vdis_gyro 38 18 230
auto_brightness 37 18 385
back_tap 71 33 295
TABLE
exit $failed
