# Helpers of the install tests: checks of an installed tree below a root
# folder (a DESTDIR staging root or an unpacked .deb), with /usr as prefix.
# Sourced by the test scripts after tests/e2e/lib.sh where a display is used.

inst_fail() { echo "FAIL: $*"; exit 1; }

# A photo and a mask for the command-line eraser: a 96 x 64 crop of a real
# photograph and a white square on black.
inst_make_photo_and_mask()
{
    convert /usr/lib/python3/dist-packages/skimage/data/coffee.png -resize 96x64! "$1/photo.png" ||
        inst_fail "cannot make the test photo"
    convert -size 96x64 xc:black +antialias -fill white -draw "rectangle 40,24 55,39" "$1/mask.png" ||
        inst_fail "cannot make the test mask"
}

# inst_run_tool <root> <folder>: the installed mervane-erase erases the
# square: the output is written, changed inside the square and identical
# outside it.
inst_run_tool()
{
    tool=$1/usr/bin/mervane-erase
    [ -x "$tool" ] || inst_fail "no $tool"
    inst_make_photo_and_mask "$2"
    "$tool" --quiet "$2/photo.png" "$2/mask.png" "$2/out.png" || inst_fail "mervane-erase failed ($?)"
    [ -s "$2/out.png" ] || inst_fail "mervane-erase wrote nothing"
    # The job may change the pixels touching the mask (one pixel all round,
    # as the engine's own tool test allows); everything further out stays.
    convert "$2/mask.png" -morphology Dilate Square:1 -negate "$2/keep.png"
    convert "$2/photo.png" "$2/keep.png" -compose multiply -composite "$2/photo-kept.png"
    convert "$2/out.png" "$2/keep.png" -compose multiply -composite "$2/out-kept.png"
    outside=$(compare -metric AE "$2/photo-kept.png" "$2/out-kept.png" null: 2>&1) || true
    [ "$outside" = 0 ] || inst_fail "mervane-erase changed $outside pixels outside the mask"
    inside=$(compare -metric AE "$2/photo.png" "$2/out.png" null: 2>&1) || true
    [ "$inside" != 0 ] || inst_fail "mervane-erase changed nothing inside the mask"
    echo "installed mervane-erase: erased the square ($inside pixels changed, none outside)"
}

# inst_check_answers <root>: --version and --help of both programs answer
# without a display.
inst_check_answers()
{
    for prog in mervane mervane-erase; do
        v=$(env -u DISPLAY "$1/usr/bin/$prog" --help 2>&1) || inst_fail "$prog --help failed"
        echo "$v" | grep -q "Usage\|usage" || inst_fail "$prog --help printed no usage"
    done
    v=$(env -u DISPLAY "$1/usr/bin/mervane" --version 2>&1) || inst_fail "mervane --version failed"
    echo "$v" | grep -q "^mervane [0-9]" || inst_fail "mervane --version printed '$v'"
}

# inst_start_with_photo <root> <folder> <relative photo>: starts the
# installed program from <folder> with the photo's relative path, as a
# file manager or a shell would, and waits for the window (e2e_start, on a
# small launcher that changes into the folder). Sets WID, WX, WY, WW, WH.
inst_start_with_photo()
{
    mkdir -p "$E2E_DIR/launch"
    printf '#!/bin/sh\ncd "%s" && exec "%s" "%s"\n' "$2" "$1/usr/bin/mervane" "$3" > "$E2E_DIR/launch/start"
    chmod +x "$E2E_DIR/launch/start"
    E2E_BIN=$E2E_DIR/launch/start
    e2e_start
}

# inst_shows_photo <checker> <photo>: the window shows the photo, fitted and
# centred on the canvas (judged on screenshots until it does).
inst_shows_photo()
{
    INST_CHECK=$1
    INST_PHOTO=$2
    e2e_wait_screen opened 30 inst_photo_on_screen || e2e_fail "the photo named on the command line is not shown"
}
inst_photo_on_screen() { "$INST_CHECK" "$E2E_LAST" "$INST_PHOTO"; }
