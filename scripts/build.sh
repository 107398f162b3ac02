#!/bin/sh
# Configures and builds one build directory: build.sh DIRECTORY [CMAKE OPTIONS...]
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
directory=$1
shift
cmake -S "$root" -B "$directory" -G Ninja "$@" >"$directory.configure.log" 2>&1 || {
    cat "$directory.configure.log"
    exit 1
}
rm -f "$directory.configure.log"
cmake --build "$directory" -- --quiet
