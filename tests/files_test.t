Files that are saved keep their mode, their owners and their links. Nothing is
tried where strace does not see the calls of the tool itself.

  $ [ -n "$STRACE" ] || exit 80
  $ echo '[2]' >old; [ $UID -ne 0 ] || chown 65534:65533 old; chmod 6604 old
  $ mkdir folder; ln -s ../old folder/link; ln -s folder/link link
  $ stat --format='%A %u:%g' old >former; $VJSON set --in-place link '[0]' 1
  $ stat --format='%A %u:%g' old | diff former -; cat old
  [1]

The calls of that. When one fails, the former file or the new one is there, and
nothing beside it.

  $ strace -o calls -e trace=openat,write,fchmod,fsync,rename,unlink \
  >   $VJSON set --in-place old '[0]' 3
  $ sed -n '/"\.",/,$ { s/(.*"\.",.*/ folder/; s/(.*O_EXCL.*/ beside/; s/(.*//; p }' calls |
  >   paste -sd ' '
  openat folder openat beside write fchmod fsync rename fsync +++ exited with 0 +++
  $ for call in write:when=1 fchmod fsync rename fsync:when=2; do
  >   echo '[2]' >old
  >   strace -o calls -e inject=$call:error=EIO $VJSON set --in-place old '[0]' 4 || cat old
  > done 2>&1 | paste -d ' ' - - | uniq -c
        4 vjson: old: Input/output error [2]
        1 vjson: old: Input/output error [4]
  $ ls
  calls
  folder
  former
  link
  old
