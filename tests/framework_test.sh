#!/bin/bash
# Usage: framework_test.sh SOURCE BUILD WORK CMAKE_ARGUMENT...
# The bundled stand-in can be replaced. The framework is installed from BUILD
# into a folder of its own, where each header gets a marker and loses what it
# says of visibility. The library, and a program that has it as a part of its
# build, are built against that, and must see no framework header but the
# marked ones. So must a program that uses that library installed.
set -euo pipefail
source=$1 build=$2 work=$3 arguments=("${@:4}")

rm -rf "$work"
for component in framework framework-development; do
  cmake --install "$build" --prefix "$work/framework" --component "$component"
done

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

# The library, installed where the headers of the stand-in lie as well.
cmake --install "$work/build" --prefix "$work/library"
cmake --install "$build" --prefix "$work/library" \
  --component framework-development
cmake -S "$source/tests/consumer" -B "$work/consumer" -G Ninja \
  "${arguments[@]}" -DCMAKE_PREFIX_PATH="$work/library" \
  -DVORN_FRAMEWORK_ROOT="$work/framework" -DEXAMPLE="$work/program/program.cpp"
cmake --build "$work/consumer"
LD_LIBRARY_PATH=$work/framework/lib "$work/consumer/consumer"
