#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_documents.sh MAP DOCUMENT...: each document names every function of the export list.
set -euo pipefail
map=$1
shift
functions=$(sed -n '/global:/,/local:/s/^ *\([A-Za-z0-9_]*\);$/\1/p' "$map")
[ -n "$functions" ] || { echo "no functions in $map"; exit 1; }
missing=0
for document in "$@"; do
  for function in $functions; do
    grep -qF "\`$function\`" "$document" || { echo "$document does not name $function"; missing=1; }
  done
done
exit $missing
