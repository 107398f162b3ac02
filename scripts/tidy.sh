#!/bin/bash
# Runs clang-tidy on the product, the simulator and the tools, as a build directory compiles them:
# tidy.sh [BUILD DIRECTORY]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
scripts/build.sh -p clang-tidy -p libcli11-dev -p nlohmann-json3-dev -t platform_standin "$build"
log=$(mktemp)
trap 'rm -f "$log"' EXIT

# tidy CHECKS PATTERN...: with the configured checks, changed by CHECKS.
tidy() {
    local sources
    sources=$(git ls-files "${@:2}" | grep .)
    xargs -P"$(nproc)" -n4 clang-tidy -quiet -checks="$1" -p "$build" <<<"$sources" \
        >"$log" 2>&1 || {
        grep -v 'warnings generated' "$log"
        exit 1
    }
    echo "clang-tidy: $(wc -l <<<"$sources") sources fine"
}

tidy "" 'subhal/*.cpp' 'sensors/*.cpp' 'directchannel/*.cpp' 'hub/*.cpp' 'common/*.cpp' \
    'simulator/*.cpp'
# These checks take minutes on the templates of the tools' libraries.
tidy "-clang-analyzer-*,-performance-unnecessary-value-param" 'tools/*.cpp'
