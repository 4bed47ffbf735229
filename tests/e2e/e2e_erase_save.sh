#!/bin/sh
# End to end, as a user works: start the real program on a virtual display,
# open a real photograph through the open dialog, paint over an object with
# the red brush, press Erase, wait for the job, save the result as PNG through
# the save dialog, and judge the saved file against the original: unchanged
# outside the work box, changed inside the painted stroke, the object gone.
#
#   e2e_erase_save.sh <mervane binary> <work dir> <checker binary>
#
# Screenshots of every step stay in <work dir>/e2e_erase when the test fails
# (or always, with MERVANE_E2E_KEEP=1).
set -eu
BIN=$1
WORK=$2/e2e_erase
CHECK=$3
PHOTO_SRC=/usr/lib/python3/dist-packages/skimage/data/hubble_deep_field.jpg
# The object: a bright elliptical galaxy (image pixels), and the stroke over it.
GX=726
GY=473
HALF=20

[ -f "$PHOTO_SRC" ] || { echo "missing test photograph $PHOTO_SRC (python3-skimage)"; exit 1; }
rm -rf "$WORK"
mkdir -p "$WORK/photos" "$WORK/out"
PHOTO="$WORK/photos/deep_field.jpg"
cp "$PHOTO_SRC" "$PHOTO"
SAVED="$WORK/out/erased.png"

# Own settings store, with the first-run tutorial already seen.
export XDG_CONFIG_HOME="$WORK/config"
mkdir -p "$XDG_CONFIG_HOME/Tesselin"
printf '[General]\nInitializtion=1\n' > "$XDG_CONFIG_HOME/Tesselin/Tesselin Mervane.conf"

PID=
STEP=0
shot() {
  STEP=$((STEP + 1))
  import -window root "$WORK/$(printf '%02d' $STEP)-$1.png"
  LAST="$WORK/$(printf '%02d' $STEP)-$1.png"
}
finish() {
  rc=$?
  [ -n "$PID" ] && kill "$PID" 2>/dev/null || true
  if [ $rc -eq 0 ]; then
    [ "${MERVANE_E2E_KEEP:-0}" = 1 ] || rm -rf "$WORK"
  else
    import -window root "$WORK/zz-at-failure.png" 2>/dev/null || true
    echo "end-to-end erase failed; screenshots and log kept in $WORK"
  fi
}
trap finish EXIT
fail() { echo "FAIL: $*"; exit 1; }

# Waits up to $2 tenths of a second for a window whose name matches $1.
wait_window() {
  i=0
  while [ $i -lt "$2" ]; do
    W=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -1) || true
    [ -n "$W" ] && { echo "$W"; return 0; }
    sleep 0.1
    i=$((i + 1))
  done
  return 1
}

cd "$(dirname "$BIN")"
"$BIN" > "$WORK/mervane.log" 2>&1 &
PID=$!

WID=$(wait_window '^Mervane$' 150) || fail "the window did not appear"
sleep 0.5
eval "$(xdotool getwindowgeometry --shell "$WID")"
shot welcome

# 1. Open the photograph: the "Select Photo" button of the welcome page.
set -- $(awk -v x="$X" -v y="$Y" -v w="$WIDTH" -v h="$HEIGHT" 'BEGIN {
  s = w / 1256.0; px = x + 115 * s; pw = w - 381 * s; py = y + 48 * s; ph = h - 48 * s;
  sp = (pw - 2 * 119 * s - 48) / 3; vs = (ph - 125 * s - 36) / 2;
  printf "%d %d\n", px + sp + 12 + 59.5 * s, py + vs + 12 + 55 * s }')
xdotool mousemove "$1" "$2" click 1
wait_window '^Open Image$' 100 > /dev/null || fail "the open dialog did not appear"
sleep 0.5
xdotool type --delay 10 "$PHOTO"
xdotool key Return

# 2. Find the photo on the canvas: its corner and display scale.
FOUND=
for i in $(seq 1 20); do
  sleep 0.5
  shot opened
  if FOUND=$("$CHECK" locate "$LAST" "$PHOTO"); then break; fi
  FOUND=
done
[ -n "$FOUND" ] || fail "the photo did not appear on the canvas"
set -- $FOUND
OX=$1; OY=$2; S=$3
echo "photo on screen at $OX,$OY, scale $S"

# 3. Paint over the galaxy with the red brush (the tool after opening), a
#    horizontal stroke through its centre, in small steps.
X0=$((GX - HALF)); X1=$((GX + HALF))
to_screen() { awk -v v="$1" -v o="$2" -v s="$S" 'BEGIN { printf "%d", o + v * s + 0.5 }'; }
SY=$(to_screen $GY "$OY")
SX0=$(to_screen $X0 "$OX")
SX1=$(to_screen $X1 "$OX")
xdotool mousemove "$SX0" "$SY"
sleep 0.3
shot before-paint
xdotool mousedown 1
x=$SX0
while [ "$x" -lt "$SX1" ]; do
  x=$((x + 3))
  [ "$x" -gt "$SX1" ] && x=$SX1
  xdotool mousemove "$x" "$SY"
  sleep 0.02
done
xdotool mouseup 1
sleep 0.5
# Move the pointer off the photo so that the brush ring does not cover it.
xdotool mousemove $((X + 20)) $((Y + HEIGHT - 20))
sleep 0.3
shot painted
# The stroke's left end lies on dark sky, where the red tint shows plainly.
BRUSH=30
EDGE=$(awk -v s="$S" -v x="$SX0" -v b="$BRUSH" 'BEGIN { printf "%d", x - b * 0.3 }')
"$CHECK" painted "$WORK/$(printf '%02d' $((STEP - 1)))-before-paint.png" "$LAST" "$EDGE" "$SY" 2 \
  || fail "the brush painted no red selection over the object"

# 4. Erase: the accent-coloured button beside the command row.
BUTTON=$("$CHECK" button "$LAST") || fail "the Erase button was not found"
set -- $BUTTON
EX=$1; EY=$2; EW=$3
xdotool mousemove "$EX" "$EY" click 1
sleep 0.3
shot erasing
# The progress dialog is a second window of that name: wait for it to show
# (a short job may be over before it is seen), then until it is gone.
i=0
while [ $i -lt 30 ]; do
  n=$(xdotool search --onlyvisible --name '^Mervane$' 2>/dev/null | wc -l) || n=0
  [ "$n" -ge 2 ] && break
  sleep 0.1
  i=$((i + 1))
done
i=0
while [ $i -lt 1800 ]; do
  n=$(xdotool search --onlyvisible --name '^Mervane$' 2>/dev/null | wc -l) || n=0
  [ "$n" -le 1 ] && break
  sleep 0.1
  i=$((i + 1))
done
[ $i -lt 1800 ] || fail "the erase job did not finish in three minutes"
sleep 0.5
shot erased

# 5. Save as PNG through the save dialog: Ctrl+S, or else the save button of
#    the command row, 250 design pixels left of the Erase button's centre
#    (the button is 142 design pixels wide, which gives the scale).
xdotool key ctrl+s
if ! wait_window '^Save File$' 15 > /dev/null; then
  set -- $(awk -v ex="$EX" -v ey="$EY" -v ew="$EW" 'BEGIN { printf "%d %d\n", ex - 250 * ew / 142.0, ey }')
  xdotool mousemove "$1" "$2" click 1
  wait_window '^Save File$' 100 > /dev/null || fail "the save dialog did not appear"
fi
sleep 0.5
shot save-dialog
# Replace the proposed name with the target.
xdotool key ctrl+a
xdotool type --delay 10 "$SAVED"
xdotool key Return
for i in $(seq 1 50); do
  [ -s "$SAVED" ] && break
  sleep 0.1
done
[ -s "$SAVED" ] || fail "no file was saved at $SAVED"
sleep 0.3
shot saved

# 6. The saved photo against the original.
"$CHECK" compare "$PHOTO" "$SAVED" $X0 $GY $X1 $GY $BRUSH "$S" 8
