#!/bin/sh
# What the shipped library shows to the loader: one exported symbol, the platform and the C++
# runtime as its only needs, and its hardening. Takes the library's path.
set -eu
library=$1

exported=$(nm -D --defined-only "$library" | awk '{print $3}')
[ "$exported" = sensorsHalGetSubHal ] || { echo "exports: $exported"; exit 1; }

readelf -dW "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | while read -r needed; do
    case $needed in
        libplatform_standin.so | liblog.so.0 | libutils.so.0 | libcutils.so.0) ;;
        libc++.so.1 | libc++abi.so.1 | libunwind.so.1) ;;
        libstdc++.so.6 | libgcc_s.so.1 | libm.so.6 | libc.so.6 | ld-linux-*) ;;
        lib*san.so.*) ;;
        *) echo "needs $needed"; exit 1 ;;
    esac
done

if readelf -dW "$library" | grep -q TEXTREL; then echo "text relocations"; exit 1; fi
readelf -lW "$library" | grep -q GNU_RELRO || { echo "no RELRO"; exit 1; }
readelf -dW "$library" | grep -Eq 'BIND_NOW|FLAGS.*NOW' || { echo "lazy binding"; exit 1; }
[ "${2:-}" = sanitized ] && exit 0
nm -D --undefined-only "$library" | grep -q __stack_chk_fail || { echo "no stack protector"; exit 1; }
nm -D --undefined-only "$library" | grep -q '_chk' || { echo "no fortified calls"; exit 1; }
