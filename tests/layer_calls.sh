#!/bin/bash
# Usage: layer_calls.sh SOURCE COMPILER
# What a consumer may write and may not, in layer_calls.cpp.
set -euo pipefail
file=$1/tests/layer_calls.cpp
compile=("$2" "-I$1/include" -Wall -Wextra -Wpedantic -Wconversion
  -Wshadow -Werror "$file")
for standard in 17 20 2b; do
  "${compile[@]}" "-std=c++$standard" -O2 -c -o /dev/null  # some need this
done

# The lines that the errors, or the templates they are in, were reached from.
limit=$("$2" --version | sed -n 's/.*clang.*/-ferror-limit=0/p')
errors=$("${compile[@]}" -fsyntax-only -std=c++17 -DNOT -Wno-error $limit 2>&1 || true)
diff <(awk '/^void DoesNot/, /^}/ { if (/;$/ && !/ = (MakeA|&a)/) print NR }' "$file") \
  <(grep -Ev '^(In file| +from)|: warning:' <<<"$errors" |
    sed -nE 's,^.*layer_calls\.cpp:([0-9]+):.*,\1,p' | sort -un)
