#!/bin/bash
# Usage: doc_test.sh SOURCE BUILD BLOCKS WORK
# The commands in the README and the pages do what is said there, in a copy of
# the source; their links, also of those installed, and the names of files and
# programs in them lead to something.
# Needs the build and the blocks of the pages. Leaves the copy in WORK.
set -euo pipefail
source=$1 build=$2 blocks=$3 work=$4

rm -rf "$work"
mkdir -p "$work/build" "$work/tour"
tar -C "$source" --exclude=./build --exclude=./.git -c . | tar -C "$work" -x
ln -s "$build" "$work/build/release"
cp "$blocks/README_1.cpp" "$work/tour/tour.cpp"
cp "$blocks"/README_*.cmake "$work/tour/CMakeLists.txt"
cd "$work"

shown=$blocks/README_1.out
for commands in "$blocks"/*.sh; do
  echo "== ${commands##*/}"
  bash -eu "$commands" | tee output
  if grep -q '^tour/' "$commands"; then
    tail -n "$(wc -l <"$shown")" output | diff "$shown" -
  fi
done

# Links lead on from their page, names from the root.
places='^(abi|bench|build/release|doc|examples|framework|fuzz|gdb|include|json|packaging|scripts|tests|tools)/'
status=0
for page in {.,build/installed/share/doc/VornJson}/{.,abi,doc}/*.md; do
  while read -r file; do
    compgen -G "$file" >/dev/null || { echo "$page: there is no $file" && status=1; }
  done < <(
    grep -oE '\]\([^):#]+' "$page" | sed "s,^](,${page%/*}/,"
    # shellcheck disable=SC2016  # the backquotes are the page's
    grep -oE '`[^`]+`' "$page" | grep -oE '[^` ]+' | grep -E "$places"
  )
done
exit "$status"
