The tool: what it is asked, what it reads, and what it answers. VJSON is the
command, SOURCE and BUILD the folders of the project, BLANKS how many blanks are a long
text, and STRACE strace or nothing.

  $ mkdir bin && printf '#!/bin/sh\nexec %s "$@"\n' "$VJSON" >bin/vjson
  $ chmod +x bin/vjson && PATH=$PWD/bin:$PATH && export LC_ALL=C NO_COLOR=1

What the README and the manual show is so.

  $ awk '/^```/ { on = /console/; next } on' "$SOURCE/README.md" >shown
  $ [ ! -e $BUILD/tools/vjson.1 ] || sed '1,/brackets/d; /^[.]/d; s/\\&//g; s/\\\\/\\/g' \
  >   $BUILD/tools/vjson.1 | diff shown -
  $ sed 's/^/  /' shown >shown.t && cram3 --shell=/bin/bash shown.t
  .
  # Ran 1 tests, 0 skipped, 0 failed.
  $ grep -o "vjson [a-z]" shown | wc -l
  20

Nothing is left behind, however it ends.

  $ printf '{"a": [1, "\303\251\\n"]} // e' >good; printf '[1,\n2\0]' >nul
  $ for command in check format compress cost equal\ good 'get a /a/0' keys \
  >   'set a 1' 'set b 1' 'remove a[0]' 'compress --tree' 'check --strict'; do
  >   for text in good nul none .; do
  >     vjson --report ${command%% *} $text ${command#* } 2>&1 >out | tail -n 1
  >   done
  > done | uniq -c
       48 memory: 0 bytes
  $ word=$((4 * $(od -An -tu1 -j4 -N1 "${VJSON##* }"))); echo '[[true,true,true],null]' | vjson cost |
  >   awk -v word=$word '/objects|buf/ { n = NF > 4 ? 2 : 3; print $n / word, $6 / word } END { print }'
  15 0
  3 7
  depth             2

Where a fault is, and how its line is shown. The caret is under the fault.

  $ fault() { printf "$1" | vjson check 2>&1 | head -n 3 | paste -sd '|'; }
  $ zeros=$(printf %0200d 0); wide=${zeros//0/日}
  $ fault ''; fault '[\n"x'; fault '[1,\r2,\r\n3,\n4 5]'
  -:1:1: ParseNumber: number is incorrect||^
  -:2:3: GetString: string is not end with '"'|"x|  ^
  -:4:3: ParseArray: missing ']'|4 5]|  ^
  $ fault '{"a":\r\t\t"b"\t1}\r\n'; fault '1\0002'
  -:2:7: ParseObject: missing '}' or have some extra data characters|\t\t"b"\t1}|\t\t   \t^ (esc)
  -:1:2: Parse: extra data characters|1?2| ^
  $ fault '["\e\xc2\x9b\xf4\x90\x80\x80\xff\xed\xa0\x80\xe2\x80\xae" 1]'; fault "[\"$wide\" 1, \"$wide\"]"
  -:1:19: ParseArray: missing ']'|["???????????" 1]|               ^
  -:1:605: ParseArray: missing ']'|...\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5" 1, "\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5...|                                 ^ (esc)

Blanks alone change, and comments stay where they are.

  $ cat >odd <<'END'
  > // first
  > {"b" : [ ] , // behind b
  >   "a" // behind a
  >   :1.50e+03,"a":{ // open
  > },
  >  // alone
  >  "\u00fc\ud83d\ude00\/": [ 1// one
  >   , nan ] }// last
  > END
  $ vjson format odd | tee formatted; vjson compress --comments odd >compressed
  // first
  {
      "b": [], // behind b
      "a" // behind a
      : 1.50e+03,
      "a": { // open
      },
      // alone
      "\u00fc\ud83d\ude00\/": [
          1 // one
          ,
          nan
      ]
  } // last
  $ vjson format formatted | cmp - formatted; vjson format compressed | cmp - formatted
  $ vjson compress --comments formatted | cmp - compressed; vjson compress compressed
  {"b":[],"a":1.50e+03,"a":{},"\u00fc\ud83d\ude00\/":[1,nan]}
  $ vjson compress --tree odd | vjson get '["\\u00fc\\ud83d\\ude00\\/"]'
  [1,nan]
  $ python3 - odd formatted compressed <<'END' | uniq | wc -l
  > import json, re, sys
  > for name in sys.argv[1:]:
  >     text = re.sub(r'("([^"\\]|\\.)*")|//.*', r'\1', open(name).read())
  >     print(json.loads(text.replace('nan', '0'), object_pairs_hook=list))
  > END
  1

What cannot be read twice is written up to its fault; the rest is refused before.

  $ (seq -f '[%.0f],' 40000 | sed '1s/^/[/'; echo x) >long; vjson format long 2>&1 | head -n 1
  long:40001:1: ParseNumber: number is incorrect
  $ cat long | vjson compress 2>&1 | tail -c 60 | head -n 1
  99],[40000],-:40001:1: ParseNumber: number is incorrect

Values at paths, and what is in the way.

  $ printf %s '{"a":{"b":[1,{"+":"é\u00e9\ud83d\ude00\ud83d\n"}],"":{"\"\\":{"é-1":true}}},"/":{"~":[ ]},"a":' >doc
  $ sed 's/"a":$/"a":2}/' doc >twice; sed 's/,"a":$/}/' doc >once
  $ vjson get once 'a[""]["\"\\"].é-1' /a//'"\/é-1' '/~1/~0'
  true
  true
  [ ]
  $ vjson get --raw once 'a.b[1]["+"]' a.b; vjson get <twice a; vjson keys twice | tail -n 1
  \xc3\xa9\xc3\xa9\xf0\x9f\x98\x80\xef\xbf\xbd (esc)
  
  [1,{"+":"\xc3\xa9\\u00e9\\ud83d\\ude00\\ud83d\\n"}] (esc)
  2
  "/"
  $ vjson get once 'a.b[2][0]' a.c.d /a/b/01 "$zeros" 2>&1
  vjson: once: a.b[2]: past the end, the length is 2
  vjson: once: a.c: no such key
  vjson: once: /a/b/01: not in a value of the kind array
  vjson: once: ...000000000000000000000000000000000000000000000000000000000000: no such key
  [1]
  $ for path in .a 'a[0]b' 'a[4294967296]' 'a["\\\"]' 'a[0' /a~2; do
  >   vjson get none $path 2>&1 | paste -sd '|'
  > done
  path:1:1: Path: a name is missing|.a|^
  path:1:5: Path: '.' or '[' is missing|a[0]b|    ^
  path:1:3: Path: the index is too large|a[4294967296]|  ^
  path:1:9: Path: '"' is missing|a["\\\"]|        ^
  path:1:4: Path: ']' is missing|a[0|   ^
  path:1:4: Path: '0' or '1' is missing behind '~'|/a~2|   ^
  $ differ() { echo "$1" >first; echo "$2" | vjson equal "${@:3}" first; }
  $ differ '[[0,1]]' '[[0]]'; differ '{"a":{}}' '{"a":{"1":[]}}'; differ '[{"~":1}]' '[{"~":[]},2]' --all
  /0/1: 1 and (none)
  /a/1: (none) and []
  /0/~0: 1 and []
  /1: (none) and 2
  [1]
  $ vjson keys once a.b; vjson equal once twice; echo '{"a":{}}' | vjson cost | tail -n 1
  vjson: once: a.b: no object but a value of the kind array
  /a: {"":{"\\"\\\\":{"\xc3\xa9-1":true}},"b"... and 2 (esc)
  depth             2

Changes. All else stays, by diff.

  $ cat >conf <<'END'
  > {
  >     // the net
  >     "net": {
  >         "ssid": "home", // its name
  >         "channel": 11 // 1 to 13
  >     },
  >     "list": [1, 2 ,3],
  >     "none": { }, "no": [ // none
  >     ]
  > }
  > END
  $ change() { vjson "$1" conf "${@:2}" | diff conf - | sed -n 's/^[<>]/&|/p' | tr '<>' -+; }
  $ change set net.channel -6; change set net.mode ' "b" // c'
  -|         "channel": 11 // 1 to 13
  +|         "channel": -6 // 1 to 13
  -|         "channel": 11 // 1 to 13
  +|         "channel": 11, // 1 to 13
  +|         "mode": "b"
  $ change set --string none.a '\"'; change set /no/- 1; change set /net/x '{}' | tail -n 1
  -|     "none": { }, "no": [ // none
  +|     "none": {"a": "\\\""}, "no": [ // none
  -|     ]
  +|     1]
  +|         "x": {}
  $ for path in net.ssid net.channel 'list[0]' 'list[2]'; do change remove $path; done
  -|         "ssid": "home", // its name
  -|         "ssid": "home", // its name
  -|         "channel": 11 // 1 to 13
  +|         "ssid": "home" // its name
  -|     "list": [1, 2 ,3],
  +|     "list": [2 ,3],
  -|     "list": [1, 2 ,3],
  +|     "list": [1, 2 ],
  $ vjson remove twice a; vjson set <once 7 a 2>&1 | head -n 1
  {"/":{"~":[ ]}}VALUE:1:1: ParseNumber: number is incorrect
  $ vjson set twice a.b 1; vjson remove once ''; vjson set --in-place / 1
  vjson: twice: a.b: not in a value of the kind number
  vjson: remove: the outermost value has to stay
  vjson: -: --in-place needs a file
  [2]

Killed at any call, a change in place leaves the old file or the new one.

  $ [ -n "$STRACE" ] || echo new; for call in openat fstat read write fsync rename close; do
  >   for number in 1 2 3 4 5 6 7 8 9; do
  >     cp conf killed; (${STRACE:-true} -e inject=$call:signal=KILL:when=$number -o log \
  >       bin/vjson set --in-place killed none '"new"') || true
  >     cmp -s killed conf && echo old || vjson get --raw killed none
  >   done
  > done 2>log | sort -u
  new
  old

The strict check.

  $ strict() { printf "$1" | vjson check --strict 2>&1 | grep '^[-v]' | cut -d : -f 2-; }
  $ strict '[1, "é", {"a": {}, "b": {"a": -0.5e+7}}, true, false, null]'
  $ strict '[nan,\v-inf]//\n'; strict '["\\/\\u00e9\\u00g9\t\\\\\xff"]'
  1:2: RFC 8259: no such number
  1:6: RFC 8259: no such blank
  1:7: RFC 8259: no such number
  1:12: RFC 8259: no comments
  1:3: RFC 8259: another meaning of this escape
  1:5: RFC 8259: another meaning of this escape
  1:11: RFC 8259: no such escape
  1:17: RFC 8259: no control characters in a string
  1:20: RFC 8259: nothing but UTF-8
  $ strict '{"a\\\\x":{"b":1},\n"a\\x": [{"b":2}, inf 3'
  2:1: Keys: a key again, after 1:2
  2:3: RFC 8259: no such escape
  2:18: RFC 8259: no such number
  2:22: ParseArray: missing ']'
  $ deep=$(printf '[%.0s' {1..1025} && printf ']%.0s' {1..1025})
  $ strict $deep; strict $deep// | tail -n 1; strict "[$(printf 'inf,%.0s' {1..22})0]" | tail -c 40
  1:1025: Parse: nesting is too deep
   -: RFC 8259 takes this text
  1:2051: RFC 8259: no comments
  78: RFC 8259: no such number
   -: 2 more

Strange inputs.

  $ odd() { vjson check "$@" 2>&1 | grep -v ^hint | cut -c 1-60 | paste -sd '|' | tr '\n' ' '; echo "${PIPESTATUS[0]}"; }
  $ for text in '\xef\xbb\xbf{}' '\xff\xfe[\0' '["\0"]' '"\xe4\x01"' '\r\n\f1\v//'; do printf "$text" | odd; done
  -:1:1: ParseNumber: number is incorrect|?{}|^ 1
  -:1:1: ParseNumber: number is incorrect|??[?|^ 1
  -:1:3: GetString: string is not end with '"'|["?"]|  ^ 1
   0
   0
  $ name=$'a\nb\e]0;\xe2\x80\xaec'; printf '[1' >"$name"
  $ for file in "$name" none . /dev/zero; do odd "$file"; done
  a?b?]0;?c:1:3: ParseArray: missing ']'|[1|  ^ 1
  vjson: none: No such file or directory 2
  vjson: .: Is a directory 2
  /dev/zero:1:1: ParseNumber: number is incorrect|????????????????????????????????????????????????????????????|^ 1
  $ printf '[%.0s' {1..100000} | odd; (yes '[' | head -n 1000; yes ']' | head -n 1000) | odd
  -:1:1025: Parse: nesting is too deep|...[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[|                                                 ^ 1
   0
  $ yes "$(printf %999s)" | head -c $BLANKS | odd | cut -d : -f 4; printf '1\n\n[2\n\0\n3' | odd --lines
   ParseNumber
  -:3:3: ParseArray: missing ']'|[2|  ^|-:4:1: ParseNumber: number is incorrect|?|^ 1
  $ vjson format conf >/dev/full; vjson --help >/dev/full; vjson keys <&-
  vjson: standard output: No space left on device
  vjson: standard output: No space left on device
  vjson: -: Bad file descriptor
  [2]
  $ (yes '[2],' | head -n 90000; echo 3) | sed '1s/^/[/; $s/$/]/' | vjson compress | head -c 5; echo "${PIPESTATUS[2]}"
  [[2],141

What a terminal is shown.

  $ tty() { SHELL=/bin/bash script -qec "$(printf '%q ' vjson "$@")" /dev/null </dev/null | tr -d '\r'; }
  $ printf '["\e[2J\x9b\xe2\x80\xae日\t\r"\r\n,{"a":1}]\n' >raw; vjson get raw '' | cmp - raw
  $ tty get raw ''; tty $'x\e\ny'; NO_COLOR= tty compress raw; vjson compress --color=always raw
  ["?[2J??\xe6\x97\xa5\t?" (esc)
  ,{"a":1}]
  vjson: x??y: unknown command; see vjson --help
  [\x1b[32m"?[2J??\xe6\x97\xa5\t?"\x1b[0m,{\x1b[1;34m"a"\x1b[0m:\x1b[36m1\x1b[0m}] (esc)
  [\x1b[32m"?[2J??\xe6\x97\xa5\t?"\x1b[0m,{\x1b[1;34m"a"\x1b[0m:\x1b[36m1\x1b[0m}] (esc)
  $ printf '"%010000000d"' 0 >big; tty check big | grep -o '10 of 10 MB' | uniq
  10 of 10 MB

Bad usage.

  $ for words in '' --frob 'format a b' 'keys --strict' 'check -- --x'; do vjson $words; done
  vjson: usage: vjson [OPTION] COMMAND [FILE]...; see vjson --help
  vjson: --frob: unknown option; see vjson --help
  vjson: format: wrong number of arguments; see vjson --help
  vjson: --strict: not for this command; see vjson --help
  vjson: --x: No such file or directory
  [2]
