#!/bin/sh
# The kit for a device's tree: that its generated files are what the table, the build and runs of the
# library make them, that the device's tool compiles on a C library like the device's, and that the check
# finds what may go wrong. "check-kit.sh generate" writes the files.
set -eu
cd "$(dirname "$0")/.."
scripts/install-packages.sh m4 blueprint-tools checkpolicy selinux-utils clang musl-dev \
    libc++-14-dev g++ cmake ninja-build libcli11-dev nlohmann-json3-dev libgtest-dev
scripts/build.sh build
export PATH="$PATH:/usr/sbin" PYTHONDONTWRITEBYTECODE=1
/usr/bin/python3 scripts/kit/planted.py build "$@"
