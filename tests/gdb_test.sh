#!/bin/bash
# Usage: gdb_test.sh SOURCE WORK COMPILER EMULATOR TOOLCHAIN
# What gdb shows of a program that died: while it is there, as a core file, and
# when the libraries' debug information is missing; with an emulator and a
# toolchain file, over the emulator's connection. The files tests/gdb/*.txt are
# the sessions, lines that begin with 32 or 64 for words of so many bits alone.
set -euo pipefail
export LC_ALL=C
source=$1 work=$2 compiler=$3 toolchain=$5
IFS=';' read -ra emulator <<<"$4"
sockets=$(mktemp --directory) # a socket's path must be short
trap 'rm -r "$sockets"; kill -9 $(jobs -p) 2>/dev/null || true' EXIT

# Installed, so that gdb loads the printers by itself.
rm -rf "$work"
prefix=$work/installed
cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_COMPILER="$compiler" ${toolchain:+--toolchain "$toolchain"} \
  -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib \
  -DVORN_BUILD_TESTS=OFF
cmake --build "$work/build" --target vorn_json -- --quiet
for component in library framework development framework-development; do
  cmake --install "$work/build" --component "$component" >/dev/null
done
"$compiler" -std=c++17 -g "$source/tests/gdb/program.cpp" -o "$work/program" \
  "-I$prefix/include" "-L$prefix/lib" -ljson -lfoundations -ldebugs \
  "-Wl,-rpath,$prefix/lib"
pointer=$("$compiler" -dM -E -x c++ /dev/null |
  sed -n 's/^#define __SIZEOF_POINTER__ //p')

gdb=(gdb -nx -batch -iex "set debuginfod enabled off"
  -iex "add-auto-load-scripts-directory $prefix/share/gdb/auto-load"
  -iex "add-auto-load-safe-path $prefix/share/gdb/auto-load")

# session NAME GDB_ARGUMENT...: what comes of the session after the arguments.
session() {
  local file=$source/tests/gdb/$1.txt commands=() line
  while IFS= read -r line; do
    commands+=(-ex "echo $line\n" -ex "${line#(gdb) }" -ex 'echo \n')
  done < <(grep -F '(gdb) ' "$file")
  diff <(sed -nE "s/^$((8 * pointer)) //; /^(32|64) /!p" "$file") \
    <("${gdb[@]}" -ex "set width 0" "${@:2}" "${commands[@]}" "$work/program" \
      2>&1 | sed -nE '/^\(gdb\) /,$ { s/0x[0-9a-f]{5,}/ADDRESS/; /./p }')
}

if [[ ${#emulator[@]} -gt 0 ]]; then
  gdb[0]="gdb-multiarch"
  "${emulator[@]}" -g "$sockets/gdb" "$work/program" &
  # Until it listens, or is gone.
  until grep -q " 00010000 .* $sockets/gdb$" /proc/net/unix; do kill -0 $!; done
  session values -ex "set sysroot ${emulator[-1]}" \
    -ex "set solib-search-path $prefix/lib" \
    -ex "target remote $sockets/gdb" -ex continue
  exit
fi

gdb+=(-iex "set disable-randomization off")
session values -ex run -ex "generate-core-file $work/core"
session values -ex "core-file $work/core"

mkdir "$work/stripped"
cp "$prefix"/lib/*.so.1 "$work/stripped"
strip --strip-debug "$work/stripped"/*
LD_LIBRARY_PATH=$work/stripped session stripped \
  -ex "source $source/gdb/libjson-gdb.py" -ex run
