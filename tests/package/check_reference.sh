#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_reference.sh FOLDER: doxygen gives no warning about the headers and the documents.
set -euo pipefail
folder=$1
cd "$(dirname "$0")/../.."
mkdir -p "$folder"
log=$(scripts/docs "$folder" 2>&1) || { echo "$log"; exit 1; }
test -s "$folder/html/index.html"
