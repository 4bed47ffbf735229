#!/bin/sh
# End to end: start the real program on a virtual display, open a real
# photograph through the open dialog as a user would (click, type, Return),
# and check on the screen that the photo stands on the canvas, fitted and
# centred.
#   e2e_open_photo.sh <mervane binary> <checker binary>
set -eu
. "$MERVANE_E2E_LIB"
e2e_begin "$1"
CHECK=$2
PHOTO=$(e2e_photo coffee.png coffee.png)

e2e_start
e2e_shot welcome
e2e_open_photo "$PHOTO"

# The photo may take a moment to show on a loaded machine.
fitted_and_centred() { "$CHECK" "$E2E_LAST" "$PHOTO"; }
e2e_wait_screen opened 20 fitted_and_centred || e2e_fail "the photo is not on the canvas, fitted and centred"
