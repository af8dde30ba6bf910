What gdb shows of a program that died: while it is there, as a core file, and
when the libraries' debug information is missing; with an emulator, over the
emulator's connection.

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

  $ mkfifo commands answers
  $ start() {
  >   "gdb${EMULATOR:+-multiarch}" -nx -quiet -iex "set debuginfod enabled off" \
  >     -iex "add-auto-load-scripts-directory $PWD/share/gdb/auto-load" \
  >     -iex "add-auto-load-safe-path $PWD/share/gdb/auto-load" \
  >     -iex "set disable-randomization off" -iex "set confirm off" \
  >     -iex "set width 0" -ex "set prompt" "$@" program \
  >     <commands >answers 2>&1 &
  >   exec 3>commands 4<answers
  >   ask "" >/dev/null
  > }
  $ run() {
  >   [ -n "$EMULATOR" ] || {
  >     start -ex "break main" -ex run "$@" -ex continue; return
  >   }
  >   rm -f socket
  >   $EMULATOR -g "$PWD/socket" program >/dev/null 2>&1 &
  >   # Until it listens, or is gone.
  >   until grep -q " 00010000 .* $PWD/socket$" /proc/net/unix; do
  >     kill -0 $! || return
  >   done
  >   start -ex "set sysroot ${EMULATOR##* }" -ex "set solib-search-path lib" \
  >     -ex "target remote $PWD/socket" -ex "break main" -ex continue \
  >     "$@" -ex continue
  > }
  $ ask() {
  >   printf '%s\n' "$1" 'echo \nEND\n' >&3
  >   sed -uE '/^END$/Q; /^$/d; s/0x[0-9a-f]{5,}/ADDRESS/' <&4
  > }

  $ run -ex "json-trace clone"
  $ show() { echo "$1" >>asked; ask "$1" | tee -a shown; }
  $ show 'output text'
  "tab\t, zero\000, end"
  $ show 'output unread'
  empty JsonReader
  $ show 'output scalars'
  JsonReader = {tree = JArray of length 6 = {-1.50e30, "a\nbcdef", "", null, true, false}}
  $ show 'output *value'
  JObject of size 3 = {["kilo"] = JArray of length 1 = {JObject of size 1 = {[""] = "v"}}, ["alpha"] = JObject of size 0, ["zeta"] = 1}
  $ show 'output *gone'
  <its class is not known>
  $ show 'output unwritten'
  empty JsonArchiver
  $ show 'output single'
  JsonArchiver = {root = JArray of length 1 = {1}}
  $ show 'output archiver'
  JsonArchiver = {root = ObjectArchiver of size 3 = {["list"] = ArrayArchiver of length 1 = {ObjectArchiver of size 0}, ["data"] = JObject of size 1 = {["a"] = nan}, ["text"] = "a"}}
  $ show 'output *child'
  ArrayArchiver of length 1 = {ObjectArchiver of size 0}
  $ show 'output *early'
  <Cannot access memory at address 0x0>
  $ show 'pipe json-live | grep valve'
          5 +(160|80)  valve.cpp:1 Open (re)
  $ show 'json-live pump.cpp'
    objects       bytes  created at
          1 +(32|16)  pump.cpp:7 Fill (re)
      ADDRESS JArray of length 6 = {true, JArray of length 0, JArray of length 0, JArray of length 0, JArray of length 0, JArray of length 0}
          1 +(16|8)  pump.cpp:7 Fill (re)
      ADDRESS true
          1           4  pump.cpp:7 Fill
      ADDRESS
          3 +(52|28)  total (re)
  releases of unknown objects: 1
  $ show 'set print elements 4'
  $ show 'output scalars'
  JsonReader = {tree = JArray of length 6 = {-1.5..., "a\nbc"..., "", null...}}
  $ show 'json-live valve'
    objects       bytes  created at
          5 +(160|80)  valve.cpp:1 Open (re)
      ADDRESS JArray of length 0
      ADDRESS JArray of length 0
      ADDRESS JArray of length 0
      ADDRESS JArray of length 0
      ...
          5 +(160|80)  total (re)
  releases of unknown objects: 1
  $ show 'set print max-depth 3'
  $ show 'output deep'
  JsonReader = {tree = JArray of length 1 = {JArray of length 1 = {JArray of length 1 = {...}}}}

The lines that clones come from, since main() began.

  $ ask 'json-trace clone'
    objects       bytes  made by
          6 +(208|132)  program.cpp:43 main (re)

A core file shows the same.

  $ [ -n "$EMULATOR" ] || {
  >   ask "generate-core-file core" >/dev/null; echo quit >&3
  >   start -ex "core-file core"
  >   while read -r command; do ask "$command"; done <asked | diff shown -
  > }
  $ echo quit >&3

Without the libraries' debug information:

  $ "$STRIP" --strip-debug lib/*.so.*.*
  $ run
  $ ask 'output text'
  "tab\t, zero\000, end"
  $ ask 'output *value'
  <no debug information of libjson.so.1: No type named vorn::foundation::json::MemberTable.>
  $ ask 'output archiver'
  <no debug information of libjson.so.1: There is no member named private_.>
  $ ask json-live
  libdebugs.so.1 is not loaded, or without debug information, or of another framework.
  $ echo quit >&3; wait
