#!/bin/sh
# End to end: the real program on a virtual display. Open a real photograph
# through the open dialog, paint the red brush over the spoon, press Erase,
# catch the progress dialog, and check on the screen that the spoon's place
# changed while the rest of the photo did not; then undo by the bottom bar
# and check that the photo is back.
#   e2e_erase_photo.sh <mervane binary> <work dir> <canvas checker binary>
set -e
BIN=$1
WORK=$2/e2e_erase
CHECK=$3
PHOTO=/usr/lib/python3/dist-packages/skimage/data/coffee.png
[ -f "$PHOTO" ] || { echo "missing test photograph $PHOTO (python3-skimage)"; exit 1; }
rm -rf "$WORK"
mkdir -p "$WORK"
cp "$PHOTO" "$WORK/coffee.png"

# Own settings store, with the first-run tutorial already seen.
export XDG_CONFIG_HOME="$WORK/config"
mkdir -p "$XDG_CONFIG_HOME/Tesselin"
printf '[General]\nInitializtion=1\n' > "$XDG_CONFIG_HOME/Tesselin/Tesselin Mervane.conf"

cd "$(dirname "$BIN")"
"$BIN" > "$WORK/mervane.log" 2>&1 &
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
WX=$X; WY=$Y; WW=$WIDTH; WH=$HEIGHT

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
xdotool type --delay 15 "$WORK/coffee.png"
xdotool key Return

# Where the photo stands, and at what scale.
FOUND=
for i in $(seq 1 8); do
  sleep 1
  import -window root "$WORK/before.png"
  if "$CHECK" "$WORK/before.png" "$WORK/coffee.png" > "$WORK/found.txt" 2>&1; then
    FOUND=$(awk '/photo found/ { split($4, a, ","); split($6, b, "x"); print a[1], a[2], b[1] }' "$WORK/found.txt")
    break
  fi
done
[ -n "$FOUND" ] || { echo "the photo did not show"; exit 1; }
set -- $FOUND
PX=$1; PY=$2; S=$(awk -v w="$3" 'BEGIN { print w / 600.0 }')
to() { awk -v x="$1" -v y="$2" -v px="$PX" -v py="$PY" -v s="$S" 'BEGIN { printf "%d %d", px + x * s, py + y * s }'; }

# The brush (the default tool) over the spoon: handle and bowl.
for line in "405,75 398,130 388,190 378,240" "360,255 350,280 365,305 385,300 390,270 372,262 362,285 375,290"; do
  first=1
  for pt in $line; do
    set -- $(to "${pt%,*}" "${pt#*,}")
    if [ $first = 1 ]; then xdotool mousemove "$1" "$2" mousedown 1; first=0
    else xdotool mousemove "$1" "$2"; fi
    sleep 0.05
  done
  xdotool mouseup 1
  sleep 0.2
done

# Erase, bottom right of the canvas column.
EX=$(awk -v x="$WX" -v w="$WW" 'BEGIN { printf "%d", x + w - 381 * w / 1256.0 + 80 }')
EY=$(awk -v y="$WY" -v h="$WH" 'BEGIN { printf "%d", y + h - 35 * h / 770.0 }')
xdotool mousemove "$EX" "$EY" click 1
# The progress dialog: a second, small window of the program.
SEEN=0
for i in $(seq 1 20); do
  for w in $(xdotool search --onlyvisible --name '^Mervane$' 2>/dev/null); do
    eval "$(xdotool getwindowgeometry --shell "$w")"
    [ "$WIDTH" -lt 400 ] && SEEN=1
  done
  [ $SEEN = 1 ] && break
  sleep 0.05
done
echo "progress dialog seen: $SEEN"
# Wait for the job to end (the dialog goes), then for a repaint.
for i in $(seq 1 120); do
  OPEN=0
  for w in $(xdotool search --onlyvisible --name '^Mervane$' 2>/dev/null); do
    eval "$(xdotool getwindowgeometry --shell "$w")"
    [ "$WIDTH" -lt 400 ] && OPEN=1
  done
  [ $OPEN = 0 ] && break
  sleep 0.5
done
[ $OPEN = 0 ] || { echo "the job did not end"; exit 1; }
# A loaded machine may repaint late: take shots until two agree.
import -window root "$WORK/after.png"
for i in $(seq 1 20); do
  sleep 0.5
  import -window root "$WORK/again.png"
  [ "$(compare -metric AE "$WORK/after.png" "$WORK/again.png" null: 2>&1 || true)" = 0 ] && break
  mv "$WORK/again.png" "$WORK/after.png"
done

# Screen rectangles, in screen pixels: the whole photo, and the painted
# area grown by the brush and the engine's stamp.
PHOTO_BOX=$(awk -v px="$PX" -v py="$PY" -v s="$S" 'BEGIN { printf "%dx%d+%d+%d", 600 * s, 400 * s, px, py }')
set -- $(to 330 50) ; HX0=$1; HY0=$2
set -- $(to 425 330); HX1=$1; HY1=$2

changed_box() {
  # Bounding box (WxH+X+Y) of the pixels that differ between two shots
  # inside the photo, or nothing when none differ.
  convert "$1" -crop "$PHOTO_BOX" +repage "$WORK/a.png"
  convert "$2" -crop "$PHOTO_BOX" +repage "$WORK/b.png"
  compare -fuzz 1% -metric AE -highlight-color white -lowlight-color black "$WORK/a.png" "$WORK/b.png" \
    "$WORK/d.png" 2>/dev/null || true
  convert "$WORK/d.png" -threshold 50% -format '%@' info:
}
count_changed() {
  compare -fuzz 1% -metric AE "$1" "$2" null: 2>&1 || true
}

BOX=$(changed_box "$WORK/before.png" "$WORK/after.png")
N=$(count_changed "$WORK/a.png" "$WORK/b.png")
echo "changed on screen: $N pixels in $BOX"
[ "${N%.*}" -gt 2000 ] || { echo "FAIL: the spoon's place did not change"; exit 1; }
W=${BOX%%x*}; R=${BOX#*x}; H=${R%%+*}; R=${R#*+}; BX=${R%%+*}; BY=${R#*+}
OK=$(awk -v bx="$BX" -v by="$BY" -v w="$W" -v h="$H" -v x0="$HX0" -v y0="$HY0" -v x1="$HX1" -v y1="$HY1" \
     -v px="$PX" -v py="$PY" 'BEGIN { print (px + bx >= x0 && py + by >= y0 && px + bx + w <= x1 && py + by + h <= y1) }')
[ "$OK" = 1 ] || { echo "FAIL: changes outside the painted area ($BOX)"; exit 1; }

# Undo by the bottom bar brings the photo back.
xdotool mousemove $((WX + 589)) $((WY + 735)) click 1
for i in $(seq 1 20); do
  sleep 0.5
  import -window root "$WORK/undone.png"
  changed_box "$WORK/before.png" "$WORK/undone.png" > /dev/null
  N=$(count_changed "$WORK/a.png" "$WORK/b.png")
  [ "${N%.*}" -eq 0 ] && break
done
echo "after undo: $N pixels differ"
[ "${N%.*}" -eq 0 ] || { echo "FAIL: undo did not restore the photo"; exit 1; }
[ $SEEN = 1 ] || echo "note: the job ended before the dialog could be seen"
echo "PASS"
