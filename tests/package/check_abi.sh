#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_abi.sh CMAKE SOURCE BUILD [--update]: functions and structures are those of the committed description abi/*.abi.
set -euo pipefail
cmake=$1 source=$2 build=$3 update=${4:-}
description=$source/tests/package/abi
"$cmake" -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVLIX_BUILD_TOOL=OFF >/dev/null
"$cmake" --build "$build" --target product >/dev/null
status=0
for library in Meas Object Optim Util Xform; do
  shared=$build/lib/libVlix$library.so.1
  if [ "$update" = --update ]; then
    mkdir -p "$description"
    abidw --exported-interfaces-only --no-corpus-path --no-comp-dir-path --no-show-locs --drop-private-types --headers-dir "$source/include" \
      "$shared" --out-file "$description/libVlix$library.abi"
  elif ! abidiff --exported-interfaces-only --no-added-syms --headers-dir2 "$source/include" "$description/libVlix$library.abi" "$shared"; then
    status=1
  fi
done
exit $status
