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
cat "$root/scripts/tell.sh" - >"$work/script" <<'END'
hubplay &
until [ -e /sys/class/sensors/als_rear ]; do sleep 0.1; done
sleep 0.2
status=0
show() {
    set -- --log silent "$@"
    tell "$@"
    subhalctl "$@" || status=1
}
printf '\n$ uname -sr; ls /dev/iio:device* | wc -l\n%s\n%s\n' "$(uname -sr)" \
    "$(ls /dev/iio:device* | wc -l)"
show doctor
show list
show watch 1@5 4@2 --seconds 1
show --quiet direct 38 --rate fast --events 50 --seconds 0.2 --check
show message --text "hello, hub"
sleep 0.2
exit $status
END
"$root/scripts/kernel-guest.sh" "$work" "$work/script" "$build/simulator/kernel/hubplay" \
    "$build/tools/subhalctl/subhalctl" "$build/subhal/libsensorhub_subhal.so"
