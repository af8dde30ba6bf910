What gdb shows of a program that died, and when the libraries' debug information
is missing; with an emulator, over the emulator's connection.

The libraries are installed, so that gdb loads the printers by itself.

  $ { cmake -S "$SOURCE" -B build -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  >     -DCMAKE_CXX_COMPILER="$COMPILER" ${TOOLCHAIN:+--toolchain "$TOOLCHAIN"} \
  >     -DCMAKE_INSTALL_LIBDIR=lib \
  >     -DVORN_BUILD_TESTS=OFF && cmake --build build --target vorn_json &&
  >   for part in {,framework-}development library framework; do
  >     cmake --install build --prefix "$PWD" --component $part
  >   done && "$COMPILER" -std=c++17 -g "$SOURCE/tests/gdb/program.cpp" \
  >     -Iinclude -Llib -ljson -lfoundations -ldebugs -Wl,-rpath,"$PWD/lib" \
  >     -o program; } >log 2>&1 || cat log

Gives gdb the commands when the program has died.

  $ show() {
  >   set -- -ex run -ex "json-trace clone" -ex continue -ex 'echo \nDEAD\n' "$@"
  >   if [ -n "$EMULATOR" ]; then
  >     shift 2
  >     $EMULATOR -g "$PWD/socket" program >/dev/null 2>&1 &
  >     # Until it listens, or is gone.
  >     until grep -q " 00010000 .* $PWD/socket$" /proc/net/unix; do
  >       kill -0 $! || return
  >     done
  >     set -- -ex "set sysroot ${EMULATOR##* }" -ex "set solib-search-path lib" \
  >       -ex "target remote $PWD/socket" -ex continue "$@"
  >   fi
  >   "gdb${EMULATOR:+-multiarch}" -nx -batch -ex "break main" \
  >     -iex "add-auto-load-scripts-directory $PWD/share/gdb/auto-load" \
  >     -iex "add-auto-load-safe-path $PWD/share/gdb/auto-load" "$@" program 2>&1 |
  >     sed -E '1,/^DEAD$/d; s/0x[0-9a-f]{5,}/ADDRESS/'
  >   rm -f socket
  > }

  $ cat >commands <<END
  > print text
  > print scalars
  > print *value
  > print *gone
  > print unwritten
  > print archiver
  > print *early
  > json-live pump.cpp
  > json-trace clone
  > set print elements 4
  > print scalars
  > END
  $ show -x commands
  $1 = "tab\t, zero\000, end"
  $2 = JsonReader = {tree = JArray of length 6 = {-1.50e30, "a\nbcdef", "", null, true, false}}
  $3 = JObject of size 3 = {["kilo"] = JArray of length 1 = {JObject of size 1 = {[""] = "v"}}, ["alpha"] = JObject of size 0, ["zeta"] = 1}
  $4 = <its class is not known>
  $5 = empty JsonArchiver
  $6 = JsonArchiver = {root = ObjectArchiver of size 3 = {["list"] = ArrayArchiver of length 1 = {ObjectArchiver of size 0}, ["data"] = JObject of size 1 = {["a"] = nan}, ["text"] = "a"}}
  $7 = <Cannot access memory at address 0x0>
    objects       bytes  created at
          1 +(32|16)  pump.cpp:7 Fill (re)
      ADDRESS JArray of length 1 = {true}
          1 +(16|8)  pump.cpp:7 Fill (re)
      ADDRESS true
          1           4  pump.cpp:7 Fill
      ADDRESS
          3 +(52|28)  total (re)
  releases of unknown objects: 1
    objects       bytes  made by
          6 +(208|132)  program.cpp:31 main (re)
  $8 = JsonReader = {tree = JArray of length 6 = {-1.5..., "a\nbc"..., "", null...}}

Without the libraries' debug information:

  $ "$STRIP" --strip-debug lib/*.so.*.*
  $ show -ex "print text" -ex "print *value" -ex json-live
  $1 = "tab\t, zero\000, end"
  $2 = <no debug information of libjson.so.1: No type named vorn::foundation::json::MemberTable.>
  libdebugs.so.1 is not loaded, or without debug information, or of another framework.
