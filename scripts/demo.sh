#!/bin/sh
# Builds the library and shows it at work on the simulated hub, as the proxy would use it.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/tell.sh"
build=$root/build
"$root/scripts/build.sh" -p libcli11-dev -p nlohmann-json3-dev -t subhalctl "$build"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

show() {
    tell "$@"
    "$build/tools/subhalctl/subhalctl" "$@"
}

echo
echo "Some of the sensors, and their events. 5 Hz are asked for; the chip's slowest rate is 6.25 Hz."
show --sim list 1 4 5 8 38
show --sim watch accelerometer@5 light --seconds 1
echo
echo "A wake-up sensor: its event comes under the proxy's wakelock (W)."
show --sim watch 8 --count 1
show --sim flush accelerometer
echo
echo "A direct channel beside normal events: a second process reads the stabilisation gyroscope"
echo "from shared memory at the fast rate of 400 Hz, while the proxy gets its events too."
show --sim --quiet direct vdis_gyro --rate fast --events 50 --seconds 0.5 --check
echo
echo "A byte message to the hub, and a dump from it: type 5, of which 2 are kept."
show --sim message --text "hello, hub"
show --sim hub dump 5 2
echo
echo "Why is a sensor silent? Here a fault is injected: its device may not be opened."
show --sim --fault open:1:EACCES doctor || true
echo
echo "Does a sensor keep the platform's rules?"
show --sim --still check accelerometer --seconds 0.5
echo
echo "What was seen can be kept, and played again, bit by bit."
show --sim record -o run.jsonl accelerometer@100 gyroscope@50 --seconds 1
show replay run.jsonl --fast

cat <<'NEXT'

What to try next; on a device, all of it without --sim:
  PATH=$PWD/build/tools/subhalctl:$PATH
  subhalctl --sim watch accelerometer@200 --seconds 5 --stats 1 --require 'lost=0,latency.p99<20ms'
  subhalctl --sim record -o run.jsonl 1@100 5 8 --seconds 5
  subhalctl plot run.jsonl -o run.html      with gnuplot-nox
  subhalctl --sim --trace list              each call that the library makes
  subhalctl --sim check                     all sensors, in half a minute
  subhalctl --help                          and VERB --help: the rest
NEXT
