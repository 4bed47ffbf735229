#!/bin/sh
# Redraws every skin picture into resources/ from tools/skin/skingen.cpp.
#   sh tools/skin/rebuild.sh
# The tutorial movies are recordings of the program: tools/record-tutorial.sh.
set -e
here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/../.." && pwd)
build=${SKINGEN_BUILD:-$top/build-skingen}
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j 2 >/dev/null
"$build/skingen" "$top/resources"

