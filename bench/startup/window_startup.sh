#!/bin/sh
# Window start-up: wall time from starting the program until its main window
# is shown with the welcome page, as a user waits for it.
#
#   xvfb-run -a -s "-screen 0 1600x1000x24 -dpi 96" sh bench/startup/window_startup.sh build/run/mervane [runs]
#
# Works on the build's program (build/run/mervane) and on an installed one
# (/usr/bin/mervane, or bin/mervane of a staging root) alike. Each run gets a
# fresh settings store with the tutorial seen, so the first frame is the
# welcome page. Three figures, median over the runs:
#   --version   process start, dynamic linking and exit: the floor of any
#               start, no toolkit set up
#   window      start until the window is mapped and visible (the toolkit
#               paints the welcome page in the same pass of its event loop)
#   window, no restart
#               the same with OMP_WAIT_POLICY already set, so the program
#               does not start itself again to set it
# The window is found by polling xdotool (a few milliseconds a poll), which
# is the resolution of the last two figures.
set -eu
PROG=$(readlink -f "$1")
RUNS=${2:-15}
[ -n "${DISPLAY:-}" ] || { echo "needs an X display (run under xvfb-run)" >&2; exit 1; }
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT

now_us() { echo $(( $(date +%s%N) / 1000 )); }

median()
{
    sort -n | awk '{ v[NR] = $1 } END { if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

one_window()
{
    export XDG_CONFIG_HOME="$WORK/config"
    rm -rf "$XDG_CONFIG_HOME"
    mkdir -p "$XDG_CONFIG_HOME/Tesselin"
    printf '[General]\nInitializtion=1\n' > "$XDG_CONFIG_HOME/Tesselin/Tesselin Mervane.conf"
    t0=$(now_us)
    "$PROG" > "$WORK/log" 2>&1 &
    pid=$!
    while ! xdotool search --onlyvisible --name '^Mervane$' > /dev/null 2>&1; do :; done
    t1=$(now_us)
    [ -z "${1:-}" ] || import -window root "$1"
    kill -9 "$pid"
    wait "$pid" 2>/dev/null || true
    echo $(( (t1 - t0) / 1000 ))
}

one_version()
{
    t0=$(now_us)
    "$PROG" --version > /dev/null
    t1=$(now_us)
    echo $(( (t1 - t0) / 1000 ))
}

echo "program: $PROG ($RUNS runs, load $(cut -d' ' -f1-3 /proc/loadavg))"
echo "shared libraries loaded: $(ldd "$PROG" | wc -l)"
# The first run warms the file cache; WINDOW_STARTUP_SHOT=file.png keeps
# its screen, to see that the welcome page is what shows.
one_window "${WINDOW_STARTUP_SHOT:-}" > /dev/null
v=$(for i in $(seq "$RUNS"); do one_version; done | median)
unset OMP_WAIT_POLICY || true
w=$(for i in $(seq "$RUNS"); do one_window; done | median)
r=$(for i in $(seq "$RUNS"); do OMP_WAIT_POLICY=PASSIVE one_window; done | median)
printf '%-28s %6s ms\n' "--version" "$v" "window shown" "$w" "window shown, no restart" "$r"
