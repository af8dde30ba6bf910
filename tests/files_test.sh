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

# New, with the umask; again, with its mode and owners; behind links, one to no
# file yet; with a long name.
umask 027
echo "[2] // of before" >old
[[ $UID -ne 0 ]] || chown 65534:65533 old
chmod 6604 old && owners=$(stat --format=%u:%g old)
mkdir folder && ln -s ../old folder/link && ln -s folder/link link
ln -s ../none folder/dangling
long=$(printf %255s | tr ' ' n)
for file in new link folder/dangling "$long"; do
  check "1  0 at 0" "${program[@]}" "$file"
done
check "-rw-r----- -rwS--Sr-- -rw-r----- -rw-r----- $owners" eval \
  '{ stat -c %A new old none "$long" && stat -c %u:%g old; } | paste -sd " "'
check $'[\n    1\n]' cat old
check "1 [1] 0 at 0" "${program[@]}" none 10
check "0 read 27 at 0" "${program[@]}" none 9
mkfifo pipe && ln -s loop loop && printf '[1]\0' >nul
check "0  0 at 3" "${program[@]}" nul 9
while read -r error path; do
  check "0 open $error at 0" "${program[@]}" "$path"
  check "0 open $error at 0" "${program[@]}" "$path" 9
done <<<$'21 folder\n22 pipe\n40 loop\n2 nowhere/file\n2\n14 null'
# An emulator and a sanitizer have calls of their own.
[[ $# -eq 1 ]] && ! grep -q __asan_init "$1" || exit 0

# The calls in their order, and with each of them failing.
strace -o calls -e trace=openat,write,fchmod,fsync,rename,unlink "$1" old >result
check "openat folder openat beside write write fchmod fsync rename fsync" \
  eval "sed -n '/\"\\.\",/,\$ { s/(.*\"\\.\",.*/ folder/; s/(.*O_EXCL.*/ beside/
    s/(.*//; /^+/!p }' calls | paste -sd ' ' | grep -o '.*fsync'"
while read -r call when step left; do
  echo former >old
  strace -o calls -e inject="$call:error=EIO:when=$when" "$1" old >result
  check "0 $step 5 at 0 $left" eval "cat result old | paste -sd ' '"
done <<<$'write 1 write former\nwrite 2 write former\nfchmod 1 write former
fsync 1 sync former\nrename 1 rename former\nfsync 2 sync [     1 ]'
check "calls folder link loop new $long none nul old pipe result" eval "echo *"
