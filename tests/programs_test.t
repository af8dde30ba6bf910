The examples, and the programs in the README and in the pages: what they print.

  $ set -o pipefail; blocks=$BUILD/tests/blocks examples=$SOURCE/examples
  $ run() { $EMULATOR "$BUILD/$@"; }
  $ cp "$blocks/cookbook_1.json" settings.json
  $ for output in "$blocks"/*.out; do
  >   program=$(basename "$output" .out)
  >   [ ! -e "$blocks/$program.cpp" ] ||
  >     run "tests/$program" | diff "$output" - || echo "of $program"
  > done

The first recipe mends and changes its file.

  $ sed 's/ = /: /' "$blocks/cookbook_1.json" >settings.json
  $ run tests/cookbook_2
  $ run tools/vjson equal "$blocks/cookbook_3.json" settings.json
  $ run tests/cookbook_2_sweep 2>&1 | grep -v '^[1-9].* runs'
  [1]

A demonstration, a file that is loaded, and one that cannot be.

  $ run examples/settings | diff "$examples/settings.out" -
  $ run examples/settings demo.json | diff demo.json -
  $ run examples/settings .
  .: Is a directory
  [1]

The hunt for a leak, which the sanitizer must not find first. The numbers are
those where words have so many bits.

  $ word=$((8 * $(od -An -tu1 -j4 -N1 "$BUILD/examples/leakhunt")))
  $ ASAN_OPTIONS=detect_leaks=0 run examples/leakhunt | sed 's,[^ ]*/examples/,,' |
  >   diff "$examples/leakhunt.$((word * 4)).out" -
