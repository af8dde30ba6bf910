#!/bin/bash
# Usage: install_test.sh SOURCE BUILD WORK COMPILER EMULATOR TOOLCHAIN
# An installation that was moved serves other projects, by CMake and by
# pkg-config. That of a cross build, with an emulator and a toolchain file, is
# the root of a system.
set -euo pipefail
source=$1 build=$2 work=$3 compiler=$4 toolchain=$6
IFS=';' read -ra emulator <<<"$5"

rm -rf "$work"
cmake --install "$build" --prefix "$work/before" >/dev/null
root=$work/moved
prefix=$root/usr
mkdir "$root"
mv "$work/before" "$prefix"

# Nothing names a place of the build, or where it was installed at first.
if grep -rIF -e "$work" -e "$build" -e "$source" "$prefix"; then exit 1; fi

example=$source/examples/settings
check() {
  (cd "$work" && "${emulator[@]}" "$@") | diff "$example.out" -
}

package=("-DCMAKE_PREFIX_PATH=$prefix")
if [[ -n $toolchain ]]; then
  printf 'include("%s")\nset(CMAKE_SYSROOT "%s")\n' "$toolchain" "$root" \
    >"$work/toolchain.cmake"
  package=("-DCMAKE_TOOLCHAIN_FILE=$work/toolchain.cmake")
  export PKG_CONFIG_SYSROOT_DIR=$root LD_LIBRARY_PATH=$prefix/lib
fi
cmake -S "$source/tests/consumer" -B "$work/build" -G Ninja "${package[@]}" \
  -DCMAKE_CXX_COMPILER="$compiler" -DEXAMPLE="$example.cpp"
cmake --build "$work/build"
check "$work/build/consumer"

# Each file names what its library needs.
export PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig
link() { # PACKAGE SOURCE
  local flags
  flags=$(pkg-config --cflags --libs "$1")
  # shellcheck disable=SC2086  # several flags
  "$compiler" -std=c++17 "$2" -o "$work/$1" $flags \
    -Wl,--as-needed "-Wl,-rpath,$prefix/lib"
}
cat >"$work/foundations.cpp" <<'END'
#include <foundation/text/stringutils.h>
int main() { vorn::foundation::text::StringUtils::IntToString(1); }
END
cat >"$work/debugs.cpp" <<'END'
#include <foundation/debug/memorymonitor.h>
int main() { return int(vorn::foundation::debug::MemoryMonitor::LiveBytes()); }
END
link vorn-foundations "$work/foundations.cpp"
link vorn-debugs "$work/debugs.cpp"
link vorn-json "$example.cpp"
check "$work/vorn-json"
