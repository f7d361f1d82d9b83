#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_headers.sh INCLUDE CC CXX: every public header compiles alone, as C11 and as C++.
set -euo pipefail
for header in "$1"/vlix/*.h; do
  "$2" -std=c11 -pedantic -Wall -Wextra -Werror -I"$1" -fsyntax-only -x c "$header"
  "$3" -std=c++11 -pedantic -Wall -Wextra -Werror -I"$1" -fsyntax-only -x c++ "$header"
done
