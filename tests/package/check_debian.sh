#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_debian.sh CPACK BUILD EXAMPLE SCRATCH: the Debian packages unpack into a root that the C example links against.
set -euo pipefail
cpack=$1 build=$2 example=$3 scratch=$4
rm -rf "$scratch"
mkdir -p "$scratch"
(cd "$build" && "$cpack" -G DEB -B "$scratch/packages") >"$scratch/cpack.log" 2>&1 || { cat "$scratch/cpack.log"; exit 1; }
for name in libvlixmeas1 libvlixmeas-dev; do
  package=$(find "$scratch/packages" -maxdepth 1 -name "${name}_*.deb")
  [ -n "$package" ] || { echo "no package $name"; ls "$scratch/packages"; exit 1; }
  dpkg -x "$package" "$scratch/root"
done
lib=$(dirname "$(find "$scratch/root" -name libVlixMeas.so)")
[ -L "$lib/libVlixMeas.so" ] && [ -L "$lib/libVlixMeas.so.1" ] && [ -f "$lib/libVlixMeas.so.1.0.0" ]
cc -std=c11 "$example" -I"$scratch/root/usr/include" -L"$lib" -lVlixMeas -lVlixObject -Wl,-rpath-link,"$lib" -o "$scratch/measure"
LD_LIBRARY_PATH="$lib" "$scratch/measure" | grep -q '^mean 7.5'
dpkg-deb -f "$(find "$scratch/packages" -maxdepth 1 -name 'libvlixmeas1_*.deb')" Depends | grep -q 'libfftw3\|libc6'
tool=$(find "$scratch/packages" -maxdepth 1 -name 'vlix_*.deb')
if [ -n "$tool" ]; then
  dpkg -x "$tool" "$scratch/root"
  LD_LIBRARY_PATH="$lib" "$scratch/root/usr/bin/vlix" --version
fi
