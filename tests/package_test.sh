#!/bin/bash
# Usage: package_test.sh SOURCE BUILD WORK COMPILER EMULATOR TOOLCHAIN
# Other projects use the library: as a part of their build, installed and moved,
# and on a framework that is not the bundled one.
# Needs the build; of a cross build an emulator and a toolchain file, and its
# installation is the root of a system. Leaves all it makes in WORK.
set -euo pipefail
source=$1 build=$2 work=$3 compiler=$4 toolchain=$6
IFS=';' read -ra emulator <<<"$5"

rm -rf "$work"
mkdir "$work"
cd "$work"
program=$source/examples/settings.cpp

check() { "${emulator[@]}" "$@" | diff "$source/examples/settings.out" -; }

# refused TEXT COMMAND...: the command fails, and says the text.
refused() {
  if "${@:2}" >log 2>&1 || ! grep -Fq "$1" log; then cat log; exit 1; fi
}

# project BUILD ARGUMENT...: one that uses the library.
project() {
  cmake -S "$source/tests/package" -B "$1" -G Ninja -DPROGRAM="$program" \
    -DCMAKE_CXX_COMPILER="$compiler" "${@:2}"
  cmake --build "$1"
  check "$1/consumer"
}

# link PACKAGE PROGRAM: finds the library by pkg-config.
link() {
  local flags
  flags=$(pkg-config --cflags --libs "$1")
  # shellcheck disable=SC2086  # several flags
  "$compiler" -std=c++17 "$2" -o "$1" $flags -Wl,--as-needed
}

# As a part, which brings nothing along: each folder in one piece, and where
# there is no instruction that counts in 64 bits.
part=("-DCMAKE_TOOLCHAIN_FILE=$toolchain" "-DVORN_SOURCE=$source"
  -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=0
  -DVORN_WARNINGS_AS_ERRORS=ON)
[[ -z $toolchain ]] || export CXXFLAGS='-march=armv6+fp -marm'
project part "${part[@]}"
cmake --install part --prefix part/installed
[[ $(cd part/installed && find . -type f) == ./bin/consumer ]]
project part -DVORN_BUILD_TOOLS=ON -DVORN_BUILD_EXAMPLES=ON
unset CXXFLAGS

# Where it cannot be what it is.
refused 'three shared libraries' \
  cmake -S "$source" -B static -G Ninja -DBUILD_SHARED_LIBS=OFF
for header in "$source"/include/foundation/json/*.h; do
  refused 'changes std::vector' "$compiler" -E -D_GLIBCXX_DEBUG \
    -I "$source/include" -std=c++17 -x c++ "$header"
done

# Installed and moved. All may read it, and nothing in it names a place of the
# build, or where it was at first.
(umask 077 && cmake --install "$build" --prefix before >/dev/null)
find before \( -type d ! -perm -555 -o ! -perm -444 \) >log
[[ ! -s log ]] || { cat log; exit 1; }
mkdir root
mv before root/usr
prefix=$work/root/usr
if grep -rIF -e "$work" -e "$build" -e "$source" root; then exit 1; fi
package=("-DCMAKE_PREFIX_PATH=$prefix")
if [[ -n $toolchain ]]; then
  printf 'include("%s")\nset(CMAKE_SYSROOT "%s")\n' \
    "$toolchain" "$work/root" >toolchain.cmake
  package=("-DCMAKE_TOOLCHAIN_FILE=$work/toolchain.cmake")
  export PKG_CONFIG_SYSROOT_DIR=$work/root LD_LIBRARY_PATH=$prefix/lib
fi
project consumer "${package[@]}"

# Each file names what its library needs.
export PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig LD_LIBRARY_PATH=$prefix/lib
cat >foundations.cpp <<'END'
#include <foundation/text/stringutils.h>
int main() { vorn::foundation::text::StringUtils::IntToString(1); }
END
cat >debugs.cpp <<'END'
#include <foundation/debug/memorymonitor.h>
int main() { return int(vorn::foundation::debug::MemoryMonitor::LiveBytes()); }
END
link vorn-foundations foundations.cpp
link vorn-debugs debugs.cpp
link vorn-json "$program"
check ./vorn-json

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
if grep -r visibility "$headers"; then exit 1; fi
grep -q VORN_MARKER marked.cpp
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
export PKG_CONFIG_LIBDIR=$work/library/lib/pkgconfig
export LD_LIBRARY_PATH=$work/library/lib:$work/framework/lib
link vorn-json "$program"
check ./vorn-json
