#!/bin/sh
# Checks the kit for a device's tree: the generated files against the table, the build and runs of
# the library; that the tool compiles with a C library like the device's; and that the check finds
# planted mistakes. "check-kit.sh generate" writes the files.
set -eu
cd "$(dirname "$0")/.."
scripts/install-packages.sh m4 blueprint-tools checkpolicy selinux-utils clang musl-dev \
    libc++-14-dev g++ cmake ninja-build libcli11-dev nlohmann-json3-dev libgtest-dev
scripts/build.sh build
export PATH="$PATH:/usr/sbin" PYTHONDONTWRITEBYTECODE=1
/usr/bin/python3 scripts/kit/planted.py build "$@"
