#!/bin/sh
# The Debian package: built with CPack from the build tree, its
# dependencies read by dpkg-shlibdeps, unpacked with dpkg-deb -x into a
# temporary root and run from there: the tool erases, the window shows a
# photo named on its command line.
#   deb_check.sh <build's mervane, unused> <checker> <build dir>
set -eu
. "$MERVANE_E2E_LIB"
. "$MERVANE_SOURCE_DIR/tests/install/installed.sh"
e2e_begin "$1"
CHECK=$2
BUILD=$3

(cd "$BUILD" && cpack -G DEB -B "$E2E_DIR/package") > "$E2E_DIR/cpack.log" 2>&1 ||
    { cat "$E2E_DIR/cpack.log"; e2e_fail "cpack failed"; }
DEB=$(ls "$E2E_DIR"/package/mervane_*_*.deb 2>/dev/null | head -1)
[ -n "$DEB" ] || e2e_fail "no .deb was made"
e2e_log "package $(basename "$DEB")"

# Dependencies: read from the executables, and every one of them present here.
DEPENDS=$(dpkg-deb -f "$DEB" Depends)
e2e_log "Depends: $DEPENDS"
for lib in libc6 libgomp1 libopencv-core libopencv-imgcodecs libqt5core5a libqt5widgets5; do
    echo "$DEPENDS" | grep -q "$lib" || e2e_fail "the package does not depend on $lib"
done
echo "$DEPENDS" | tr ',' '\n' | while read -r alt; do
    ok=0
    for choice in $(echo "$alt" | tr '|' '\n' | sed 's/(.*//'); do
        dpkg-query -W -f='${Status}\n' "$choice" 2>/dev/null | grep -q "install ok installed" && ok=1
    done
    [ $ok = 1 ] || e2e_fail "dependency not installed on this machine: $alt"
done
[ "$(dpkg-deb -f "$DEB" Package)" = mervane ] || e2e_fail "the package is not named mervane"

ROOT=$E2E_DIR/root
dpkg-deb -x "$DEB" "$ROOT" || e2e_fail "dpkg-deb -x failed"
for f in usr/bin/mervane usr/bin/mervane-erase usr/share/applications/app.mervane.Mervane.desktop \
         usr/share/metainfo/app.mervane.Mervane.metainfo.xml usr/share/man/man1/mervane.1.gz; do
    [ -e "$ROOT/$f" ] || e2e_fail "not in the package: $f"
done
# Stripped: no debug sections in what users install.
file -L "$ROOT/usr/bin/mervane" | grep -q "not stripped" && e2e_fail "the program is not stripped"

inst_check_answers "$ROOT"
mkdir -p "$E2E_DIR/tool"
inst_run_tool "$ROOT" "$E2E_DIR/tool"

PHOTO=$(e2e_photo astronaut.png astronaut.png)
inst_start_with_photo "$ROOT" "$E2E_DIR/photos" astronaut.png
inst_shows_photo "$CHECK" "$PHOTO"
