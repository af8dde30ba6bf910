#!/bin/bash
# Usage: symbols_test.sh EXPORTED NM READELF LIBJSON LIBFOUNDATIONS LIBDEBUGS
#   OBJECT...
# What libjson.so.1 shows to a program and what it asks of the framework, read
# from its symbol tables; the objects are those it is made of, and EXPORTED is
# the list of what is exported.
set -euo pipefail
export LC_ALL=C
nm=$2 readelf=$3 json=$4 libraries=("${@:4:3}") objects=("${@:7}")
failed=0

# none WHAT REGEX TEXT: no line of the text matches.
none() {
  if grep -E "$2" <<<"$3"; then echo "^ $1"; failed=1; fi
}
# only WHAT REGEX TEXT: there is text, and each line of it matches.
only() {
  if grep -Ev "$2" <<<"$3"; then echo "^ $1"; failed=1; fi
}
# some WHAT REGEX TEXT: a line of the text matches.
some() {
  if ! grep -Eq "$2" <<<"$3"; then echo "$1: nothing like $2"; failed=1; fi
}

# Nothing runs when the library is loaded: the one pointer of .init_array is the
# C runtime's own.
[[ ${#objects[@]} -gt 0 ]]
none "static constructors" '\.(init|preinit)_array|\.ctors' \
  "$("$readelf" --wide --sections "${objects[@]}")"
dynamic=$("$readelf" --wide --dynamic "$json")
pointer=$("$readelf" --file-header "$json" |
  sed -n 's/^ *Class: *ELF\(32\|64\)$/\1/p')
some "a single initializer" "\(INIT_ARRAYSZ\) +$((pointer / 8)) \(bytes\)" \
  "$dynamic"

# A public function is in the list, and what is in the list is public:
# scripts/abi --update writes it.
"$nm" --dynamic --defined-only "$json" | sed -E 's/^[0-9a-f]+ . //; s/@.*//' |
  c++filt | sort -u | diff "$1" - || failed=1

# Of the framework it needs the monitors' functions, which a program may define
# itself, the exception's constructor and the string functions.
monitors='^vorn::foundation::debug::(ObjectMonitor::(_IsTrace|_Alloc|_Dealloc|'
monitors+='_IncLeak|_DecLeak|_DecLeakEx|_DecLeakInfo|_DecLeakInfoEx)|'
monitors+='MemoryMonitor::(Alloc|Dealloc))\('
exception='^vorn::foundation::lang::Exception::'
exception+='Exception\(char const\*, char const\*\)$'
strings='^vorn::foundation::text::StringUtils::[A-Za-z_]+(\[abi:cxx11\])?\('
needed=$("$nm" --dynamic --undefined-only "$json" |
  sed -E 's/^ +[Uwv] //' | c++filt | grep -F vorn::)
only "needed of the framework" "$monitors|$exception|$strings" "$needed"
for function in ObjectMonitor::{_IsTrace,_Alloc,_Dealloc,_IncLeak} \
  ObjectMonitor::{_DecLeakEx,_DecLeakInfoEx} MemoryMonitor::{Alloc,Dealloc}; do
  some "calls" "^vorn::foundation::debug::$function\(" "$needed"
done

some "the soname" '\(SONAME\).*\[libjson\.so\.1\]' "$dynamic"
libraries_needed='foundations\.so\.1|debugs\.so\.1|stdc\+\+\.so\.6|'
libraries_needed+='gcc_s\.so\.1|c\.so\.6|m\.so\.6'
only "libraries needed" "\[(lib($libraries_needed)|ld-linux[-.a-z0-9]*)\]$" \
  "$(grep -F '(NEEDED)' <<<"$dynamic")"

# A program's own definitions come before those of any of the libraries.
for library in "${libraries[@]}"; do
  none "$library binds its own symbols first" \
    '\(SYMBOLIC\)|\((FLAGS|FLAGS_1)\).*SYMBOLIC' \
    "$("$readelf" --wide --dynamic "$library")"
done
exit "$failed"
