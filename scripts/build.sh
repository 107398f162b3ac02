#!/bin/bash
# Configures and builds a build directory:
#     build.sh [-t TARGET]... [-p PACKAGE]... DIRECTORY [CMAKE OPTIONS...]
# Installs the compiler, CMake and the named packages. A configured directory keeps its generator.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
targets=()
packages=(g++ cmake make ninja-build)
while getopts t:p: option; do
    case $option in
        t) targets+=(--target "$OPTARG") ;;
        p) packages+=("$OPTARG") ;;
        *) exit 2 ;;
    esac
done
directory=${!OPTIND}
shift "$OPTIND"
"$root/scripts/install-packages.sh" "${packages[@]}"
[ -f "$directory/CMakeCache.txt" ] || set -- -G Ninja "$@"

# Shows the steps in one changing line, on a terminal only; passes other lines through.
progress() {
    local line over=""
    if [ -t 1 ]; then over=$'\r\e[K'; else echo "Building ${directory##*/}..."; fi
    while IFS= read -r line; do
        case $line in
            "[0/"* | "ninja: no work to do." | "Consolidate compiler"* | "-- "*) ;;
            "["*"/"*"] "* | "["*"%] "*)
                [ -z "$over" ] || printf %s "${over}Building ${line%%]*}]"
                ;;
            *) printf '%s\n' "$over$line" ;;
        esac
    done
    printf %s "$over"
}
log=$(cmake -S "$root" -B "$directory" "$@" 2>&1) || {
    echo "$log"
    exit 1
}
cmake --build "$directory" "${targets[@]}" --parallel "$(nproc)" 2>&1 | progress
