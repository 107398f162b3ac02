#!/bin/bash
# Measures the library on real paths: the counts of docs/performance.md, and times with their floors.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
"$root/scripts/build.sh" -p libbenchmark-dev -p valgrind "$build"
echo "Measured on $(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -n 1), $(nproc) cores,"
echo "$(uname -sr), $("$(sed -n 's/^CMAKE_CXX_COMPILER:.*=//p' "$build/CMakeCache.txt")" --version |
    head -n 1)."
printf '\n| sensor | instructions (budget) | system calls (budget) | |\n|---|---|---|---|\n'
"$root/scripts/check-instructions.sh" "$build"
for devices in 1 10 50; do
    printf '\nEvents, with %s devices:\n' "$devices"
    "$build/bench/event_path_bench" --devices=$devices --benchmark_counters_tabular=true 2>/dev/null
done
printf '\nDirect channels; start-up:\n'
for bench in direct_channel start_up; do
    "$build/bench/${bench}_bench" --benchmark_counters_tabular=true 2>/dev/null
done
