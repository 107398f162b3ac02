#!/bin/bash
# clang-tidy over the product, the simulator and the tools, as a build directory compiles them:
# tidy.sh [BUILD DIRECTORY]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
scripts/build.sh -p clang-tidy -p libcli11-dev -p nlohmann-json3-dev -t platform_standin "$build"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
mapfile -t sources < <(git ls-files 'subhal/*.cpp' 'sensors/*.cpp' 'directchannel/*.cpp' 'hub/*.cpp' \
    'common/*.cpp' 'simulator/*.cpp' 'tools/*.cpp')
[ ${#sources[@]} -gt 0 ] || { echo "tidy: no sources here"; exit 1; }
printf '%s\n' "${sources[@]}" | xargs -P"$(nproc)" -n4 clang-tidy -quiet -p "$build" >"$log" 2>&1 || {
    grep -v 'warnings generated' "$log"
    exit 1
}
echo "clang-tidy: ${#sources[@]} sources fine"
