#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_pictures.sh FOLDER: the pictures of the documents are what the tool draws today. The bytes of PNG files depend on
# the compression library, so these are only looked for.
set -euo pipefail
folder=$1
cd "$(dirname "$0")/../.."
rm -rf "$folder"
scripts/pictures "$folder" >/dev/null
for picture in "$folder"/*; do
  name=$(basename "$picture")
  [ -s "docs/images/$name" ] || { echo "docs/images/$name is missing"; exit 1; }
  case "$name" in *.svg) cmp "$picture" "docs/images/$name" ;; esac
done
for picture in docs/images/*; do
  [ -s "$folder/$(basename "$picture")" ] || { echo "scripts/pictures does not draw $picture"; exit 1; }
done
