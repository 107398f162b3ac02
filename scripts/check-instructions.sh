#!/bin/bash
# What an event costs the library, in counts, which unlike times are the same in each run: its own
# instructions from the return of the record's read to the call of the proxy, and the system calls of
# its poll thread. Each has a budget.
#
#     check-instructions.sh [BUILD DIRECTORY]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
"$root/scripts/build.sh" -p valgrind -p strace -p libbenchmark-dev -t event_instructions "$build"

out=$(mktemp)
trap 'rm -f "$out"' EXIT
failed=0
# sensor, handle, bytes of a record, budgets
while read -r name handle size most mostCalls; do
    run=("$build/bench/event_instructions" "$handle" "$size" 1000)
    # Not counted: the wakelock's making, which is the proxy's.
    total=$(valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$out" \
        --toggle-collect='*::createScopedWakelock*' "${run[@]}" 2>&1 |
        sed -n 's/.*Collected : //p')
    count=$((${total:?callgrind counted nothing} / 1000))
    strace -f -Y -qq -o "$out" "${run[@]}"
    calls=$(($(grep -c '<sensorhub_poll> [a-z_0-9]*(' "$out") / 1000))
    verdict=ok
    if [ "$count" -gt "$most" ] || [ "$count" -eq 0 ] || [ "$calls" -gt "$mostCalls" ] ||
        [ "$calls" -eq 0 ]; then
        verdict="OUT OF BUDGET"
        failed=1
    fi
    printf '| %s | %d (%d) | %d (%d) | %s |\n' \
        "$name" "$count" "$most" "$calls" "$mostCalls" "$verdict"
done <<'TABLE'
accelerometer 1 14 205 2
light 5 12 200 2
vdis_gyro 38 18 205 5
auto_brightness 37 18 360 3
back_tap 71 33 225 2
TABLE
exit $failed
