# Shared harness of the end-to-end tests: the real program on a virtual X
# display of its own (started by tests/e2e/xvfb.sh), driven by xdotool as a user
# would, judged on screenshots.
#
# A test script sources this file ($MERVANE_E2E_LIB, set by the CMake helper
# mervane_e2e_test) and calls e2e_begin with the program's path first. Every
# wait here is for a condition the program exposes (a window shows, a dialog
# has the keyboard or closes, a file is written, the screen shows what it
# should) with a deadline in seconds; the short sleeps inside the loops are
# only the polling interval. No step relies on a key doing its work by a
# certain time, nor on a key that a popup may take (see e2e_answer_file).
#
# Work folder: $MERVANE_E2E_WORK (one per test, below the build tree). It is
# emptied at the start and removed after a pass; after a failure it is kept
# beside it as <work>-failed-<time>, with the numbered screenshots of every
# step, one taken at the failure and the program's log (MERVANE_E2E_KEEP=1
# keeps the work folder after a pass too).

E2E_PID=
E2E_STEP=0
E2E_LAST=

e2e_log() { echo "e2e: $*"; }

e2e_fail()
{
    echo "FAIL: $*"
    exit 1
}

e2e_finish()
{
    rc=$?
    # The screen at the failure, while the program still shows it.
    [ "$rc" -eq 0 ] || import -window root "$E2E_DIR/zz-at-failure.png" 2>/dev/null || true
    if [ -n "$E2E_PID" ]; then
        kill "$E2E_PID" 2>/dev/null || true
        wait "$E2E_PID" 2>/dev/null || true
    fi
    if [ "$rc" -eq 0 ]; then
        [ "${MERVANE_E2E_KEEP:-0}" = 1 ] || rm -rf "$E2E_DIR"
    else
        # Moved aside under a time stamp, so that a rerun, which starts from
        # an empty work folder, does not wipe the evidence.
        kept="$E2E_DIR-failed-$(date +%Y%m%dT%H%M%S)"
        mv "$E2E_DIR" "$kept" 2>/dev/null || kept=$E2E_DIR
        echo "e2e: failed; screenshots and the program's log are kept in $kept"
    fi
    exit "$rc"
}

# e2e_begin <program>: a fresh work folder and an own settings store with the
# first-run tutorial already seen, so no earlier run or user setting leaks in.
e2e_begin()
{
    E2E_BIN=$1
    E2E_DIR=${MERVANE_E2E_WORK:?MERVANE_E2E_WORK is not set (register the test with mervane_e2e_test)}
    [ -n "${DISPLAY:-}" ] || { echo "no X display (run under tests/e2e/xvfb.sh)"; exit 1; }
    # The program runs on the X display, with Qt's own dialogs, whatever the
    # caller exported (a widget test run sets the offscreen platform).
    export QT_QPA_PLATFORM=xcb
    unset QT_QPA_PLATFORMTHEME QT_STYLE_OVERRIDE QT_SCALE_FACTOR QT_SCREEN_SCALE_FACTORS
    export QT_AUTO_SCREEN_SCALE_FACTOR=0
    rm -rf "$E2E_DIR"
    mkdir -p "$E2E_DIR"
    export XDG_CONFIG_HOME="$E2E_DIR/config"
    mkdir -p "$XDG_CONFIG_HOME/Tesselin"
    printf '[General]\nInitializtion=1\n' > "$XDG_CONFIG_HOME/Tesselin/Tesselin Mervane.conf"
    trap e2e_finish EXIT
    trap 'exit 130' INT TERM
}

# e2e_photo <skimage photo name> <copy name>: copies one of Debian's test
# photographs into the work folder and prints the copy's path.
e2e_photo()
{
    src=/usr/lib/python3/dist-packages/skimage/data/$1
    [ -f "$src" ] || e2e_fail "missing test photograph $src (python3-skimage)"
    mkdir -p "$E2E_DIR/photos"
    cp "$src" "$E2E_DIR/photos/$2"
    echo "$E2E_DIR/photos/$2"
}

# e2e_wait <seconds> <command...>: runs the command every tenth of a second
# until it succeeds; fails (returns 1) when the deadline passes first.
e2e_wait()
{
    deadline=$(( $(date +%s) + $1 ))
    shift
    while :; do
        "$@" && return 0
        [ "$(date +%s)" -lt "$deadline" ] || return 1
        sleep 0.1
    done
}

# Visible top-level windows whose name matches a pattern, one id a line.
e2e_windows() { xdotool search --onlyvisible --name "$1" 2>/dev/null || true; }

e2e_has_window() { [ -n "$(e2e_windows "$1")" ]; }

# e2e_window_gone <id>: the window is unmapped or destroyed. Asked of the
# window itself: a search by name that finds nothing is no proof, since a
# search walks the window tree while the program changes it and may miss a
# window that is there.
e2e_window_gone()
{
    state=$(xwininfo -id "$1" 2>/dev/null | sed -n 's/^ *Map State: //p')
    [ "$state" != IsViewable ]
}

# e2e_wait_window <pattern> <seconds>: prints the id of the window once shown.
e2e_wait_window()
{
    e2e_wait "$2" e2e_has_window "$1" || return 1
    e2e_windows "$1" | head -1
}

# The keyboard goes to the window that has the focus: wait for the dialog to
# get it before typing, or the first keys land elsewhere.
e2e_has_focus()
{
    f=$(xdotool getwindowfocus -f 2>/dev/null) || return 1
    [ "$f" = "$1" ]
}

e2e_geometry_settled()
{
    g=$(xdotool getwindowgeometry --shell "$1" 2>/dev/null) || return 1
    [ -n "$g" ] && [ "$g" = "${E2E_GEOMETRY:-}" ] && return 0
    E2E_GEOMETRY=$g
    return 1
}

# e2e_start: starts the program from its run directory and waits for its
# main window to show and keep its place and size. Sets WID, WX, WY, WW, WH.
e2e_start()
{
    (cd "$(dirname "$E2E_BIN")" && exec "$E2E_BIN") > "$E2E_DIR/mervane.log" 2>&1 &
    E2E_PID=$!
    WID=$(e2e_wait_window '^Mervane$' 30) || e2e_fail "the window did not appear"
    E2E_GEOMETRY=
    e2e_wait 10 e2e_geometry_settled "$WID" || e2e_fail "the window kept moving"
    eval "$(xdotool getwindowgeometry --shell "$WID")"
    WX=$X; WY=$Y; WW=$WIDTH; WH=$HEIGHT
}

e2e_running() { kill -0 "$E2E_PID" 2>/dev/null; }

# e2e_shot <name>: a numbered screenshot of the whole screen, kept in the
# work folder; its path is E2E_LAST.
e2e_shot()
{
    E2E_STEP=$((E2E_STEP + 1))
    E2E_LAST="$E2E_DIR/$(printf '%02d' "$E2E_STEP")-$1.png"
    import -window root "$E2E_LAST"
}

# e2e_wait_screen <name> <seconds> <command...>: takes screenshots until the
# command, run with the latest one as E2E_LAST, accepts it.
e2e_wait_screen()
{
    name=$1; secs=$2
    shift 2
    E2E_STEP=$((E2E_STEP + 1))
    E2E_LAST="$E2E_DIR/$(printf '%02d' "$E2E_STEP")-$name.png"
    e2e_wait "$secs" e2e_shot_and "$@"
}
e2e_shot_and() { import -window root "$E2E_LAST" && "$@"; }

# e2e_wait_still <name> <seconds>: screenshots until two in a row agree, so a
# late repaint on a loaded machine is over before the screen is judged.
e2e_wait_still()
{
    E2E_STEP=$((E2E_STEP + 1))
    E2E_LAST="$E2E_DIR/$(printf '%02d' "$E2E_STEP")-$1.png"
    import -window root "$E2E_LAST"
    e2e_wait "$2" e2e_screen_unchanged
}
e2e_screen_unchanged()
{
    import -window root "$E2E_DIR/still.png"
    n=$(compare -metric AE "$E2E_LAST" "$E2E_DIR/still.png" null: 2>&1) || true
    mv "$E2E_DIR/still.png" "$E2E_LAST"
    [ "$n" = 0 ]
}

e2e_click() { xdotool mousemove "$1" "$2" click 1; }

# Parks the pointer in the screen's corner, off the window, so that no brush
# ring or preview stands in the screenshots.
e2e_park_pointer() { xdotool mousemove 5 5; }

# e2e_open_photo <path>: "Select Photo" on the welcome page, then the path
# given to the open dialog (e2e_answer_file); returns once the dialog closed.
# The button's centre: the welcome page lies between the tool column
# (81 + 34) and the right panel (266), under the header (48), with its two
# 119-wide columns spread evenly and the 110 button above its label.
e2e_open_photo()
{
    set -- "$1" $(awk -v x="$WX" -v y="$WY" -v w="$WW" -v h="$WH" 'BEGIN {
      s = w / 1256.0; px = x + 115 * s; pw = w - 381 * s; py = y + 48 * s; ph = h - 48 * s;
      sp = (pw - 2 * 119 * s - 48) / 3; vs = (ph - 125 * s - 36) / 2;
      printf "%d %d\n", px + sp + 12 + 59.5 * s, py + vs + 12 + 55 * s }')
    e2e_click "$2" "$3"
    e2e_wait 30 e2e_has_window '^Open Image$' || e2e_fail "the open dialog did not appear"
    e2e_answer_file '^Open Image$' "$1"
}

# e2e_answer_file <title pattern> <path>: answers the file dialog with that
# title with an absolute path, and waits until no such dialog is left.
#
# The path is typed in double quotes, the dialog's own notation for a list
# of names. The name field's completer reads a path from its first character
# on; one that starts with a quote names nothing, so no completion list ever
# pops up over the field. An open list would take the Return key for itself
# (it closes, the dialog stays), and whether it is open when Return comes
# depends on how fast the dialog has read the folder: that was a flaky test.
# The dialog itself takes the quoted name as the file.
#
# Every step waits for what the screen's windows say: keys are sent only to
# a dialog that is shown and has the keyboard, and the dialog counts as
# closed only when neither a search by its title nor the last dialog window
# itself shows it any more. Should a dialog still have the keyboard a while
# after it was answered (its window was made anew, or a key went astray on a
# loaded machine), it is answered again: the answer replaces the whole text,
# so a second one changes nothing but the outcome.
e2e_answer_file()
{
    E2E_ANSWERED=
    E2E_ANSWERED_AT=0
    E2E_DIALOG=
    e2e_wait 60 e2e_file_dialog_done "$1" "$2" || e2e_fail "the file dialog did not take $2 and close"
}
e2e_file_dialog_done()
{
    id=$(e2e_windows "$1" | head -1)
    if [ -z "$id" ]; then
        [ -n "$E2E_DIALOG" ] || return 1 # not shown yet
        e2e_window_gone "$E2E_DIALOG" || return 1
        # A search that walks the window tree while it changes may miss a
        # window; absence counts when it holds for half a second.
        for _ in 1 2 3 4 5; do
            sleep 0.1
            [ -z "$(e2e_windows "$1")" ] || return 1
        done
        return 0
    fi
    E2E_DIALOG=$id
    now=$(date +%s)
    if ! e2e_has_focus "$id"; then
        # No window manager hands the keyboard over: ask for it.
        xdotool windowfocus "$id" 2>/dev/null || true
        return 1
    fi
    if [ "$id" = "$E2E_ANSWERED" ] && [ $((now - E2E_ANSWERED_AT)) -lt 5 ]; then
        return 1 # answered; give it time to close
    fi
    [ -z "$E2E_ANSWERED" ] || e2e_log "the file dialog ($id) is still open; answering it again"
    E2E_ANSWERED=$id
    E2E_ANSWERED_AT=$now
    # Select the proposed name, so that the typed path replaces it.
    xdotool key ctrl+a
    xdotool type --delay 10 "\"$2\""
    xdotool key Return
    return 1
}

# Where the photo stands on the screen: its top-left corner and its display
# scale (screen pixels per image pixel). Set by the test once it found it.
e2e_set_place() { E2E_OX=$1; E2E_OY=$2; E2E_SCALE=$3; }

# e2e_to_screen <x> <y>: image pixel to screen pixel, printed "sx sy".
e2e_to_screen()
{
    awk -v x="$1" -v y="$2" -v ox="$E2E_OX" -v oy="$E2E_OY" -v s="$E2E_SCALE" \
        'BEGIN { printf "%d %d\n", ox + x * s + 0.5, oy + y * s + 0.5 }'
}

# e2e_drag <button> <x,y>...: presses at the first image point, moves through
# the others, releases at the last.
e2e_drag()
{
    btn=$1
    shift
    first=1
    for pt in "$@"; do
        set -- $(e2e_to_screen "${pt%,*}" "${pt#*,}")
        if [ $first = 1 ]; then
            xdotool mousemove "$1" "$2" mousedown "$btn"
            first=0
        else
            xdotool mousemove "$1" "$2"
        fi
    done
    xdotool mouseup "$btn"
}

# The progress dialog of a job is a second, small window with the program's
# name.
e2e_progress_shown()
{
    for w in $(e2e_windows '^Mervane$'); do
        g=$(xdotool getwindowgeometry --shell "$w" 2>/dev/null) || continue
        width=$(echo "$g" | sed -n 's/^WIDTH=//p')
        [ -n "$width" ] && [ "$width" -lt 400 ] && return 0
    done
    return 1
}

# e2e_wait_job <seconds> <done command...>: after a job was started, waits
# until its progress dialog is gone and the job's result shows. A short job
# may be over before its dialog is ever seen, so the dialog's going alone
# cannot tell; the done command (run on a fresh screenshot, E2E_LAST) says
# whether the result is on the screen.
e2e_wait_job()
{
    secs=$1
    shift
    E2E_JOB_SEEN=0
    E2E_STEP=$((E2E_STEP + 1))
    E2E_LAST="$E2E_DIR/$(printf '%02d' "$E2E_STEP")-job.png"
    e2e_wait "$secs" e2e_job_over "$@"
}
e2e_job_over()
{
    if e2e_progress_shown; then
        E2E_JOB_SEEN=1
        return 1
    fi
    e2e_running || e2e_fail "the program ended during the job"
    e2e_shot_and "$@"
}

# e2e_wait_file <path> <seconds>: a file written and no longer growing.
e2e_wait_file()
{
    E2E_SIZE=
    e2e_wait "$2" e2e_file_settled "$1"
}
e2e_file_settled()
{
    [ -s "$1" ] || return 1
    s=$(wc -c < "$1")
    [ "$s" = "${E2E_SIZE:-}" ] && return 0
    E2E_SIZE=$s
    return 1
}

# e2e_find_erase <erase checker> <screenshot>: finds the accent-coloured
# Erase button at the end of the command row, in the bottom sixth of the
# window (so that no orange of the photo is taken for it); sets EX, EY (its
# centre) and EW (its width, 142 design pixels, which gives the row's scale).
e2e_find_erase()
{
    rowh=$((WH / 6))
    rowy=$((WY + WH - rowh))
    convert "$2" -crop "${WW}x${rowh}+${WX}+${rowy}" +repage "$E2E_DIR/command-row.png" || return 1
    found=$("$1" button "$E2E_DIR/command-row.png") || return 1
    set -- $found
    EX=$((WX + $1)); EY=$((rowy + $2)); EW=$3
}

# e2e_command_button <design pixels>: the centre of a button of the command
# row, that many design pixels left of the Erase button's centre (fit 460,
# undo 380, save 250), printed "x y".
e2e_command_button()
{
    awk -v ex="$EX" -v ey="$EY" -v ew="$EW" -v d="$1" 'BEGIN { printf "%d %d\n", ex - d * ew / 142.0 + 0.5, ey }'
}

# e2e_fit_photo <erase checker>: once a photo is open and the screen has
# settled, presses the command row's "fit" button, so that the photo stands
# fitted and centred in the canvas as it is now. The first fit after opening
# is computed while the window still lays out its canvas; on a loaded
# machine it can be a few pixels too large (e2e_open_photo checks that fit
# itself). The tests that only need the photo on the screen fit it again,
# as a user would.
e2e_fit_photo()
{
    e2e_wait_still opened-raw 30 || e2e_fail "the screen did not settle after opening the photo"
    e2e_find_erase "$1" "$E2E_LAST" || e2e_fail "the Erase button was not found after opening"
    e2e_click $(e2e_command_button 460)
    e2e_park_pointer
}
