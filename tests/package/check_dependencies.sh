#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_dependencies.sh MODULE: nothing but the four platform libraries and the standard ones; resolved at load time.
set -euo pipefail
needed=$(readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
for platform in Object Optim Util Xform; do
  grep -qx "libVlix$platform.so.1" <<<"$needed" || { echo "does not need libVlix$platform.so.1"; exit 1; }
done
others=$(grep -vE '^(libVlix(Object|Optim|Util|Xform)\.so\.1|libstdc\+\+\.so\.6|libm\.so\.6|libc\.so\.6|libgcc_s\.so\.1|ld-linux-x86-64\.so\.2|lib(a|t|ub)san\.so\.[0-9]+)$' <<<"$needed" || true)
[ -z "$others" ] || { echo "needs more: $others"; exit 1; }
if readelf -d "$1" | grep -q SYMBOLIC; then echo "is linked with -Bsymbolic"; exit 1; fi
readelf -d "$1" | grep -q 'SONAME.*\[libVlixMeas.so.1\]' || { echo "has another soname"; exit 1; }
