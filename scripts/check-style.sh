#!/bin/bash
# Checks every source's format, and that every header compiles alone with both compilers.
set -euo pipefail
cd "$(dirname "$0")/.."

# files PATTERN...: fails when there are none.
files() { git ls-files "$@" | grep .; }

files '*.h' '*.cpp' | xargs clang-format --dry-run -Werror

product=$(files 'subhal/*' 'sensors/*' 'directchannel/*' 'hub/*')
if xargs grep -n '<log/log.h>' <<<"$product"; then
    echo "the log comes from common/Log.h, which gives it the library's tag"
    exit 1
fi

includes=()
for folder in platform/*/include; do includes+=(-isystem "$folder"); done
check_header() {
    "$1" -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -x c++ \
        -I. "${@:3}" -include "$2" /dev/null
}
export -f check_header
headers=$(files 'platform/*.h' 'subhal/*.h' 'sensors/*.h' 'directchannel/*.h' 'hub/*.h' \
    'common/*.h' 'simulator/*.h' ':!simulator/kernel/module' 'tools/*.h' 'tests/*.h')
for compiler in g++ clang++; do
    xargs -P2 -I{} bash -c 'check_header "$@" || exit 255' _ "$compiler" {} "${includes[@]}" \
        <<<"$headers"
done
echo "format and $(wc -l <<<"$headers") headers fine"
