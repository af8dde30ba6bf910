#!/bin/bash
# Usage: size_test.sh SOURCE WORK STRIP CMAKE_ARGUMENT...
# What libjson.so.1 takes on a 32-bit ARM device: optimized for size, stripped.
# Needs the cross compiler. Leaves its build in WORK.
set -euo pipefail
source=$1 work=$2 strip=$3 arguments=("${@:4}")

ceiling=52000 # bytes

cmake -S "$source" -B "$work" -G Ninja "${arguments[@]}" \
  -DCMAKE_BUILD_TYPE=MinSizeRel -DVORN_BUILD_TESTS=OFF
cmake --build "$work" --target vorn_json
"$strip" -o "$work/stripped" "$work/json/libjson.so"

size=$(stat --format=%s "$work/stripped")
echo "$size bytes, of at most $ceiling"
[[ $size -gt 0 && $size -le $ceiling ]]
