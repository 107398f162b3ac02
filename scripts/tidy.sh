#!/bin/sh
# clang-tidy over the sources that the build directory knows: tidy.sh [BUILD DIRECTORY]
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
"$root/scripts/install-packages.sh" clang-tidy
cd "$root"
git ls-files 'subhal/*.cpp' 'sensors/*.cpp' 'directchannel/*.cpp' 'hub/*.cpp' 'simulator/*.cpp' \
    'tools/*.cpp' | xargs -P"$(nproc)" -n4 clang-tidy -quiet -p "$build"
