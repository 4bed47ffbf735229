#!/bin/sh
# End to end: start the real program on a virtual display, open a real
# photograph, choose the stamp, Alt-click a source and drag a stroke, as a
# user would, then check the screenshots: the photo changed along the stroke
# and nowhere else.
#   e2e_stamp.sh <mervane binary> <checker binary> <canvas checker binary> <erase checker binary>
set -eu
. "$MERVANE_E2E_LIB"
e2e_begin "$1"
CHECK=$2
CANVAS_CHECK=$3
ERASE_CHECK=$4
PHOTO=$(e2e_photo coffee.png coffee.png)

e2e_start
e2e_open_photo "$PHOTO"
e2e_park_pointer
e2e_fit_photo "$ERASE_CHECK"
photo_shown() { "$CANVAS_CHECK" "$E2E_LAST" "$PHOTO" > /dev/null; }
e2e_wait_screen loaded 20 photo_shown || e2e_fail "the photo did not appear on the canvas"

# Points on the photo, in screen pixels: the stamp button in the tool column,
# a source on the table at the left, a stroke on the table at the right.
set -- $(awk -v x="$WX" -v y="$WY" -v w="$WW" 'BEGIN {
  s = w / 1256.0;
  printf "%d %d %d %d %d %d %d %d\n", x + 39 * s, y + 280 * s,
         x + 170 * s, y + 200 * s, x + 880 * s, y + 150 * s, 24 * s, x + 995 * s }')
BX=$1; BY=$2; SX=$3; SY=$4; TX=$5; TY=$6; STEP=$7; LISTX=$8
e2e_click "$BX" "$BY"
# Park the pointer off the photo so no preview is drawn in the shots.
e2e_park_pointer
e2e_wait_still before 10 || e2e_fail "the screen did not settle after choosing the stamp"
BEFORE=$E2E_LAST

# The X server hands the events over in order, so the Alt press reaches the
# program before the click it modifies.
xdotool mousemove "$SX" "$SY" keydown alt click 1 keyup alt
xdotool mousemove "$TX" "$TY" mousedown 1
for i in $(seq 1 10); do
  xdotool mousemove "$TX" $((TY + i * STEP / 2))
  sleep 0.05 # a hand's pace, so the stroke is not one jump
done
xdotool mouseup 1
# Moving away shows the preview at the pointer: release it off the photo.
e2e_park_pointer
EY=$((TY + 5 * STEP))
stroke_shown() { "$CHECK" "$BEFORE" "$E2E_LAST" "$SX" "$SY" "$TX" "$TY" "$TX" "$EY" 40 "$LISTX"; }
e2e_wait_screen after 20 stroke_shown || e2e_fail "the stamp stroke is not on the screen as it should be"
