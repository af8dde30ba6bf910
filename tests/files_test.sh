#!/bin/bash
# Usage: files_test.sh PROGRAM...
# What files_main reads, saves and refuses, and what a loss of power leaves.
set -euo pipefail
program=("$@")
cd "$(mktemp --directory)"
trap 'rm -r "$PWD"' EXIT

check() { # EXPECTED COMMAND...
  diff <(echo "$1") <("${@:2}" 2>&1) || { echo "^ ${*:2}" && exit 1; }
}
both() { # EXPECTED PATH
  check "$1" "${program[@]}" "$2"
  check "$1" "${program[@]}" "$2" 9
}

# New, with the umask; again, with its mode; behind links, one to no file yet.
(umask 027 && check " 0 at 0" "${program[@]}" new)
check $'-rw-r-----\n[\n    1\n]' eval "stat --format=%A new; cat new"
echo "[2] // of before" >old
chmod 604 old
mkdir folder && ln -s ../old folder/link && ln -s folder/link link
check " 0 at 0" "${program[@]}" link
check $'-rw----r--\n[\n    1\n]' eval "stat --format=%A old; cat old"
ln -s ../none folder/dangling
check " 0 at 0" "${program[@]}" folder/dangling
check "[1] 0 at 0" "${program[@]}" none 10
check "read 27 at 0" "${program[@]}" none 9
mkfifo pipe && ln -s loop loop && printf '[1]\0' >nul
both "open 21 at 0" folder
both "open 22 at 0" pipe
both "open 40 at 0" loop
both "open 2 at 0" nowhere/file
both "open 2 at 0" ""
both "open 14 at 0" null
check " 0 at 3" "${program[@]}" nul 9
long=$(printf %255s | tr ' ' n)
check " 0 at 0" "${program[@]}" "$long" && rm "$long"
# An emulator and a sanitizer have calls of their own.
[[ $# -eq 1 ]] && ! grep -q __asan_init "$1" || exit 0

# The calls in their order, and with each of them failing.
strace -o calls -e trace=openat,write,fchmod,fsync,rename,unlink "$1" old >result
check "openat folder openat beside write write fchmod fsync rename fsync" \
  eval "sed -n '/\"\\.\",/,\$ { s/(.*\"\\.\",.*/ folder/; s/(.*O_EXCL.*/ beside/
    s/(.*//; /^+/!p }' calls | paste -sd ' ' | grep -o '.*fsync'"
while read -r call when expected; do
  echo former >old
  strace -o calls -e inject="$call:error=EIO:when=$when" "$1" old >result
  check "$expected" eval "cat result old | paste -sd ' '"
done <<'END'
write 1 write 5 at 0 former
write 2 write 5 at 0 former
fchmod 1 write 5 at 0 former
fsync 1 sync 5 at 0 former
rename 1 rename 5 at 0 former
fsync 2 sync 5 at 0 [     1 ]
END
check "calls folder link loop new none nul old pipe result" eval "echo *"
