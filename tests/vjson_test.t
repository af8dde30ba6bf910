The tool. VJSON is the command, SOURCE the folder of the project, BLANKS a number
of blanks, MANUAL the manual page or nothing, and STRACE strace or nothing.

  $ mkdir bin && printf '#!/bin/sh\nexec %s "$@"\n' "$VJSON" >bin/vjson
  $ chmod +x bin/vjson && PATH=$PWD/bin:$PATH && export LC_ALL=C NO_COLOR=1

What the README and the manual show is so.

  $ awk '/^```/ { on = /console/; next } on' "$SOURCE/README.md" >shown
  $ [ ! -e "$MANUAL" ] || sed '1,/brackets/d; /^[.]/d; s/\\&//g; s/\\\\/\\/g' \
  >   "$MANUAL" | diff shown -
  $ sed 's/^/  /' shown >shown.t && { cram3 --shell=/bin/bash shown.t >log || cat log; }

Nothing is left behind, however it ends.

  $ printf '{"a": [1, "\303\251\\n"]} // e' >good; printf '[1,\n2\0]' >nul
  $ for command in check format compress cost equal\ good 'get a /a/0' keys \
  >   'set a 1' 'set b 1' 'remove a[0]' 'compress --tree' 'check --strict'; do
  >   for text in good nul none .; do
  >     vjson --report ${command%% *} $text ${command#* } 2>&1 >out | tail -n 1
  >   done
  > done | uniq -c
       48 memory: 0 bytes
  $ echo '{"a":[{}]}' | vjson cost | tail -n 1
  depth             3

Strange inputs, and how a line is shown: the caret is under the fault.

  $ fault() { printf "$1" | vjson check "${@:2}" 2>&1 | cut -c 1-160 | paste -sd '|' | tr '\n' ' '; echo "${PIPESTATUS[1]}"; }
  $ zeros=$(printf %0200d 0); wide=${zeros//0/日}; fault "[\"$wide\" 1, \"$wide\"]"
  -:1:605: ParseArray: missing ']'|...\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5" 1, "\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5\xe6\x97\xa5...|                                 ^|hint: a comma is missing here 1 (esc)
  $ fault '{"a"\r:\r\n\t"\e\xc2\x9b\xf4\x90\x80\x80\xff\xed\xa0\x80\xe2\x80\xae"\t1}\r\n'
  -:3:19: ParseObject: missing '}' or have some extra data characters|\t"???????????"\t1}|\t             \t^|hint: a comma is missing here 1 (esc)
  $ for text in '' '\xef\xbb\xbf{}' '\xff\xfe[\0' '["\0"]' '"\xe4\x01"'; do fault "$text"; done
  -:1:1: ParseNumber: number is incorrect||^|hint: the text is empty 1
  -:1:1: ParseNumber: number is incorrect|?{}|^|hint: the text begins with a byte order mark 1
  -:1:1: ParseNumber: number is incorrect|??[?|^|hint: the text is UTF-16, and should be UTF-8 1
  -:1:3: GetString: string is not end with '"'|["?"]|  ^ 1
   0
  $ name=$'a\nb\e]0;\xe2\x80\xaec'; printf '[1' >"$name"
  $ for file in "$name" . /dev/zero; do fault '' "$file"; done
  a?b?]0;?c:1:3: ParseArray: missing ']'|[1|  ^|hint: the array that begins at line 1, column 1 is not closed 1
  vjson: .: Is a directory 2
  /dev/zero:1:1: ParseNumber: number is incorrect|??????????????????????????????????????????????????????????????????????...|^ 1
  $ fault "$(printf '[%.0s' {1..100000})"; fault '1\n\n[2\n"a\0\0"\n3\n-' --lines
  -:1:1025: Parse: nesting is too deep|...[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[...|                                                 ^ 1
  -:3:3: ParseArray: missing ']'|[2|  ^|hint: the array that begins at column 1 is not closed|-:4:3: GetString: string is not end with '"'|"a??"|  ^|-:6:1: ParseNumber: number is incorrect|-|^ 1
  $ vjson compress --lines /dev/zero
  vjson: /dev/zero: a line is longer than 100 MB
  [2]
  $ yes "$(printf %999s)" | head -c $BLANKS | vjson check 2>&1 | grep -o 'is.*'
  is incorrect
  $ vjson format good >/dev/full; vjson keys <&-
  vjson: standard output: No space left on device
  vjson: -: Bad file descriptor
  [2]
  $ (yes '[2],' | head -n 90000; echo 3) | sed '1s/^/[/; $s/$/]/' | vjson compress | head -c 5; echo "${PIPESTATUS[2]}"
  [[2],141
  $ (seq -f '[%.0f],' 40000 | sed '1s/^/[/'; echo x) >long; vjson format long 2>&1 | head -n 1; cat long | vjson compress 2>&1 | tail -c 60 | head -n 1
  long:40001:1: ParseNumber: number is incorrect
  99],[40000],-:40001:1: ParseNumber: number is incorrect

Values at paths, and what is in the way.

  $ printf %s '{"a":{"b":[1,{"+":"é\u00e9\ud83d\ude00\ud83d\n"}]},"1":{"~":[ ]},"a":2}' >twice
  $ vjson keys twice; sed 's/,"a":2//' twice >once; vjson get --raw once 'a.b[1]["+"]' /1/~0
  a
  "1"
  \xc3\xa9\xc3\xa9\xf0\x9f\x98\x80\xef\xbf\xbd (esc)
  
  [ ]
  $ vjson get once 'a.b[2][0]' a.c.d /a/b/01 "$zeros"; vjson keys once a.b; vjson set twice a.b 1; vjson remove once ''
  vjson: once: a.b[2]: past the end, the length is 2
  vjson: once: a.c: no such key
  vjson: once: /a/b/01: not in [1,{"+":"\xc3\xa9\\u00e9\\ud83d\\ude00\\... (esc)
  vjson: once: ...0000000000000000000000000000000000000000: no such key
  vjson: once: a.b: no object but [1,{"+":"\xc3\xa9\\u00e9\\ud83d\\ude00\\... (esc)
  vjson: twice: a.b: not in 2
  vjson: remove: the outermost value cannot be removed
  [2]
  $ for path in 'a[0]b' 'a[4294967296]' 'a["\\\"]' /a~2; do vjson get none $path 2>&1 | paste -sd '|'; done
  path:1:5: Path: expected '.' or '['|a[0]b|    ^
  path:1:3: Path: no index, or too large|a[4294967296]|  ^
  path:1:9: GetString: string is not end with '"'|a["\\\"]|        ^|hint: the string that begins at line 1, column 3 is not closed
  path:1:4: Path: expected '0' or '1' behind '~'|/a~2|   ^
  $ for words in '' 'format a b' 'keys --strict' 'check -- --x' 'check --color=x' \
  >   'set --in-place / 1' 'set 7 a'; do vjson $words <once 2>&1 | head -n 1; done
  vjson: usage: vjson [OPTION] COMMAND [FILE]...; see vjson --help
  vjson: format: wrong number of arguments; see vjson --help
  vjson: --strict: no option of this command; see vjson --help
  vjson: --x: No such file or directory
  vjson: --color: always, never or auto
  vjson: -: --in-place needs a file
  VALUE:1:1: ParseNumber: number is incorrect
  $ printf '[{"~":1},"café","\xff","'$zeros'"]' >first
  $ printf '[{"~":[],"x":0},"cafè","\xfe","0'$zeros'",2]' >second; vjson equal first second; vjson equal --all first second
  /0/~0: 1 and []
  /0/~0: 1 and []
  /0/x: (none) and 0
  /1: "caf\xc3\xa9" and "caf\xc3\xa8" (esc)
  /2: "\xff" and "\xfe"
  /3: ...00000000000000000000" and ...000000000000000000000"
  /4: (none) and 2
  [1]

Changes. All else stays. Killed at any call, they leave the old file or the new.

  $ printf '{\n    "net": {\n        "ssid": "home", // its name\n        "channel": 11 // 1 to 13\n    },\n    "list": [1, 2 ,3], "none": { }\n}\n' >conf
  $ cp conf changed; ln -s changed link; change() { vjson "$1" --in-place link "${@:2}"; }
  $ change set net.channel -6; change set net.mode ' "b" // c'; change set --string none.a '\"'
  $ change remove net.ssid; change remove 'list[0]'; change remove 'list[1]'; cat changed
  {
      "net": {
          "channel": -6, // 1 to 13
          "mode": "b"
      },
      "list": [2 ], "none": {"a": "\\\""}
  }
  $ [ -n "$STRACE" ] || echo new; for call in openat fstat read write fsync rename close; do
  >   for number in 1 2 3 4 5 6 7 8 9; do
  >     cp conf killed; (${STRACE:-true} -e inject=$call:signal=KILL:when=$number -o log \
  >       bin/vjson set --in-place killed none '"new"') || true
  >     cmp -s killed conf && echo old || vjson get --raw killed none
  >   done
  > done 2>log | sort -u
  new
  old
  $ printf '{"k":1,\n  // only\n  "k":2, "k":3\n}\n' | vjson remove k | vjson set k $'[ // c\n  ]' | vjson set k[0] 1
  {
    // only
    "k": [ // c
        1
    ]
  }

The strict check.

  $ strict() { printf "$1" | vjson check --strict 2>&1 | grep '^[-v]' | cut -d : -f 2- | cut -c 1-99; }
  $ strict '[nan,\v1,"\\u00e9\\u00g9\t\\\\\xff",{"a\\\\x":{"b":1},\n"a\\x":{"b":2}},//\n inf 3'
  1:2: RFC 8259: this number is not allowed
  1:6: RFC 8259: this blank is not allowed
  1:10: Escapes: other readers decode this escape
  1:16: RFC 8259: unknown escape
  1:22: RFC 8259: control character in a string
  1:25: RFC 8259: invalid UTF-8
  2:1: Keys: repeated key, first at 1:29
  2:3: RFC 8259: unknown escape
  2:16: RFC 8259: comments are not allowed
  3:2: RFC 8259: this number is not allowed
  3:6: ParseArray: missing ']'
  $ deep=$(printf '[%.0s' {1..1025} && printf ']%.0s' {1..1025})
  $ strict $deep; strict $deep// | tail -n 1; strict "[$(printf 'inf,%.0s' {1..22})0]" | tail -n 1; echo inf | vjson check --strict 2>/dev/null
  1:1025: Parse: nesting is too deep
   -: the text is valid by RFC 8259
  1:2051: RFC 8259: comments are not allowed
   -: 2 more findings
  [1]

What a terminal is shown.

  $ tty() { SHELL=/bin/bash script -qec "$(printf '%q ' vjson "$@")" /dev/null </dev/null | tr -d '\r'; }
  $ printf '["\e[2J\x9b\xe2\x80\xae日\t\r"\r\n,{"a":1}]\n' >raw; vjson get raw '' | cmp - raw
  $ tty get raw ''; tty $'x\e\ny'; vjson compress --color=always raw | tee colored; NO_COLOR= tty compress raw | cmp - colored
  ["?[2J??\xe6\x97\xa5\t?" (esc)
  ,{"a":1}]
  vjson: x??y: unknown command; see vjson --help
  [\x1b[32m"?[2J??\xe6\x97\xa5\t?"\x1b[0m,{\x1b[1;34m"a"\x1b[0m:\x1b[36m1\x1b[0m}] (esc)
  $ printf '"%010000000d"' 0 >big; tty check big | grep -o '10 of 10 MB' | uniq
  10 of 10 MB
