#!/bin/sh
# End to end: the real program on a virtual display. Open a real photograph
# through the open dialog, paint the red brush over the spoon, press Erase,
# catch the progress dialog, and check on the screen that the spoon's place
# changed while the rest of the photo did not; then undo by the bottom bar
# and check that the photo is back.
#   e2e_erase_photo.sh <mervane binary> <canvas checker binary> <erase checker binary>
set -eu
. "$MERVANE_E2E_LIB"
e2e_begin "$1"
CHECK=$2
ERASE_CHECK=$3
PHOTO=$(e2e_photo coffee.png coffee.png)
WORK=$E2E_DIR

e2e_start
e2e_open_photo "$PHOTO"
e2e_park_pointer
e2e_fit_photo "$ERASE_CHECK"

# Where the photo stands, and at what scale.
photo_shown() { "$CHECK" "$E2E_LAST" "$PHOTO" > "$WORK/found.txt" 2>&1; }
e2e_wait_screen before 20 photo_shown || e2e_fail "the photo did not show"
BEFORE=$E2E_LAST
set -- $(awk '/photo found/ { split($4, a, ","); split($6, b, "x"); print a[1], a[2], b[1] }' "$WORK/found.txt")
e2e_set_place "$1" "$2" "$(awk -v w="$3" 'BEGIN { print w / 600.0 }')"

# Screen rectangles, in screen pixels: the whole photo, and the painted
# area grown by the brush and the engine's stamp.
PHOTO_BOX=$(awk -v px="$E2E_OX" -v py="$E2E_OY" -v s="$E2E_SCALE" 'BEGIN { printf "%dx%d+%d+%d", 600 * s, 400 * s, px, py }')
set -- $(e2e_to_screen 330 50) ; HX0=$1; HY0=$2
set -- $(e2e_to_screen 425 330); HX1=$1; HY1=$2

# changed_box <a> <b>: bounding box (WxH+X+Y) of the pixels that differ
# between two shots inside the photo, or nothing when none differ.
changed_box() {
  convert "$1" -crop "$PHOTO_BOX" +repage "$WORK/a.png"
  convert "$2" -crop "$PHOTO_BOX" +repage "$WORK/b.png"
  compare -fuzz 1% -metric AE -highlight-color white -lowlight-color black "$WORK/a.png" "$WORK/b.png" \
    "$WORK/d.png" 2>/dev/null || true
  convert "$WORK/d.png" -threshold 50% -format '%@' info:
}
count_changed() {
  n=$(compare -fuzz 1% -metric AE "$1" "$2" null: 2>&1) || true
  echo "${n%.*}"
}
# How many photo pixels differ from the photo before the erase.
photo_changed() {
  changed_box "$BEFORE" "$E2E_LAST" > /dev/null
  count_changed "$WORK/a.png" "$WORK/b.png"
}

# The brush (the default tool) over the spoon: handle and bowl.
e2e_drag 1 405,75 398,130 388,190 378,240
e2e_drag 1 360,255 350,280 365,305 385,300 390,270 372,262 362,285 375,290
e2e_park_pointer
painted() { [ "$(photo_changed)" -gt 2000 ]; }
e2e_wait_screen painted 20 painted || e2e_fail "the brush left no selection on the photo"
PAINTED=$E2E_LAST

# Erase, at the end of the command row.
e2e_find_erase "$ERASE_CHECK" "$PAINTED" || e2e_fail "the Erase button was not found"
e2e_click "$EX" "$EY"
e2e_park_pointer
# The job is over when its dialog is gone and the red selection with it.
selection_gone() {
  n=$(compare -fuzz 1% -metric AE "$PAINTED" "$E2E_LAST" null: 2>&1) || true
  [ "${n%.*}" -gt 2000 ]
}
e2e_wait_job 180 selection_gone || e2e_fail "the job did not end"
echo "progress dialog seen: $E2E_JOB_SEEN"
e2e_wait_still after 20 || e2e_fail "the screen did not settle after the job"

BOX=$(changed_box "$BEFORE" "$E2E_LAST")
N=$(count_changed "$WORK/a.png" "$WORK/b.png")
echo "changed on screen: $N pixels in $BOX"
[ "$N" -gt 2000 ] || e2e_fail "the spoon's place did not change"
W=${BOX%%x*}; R=${BOX#*x}; H=${R%%+*}; R=${R#*+}; BX=${R%%+*}; BY=${R#*+}
OK=$(awk -v bx="$BX" -v by="$BY" -v w="$W" -v h="$H" -v x0="$HX0" -v y0="$HY0" -v x1="$HX1" -v y1="$HY1" \
     -v px="$E2E_OX" -v py="$E2E_OY" 'BEGIN { print (px + bx >= x0 && py + by >= y0 && px + bx + w <= x1 && py + by + h <= y1) }')
[ "$OK" = 1 ] || e2e_fail "changes outside the painted area ($BOX)"

# Undo by the command row brings the photo back.
e2e_click $(e2e_command_button 380)
e2e_park_pointer
restored() { [ "$(photo_changed)" -eq 0 ]; }
e2e_wait_screen undone 20 restored || e2e_fail "undo did not restore the photo"
[ "$E2E_JOB_SEEN" = 1 ] || echo "note: the job ended before the dialog could be seen"
echo "PASS"
