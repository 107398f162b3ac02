#!/bin/bash
# Shows the library at work on real IIO devices: subhalctl without --sim, in a guest with the
# distribution's stock kernel, whose sensor hub is a module that plays the simulator's signals.
# kernel-demo.sh [BUILD_DIRECTORY]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
"$root/scripts/build.sh" -p libcli11-dev -p nlohmann-json3-dev -t hubplay -t subhalctl "$build"

work=$build/kernel-demo
mkdir -p "$work"
cat >"$work/script" <<'END'
hubplay &
until [ -e /sys/class/sensors/als_rear ]; do sleep 0.1; done
sleep 0.2
status=0
show() {
    printf '\n$ %s\n' "$1"
    eval "$1" || status=1
}
show "uname -sr; ls /dev/iio:device* | wc -l"
alias subhalctl="subhalctl --log silent"
show "subhalctl doctor"
show "subhalctl list"
show "subhalctl watch 1@5 4@2 --seconds 1"
show "subhalctl --quiet direct 38 --rate fast --events 50 --seconds 0.2 --check"
show "subhalctl message --text 'hello, hub'"
sleep 0.2
exit $status
END
"$root/scripts/kernel-guest.sh" "$work" "$work/script" "$build/simulator/kernel/hubplay" \
    "$build/tools/subhalctl/subhalctl" "$build/subhal/libsensorhub_subhal.so"
