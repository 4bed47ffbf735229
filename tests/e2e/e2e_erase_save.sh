#!/bin/sh
# End to end, as a user works: start the real program on a virtual display,
# open a real photograph through the open dialog, paint over an object with
# the red brush, press Erase, wait for the job, save the result as PNG through
# the save dialog, and judge the saved file against the original: unchanged
# outside the work box, changed inside the painted stroke, the object gone.
#
#   e2e_erase_save.sh <mervane binary> <checker binary>
set -eu
. "$MERVANE_E2E_LIB"
e2e_begin "$1"
CHECK=$2
PHOTO=$(e2e_photo hubble_deep_field.jpg deep_field.jpg)
mkdir -p "$E2E_DIR/out"
SAVED="$E2E_DIR/out/erased.png"
# The object: a bright elliptical galaxy (image pixels), and the stroke over it.
GX=726
GY=473
HALF=20
BRUSH=30

e2e_start
e2e_shot welcome

# 1. Open the photograph, and find it on the canvas: its corner and scale.
e2e_open_photo "$PHOTO"
e2e_park_pointer
e2e_fit_photo "$CHECK"
located() { FOUND=$("$CHECK" locate "$E2E_LAST" "$PHOTO"); }
e2e_wait_screen opened 20 located || e2e_fail "the photo did not appear on the canvas"
e2e_set_place $FOUND
echo "photo on screen at $E2E_OX,$E2E_OY, scale $E2E_SCALE"
BEFORE=$E2E_LAST

# 2. Paint over the galaxy with the red brush (the tool after opening), a
#    horizontal stroke through its centre, in small steps.
X0=$((GX - HALF)); X1=$((GX + HALF))
set -- $(e2e_to_screen $X0 $GY); SX0=$1; SY=$2
set -- $(e2e_to_screen $X1 $GY); SX1=$1
xdotool mousemove "$SX0" "$SY" mousedown 1
x=$SX0
while [ "$x" -lt "$SX1" ]; do
  x=$((x + 3))
  [ "$x" -gt "$SX1" ] && x=$SX1
  xdotool mousemove "$x" "$SY"
  sleep 0.02 # a hand's pace, so the stroke is not one jump
done
xdotool mouseup 1
# Move the pointer off the photo so that the brush ring does not cover it.
xdotool mousemove $((WX + 20)) $((WY + WH - 20))
# The stroke's left end lies on dark sky, where the red tint shows plainly.
EDGE=$(awk -v x="$SX0" -v b="$BRUSH" 'BEGIN { printf "%d", x - b * 0.3 }')
tinted() { "$CHECK" painted "$BEFORE" "$E2E_LAST" "$EDGE" "$SY" 2 > /dev/null; }
e2e_wait_screen painted 20 tinted || e2e_fail "the brush painted no red selection over the object"

# 3. Erase: the accent-coloured button beside the command row.
e2e_find_erase "$CHECK" "$E2E_LAST" || e2e_fail "the Erase button was not found"
e2e_click "$EX" "$EY"
# The job is over when its dialog is gone and the red selection with it
# (a successful erase clears it).
untinted() { ! tinted; }
e2e_wait_job 180 untinted || e2e_fail "the erase job did not finish in three minutes"
echo "progress dialog seen: $E2E_JOB_SEEN"
e2e_shot erased

# 4. Save as PNG through the save dialog, opened by the save button of the
#    command row (a shortcut would need the keyboard focus, which no window
#    manager hands back to the main window on this bare display).
e2e_click $(e2e_command_button 250)
e2e_wait 30 e2e_has_window '^Save File$' || e2e_fail "the save dialog did not appear"
e2e_shot save-dialog
# Replace the proposed name with the target.
e2e_answer_file '^Save File$' "$SAVED"
e2e_wait_file "$SAVED" 30 || e2e_fail "no file was saved at $SAVED"
e2e_shot saved

# 5. The saved photo against the original.
"$CHECK" compare "$PHOTO" "$SAVED" $X0 $GY $X1 $GY $BRUSH "$E2E_SCALE" 8
