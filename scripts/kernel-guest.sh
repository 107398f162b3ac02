#!/bin/bash
# Boots the distribution's stock kernel in QEMU with the simulated hub's module, and runs one shell
# script there: kernel-guest.sh WORK_DIRECTORY SCRIPT PROGRAM...
#
# The programs and their libraries are in the guest's /bin and /lib. Prints what the script prints
# and exits with its status, with 3 if the kernel logged a warning, with 4 if the guest did not
# finish. The kernel's log is WORK_DIRECTORY/kernel.log.
#
# Kernel and headers are fetched once and kept in SENSORHUB_KERNEL_CACHE. Only installing packages
# needs root. The guest is emulated, the same with and without KVM.
set -euo pipefail
umask 022 # another user reads files in the guest, too
root=$(cd "$(dirname "$0")/.." && pwd)
cache=${SENSORHUB_KERNEL_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/sensorhub-kernel}
limit=${SENSORHUB_KERNEL_SECONDS:-200}

fail() {
    echo "kernel-guest: $*" >&2
    exit 4
}

# Prints the newest kernel's version; nothing if apt has no lists.
newest() {
    apt-cache depends linux-image-amd64 2>/dev/null |
        sed -n 's/.*Depends: linux-image-\(.*\)/\1/p'
}

# download DIRECTORY VERSION
download() {
    local version=$2
    echo "Fetching kernel $version..."
    (cd "$1" && apt-get download -qq "linux-image-$version" "linux-headers-$version" \
        "linux-headers-${version%-amd64}-common" "linux-kbuild-${version%%.[0-9]-*}" \
        2>download.log) ||
        { cat "$1/download.log" && return 1; }
}

# unpack DIRECTORY VERSION: the kernel, two of its modules and its headers from the packages there.
unpack() {
    local unpacked=$1 version=$2 package image offset
    dpkg --fsys-tarfile "$unpacked"/linux-image-*.deb | tar -xC "$unpacked" --strip-components=1 \
        --wildcards './boot/vmlinuz-*' '*/industrialio.ko' '*/kfifo_buf.ko'
    for package in "$unpacked"/linux-headers-*.deb "$unpacked"/linux-kbuild-*.deb; do
        dpkg -x "$package" "$unpacked"
    done
    rm "$unpacked"/*.deb
    # The plain image inside starts faster than one that the guest has to decompress.
    image=$(echo "$unpacked"/boot/vmlinuz-*)
    offset=$(LC_ALL=C grep -abom1 -P '\xFD7zXZ\x00' "$image" | cut -d: -f1 | LC_ALL=C awk 'NR == 1')
    [ -n "$offset" ] || fail "$image is not compressed by xz"
    # xz stops at the end of the stream, which leaves tail a broken pipe.
    xz -dc --single-stream < <(tail -c "+$((offset + 1))" "$image") >"$unpacked/vmlinux"
    rm -r "${unpacked:?}/boot"
    find "$unpacked/lib" -name '*.ko' -exec mv {} "$unpacked" \;
    # The headers' makefile has the path of an installed package.
    sed -i "s|/usr/src/|$cache/$version/usr/src/|" \
        "$unpacked/usr/src/linux-headers-$version/Makefile"
    chmod 755 "$unpacked"
    mv -T "$unpacked" "$cache/$version" || [ -f "$cache/$version/vmlinux" ] # another run was faster
}

# Sets $version and puts its kernel into the cache.
provide_kernel() {
    version=$(newest)
    if [ -z "$version" ]; then # no package lists: use the newest one in the cache
        version=$(find "$cache" -path '*/vmlinux' -printf '%P\n' 2>/dev/null | cut -d/ -f1 |
            sort -V | tail -1)
    fi
    [ -z "$version" ] || [ ! -f "$cache/$version/vmlinux" ] || return 0
    local unpacked
    mkdir -p "$cache"
    unpacked=$(mktemp -d "$cache/unpacking.XXXXXX")
    # shellcheck disable=SC2064 # the directory of now
    trap "rm -rf '$unpacked'" EXIT
    if [ -z "$version" ] || ! download "$unpacked" "$version"; then
        # The package lists may be older than the archive.
        local sudo=()
        [ "$(id -u)" -eq 0 ] || sudo=(sudo)
        "${sudo[@]}" apt-get update -qq
        version=$(newest)
        [ -n "$version" ] || fail "apt knows no linux-image-amd64"
        [ ! -f "$cache/$version/vmlinux" ] || return 0
        download "$unpacked" "$version" || fail "the kernel's packages cannot be downloaded"
    fi
    unpack "$unpacked" "$version"
}

# build_module WORK HEADERS: compiles a copy, to leave the source folder clean.
build_module() {
    local module=$1/module headers=$2
    mkdir -p "$module"
    cp -u "$root"/simulator/kernel/module/* "$module"
    make -s -C "$headers" M="$module" W=1 modules >"$module/make.log" 2>&1 || {
        cat "$module/make.log"
        fail "the module does not compile"
    }
    ! grep -E 'warning:|error:' "$module/make.log" || fail "the compiler warns"
    strip -g -o "$1/sensor_hub.ko" "$module/sensor_hub.ko"
}

# pack WORK KERNEL SCRIPT PROGRAM...: the initial file system.
pack() {
    local work=$1 kernel=$2 script=$3 tree=$1/tree
    shift 3
    rm -rf "$tree"
    mkdir -p "$tree"/{bin,lib,lib64,dev,proc,sys,tmp,etc,data/vendor/sensorhub}
    cp "$(command -v busybox)" "$tree/bin/busybox"
    echo root:x:0:0::/:/bin/sh >"$tree/etc/passwd"
    local program folder
    for program in "$@"; do
        folder=bin
        [[ $program != *.so ]] || folder=lib
        strip -o "$tree/$folder/${program##*/}" "$program"
        ldd "$program" | grep -o '/[^ ]*' | xargs cp -Lt "$tree/lib"
    done
    find "$tree/lib" -name 'ld-linux-*' -exec mv -t "$tree/lib64" {} + # where programs expect it
    cp "$kernel/industrialio.ko" "$kernel/kfifo_buf.ko" "$work/sensor_hub.ko" "$tree/lib"
    cp "$script" "$tree/script"
    cp "$root/scripts/kernel-guest-init.sh" "$tree/init"
    chmod 755 "$tree/init"
    (cd "$tree" && find . -print0 | cpio --null -o -H newc --quiet) >"$work/initramfs"
}

# boot WORK KERNEL: prints the script's output; returns its exit status, or 4.
boot() {
    local work=$1 kernel=$2 code=0 status
    timeout "$limit" qemu-system-x86_64 -machine pc -accel tcg,thread=multi -smp 2 -m 512 \
        -nodefaults -no-reboot -display none -device isa-debug-exit,iobase=0xf4,iosize=0x04 \
        -serial file:"$work/kernel.log" -serial stdio </dev/null 2>"$work/qemu.log" \
        -kernel "$kernel/vmlinux" -initrd "$work/initramfs" \
        -append "console=ttyS0 loglevel=5 panic=-1 oops=panic mitigations=off" |
        tee "$work/output.log" || code=${PIPESTATUS[0]}
    # QEMU exits with twice the status plus one, after a panic with 0. Other causes may give the
    # same: require the marker too.
    status=$(sed -n 's/^guest: exit status \([0-9]*\)$/\1/p' "$work/output.log" | tail -1)
    if [ -z "$status" ] || [ "$code" -ne $((status * 2 + 1)) ]; then
        cat "$work/qemu.log" "$work/kernel.log"
        echo "kernel-guest: the guest did not finish (QEMU's status $code)" >&2
        return 4
    fi
    return "$status"
}

[ $# -ge 2 ] || fail "usage: kernel-guest.sh WORK_DIRECTORY SCRIPT PROGRAM..."
[ "$(dpkg --print-architecture)" = amd64 ] || fail "this needs an amd64 host"
mkdir -p "$1"
work=$(cd "$1" && pwd)
script=$2
shift 2
"$root/scripts/install-packages.sh" qemu-system-x86 busybox-static cpio xz-utils make gcc-12 \
    perl libelf1 binutils
provide_kernel
build_module "$work" "$cache/$version/usr/src/linux-headers-$version"
pack "$work" "$cache/$version" "$script" "$@"
status=0
boot "$work" "$cache/$version" || status=$?
grep -q 'Linux version' "$work/kernel.log" || fail "there is no log of the kernel"
expected=$(grep -c 'expected warning begins' "$work/kernel.log" || true)
if [ "$expected" -ne "$(grep -c 'expected warning ends' "$work/kernel.log" || true)" ] ||
    sed '/expected warning begins/,/expected warning ends/d' "$work/kernel.log" |
    grep -E 'BUG|WARNING|Oops|Call Trace'; then
    echo "kernel-guest: the kernel logged a warning" >&2
    exit 3
fi
exit "$status"
