#!/bin/sh
# The kit for a device's tree against the sources, and that the check finds what may go wrong with it.
set -eu
cd "$(dirname "$0")/.."
scripts/install-packages.sh git m4 blueprint-tools checkpolicy selinux-utils python3-setools \
    g++ cmake ninja-build libcli11-dev nlohmann-json3-dev libgtest-dev
export PATH="$PATH:/usr/sbin" PYTHONDONTWRITEBYTECODE=1
/usr/bin/python3 scripts/kit/planted.py
