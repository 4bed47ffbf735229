#!/bin/sh
# Redraws every skin picture into resources/ from tools/skin/skingen.cpp, and
# the five tutorial movies resources/rec/11.gif to 15.gif from tutorialgen.cpp
# (frames assembled by ImageMagick's convert).
#   sh tools/skin/rebuild.sh
set -e
here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/../.." && pwd)
build=${SKINGEN_BUILD:-$top/build-skingen}
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j 2 >/dev/null
"$build/skingen" "$top/resources"

frames="$build/frames"
rm -rf "$frames"
"$build/tutorialgen" "$top/resources" "$frames"
for n in 11 12 13 14 15; do
  last=$(ls "$frames/$n"/f*.png | tail -n 1)
  convert -delay 22 $(ls "$frames/$n"/f*.png | sed '$d') -delay 150 "$last" \
          -loop 0 +dither -colors 64 -layers Optimize "$top/resources/rec/$n.gif"
  echo "wrote $top/resources/rec/$n.gif"
done
