#!/bin/sh
# xvfb.sh <screen WxHxD> <dpi> <command...>: runs the command on a virtual X
# server of its own and stops the server afterwards; the command's exit code
# is the script's.
#
# The server chooses its display number itself (-displayfd) and writes it
# once it accepts connections. A free number found by looking for lock files
# (as xvfb-run -a does) is not reserved until the server has started, so two
# tests, or two builds on one machine, starting at the same moment could
# both take it and one of them would fail; the server's own choice takes the
# lock and the socket in one step and moves on to the next number when a
# number is taken.
set -u
screen=$1
dpi=$2
shift 2

dir=$(mktemp -d "${TMPDIR:-/tmp}/mervane-xvfb.XXXXXX") || exit 1
server=
stop()
{
    if [ -n "$server" ]; then
        kill "$server" 2>/dev/null
        wait "$server" 2>/dev/null
        server=
    fi
    rm -rf "$dir"
}
trap 'stop' EXIT
trap 'exit 130' INT TERM

Xvfb -displayfd 3 -screen 0 "$screen" -dpi "$dpi" -nolisten tcp -noreset \
     3> "$dir/display" 2> "$dir/xvfb.log" &
server=$!

# The number is written once the server is ready; give a loaded machine time.
tries=0
while :; do
    number=$(sed -n '1s/^\([0-9][0-9]*\)$/\1/p' "$dir/display" 2>/dev/null)
    [ -n "$number" ] && break
    if ! kill -0 "$server" 2>/dev/null; then
        echo "xvfb.sh: the virtual X server did not start:" >&2
        cat "$dir/xvfb.log" >&2
        exit 1
    fi
    tries=$((tries + 1))
    if [ "$tries" -gt 600 ]; then
        echo "xvfb.sh: the virtual X server did not report a display in 60 s" >&2
        cat "$dir/xvfb.log" >&2
        exit 1
    fi
    sleep 0.1
done

# The command talks to this server only, whatever display or authority file
# the caller had.
unset XAUTHORITY
DISPLAY=:$number
export DISPLAY
"$@"
rc=$?
stop
exit "$rc"
