#!/bin/sh
# Redraws every skin picture into resources/ from tools/skin/skingen.cpp.
#   sh tools/skin/rebuild.sh
# The tutorial movies are recordings of the program (tools/record-tutorial.sh).
# Drawn stand-ins from tutorialgen.cpp, for a movie that cannot be recorded
# yet, are written only when asked for by number:
#   sh tools/skin/rebuild.sh movies 13 14
set -e
here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/../.." && pwd)
build=${SKINGEN_BUILD:-$top/build-skingen}
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j 2 >/dev/null
"$build/skingen" "$top/resources"

[ "$1" = movies ] || exit 0
shift

frames="$build/frames"
rm -rf "$frames"
"$build/tutorialgen" "$top/resources" "$frames"
for n in "$@"; do
  last=$(ls "$frames/$n"/f*.png | tail -n 1)
  convert -delay 22 $(ls "$frames/$n"/f*.png | sed '$d') -delay 150 "$last" \
          -loop 0 +dither -colors 64 -layers Optimize "$top/resources/rec/$n.gif"
  echo "wrote $top/resources/rec/$n.gif"
done
