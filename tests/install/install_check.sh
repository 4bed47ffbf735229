#!/bin/sh
# Installs the build into a staging root (DESTDIR) with /usr as prefix and
# checks what a desktop and a packager rely on: the file layout and its
# relative links, the desktop entry and the software-centre metadata under
# their validators, the icons, the man pages, and the installed programs
# answering from there.
#   install_check.sh <build dir> <source dir> <work dir>
set -eu
BUILD=$1 SRC=$2 WORK=$3
. "$SRC/tests/install/installed.sh"
rm -rf "$WORK"
mkdir -p "$WORK"
ROOT=$WORK/root
DESTDIR=$ROOT cmake --install "$BUILD" --prefix /usr > "$WORK/install.log" || inst_fail "cmake --install failed"
U=$ROOT/usr
ID=app.mervane.Mervane

for f in bin/mervane-erase lib/mervane/mervane \
         share/mervane/configlink.xml share/mervane/Lang/Lang_config.ini share/mervane/Lang/lang_DE.qm \
         share/mervane/font/Sans.ttf share/mervane/font/Lato-Bold_0.ttf share/mervane/font/Lato-Light_0.ttf \
         share/mervane/font/Lato-Regular_0.ttf share/mervane/rec/11.gif share/mervane/rec/15.gif \
         share/applications/$ID.desktop share/metainfo/$ID.metainfo.xml \
         share/icons/hicolor/scalable/apps/$ID.svg \
         share/man/man1/mervane.1.gz share/man/man1/mervane-erase.1.gz; do
    [ -f "$U/$f" ] || inst_fail "not installed: $f"
done
# Links are relative, so the tree works wherever it is unpacked.
[ "$(readlink "$U/bin/mervane")" = ../lib/mervane/mervane ] || inst_fail "bin/mervane does not link to ../lib/mervane/mervane"
[ "$(readlink "$U/lib/mervane/Lang")" = ../../share/mervane/Lang ] || inst_fail "lib/mervane/Lang is not a relative link"
[ -x "$U/bin/mervane" ] || inst_fail "bin/mervane does not resolve to the program"

desktop-file-validate "$U/share/applications/$ID.desktop" || inst_fail "desktop-file-validate"
grep -qx 'Exec=mervane %F' "$U/share/applications/$ID.desktop" || inst_fail "the desktop entry does not start 'mervane %F'"
grep -qx "Icon=$ID" "$U/share/applications/$ID.desktop" || inst_fail "the desktop entry names another icon"
appstreamcli validate --no-net "$U/share/metainfo/$ID.metainfo.xml" || inst_fail "appstreamcli validate"

for n in 16 22 24 32 48 64 128 256 512; do
    png=$U/share/icons/hicolor/${n}x${n}/apps/$ID.png
    [ "$(identify -format '%wx%h' "$png" 2>/dev/null)" = "${n}x${n}" ] || inst_fail "icon $png is not ${n}x${n}"
done
grep -q '<svg' "$U/share/icons/hicolor/scalable/apps/$ID.svg" || inst_fail "the scalable icon is no SVG"

for page in mervane mervane-erase; do
    warn=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$U/share/man/man1/$page.1.gz" 2>&1 >/dev/null)
    [ -z "$warn" ] || inst_fail "man page $page: $warn"
    LC_ALL=C.UTF-8 man -l "$U/share/man/man1/$page.1.gz" 2>/dev/null | grep -q "^NAME" || inst_fail "man page $page does not render"
done
LC_ALL=C.UTF-8 man -l "$U/share/man/man1/mervane-erase.1.gz" 2>/dev/null | grep -q "EXIT STATUS" ||
    inst_fail "the man page of mervane-erase has no exit codes"

inst_check_answers "$ROOT"
mkdir -p "$WORK/tool"
inst_run_tool "$ROOT" "$WORK/tool"
echo "PASS: staged install under $ROOT"
