#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_exports.sh LIBRARY MAP: the library exports exactly what its map lists, without version names.
set -euo pipefail
listed=$(grep -oE '[A-Za-z_][A-Za-z0-9_]+;' "$2" | tr -d ';' | sort)
# Sanitized builds export the sanitizer's own weak symbols too.
exported=$(nm -D --defined-only "$1" | awk '{print $NF}' | grep -vE '^(__asan|__ubsan|__tsan|__odr_asan)' | sort)
diff <(echo "$listed") <(echo "$exported") || { echo "listed (<) and exported (>) differ for $1"; exit 1; }
echo "$(echo "$exported" | wc -l) functions"
