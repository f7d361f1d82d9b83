#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_samples.sh FOLDER: holes.csv says what truth.json says.
set -euo pipefail
perl -MJSON::PP -e '
  local $/;
  open my $file, "<", "$ARGV[0]/truth.json" or die "$!";
  print "x,y,diameter\n";
  for my $hole (@{decode_json(<$file>)->{images}{"plate.png"}{holes}}) {
    print join(",", map { 0 + $_ } @{$hole->{centre}}, $hole->{diameter}), "\n";
  }' "$1" | diff - "$1/holes.csv"
