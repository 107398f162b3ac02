#!/bin/bash
# Installs a build directory into a prefix, from which another project links the simulator, and as a
# Debian package into a clean root, and uses what is installed. Runs lintian on the package.
# check-package.sh [BUILD DIRECTORY]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
scripts/install-packages.sh cmake ninja-build dpkg-dev file lintian mmdebstrap

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# quietly NAME COMMAND...: prints the output only if the command fails.
quietly() {
    local name=$1
    shift
    if ! "$@" >"$work/log" 2>&1; then
        cat "$work/log"
        echo "$name: failed"
        exit 1
    fi
    echo "$name: fine"
}

# Not grep -q, which would end the program by closing the pipe.
sees_sensors() { "$@" --sim list | grep accelerometer; }
finds_all() { ldd "$@" >"$work/found" && ! grep "not found" "$work/found"; }

# Moved before its use: nothing in a prefix may contain the path of its installation.
cmake --install "$build" --prefix "$work/made" >/dev/null
mv "$work/made" "$work/prefix"
quietly "subhalctl from a prefix" sees_sensors "$work/prefix/bin/subhalctl"
quietly "libraries find each other" finds_all "$work"/prefix/lib/*/*.so
completes() {
    local COMP_WORDS=("$work/prefix/bin/subhalctl" --sim watch accelerometer_u)
    local COMP_CWORD=3 COMPREPLY
    # shellcheck disable=SC1091 # installed a moment ago
    . "$work/prefix/share/bash-completion/completions/subhalctl"
    _subhalctl "${COMP_WORDS[0]}"
    [[ ${COMPREPLY[0]} == accelerometer_uncalibrated ]]
}
quietly "completion" completes
if grep -rlF -e "$PWD" -e "$work" "$work/prefix"; then
    echo "these files contain a path of the build"
    exit 1
fi
client() {
    cmake -G Ninja -S examples/client -B "$work/client" -DCMAKE_PREFIX_PATH="$work/prefix" &&
        cmake --build "$work/client" &&
        ctest --test-dir "$work/client" --no-tests=error --output-on-failure
}
quietly "another project's test on the installed simulator" client

quietly "package" cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work"
package=$(echo "$work"/*.deb)
depends() { dpkg-deb -f "$package" Depends | grep -E 'libc6 .*libstdc'; }
quietly "its dependencies" depends
quietly "lintian" lintian --allow-root --fail-on error --tag-display-limit 0 "$package"

# This root has the package, its dependencies and Debian's essential packages.
clean_root() {
    # shellcheck disable=SC2016 # the hook's own argument
    mmdebstrap --variant=essential --include="$package" \
        --hook-dir=/usr/share/mmdebstrap/hooks/file-mirror-automount \
        --customize-hook='chroot "$1" subhalctl --sim list | grep accelerometer' \
        "$(. /etc/os-release && echo "$VERSION_CODENAME")" /dev/null
}
quietly "installed into a clean root, subhalctl --sim list" clean_root
