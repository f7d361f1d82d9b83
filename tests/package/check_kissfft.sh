#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_kissfft.sh CMAKE SOURCE BUILD: the tests of everything that transforms, over the other back end.
set -euo pipefail
cmake=$1 source=$2 build=$3
"$cmake" -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVLIX_FFT=kissfft -DVLIX_BUILD_TOOL=OFF \
  -DVLIX_BUILD_TESTS=ON >/dev/null
tests=$(ctest --test-dir "$build" -N -L quick -R 'fft|transform|real_columns|corr' | sed -n 's/.*Test *#[0-9]*: //p')
[ -n "$tests" ] || { echo "no test of a transform"; exit 1; }
# shellcheck disable=SC2086
"$cmake" --build "$build" --target $tests
for test in $tests; do "$build/bin/$test" --gtest_brief=1; done
if readelf -d "$build"/lib/*.so | grep -i fftw; then echo "still needs FFTW"; exit 1; fi
