#!/bin/bash
# Usage: layer_calls.sh SOURCE COMPILER
# What a consumer may write and may not, in layer_test.cpp.
set -euo pipefail
file=$1/tests/layer_test.cpp
compile=("$2" "-I$1/include" -Wall -Wextra -Wpedantic -Wconversion
  -Wshadow -Werror "$file")
"${compile[@]}" -std=c++20 -fsyntax-only
"${compile[@]}" -std=c++2b -O2 -c -o /dev/null  # some warnings need this

# The lines that the errors, or the templates they are in, were reached from.
limit=$("$2" --version | sed -n 's/.*clang.*/-ferror-limit=0/p')
errors=$("${compile[@]}" -fsyntax-only -std=c++17 -DNOT -Wno-error $limit 2>&1 || true)
diff <(awk '/^void DoesNot/, /^}/ { if (/;$/ && !/ = (MakeA|&a)/) print NR }' "$file") \
  <(grep -Ev '^(In file| +from)|: warning:' <<<"$errors" |
    sed -nE 's,^.*layer_test\.cpp:([0-9]+):.*,\1,p' | sort -un)
