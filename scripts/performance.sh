#!/bin/bash
# Measures the library on real paths and prints the tables of docs/performance.md.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
"$root/scripts/build.sh" -p libbenchmark-dev -p valgrind -p python3 "$build"
echo "Measured on $(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -n 1), $(nproc) cores,"
echo "$(uname -sr), $("$(sed -n 's/^CMAKE_CXX_COMPILER:.*=//p' "$build/CMakeCache.txt")" --version |
    head -n 1)."
printf '\n| sensor | instructions (budget) | system calls (budget) | |\n|---|---|---|---|\n'
"$root/scripts/check-instructions.sh" "$build"
results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT
for devices in 1 10 50; do
    "$build/bench/event_path_bench" --devices=$devices --benchmark_format=json \
        >"$results/events-$devices.json" 2>/dev/null
done
for bench in direct_channel start_up; do
    "$build/bench/${bench}_bench" --benchmark_format=json >"$results/$bench.json" 2>/dev/null
done
python3 "$root/scripts/performance-tables.py" "$results"
