#!/bin/sh
# Configures and builds one build directory: build.sh DIRECTORY [CMAKE OPTIONS...]
# A directory that is configured already keeps its generator.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
directory=$1
shift
[ -f "$directory/CMakeCache.txt" ] || set -- -G Ninja "$@"
cmake -S "$root" -B "$directory" "$@" >"$directory.configure.log" 2>&1 || {
    cat "$directory.configure.log"
    exit 1
}
rm -f "$directory.configure.log"
cmake --build "$directory" --parallel "$(nproc)" -- --quiet
