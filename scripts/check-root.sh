#!/bin/bash
# Follows the README as a new user in a temporary root directory with a minimal Debian; needs root:
#     check-root.sh [--all] [BUILD DIRECTORY]
# A user without sudo gets a message, one with sudo runs the demo on a terminal of 80 columns, and
# the build directory's package is installed. With --all, root and a user with sudo build everything
# from the sources, and run the tests, the kernel test and the package.
set -euo pipefail
cd "$(dirname "$0")/.."
[ "$(id -u)" -eq 0 ] || exec sudo "$PWD/scripts/check-root.sh" "$@"
all=""
[ "${1:-}" != --all ] || { all=yes && shift; }
build=${1:-build}
scripts/install-packages.sh mmdebstrap git

work=$(mktemp -d)
chmod 755 "$work" # apt reads there as another user
root=$work/root
child=""
# The child's mounts and processes are in its own namespaces, and end with it.
clean_up() {
    [ -z "$child" ] || { kill -KILL "$child" && wait "$child"; } 2>/dev/null || true
    rm -rf "$work" 2>/dev/null || { sleep 2 && rm -rf "$work"; }
}
trap clean_up EXIT
trap 'exit 130' INT TERM HUP

# attended COMMAND...: waits in a way that a signal interrupts at once.
attended() {
    local status=0
    "$@" &
    child=$!
    wait "$child" || status=$?
    child=""
    return "$status"
}

# inside USER COMMAND: runs it in the root, in the copy of the sources.
inside() {
    # shellcheck disable=SC2016 # the inner shell's
    attended unshare --mount --pid --fork --kill-child bash -euc '
        mount -t proc proc "$1/proc"
        mount --rbind /dev "$1/dev"
        exec chroot "$1" su -l "$2" -c "cd /sensorhub && $3"' _ "$root" "$1" "$2"
}

# succeeds USER COMMAND: prints the output only if the command fails.
succeeds() {
    local began=$SECONDS
    inside "$@" >"$work/log" 2>&1 || {
        cat "$work/log"
        echo "$1, $2: failed"
        exit 1
    }
    echo "$1, $2: in $((SECONDS - began)) s"
}

# With the sources and proxies of the machine's apt, but no passwords.
make_base() {
    local sources=()
    mapfile -t sources < <(find /etc/apt/sources.list /etc/apt/sources.list.d \
        \( -name '*.list' -o -name '*.sources' \) -size +0 2>/dev/null)
    apt-config dump | grep -E '^Acquire::(https?|Check)[^ ]* "' >"$work/apt.conf" || true
    # Its temporary directories are in $work, so that they go with it when mmdebstrap is killed.
    TMPDIR=$work attended mmdebstrap --quiet --variant=minbase --aptopt="$work/apt.conf" \
        "$(. /etc/os-release && echo "$VERSION_CODENAME")" "$work/base.tar" "${sources[@]}"
}

# make_root USER: a fresh root, with a copy of the sources that USER owns.
make_root() {
    rm -rf "$root"
    mkdir "$root"
    tar -xpf "$work/base.tar" -C "$root"
    cp /etc/resolv.conf "$root/etc"
    cp -r /etc/apt/trusted.gpg.d /etc/apt/keyrings "$root/etc/apt" 2>/dev/null || true
    cp "$work/apt.conf" "$root/etc/apt/apt.conf.d/99machine"
    [ "$1" = root ] || chroot "$root" useradd -m -s /bin/bash "$1"
    mkdir "$root/sensorhub"
    git ls-files -z | tar -c --null -T - | tar -x -C "$root/sensorhub"
    chroot "$root" chown -R "$1:" /sensorhub
}

# The demo as it looks on a small terminal.
show_demo() {
    succeeds "$1" "script -qec 'stty cols 80 rows 24; scripts/demo.sh' /dev/null"
    tr '\r' '\n' <"$work/log" | sed 's/\x1b\[[0-9;]*[mK]//g' >"$work/screen"
    if ! grep -q '^What to try next' "$work/screen" ||
        LC_ALL=C.UTF-8 grep -nE '.{81}' "$work/screen"; then
        echo "the demo does not fit 80 columns, or did not end"
        exit 1
    fi
}

use_package() {
    succeeds root "apt-get install -y --no-install-recommends $2"
    succeeds "$1" "subhalctl --sim list | grep accelerometer"
}

cd "$(git rev-parse --show-toplevel)"
make_base
make_root newcomer
if inside newcomer scripts/demo.sh >"$work/log" 2>&1; then
    echo "demo.sh without sudo: succeeded"
    exit 1
fi
grep -q '^apt-get update && apt-get install .*g++' "$work/log" || { cat "$work/log"; exit 1; }
echo "newcomer without sudo: is shown what root has to run"
succeeds root "apt-get update && apt-get install -y --no-install-recommends sudo"
echo "newcomer ALL=(ALL) NOPASSWD: ALL" >"$root/etc/sudoers.d/newcomer"
if [ -z "$all" ]; then
    show_demo newcomer
    succeeds newcomer "cmake -S . -B other"
    cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/package" >/dev/null
    cp "$work"/package/*.deb "$root/package.deb"
    use_package newcomer /package.deb
    exit 0
fi

# Plain CMake first, then the scripts in the same build directory.
succeeds newcomer "sudo apt-get install -y --no-install-recommends g++ cmake make"
succeeds newcomer "cmake -S . -B build && cmake --build build -j\$(nproc)"
everything() {
    show_demo "$1"
    succeeds "$1" scripts/kernel-test.sh
    succeeds "$1" scripts/test.sh
    succeeds root "apt-get install -y --no-install-recommends dpkg-dev file"
    succeeds "$1" "cmake -S . -B other && cmake --build other -j\$(nproc) --target package"
    use_package "$1" "./other/*.deb"
    succeeds "$1" "cmake -S examples/client -B client && cmake --build client &&
        ctest --test-dir client --no-tests=error"
}
everything newcomer
make_root root
everything root
