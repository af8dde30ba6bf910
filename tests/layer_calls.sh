#!/bin/bash
# Usage: layer_calls.sh COMPILER
# What a consumer may write and may not, in layer_test.cpp.
set -euo pipefail
cd "$(dirname "$0")"
file=layer_test.cpp
compile=("$1" -I../include -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  -Werror "$file")
"${compile[@]}" -std=c++2b -O2 -c -o /dev/null  # some warnings need this

# The lines that the errors, or the templates they are in, were reached from.
errors=$("${compile[@]}" -fsyntax-only -std=c++17 -DNOT -Wno-error 2>&1 || true)
diff <(awk '/^void DoesNot/, /^}/ { if (/;$/) print NR }' "$file") \
  <(grep -Ev '^(In file| +from)|: warning:' <<<"$errors" |
    sed -nE "s,^$file:([0-9]+):.*,\1,p" | sort -un)
