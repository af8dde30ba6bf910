The programs in the README and in the pages, and the examples: what they print.

  $ set -o pipefail; blocks=$BUILD/tests/blocks examples=$SOURCE/examples
  $ run() { $EMULATOR "$BUILD/$@"; }
  $ cp "$blocks/cookbook_1.json" settings.json
  $ for program in "$blocks"/*.cpp; do
  >   [ ! -e "${program%cpp}out" ] ||
  >     run "tests/$(basename "$program" .cpp)" | diff "${program%cpp}out" -
  > done

The first recipe changes its file.

  $ sed 's/ = /: /' "$blocks/cookbook_1.json" >settings.json
  $ run tests/cookbook_2
  $ run tools/vjson equal "$blocks/cookbook_3.json" settings.json

The hunt for a leak, which the sanitizer must not find first, prints numbers of
32 or 64 bits.

  $ run examples/settings | diff "$examples/settings.out" -
  $ word=$((32 * $(od -An -tu1 -j4 -N1 "$BUILD/examples/leakhunt")))
  $ ASAN_OPTIONS=detect_leaks=0 run examples/leakhunt |
  >   sed 's,[^ ]*/examples/,,' | diff "$examples/leakhunt.$word.out" -
