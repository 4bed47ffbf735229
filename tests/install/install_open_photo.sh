#!/bin/sh
# The installed program (staged by the install_check test) started from
# another folder with a photo's relative path shows that photo.
#   install_open_photo.sh <build's mervane, unused> <checker> <staging root>
set -eu
. "$MERVANE_E2E_LIB"
. "$MERVANE_SOURCE_DIR/tests/install/installed.sh"
e2e_begin "$1"
CHECK=$2
ROOT=$3
[ -x "$ROOT/usr/bin/mervane" ] || e2e_fail "nothing staged at $ROOT (the install_check test sets it up)"
PHOTO=$(e2e_photo chelsea.png chelsea.png)

# The photo lies in photos/ below the folder the program starts from,
# which holds none of its data.
inst_start_with_photo "$ROOT" "$E2E_DIR" photos/chelsea.png
inst_shows_photo "$CHECK" "$PHOTO"
