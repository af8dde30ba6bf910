#!/bin/bash
# Usage: readme_test.sh README TOUR_SOURCE TOUR_COMMAND...
# The README shows the program as it is, and what it prints.
set -euo pipefail
readme=$1 source=$2 tour=("${@:3}")

# block N: the N-th block of code of the README.
block() {
  awk -v wanted="$1" '/^```/ { if (!inside) ++count; inside = !inside; next }
    inside && count == wanted' "$readme"
}

diff <(block 1) "$source"
diff <(block 2) <("${tour[@]}")
