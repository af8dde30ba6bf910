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

# expect STATUS ARGUMENTS INPUT OUTPUT ERRORS; $to is where the output goes.
expect() {
  local status=0 arguments
  read -ra arguments <<<"$2"
  printf %s "$3" >in
  : >out
  "${tool[@]}" "${arguments[@]}" <in >"${to:-out}" 2>err || status=$?
  if [[ $status != "$1" ]] || ! diff --text <(printf %s "$4") out ||
    ! diff --text <(printf %s "$5") err; then
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

# Bad usage, and an output that does not take everything.
usage() { expect 2 "$1" '[]' '' "vjson: $2"$'\n'; }
help='; see vjson --help'
usage '' "usage: vjson [--report] COMMAND FILE...$help"
usage 'frob -' "frob: unknown command$help"
usage 'check --frob -' "--frob: unknown option$help"
usage 'check' "check: wrong number of files$help"
usage 'format good good' "format: wrong number of files$help"
usage 'equal - -' 'equal: standard input can be read only once'
usage 'check -- --report' '--report: No such file or directory'
for command in --help 'format -' 'equal good -'; do
  to=/dev/full expect 2 "$command" '[]' '' \
    $'vjson: standard output: No space left on device\n'
done
mkfifo pipe
true <pipe &
to=pipe expect 2 'compress -' "[$(seq -s, 20000)]" '' \
  $'vjson: standard output: Broken pipe\n'

exit $((failures != 0))
