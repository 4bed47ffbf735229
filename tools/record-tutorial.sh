#!/bin/sh
# Records the five tutorial movies from the real program at work: it starts
# build/run/mervane on a virtual display, drives it with xdotool as a user
# would, takes a frame after every step with ImageMagick's import, paints the
# pointer into each frame (screen grabs do not hold it) and assembles
#   resources/rec/11.gif  open a photo
#   resources/rec/12.gif  select what must go (red) and where to take from (green)
#   resources/rec/13.gif  erase it, and look before and after
#   resources/rec/14.gif  the sampling stamp
#   resources/rec/15.gif  the smart clone tool
#
#   tools/record-tutorial.sh [movie numbers...]     default: 11 12 13 14 15
#
# Needs a built program (cmake --build build --target mervane), xvfb-run,
# xdotool, ImageMagick, and unshare (util-linux) with the right to mount in
# a private namespace (root, or unprivileged user namespaces). BUILD=<dir> picks another build tree, OUT=<dir>
# another output folder. The photograph is coffee.png from Debian's
# python3-skimage sample data (public domain). Frames are scaled to the
# tutorial's 800 x 464 and reduced to a small palette to keep each file small.
set -e

SRC=${SRC:-$(cd "$(dirname "$0")/.." && pwd)}
BUILD=${BUILD:-$SRC/build}
OUT=${OUT:-$SRC/resources/rec}
PHOTO=/usr/lib/python3/dist-packages/skimage/data/coffee.png

if [ -z "$MERVANE_REC_DISPLAY" ]; then
  [ -x "$BUILD/run/mervane" ] || { echo "no program at $BUILD/run/mervane: build it first" >&2; exit 1; }
  [ -f "$PHOTO" ] || { echo "missing $PHOTO (python3-skimage)" >&2; exit 1; }
  # 96 DPI keeps the interface scale at 1.0, the layout the steps below click.
  MERVANE_REC_DISPLAY=1 exec xvfb-run -a -s "-screen 0 1280x800x24 -dpi 96" "$0" "$@"
fi

# The open dialog shows its folder and the home folder: let them be a
# user's, not a temporary path. A private mount namespace lays an empty
# /home over the real one for this run only, so nothing is written there.
REC_HOME=/home/robin
if [ -z "$MERVANE_REC_HOME" ]; then
  if [ "$(id -u)" -eq 0 ]; then ns=--mount; else ns="--mount --map-root-user"; fi
  MERVANE_REC_HOME=$REC_HOME exec unshare $ns sh -c 'mount -t tmpfs -o mode=755 tmpfs /home && exec "$0" "$@"' "$0" "$@"
fi

MOVIES=${*:-11 12 13 14 15}
WORK=$(mktemp -d /tmp/mervane-rec.XXXXXX)
PID=
cleanup() {
  [ -n "$PID" ] && kill "$PID" 2>/dev/null || true
  rm -rf "$WORK"
}
trap cleanup EXIT

PICTURES=$MERVANE_REC_HOME/Pictures
mkdir -p "$PICTURES" "$WORK/config/Tesselin"
cp "$PHOTO" "$PICTURES/coffee.png"
# The first-run tutorial has been seen, and the open dialog starts in the
# folder of the photo: the movies show the program itself.
printf '[General]\nInitializtion=1\n' > "$WORK/config/Tesselin/Tesselin Mervane.conf"
printf '[General]\nlocation=%s\n' "$PICTURES" > "$WORK/config/Tesselin/Pellumar.conf"
export XDG_CONFIG_HOME="$WORK/config"
export HOME="$MERVANE_REC_HOME"

# The pointer painted into the frames: a white arrow with a dark edge.
ARROW="$WORK/arrow.png"
convert -size 16x24 xc:none -fill white -stroke '#222222' -strokewidth 1 \
  -draw "polygon 1,1 1,19 5,15 8,22 11,21 8,14 14,14" "$ARROW"

# ---------------------------------------------------------------- driving

WX=0; WY=0            # window origin on the screen
FW=1256; FH=728       # the part of the window the movies show (800 x 464 scaled)

start_program() {
  cd "$BUILD/run"
  ./mervane > "$WORK/mervane.log" 2>&1 &
  PID=$!
  cd - > /dev/null
  WID=
  for i in $(seq 1 100); do
    WID=$(xdotool search --onlyvisible --name '^Mervane$' 2>/dev/null | head -1) || true
    [ -n "$WID" ] && break
    sleep 0.1
  done
  [ -n "$WID" ] || { echo "the window did not appear" >&2; exit 1; }
  sleep 1
  eval "$(xdotool getwindowgeometry --shell "$WID")"
  WX=$X; WY=$Y
  at 640 600
}

stop_program() {
  kill "$PID" 2>/dev/null || true
  wait "$PID" 2>/dev/null || true
  PID=
}

# Pointer to a point of the window (design coordinates at scale 1.0).
at() { xdotool mousemove $((WX + $1)) $((WY + $2)); }
click() { at "$1" "$2"; sleep 0.15; xdotool click 1; sleep 0.3; }

# The photo is fitted to the canvas: 600 x 400 pixels shown at 863 / 600 from
# the canvas corner (115, 84). Pointer to a point of the photo.
on_photo() {
  at $(awk -v x="$1" -v y="$2" 'BEGIN { s = 863 / 600.0; printf "%d %d", 115 + x * s, 84 + y * s }')
}

N=0
FRAMES=
# One frame, held for $1 frames (default 1).
shot() {
  N=$((N + 1))
  f=$(printf '%s/%04d.png' "$FRAMES" "$N")
  import -window root -crop "${FW}x${FH}+${WX}+${WY}" +repage "$f"
  eval "$(xdotool getmouselocation --shell)"
  convert "$f" "$ARROW" -geometry "+$((X - WX))+$((Y - WY))" -composite "$f"
  hold=${1:-1}
  while [ "$hold" -gt 1 ]; do
    N=$((N + 1)); cp "$f" "$(printf '%s/%04d.png' "$FRAMES" "$N")"; hold=$((hold - 1))
  done
}

# A drag along photo points "x,y x,y ...", one frame every $STEP points.
drag_on_photo() {
  first=$1; shift
  on_photo ${first%,*} ${first#*,}
  sleep 0.1; xdotool mousedown 1; sleep 0.1
  k=0
  for p in "$@"; do
    on_photo ${p%,*} ${p#*,}
    sleep 0.03
    k=$((k + 1))
    [ $((k % ${STEP:-2})) -eq 0 ] && shot
  done
  xdotool mouseup 1; sleep 0.3
  shot
}

# The points of an ellipse around (cx, cy) with radii (rx, ry), n steps.
ellipse() {
  awk -v cx="$1" -v cy="$2" -v rx="$3" -v ry="$4" -v n="$5" 'BEGIN {
    for (i = 0; i <= n; i++) { a = 6.2832 * i / n; printf "%d,%d ", cx + rx * cos(a), cy + ry * sin(a) } }'
}

# A back-and-forth brush fill of the box (x0, y0)-(x1, y1), rows dy apart.
zigzag() {
  awk -v x0="$1" -v y0="$2" -v x1="$3" -v y1="$4" -v dy="$5" 'BEGIN {
    d = 0; for (y = y0; y <= y1; y += dy) {
      if (d == 0) { for (x = x0; x <= x1; x += 12) printf "%d,%d ", x, y }
      else { for (x = x1; x >= x0; x -= 12) printf "%d,%d ", x, y }
      d = 1 - d } }'
}

open_photo() {
  click 382 381                              # Select Photo
  for i in $(seq 1 50); do
    xdotool search --onlyvisible --name '^Open Image$' > /dev/null 2>&1 && break
    sleep 0.1
  done
  sleep 0.5
}

open_photo_quietly() {
  open_photo
  xdotool type --delay 5 coffee.png
  xdotool key Return
  sleep 1.2
}

# Frames while the progress dialog stands, then the result.
wait_for_job() {
  sleep 0.3
  for i in $(seq 1 240); do
    count=$(xdotool search --onlyvisible --name '^Mervane$' 2>/dev/null | wc -l)
    [ "$count" -le 1 ] && break
    [ $((i % 2)) -eq 1 ] && shot
    sleep 0.25
  done
  sleep 0.3
}

# The spoon on the saucer: its handle runs from (422, 66) down to the bowl
# around (365, 283), in photo pixels.
HANDLE="422,64 419,82 416,100 413,118 409,136 405,154 401,172 397,190 393,208 389,226 385,244"
brush_handle() {
  STEP=${1:-2} drag_on_photo $HANDLE
  STEP=${1:-2} drag_on_photo $(echo "$HANDLE" | awk '{ for (i = NF; i >= 1; i--) { split($i, p, ","); printf "%d,%d ", p[1] - 7, p[2] } }')
}
brush_bowl() {
  STEP=${1:-3} drag_on_photo $(zigzag 322 238 410 328 12)
}
# The whole spoon in red with the selection brush.
paint_spoon() {
  click 40 96
  brush_handle "$1"
  brush_bowl "$1"
}

# ---------------------------------------------------------------- movies

movie_11() {                                 # open a photo
  shot 8
  at 382 381; sleep 0.3; shot 6              # hover over Select Photo
  open_photo; shot 6
  for part in co ff ee .p ng; do             # the name appears as typed
    xdotool type --delay 30 "$part"; sleep 0.1; shot
  done
  shot 4
  xdotool key Return; sleep 1.2
  shot 20
}

movie_12() {                                 # select: red mask, green donor
  open_photo_quietly; shot 6
  at 40 96; sleep 0.3; shot 3                # the selection brush over the handle
  click 40 96; shot 3
  brush_handle 2
  shot 6
  click 40 210; shot 3                       # the lasso around the bowl
  STEP=3 drag_on_photo $(ellipse 365 283 50 52 30)
  shot 8
  click 40 392; shot 3                       # green (the size control is folded away)
  click 40 172; shot 3                       # the rectangle: where the fill may come from
  STEP=2 drag_on_photo 428,150 436,165 444,180 452,195 460,210 468,225 474,240 478,258
  shot 16
}

movie_13() {                                 # erase, then before and after
  open_photo_quietly; shot 4
  paint_spoon 3; shot 6
  at 918 707; sleep 0.3; shot 4              # Erase
  xdotool click 1
  wait_for_job
  at 640 720; sleep 0.2; shot 14
  at 327 707; sleep 0.4; shot 2              # hold "Before and After"
  xdotool mousedown 1; sleep 0.8; shot 12
  xdotool mouseup 1; sleep 0.5; shot 14
}

movie_14() {                                 # the sampling stamp
  open_photo_quietly; shot 4
  at 40 286; sleep 0.3; shot 3
  click 40 286; shot 6                       # stamp: its strip opens above
  on_photo 452 168; sleep 0.2                # the saucer right of the handle
  xdotool keydown alt; sleep 0.2; xdotool click 1; sleep 0.2; xdotool keyup alt
  sleep 0.3; shot 6                          # Alt-click takes the source
  STEP=2 drag_on_photo $(awk 'BEGIN { d = 1; for (y = 118; y <= 214; y += 6) {
    x = 432 - (y - 66) * 0.208; printf "%d,%d ", x + 11 * d, y; d = -d } }')   # over the handle
  shot 16
}

movie_15() {                                 # smart clone
  open_photo_quietly; shot 4
  click 40 96                                # the bowl of the spoon in red
  brush_bowl 4; shot 4
  at 40 324; sleep 0.3; shot 3
  click 40 324; shot 4                       # smart clone: carry the piece away
  STEP=2 drag_on_photo 365,283 380,263 395,243 410,223 425,203 440,183 455,163 470,143 485,123 500,108 515,98 528,92
  shot 6
  at 918 707; sleep 0.3; shot 3              # Erase pastes it seamlessly
  xdotool click 1
  wait_for_job
  at 640 720; sleep 0.2; shot 18
}

# ---------------------------------------------------------------- assembly

assemble() {
  # One palette for the whole movie, so unchanged areas stay unchanged and
  # the optimiser stores only what moves.
  # The sprite sheet joins the sample, so the small buttons keep their colours.
  convert $(ls "$FRAMES"/*.png | awk 'NR % 2 == 1') -resize 200x116\! \
    \( "$SRC/resources/image/public.png" -resize 400x \) -append \
    +dither -colors 128 -unique-colors "$WORK/palette.png"
  convert -delay 12 -loop 0 "$FRAMES"/*.png -resize 800x464\! +dither -remap "$WORK/palette.png" \
    -layers OptimizeTransparency "$OUT/$1.gif"
  echo "$OUT/$1.gif: $N frames, $(du -k "$OUT/$1.gif" | cut -f1) KiB"
}

for m in $MOVIES; do
  FRAMES="$WORK/frames$m"; mkdir -p "$FRAMES"; N=0
  start_program
  "movie_$m"
  stop_program
  assemble "$m"
done
