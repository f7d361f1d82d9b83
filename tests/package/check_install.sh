#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_install.sh CMAKE BUILD EXAMPLES SCRATCH: the examples build and run against the installed tree, by find_package
# and by pkg-config.
set -euo pipefail
cmake=$1 build=$2 examples=$3 scratch=$4
rm -rf "$scratch"
for component in runtime development; do
  "$cmake" --install "$build" --prefix "$scratch/root" --component $component >/dev/null
done
lib=$(dirname "$(find "$scratch/root" -name 'libVlixMeas.so')")
[ -e "$lib/libVlixMeas.so.1" ]

"$cmake" -S "$examples" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$scratch/root" >/dev/null
"$cmake" --build "$scratch/build" >/dev/null
expect() { # COMMAND... <<< expected output
  local want; want=$(cat)
  local got; got=$("$@")
  [ "$got" = "$want" ] || { printf '%s printed:\n%s\nexpected:\n%s\n' "$1" "$got" "$want"; exit 1; }
}
measured='mean 7.5, deviation 4.6098, range 0..15
from  0: 16 pixels
from  4: 16 pixels
from  8: 16 pixels
from 12: 16 pixels'
expect "$scratch/build/measure" <<<"$measured"
expect "$scratch/build/profile" <<<"edge at column 16.333"
expect "$scratch/build/count" "$lib/libVlixMeas.so.1" <<<"3 of 6 pixels are not zero"

export PKG_CONFIG_PATH="$lib/pkgconfig" LD_LIBRARY_PATH="$lib"
# shellcheck disable=SC2046
cc -std=c11 "$examples/c/measure.c" -o "$scratch/measure" $(pkg-config --cflags --libs VlixMeas)
expect "$scratch/measure" <<<"$measured"
echo "installed tree works"
