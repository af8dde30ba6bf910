#!/bin/bash
# Usage: package_test.sh BUILD COMPILER EMULATOR TOOLCHAIN
# Other projects use the library, with what they may write: as a part of their
# build, installed and moved, and on a framework that is not the bundled one.
# Needs the build; of a cross build an emulator and a toolchain file, and its
# installation is the root of a system. Leaves all it makes in the build.
set -euo pipefail
source=$(cd "$(dirname "$0")/.." && pwd)
build=$1 work=$1/tests/package compiler=$2 toolchain=$4
IFS=';' read -ra emulator <<<"$3"

rm -rf "$work"
mkdir "$work"
cd "$work"
program=$source/examples/settings.cpp

check() { "${emulator[@]}" "$@" | diff "$source/examples/settings.out" -; }

# project BUILD ARGUMENT...: one that uses the library.
project() {
  cmake -S "$source/tests/package" -B "$1" -G Ninja -DPROGRAM="$program" \
    -DCMAKE_CXX_COMPILER="$compiler" "${@:2}"
  cmake --build "$1"
  check "$1/consumer"
}

# What a program may write, in the latest standard, and what not: the lines that
# the errors, or the templates they are in, were reached from.
file=$source/tests/layer_test.cpp
compile=("$compiler" "-I$source/include" -Wall -Wextra -Wpedantic -Wconversion
  -Wshadow -Werror "$file")
"${compile[@]}" -std=c++2b -O2 -c -o /dev/null # some warnings need this
"${compile[@]}" -fsyntax-only -std=c++17 -DNOT -Wno-error 2>errors || true
diff <(awk '/^void DoesNot/, /^}/ { if (/;$/) print NR }' "$file") \
  <(grep -Ev '^(In file| +from)|: warning:' errors |
    sed -nE 's,^.*layer_test\.cpp:([0-9]+):.*,\1,p' | sort -un)

# As a part, which brings nothing along: each folder in one piece, and where
# there is no instruction that counts in 64 bits.
[[ -z $toolchain ]] || export CXXFLAGS='-march=armv6+fp -marm'
project part "-DCMAKE_TOOLCHAIN_FILE=$toolchain" "-DVORN_SOURCE=$source" \
  -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=0 \
  -DVORN_WARNINGS_AS_ERRORS=ON
cmake --install part --prefix part/installed
[[ $(cd part/installed && find . -type f) == ./bin/consumer ]]
unset CXXFLAGS

# Installed and moved. Nothing in it names a place of the build, or where it was
# at first.
cmake --install "$build" --prefix before >/dev/null
mkdir root
mv before root/usr
prefix=$work/root/usr
if grep -rIF -e "$work" -e "$build" -e "$source" root; then exit 1; fi
package=-DCMAKE_PREFIX_PATH=$prefix
export PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig LD_LIBRARY_PATH=$prefix/lib
if [[ -n $toolchain ]]; then
  printf 'include("%s")\nset(CMAKE_SYSROOT "%s")\n' \
    "$toolchain" "$work/root" >toolchain.cmake
  package=-DCMAKE_TOOLCHAIN_FILE=$work/toolchain.cmake
  export PKG_CONFIG_SYSROOT_DIR=$work/root
fi
project consumer "$package"
# shellcheck disable=SC2046  # several flags
"$compiler" -std=c++17 "$program" -o linked \
  $(pkg-config --cflags --libs vorn-json)
check ./linked

# On a small device, how many bytes the library has to store.
if [[ -n $toolchain ]]; then
  cmake -S "$source" -B small -G Ninja "-DCMAKE_TOOLCHAIN_FILE=$toolchain" \
    -DCMAKE_BUILD_TYPE=MinSizeRel -DVORN_BUILD_TESTS=OFF
  cmake --build small --target vorn_json
  cmake --install small --strip --prefix stripped --component library
  [[ $(stat -L --format=%s stripped/lib/libjson.so.1) -le 52000 ]]
  exit
fi

# On a framework in a folder of its own, where each header has a marker and has
# lost what it says of visibility. Neither the sources of the library nor the
# program can be built with other headers of it.
for component in framework framework-development; do
  cmake --install "$build" --prefix framework --component "$component"
done
headers=$work/framework/include/foundation
for header in $(cd "$headers" && find . -name '*.h' -printf '%P\n'); do
  marker=VORN_MARKER_${header//[^a-z]/_}
  sed -i 's/__attribute__((visibility("default")))//' "$headers/$header"
  echo "#define $marker 1" >>"$headers/$header"
  printf '#include <foundation/%s>\n#ifndef %s\n#error %s\n#endif\n' \
    "$header" "$marker" "$header"
done | cat - "$program" >marked.cpp
program=$work/marked.cpp
mkdir -p tree/include/foundation
cp -r "$source"/{CMakeLists.txt,cmake,gdb,json} tree
cp -r "$source/include/foundation/json" tree/include/foundation
unset LD_LIBRARY_PATH
project own "-DVORN_SOURCE=$work/tree" -DVORN_INSTALL=ON \
  "-DVORN_FRAMEWORK_ROOT=$work/framework"

# That library, installed where the headers of the stand-in lie as well.
cmake --install own --prefix library
cmake --install "$build" --prefix library --component framework-development
project user "-DCMAKE_PREFIX_PATH=$work/library"
