#!/bin/bash
# Usage: files_test.sh VJSON...
# A file that is saved keeps its mode, its owners and its links, and loses
# nothing when a call fails or the power does.
set -euo pipefail
vjson=("$@")
cd "$(mktemp --directory)"
trap 'rm -r "$PWD"' EXIT

check() { # EXPECTED COMMAND...
  diff <(echo "$1") <("${@:2}" 2>&1) || { echo "^ ${*:2}" && exit 1; }
}

echo "[2]" >old
[[ $UID -ne 0 ]] || chown 65534:65533 old
chmod 6604 old && former=$(stat --format='%A %u:%g' old)
mkdir folder && ln -s ../old folder/link && ln -s folder/link link
"${vjson[@]}" set --in-place link '[0]' 1
check "$former [1]" eval "stat --format='%A %u:%g' old | paste -d ' ' - old"
# An emulator and a sanitizer have calls of their own.
[[ $# -eq 1 ]] && ! grep -q __asan_init "$1" || exit 0

# The calls in their order, and with each of them failing.
strace -o calls -e trace=openat,write,fchmod,fsync,rename,unlink \
  "$1" set --in-place old '[0]' 3
check "openat folder openat beside write fchmod fsync rename fsync" \
  eval "sed -n '/\"\\.\",/,\$ { s/(.*\"\\.\",.*/ folder/; s/(.*O_EXCL.*/ beside/
    s/(.*//; /^+/!p }' calls | paste -sd ' ' | grep -o '.*fsync'"
while read -r call when left; do
  echo "[2]" >old
  strace -o calls -e inject="$call:error=EIO:when=$when" \
    "$1" set --in-place old '[0]' 4 2>result || true
  check "vjson: old: Input/output error $left" eval "paste -d ' ' result old"
done <<<$'write 1 [2]\nfchmod 1 [2]\nfsync 1 [2]\nrename 1 [2]\nfsync 2 [4]'
check "calls folder link old result" eval "echo *"
