#!/bin/bash
# Checks the stand-ins' names, values, layouts and virtual tables, as the compiler has them,
# against an expectation, the distribution's packaged headers and the interface compiler's headers.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-packages.sh clang hidl-gen python3-clang-14 android-liblog-dev android-libutils-dev \
    android-libcutils-dev android-platform-system-core-headers

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

includes=()
for folder in platform/*/include; do includes+=(-isystem "$folder"); done
clang++ -std=c++17 "${includes[@]}" -S -emit-llvm -o /dev/null -Xclang -fdump-vtable-layouts \
    tests/platform/shape.cpp >"$work/dump"

interfaces=(android.hidl.base@1.0 android.hardware.sensors@1.0 android.hardware.sensors@2.0)
roots=(-p platform/hidl -r android.hidl:hidl -r android.hardware:hardware)
for interface in "${interfaces[@]}"; do
    hidl-gen -Lcheck "${roots[@]}" "$interface"
    hidl-gen -Lc++-headers -o "$work/generated" "${roots[@]}" "$interface"
done
# The interface compiler asserts the layouts that it computes: check ours against them.
{
    echo '#include <android/hardware/sensors/2.0/ISensors.h>'
    find "$work/generated" -name types.h -exec grep -h '^static_assert' {} +
} >"$work/layouts.cpp"
clang++ -std=c++17 "${includes[@]}" -fsyntax-only "$work/layouts.cpp"

/usr/bin/python3 scripts/check-platform.py "$work"
