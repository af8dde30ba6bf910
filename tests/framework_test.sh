#!/bin/bash
# Usage: framework_test.sh SOURCE BUILD WORK CMAKE_ARGUMENT...
# The bundled stand-in can be replaced. The framework is installed from BUILD
# into a folder of its own, where each header gets a marker and loses what it
# says of visibility. The library, and a program that has it as a part of its
# build, are built against that, and must see no framework header but the
# marked ones.
set -euo pipefail
source=$1 build=$2 work=$3 arguments=("${@:4}")

rm -rf "$work"
cmake --install "$build" --prefix "$work/framework" --component framework

mkdir "$work/program"
cp "$source"/tests/framework/* "$work/program"
headers=$work/framework/include/foundation
for header in $(cd "$headers" && find . -name '*.h' -printf '%P\n'); do
  marker=VORN_MARKER_${header//[^a-z]/_}
  sed -i 's/__attribute__((visibility("default")))//' "$headers/$header"
  echo "#define $marker 1" >>"$headers/$header"
  printf '#include <foundation/%s>\n#ifndef %s\n#error %s\n#endif\n' \
    "$header" "$marker" "$header"
done >"$work/program/markers.h"
[[ -s $work/program/markers.h ]]
if grep -r visibility "$headers"; then exit 1; fi

cmake -S "$work/program" -B "$work/build" -G Ninja "${arguments[@]}" \
  -DCMAKE_BUILD_TYPE=Debug -DVORN_SOURCE="$source" \
  -DVORN_FRAMEWORK_ROOT="$work/framework"
cmake --build "$work/build" --target program

# Of json.cpp and all others.
dependencies=$(ninja -C "$work/build" -t deps)
grep -Fq "$headers/debug/tracked.h" <<<"$dependencies"
if grep -E "$source/include/foundation/(debug|generic|io|lang|text)/" \
  <<<"$dependencies"; then
  echo "^ headers of the stand-in"
  exit 1
fi

"$work/build/program"
