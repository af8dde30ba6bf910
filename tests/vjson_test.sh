#!/bin/bash
# Usage: tests/vjson_test.sh COMMAND...
# Runs the tool, by the command, on tables of cases: what it is asked, what it
# reads, and what it must answer to the byte.
set -euo pipefail

tool=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
failures=0

# expect STATUS ARGUMENTS INPUT OUTPUT ERRORS; $to is where the output goes, and
# what does not match $lines is left out of the errors.
expect() {
  local status=0 arguments
  read -ra arguments <<<"$2"
  printf %s "$3" >in
  : >out
  "${tool[@]}" "${arguments[@]}" <in >"${to:-out}" 2>err || status=$?
  if [[ $status != "$1" ]] || ! diff --text <(printf %s "$4") out ||
    ! diff --text <(printf %s "$5") <(grep --text "${lines:-}" err); then
    echo "FAILED with status $status, not $1: vjson $2 <<<'${3:0:80}'"
    failures=$((failures + 1))
  fi
}

# fault INPUT LINE:COLUMN RULE:MESSAGE SHOWN-LINE CARET-LINE
fault() { expect 1 'check -' "$1" '' "-:$2: $3"$'\n'"$4"$'\n'"$5"$'\n'; }

# differ FIRST SECOND DIFFERENCE
differ() {
  printf %s "$1" >first
  expect 1 'equal first -' "$2" "$3"$'\n' ''
}

# Every command, and nothing left behind by any end of it.
clean=$'total: 0 objects, 0 bytes\nmemory: 0 bytes\n'
printf '{"a": [1, "\303\251\\n"]} // e' >good
printf '[1,\n2\0]' >nul
nul=$'nul:2:2: Read: NUL byte at offset 5\n2?]\n ^\n'
expect 0 '--report check good -' $'[nan,\r-inf]' '' "$clean"
expect 0 'format good --report' '' \
  $'{\n    "a": [\n        1,\n        "é\\n"\n    ]\n}\n' "$clean"
expect 0 '--report compress -' ' [ ] ' $'[]\n' "$clean"
expect 0 '--report equal good -' $'{"a":[1,"é\\n"]}' '' "$clean"
expect 1 '--report equal - good' '[]' $'(root): kind: array and object\n' "$clean"
expect 1 '--report format nul' '' '' "$nul$clean"
expect 2 '--report check none . nul good' '' '' $'vjson: none: '\
$'No such file or directory\nvjson: .: Is a directory\n'"$nul$clean"
expect 0 '--version' '' $'vjson 1.0.0\n' ''

# Where a fault is, and how its line is shown.
bracket="ParseArray: missing ']'"
zeros=$(printf '%0200d' 0)
blanks=${zeros//0/ }
fault '' 1:1 'ParseNumber: number is incorrect' '' '^'
fault $'[\n"x' 2:3 "GetString: string is not end with '\"'" '"x' '  ^'
fault $'[1\n' 2:1 "$bracket" '' '^'
fault $'[1,\r2,\r\n3,\n4 5]' 4:3 "$bracket" '4 5]' '  ^'
fault $'{"a":\r\t\t"b"\t1}\r\n' 2:7 \
  "ParseObject: missing '}' or have some extra data characters" \
  $'\t\t"b"\t1}' $'\t\t   \t^'
fault '["é日" tru]' 1:10 "$bracket" '["é日" tru]' '       ^'
fault $'["\e\x7f\xc2\x9b\x80\x80\xff\xe0\x9f\xbf" 1]' 1:15 "$bracket" \
  '["?????????" 1]' '             ^'
fault "[\"$zeros\" 1, \"$zeros\"]" 1:205 "$bracket" \
  "...${zeros:0:44}\" 1, \"${zeros:0:20}..." "${blanks:0:49}^"
wide=${zeros//0/日} few=${zeros:0:14}
fault "[\"$wide\" 1, \"$wide\"]" 1:605 "$bracket" \
  "...${few//0/日}\" 1, \"日日日日日日..." "${blanks:0:33}^"

# The first difference.
differ '1' '1.0' '(root): value: 1 and 1.0'
differ '[[0],[1,"x"]]' '[[0],[1,true]]' '[1][1]: kind: string and bool'
differ '{"a_1":{"b":[0,{}]}}' '{"a_1":{"b":[0]}}' 'a_1.b: length: 2 and 1'
differ '[{"":{"o k":{"a":null}}}]' '[{"":{"o k":{}}}]' \
  '[0][""]["o k"].a: key: only in the first'
differ '{"é\"\n":{}}' '{"é\"\n":{"1":0}}' '["é\"\n"]["1"]: key: only in the second'
differ "\"${zeros}1$zeros\"" "\"${zeros}2$zeros\"" \
  "(root): value: ...${zeros:0:20}1${zeros:0:9}... and ...${zeros:0:20}2${zeros:0:9}..."

# The value at a path, and the ways to miss it: PATH VALUE-OR-MESSAGE.
found() { expect 0 "get doc $1" '' "$2"$'\n' ''; }
missed() { expect 1 "get doc $1" '' '' "vjson: doc: $2"$'\n'; }
printf %s '{"a":{"b":[1,{"+":"é"}],"":{"\"\\":{"é-1":true}}}}' >doc
found 'a.b[1]["+"]' '"é"'
found 'a[""]["\"\\"].é-1' true
expect 0 '--report get - -' '{"-":[]}' $'[]\n' "$clean"
missed 'a.b[2][0]' 'a.b[2]: past the end, the length is 2'
missed 'a.c.d' 'a.c: no such key'
missed 'a["b"].c' 'a["b"].c: not in a value of the kind array'
missed 'a[0]' 'a[0]: not in a value of the kind object'
missed "$zeros" "...${zeros:0:60}: no such key"
# refused PATH COLUMN MESSAGE: before the file is looked at
refused() {
  expect 2 "get none $1" '' '' \
    "path:1:$2: Path: $3"$'\n'"$1"$'\n'"${blanks:0:$2-1}^"$'\n'
}
refused .a 1 'a name is missing'
refused a. 3 'a name is missing'
refused 'a[0]b' 5 "'.' or '[' is missing"
refused 'a[x]' 3 'an index or a string is missing'
refused 'a[4294967296]' 3 'the index is too large'
refused 'a["\\\"]' 9 "'\"' is missing"
refused 'a[0' 4 "']' is missing"

# What depends on the length of a word: the order of keys, and the memory.
word=$((4 * $(od -An -tu1 -j4 -N1 "${tool[-1]}")))
orders=([4]=$'"odd key"\n""\ntwo\none' [8]=$'""\n"odd key"\ntwo\none')
expect 0 'keys - a[0]' '{"a":[{"one":1,"two":2,"odd key":3,"":4}]}' \
  "${orders[word]}"$'\n' ''
unkeyed=' no object but a value of the kind array'
expect 1 'keys doc a.b' '' '' "vjson: doc: a.b:$unkeyed"$'\n'
expect 1 'keys -' '[]' '' "vjson: -: (root):$unkeyed"$'\n'
expect 0 'keys -' $'{"\e":0}' $'"\e"\n' ''
cost() { printf '%-8s %10s %12s bytes\n' "$@"; }
expect 0 '--report cost -' '[[true],      null]' "$(
  cost text '' 19 null 1 "$word" bool 1 $((2 * word)) number 0 0 string 0 0 \
    array 2 $((8 * word)) object 0 0 objects 4 $((11 * word))
  printf '%-8s %10s %12s bytes, at most %s while reading\n' buffers '' \
    $((3 * word)) $((5 * word))
  printf '%-8s %10s' depth 2)"$'\n' "$clean"

# The strict check: INPUT FINDINGS.
strict() { lines='^[-v]' expect "$((${#2} > 0))" 'check --strict -' "$1" '' "$2"; }
rfc='RFC 8259'
strict '[1, "é", {"a": {}, "b": {"a": -0.5e+7}}, true, false, null]' ''
strict $'[nan,\v-inf]//\n' "-:1:2: $rfc: no such number
-:1:6: $rfc: no such blank
-:1:7: $rfc: no such number
-:1:12: $rfc: no comments
"
strict $'["\\/\\b\\f\\u00e9\\u00g9\\x\t\\\\\xff"]' "$(
  printf -- "-:1:%s: $rfc: another meaning of this escape\n" 3 5 7 9
  printf -- "-:1:%s: $rfc: no such escape\n" 15 21)
-:1:23: $rfc: no control characters in a string
-:1:26: $rfc: nothing but UTF-8
"
strict $'{"a\\\\x":{"b":1},\n"a\\x": [{"b":2}, inf 3' "-:2:3: $rfc: no such escape
-:2:1: Keys: a key again, after 1:2
-:2:18: $rfc: no such number
-:2:22: $bracket
"
deep=$(printf '[%.0s' {1..1025} && printf ']%.0s' {1..1025})
strict "$deep" "-:1:1025: Parse: nesting is too deep
vjson: -: $rfc takes this text
"
strict "$deep//" "-:1:2051: $rfc: no comments
-:1:1025: Parse: nesting is too deep
"
strict "[$(printf 'inf,%.0s' {1..22})0]" "$(
  printf -- "-:1:%s: $rfc: no such number\n" {2..78..4})
vjson: -: 2 more
"

# On a terminal alone, where a text takes the place of the one before: how far a
# large file has come, and no control characters.
# seen OUTPUT ARGUMENT...: with N for figures, and < for what clears a line.
seen() {
  SHELL=$BASH script -qec "$(printf '%q ' "${tool[@]}" "${@:2}")" /dev/null \
    </dev/null |
    tr '\r' '\n' | sed $'s/\e\\[K/</; s/, [0-9]*/, N/; /^$/d' | uniq >out || true
  if ! diff --text <(printf %s "$1") out; then
    echo "FAILED on a terminal: vjson ${*:2}"
    failures=$((failures + 1))
  fi
}
printf '"%010000000d"' 0 >big
expect 0 'check --strict big' '' '' ''
mv big "$zeros"$'\ex'
seen "$(printf "vjson: ...${zeros:0:38}?x: %s<\n<\n" \
  'reading, N of 10 MB' 'scanning, N of 10 MB' 'parsing, N values')"$'\n' \
  check --strict "$zeros"$'\ex'
printf '{"\e":0}' >escape
seen $'"?"\n' keys escape

# Nothing that a terminal obeys, and nothing invisible that changes the order of
# what it shows, comes out raw: names, words, values. A file takes exact bytes.
# hidden SHOWN WHAT-IS-HIDDEN [COLUMNS]
hidden() {
  local name=n$2o
  printf '["%s",' "$2" >"$name"
  seen "vjson: x$1y: unknown command; see vjson --help"$'\n' "x$2y"
  seen "n$1o:1:$((${#2} + 5)): ArraySkip: array ']' mismatching
[\"$1\",
${blanks:0:${3:-${#1}}+4}^"$'\n' check "$name"
  printf '["%s"]' "$2" >"$name"
  seen "[\"$1\"]"$'\n' compress "$name"
  seen "\"$1\""$'\n' get "$name" '[0]'
  seen $'[\n    "'"$1"$'"\n]\n' format "$name"
  expect 0 "compress $name" '' "[\"$2\"]"$'\n' ''
  expect 1 "get $name $2" '' '' "vjson: n$1o: $1: not in a value of the kind array"$'\n'
}
export LC_ALL=C
hidden '?(0?' $'\e(0\x7f'
hidden '?????' $'\xe2\x80\xae\xe2\x81\xa6\xd8\x9c\xc2\x9b\xff'
hidden '日' '日' 2
seen $'vjson: a?b?c: No such file or directory\n' check $'a\nb\rc'

# The first NUL decides.
lines=: expect 1 'check /dev/zero' '' '' $'/dev/zero:1:1: Read: NUL byte at offset 0\n'

# Bad usage, and an output that does not take everything.
usage() { expect 2 "$1" '[]' '' "vjson: $2"$'\n'; }
help='; see vjson --help'
usage '' "usage: vjson [--report] COMMAND FILE...$help"
usage 'frob -' "frob: unknown command$help"
usage 'check --frob -' "--frob: unknown option$help"
usage 'check' "check: wrong number of arguments$help"
usage 'format good good' "format: wrong number of arguments$help"
usage 'get -' "get: wrong number of arguments$help"
usage 'keys --strict -' "keys: --strict is for check alone$help"
usage 'equal - -' 'equal: standard input can be read only once'
usage 'check -- --report' '--report: No such file or directory'
for command in --help 'format -' 'equal good -'; do
  to=/dev/full expect 2 "$command" '[]' '' \
    $'vjson: standard output: No space left on device\n'
done
# A closed pipe ends it without a word.
mkfifo pipe
true <pipe &
to=pipe expect 141 'compress -' "[$(seq -s, 20000)]" '' ''

exit $((failures != 0))
