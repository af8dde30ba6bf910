#!/bin/bash
# Usage: doc_test.sh BUILD
# The commands in the README and the pages do what is said there, in a copy of
# the source; their links, also of those installed, and the names of files and
# programs in them lead to something.
# Needs the build with the blocks of the pages. Leaves the copy in it.
set -euo pipefail
shopt -s nullglob
source=$(cd "$(dirname "$0")/.." && pwd) blocks=$1/tests/blocks work=$1/tests/doc

cmake --build "$1" --target vorn_doc # which the pages refer to
rm -rf "$work"
mkdir -p "$work/build" "$work/tour"
tar -C "$source" --exclude=./build --exclude=./.git -c . | tar -C "$work" -x
ln -s "$1" "$work/build/release"
cp "$blocks/README_1.cpp" "$work/tour/tour.cpp"
cp "$blocks"/README_*.cmake "$work/tour/CMakeLists.txt"
cd "$work"
for commands in "$blocks"/*.sh; do
  echo "== ${commands##*/}"
  bash -eu "$commands"
done
diff "$blocks/README_1.out" <(tour/build/tour)

# Links lead on from their page, names from the root.
pages=({.,build/installed/share/doc/VornJson}/{.,abi,doc}/*.md)
folders='abi|bench|doc|examples|framework|gdb|include|json|packaging|scripts|tests|tools'
{
  grep -oHE '\]\([^):#]+' "${pages[@]}" | sed 's,[^/]*:](,,'
  grep -ohE "\`($folders|build/release)/[^ \`]+" "${pages[@]}" | tr -d '\`'
} | while read -r file; do
  compgen -G "$file" >/dev/null || { echo "there is no $file" && exit 1; }
done
