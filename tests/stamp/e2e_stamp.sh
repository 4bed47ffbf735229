#!/bin/sh
# End to end: start the real program on a virtual display, open a real
# photograph, choose the stamp, Alt-click a source and drag a stroke, as a
# user would, then check the screenshots: the photo changed along the stroke
# and nowhere else.
#   e2e_stamp.sh <mervane binary> <work dir> <checker binary> <canvas checker binary>
set -e
BIN=$1
WORK=$2
CHECK=$3
CANVAS_CHECK=$4
PHOTO=/usr/lib/python3/dist-packages/skimage/data/coffee.png
[ -f "$PHOTO" ] || { echo "missing test photograph $PHOTO (python3-skimage)"; exit 1; }
mkdir -p "$WORK/e2e_stamp"
cp "$PHOTO" "$WORK/e2e_stamp/coffee.png"
rm -f "$WORK/e2e_stamp/before.png" "$WORK/e2e_stamp/after.png" "$WORK/e2e_stamp/loaded.png"

# Own settings store, with the first-run tutorial already seen.
export XDG_CONFIG_HOME="$WORK/e2e_stamp/config"
mkdir -p "$XDG_CONFIG_HOME/Tesselin"
printf '[General]\nInitializtion=1\n' > "$XDG_CONFIG_HOME/Tesselin/Tesselin Mervane.conf"

cd "$(dirname "$BIN")"
"$BIN" > "$WORK/e2e_stamp/mervane.log" 2>&1 &
PID=$!
trap 'kill $PID 2>/dev/null || true' EXIT

WID=
for i in $(seq 1 100); do
  WID=$(xdotool search --name '^Mervane$' 2>/dev/null | head -1) || true
  [ -n "$WID" ] && break
  sleep 0.1
done
[ -n "$WID" ] || { echo "the window did not appear"; exit 1; }
sleep 0.5
eval "$(xdotool getwindowgeometry --shell "$WID")"

# "Select Photo" on the welcome page (see tests/ui/e2e_open_photo.sh).
set -- $(awk -v x="$X" -v y="$Y" -v w="$WIDTH" -v h="$HEIGHT" 'BEGIN {
  s = w / 1256.0; px = x + 115 * s; pw = w - 381 * s; py = y + 48 * s; ph = h - 48 * s;
  sp = (pw - 2 * 119 * s - 48) / 3; vs = (ph - 125 * s - 36) / 2;
  printf "%d %d\n", px + sp + 12 + 59.5 * s, py + vs + 12 + 55 * s }')
xdotool mousemove "$1" "$2" click 1
DLG=
for i in $(seq 1 100); do
  DLG=$(xdotool search --name '^Open Image$' 2>/dev/null | head -1) || true
  [ -n "$DLG" ] && break
  sleep 0.1
done
[ -n "$DLG" ] || { echo "the open dialog did not appear"; exit 1; }
sleep 0.5
xdotool type --delay 15 "$WORK/e2e_stamp/coffee.png"
xdotool key Return

# Wait until the photo stands on the canvas (a loaded machine may take a while).
SHOWN=
for i in $(seq 1 15); do
  sleep 1
  import -window root "$WORK/e2e_stamp/loaded.png"
  if "$CANVAS_CHECK" "$WORK/e2e_stamp/loaded.png" "$WORK/e2e_stamp/coffee.png" > /dev/null; then
    SHOWN=1
    break
  fi
done
[ -n "$SHOWN" ] || { echo "the photo did not appear on the canvas"; exit 1; }

# Points on the photo, in screen pixels: the stamp button in the tool column,
# a source on the table at the left, a stroke on the table at the right.
set -- $(awk -v x="$X" -v y="$Y" -v w="$WIDTH" 'BEGIN {
  s = w / 1256.0;
  printf "%d %d %d %d %d %d %d\n", x + 39 * s, y + 280 * s,
         x + 170 * s, y + 200 * s, x + 880 * s, y + 150 * s, 24 * s }')
BX=$1; BY=$2; SX=$3; SY=$4; TX=$5; TY=$6; STEP=$7
xdotool mousemove "$BX" "$BY" click 1
sleep 1
# Park the pointer off the photo so no preview is drawn in the shots.
xdotool mousemove 5 5
sleep 0.5
import -window root "$WORK/e2e_stamp/before.png"

xdotool mousemove "$SX" "$SY"
sleep 0.2
xdotool keydown alt
sleep 0.2
xdotool click 1
sleep 0.2
xdotool keyup alt
sleep 0.3
xdotool mousemove "$TX" "$TY" mousedown 1
for i in $(seq 1 10); do
  xdotool mousemove "$TX" $((TY + i * STEP / 2))
  sleep 0.05
done
xdotool mouseup 1
sleep 0.3
# Moving away shows the preview at the pointer: release it off the photo.
xdotool mousemove 5 5
sleep 1
import -window root "$WORK/e2e_stamp/after.png"
EY=$((TY + 5 * STEP))
"$CHECK" "$WORK/e2e_stamp/before.png" "$WORK/e2e_stamp/after.png" "$SX" "$SY" "$TX" "$TY" "$TX" "$EY" 40
