What gdb shows of a program that died. The libraries are installed, so that gdb
loads the printers by itself.

  $ { cmake -S "$SOURCE" -B build -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  >     -DCMAKE_CXX_COMPILER="$COMPILER" -DCMAKE_INSTALL_LIBDIR=lib \
  >     -DVORN_BUILD_TESTS=OFF && cmake --build build --target vorn_json &&
  >   for part in {,framework-}development library framework; do
  >     cmake --install build --prefix "$PWD" --component $part
  >   done && "$COMPILER" -std=c++17 -g "$SOURCE/tests/gdb/program.cpp" \
  >     -Iinclude -Llib -ljson -lfoundations -ldebugs -Wl,-rpath,"$PWD/lib" \
  >     -o program; } >log 2>&1 || cat log

  $ cat >commands <<END
  > break main
  > run
  > json-trace clone
  > continue
  > echo DEAD\\n
  > print text
  > print scalars
  > print *value
  > print archiver
  > json-live pump.cpp
  > json-trace clone
  > set print elements 4
  > print scalars
  > END
  $ gdb -nx -batch -x commands \
  >   -iex "add-auto-load-scripts-directory $PWD/share/gdb/auto-load" \
  >   -iex "add-auto-load-safe-path $PWD/share/gdb/auto-load" program 2>&1 |
  >   sed -E '1,/^DEAD$/d; s/0x[0-9a-f]{5,}/ADDRESS/'
  $1 = "tab\t, zero\000, end"
  $2 = JsonReader = {tree = JArray of length 6 = {-1.50e30, "a\nbcdef", "", null, true, false}}
  $3 = JObject of size 3 = {["kilo"] = JArray of length 1 = {JObject of size 1 = {[""] = "v"}}, ["alpha"] = JObject of size 0, ["zeta"] = 1}
  $4 = JsonArchiver = {root = ObjectArchiver of size 3 = {["list"] = ArrayArchiver of length 1 = {ObjectArchiver of size 0}, ["data"] = JObject of size 1 = {["a"] = nan}, ["text"] = "a"}}
    objects       bytes  created at
          1          32  pump.cpp:7 Fill
      ADDRESS JArray of length 1 = {true}
          1          16  pump.cpp:7 Fill
      ADDRESS true
          1           4  pump.cpp:7 Fill
      ADDRESS
          3          52  total
  releases of unknown objects: 1
    objects       bytes  made by
          6         208  program.cpp:28 main
  $5 = JsonReader = {tree = JArray of length 6 = {-1.5..., "a\nbc"..., "", null...}}
