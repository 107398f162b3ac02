#!/bin/bash
# Builds the library and demonstrates it on the simulated hub. Every line fits 80 columns, every
# command's output 24 lines.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build
"$root/scripts/build.sh" -p libcli11-dev -p nlohmann-json3-dev -t subhalctl "$build"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
PATH=$build/tools/subhalctl:$PATH

say() { printf '%s\n' "" "$@"; }
show() {
    say "\$ $1"
    eval "$1"
}

say "Some of the sensors, and their events. 5 Hz are asked for, the chip gives 6.25."
show "subhalctl --sim list 1 4 5 8 38"
show "subhalctl --sim watch accelerometer@5 light --seconds 1"
say "A wake-up sensor: its event comes under the proxy's wakelock (W)."
show "subhalctl --sim watch 8 --count 1"
show "subhalctl --sim flush accelerometer"
say "A direct channel beside normal events: a second process reads the gyroscope" \
    "for stabilisation from shared memory at 400 Hz, the proxy gets its events too."
show "subhalctl --sim --quiet direct vdis_gyro --rate fast --seconds 1 | fold -sw 80"
say "A byte message to the hub, and a dump from it: type 5, of which 2 are kept."
show "subhalctl --sim message --text 'hello, hub'"
show "subhalctl --sim hub dump 5 2 | fold -sw 80"
say "Why is a sensor silent? Here a fault is injected: its device may not be opened."
if show "subhalctl --sim --fault open:1:EACCES doctor | fold -sw 80"; then
    echo "The doctor did not see it."
    exit 1
fi
say "Does a sensor keep the platform's rules?"
show "subhalctl --sim --still check light --seconds 0.5 | grep -v lib | cut -c-80"
say "What was seen can be kept, and played again, bit by bit."
show "subhalctl --sim record -o run.jsonl accelerometer@100 gyroscope@50 --seconds 1"
show "subhalctl replay run.jsonl --fast | fold -sw 80"

cat <<'NEXT'

What to try next; on a device, all of it without --sim:
  PATH=$PWD/build/tools/subhalctl:$PATH
  subhalctl --sim watch 1@200 --seconds 5 --require 'lost=0,latency.p99<20ms'
  subhalctl --sim record -o run.jsonl 1@100 5 8 --seconds 5
  subhalctl plot run.jsonl -o run.html      a page for the browser
  subhalctl --sim --trace list              each call that the library makes
  subhalctl --sim check                     all sensors, in half a minute
  subhalctl --help                          and VERB --help: the rest
NEXT
