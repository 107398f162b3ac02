#!/bin/bash
# Builds for other targets and runs the tests there: 32-bit and 64-bit ARM under user-mode
# emulation, and the host with clang's C++ library.
# Arguments: names of files in cmake/toolchains/; all three by default.
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -gt 0 ] || set -- clang-libcxx arm-linux-gnueabihf aarch64-linux-gnu
packages=(cmake ninja-build googletest binutils libcli11-dev nlohmann-json3-dev)
for target in "$@"; do
    case $target in
        clang-libcxx) packages+=(clang libc++-dev libc++abi-dev) ;;
        *) packages+=(qemu-user "g++-$target") ;;
    esac
done
scripts/install-packages.sh "${packages[@]}"

for target in "$@"; do
    began=$SECONDS
    build=$PWD/build-$target
    # Some optimisation, to have fortified and inlined calls.
    options=(-DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/$target.cmake"
             -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-O1 -DNDEBUG")
    # The packaged GoogleTest is built for the host and its usual library.
    googletest=$build/googletest
    mkdir -p "$googletest"
    {
        cmake -G Ninja -S /usr/src/googletest -B "$googletest" "${options[@]}" -DBUILD_GMOCK=OFF \
            -DCMAKE_INSTALL_PREFIX="$googletest/installed" && ninja -C "$googletest" install
    } >"$googletest.log" 2>&1 || { cat "$googletest.log"; exit 1; }
    # These are headers only, but /usr/include has the host's headers too.
    dpkg -L libcli11-dev nlohmann-json3-dev | grep -E '/(include|share/cmake)/.*\.' |
        tar -c -T - 2>/dev/null | tar -x -C "$googletest/installed" --strip-components=1

    scripts/build.sh "$build" "${options[@]}" -DSENSORHUB_WERROR=ON \
        -DCMAKE_PREFIX_PATH="$googletest/installed" \
        -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON
    [ -x "$build/tools/subhalctl/subhalctl" ] || { echo "$target: no subhalctl was built"; exit 1; }
    scripts/run-tests.sh "$build"
    echo "$target: in $((SECONDS - began)) s"
done
