#!/bin/bash
# Usage: tests/fuzz.sh BUILD TARGET SECONDS
# Runs a fuzz target of the build folder on the seeds and on what it found worth
# keeping before, which it keeps in BUILD/corpus/TARGET. Leaves an input that
# fails in BUILD/findings. It ends at the first of these, with another status.
set -euo pipefail

build=$1 target=$2 seconds=$3
corpus=$build/corpus/$target
mkdir -p "$corpus" "$build/findings"

# New inputs go into the first of the folders.
exec "$build/tests/fuzz_$target" "$corpus" "$(dirname "$0")/seeds" \
  -max_total_time="$seconds" -timeout=25 \
  -artifact_prefix="$build/findings/$target-" -print_final_stats=1
