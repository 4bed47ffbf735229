#!/bin/sh
# End to end: start the real program on a virtual display, open a real
# photograph through the open dialog as a user would (click, type, Return),
# take a screenshot, and check that the photo stands on the canvas, fitted
# and centred.
#   e2e_open_photo.sh <mervane binary> <work dir> <checker binary>
set -e
BIN=$1
WORK=$2
CHECK=$3
PHOTO=/usr/lib/python3/dist-packages/skimage/data/coffee.png
[ -f "$PHOTO" ] || { echo "missing test photograph $PHOTO (python3-skimage)"; exit 1; }
mkdir -p "$WORK/e2e"
cp "$PHOTO" "$WORK/e2e/coffee.png"
rm -f "$WORK/e2e/shot.png"

# Own settings store, with the first-run tutorial already seen.
export XDG_CONFIG_HOME="$WORK/e2e/config"
mkdir -p "$XDG_CONFIG_HOME/Tesselin"
printf '[General]\nInitializtion=1\n' > "$XDG_CONFIG_HOME/Tesselin/Tesselin Mervane.conf"

cd "$(dirname "$BIN")"
"$BIN" > "$WORK/e2e/mervane.log" 2>&1 &
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

# Centre of the "Select Photo" button: the welcome page lies between the tool
# column (81 + 34) and the right panel (266), under the header (48), with the
# two 119-wide columns spread evenly and the 110 button above its label.
set -- $(awk -v x="$X" -v y="$Y" -v w="$WIDTH" -v h="$HEIGHT" 'BEGIN {
  s = w / 1256.0; px = x + 115 * s; pw = w - 381 * s; py = y + 48 * s; ph = h - 48 * s;
  sp = (pw - 2 * 119 * s - 48) / 3; vs = (ph - 125 * s - 36) / 2;
  printf "%d %d\n", px + sp + 12 + 59.5 * s, py + vs + 12 + 55 * s }')
xdotool mousemove "$1" "$2" click 1

# The open dialog takes the typed path.
DLG=
for i in $(seq 1 100); do
  DLG=$(xdotool search --name '^Open Image$' 2>/dev/null | head -1) || true
  [ -n "$DLG" ] && break
  sleep 0.1
done
[ -n "$DLG" ] || { echo "the open dialog did not appear"; exit 1; }
sleep 0.5
xdotool type --delay 15 "$WORK/e2e/coffee.png"
xdotool key Return

# Give a loaded machine a few seconds to show the photo.
for i in $(seq 1 8); do
  sleep 1
  import -window root "$WORK/e2e/shot.png"
  if "$CHECK" "$WORK/e2e/shot.png" "$WORK/e2e/coffee.png"; then
    exit 0
  fi
done
exit 1
