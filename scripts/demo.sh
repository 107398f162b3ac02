#!/bin/sh
# Builds the library and shows it at work on the simulated hub, as the proxy would use it.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-packages.sh" g++ cmake ninja-build libcli11-dev nlohmann-json3-dev
echo "Building..."
"$root/scripts/build.sh" "$root/build"
subhalctl="$root/build/tools/subhalctl/subhalctl --sim"

show() {
    printf '\n$ subhalctl --sim %s\n' "$*"
    $subhalctl "$@"
}

show list
show watch 1@5 4@2 2@2 6@1 --seconds 10
echo "A wake-up sensor: each event comes under the proxy's wakelock."
show watch 8 --count 2 --seconds 10
show flush 1
echo "A direct channel beside normal events: a second process reads the stabilisation gyroscope"
echo "from shared memory, while the proxy gets its events too."
show direct 38 --rate fast --events 50 --seconds 0.1 --check
echo "A byte message to the hub, and a dump from it."
show message --text "hello, hub"
show hub dump 5 2
