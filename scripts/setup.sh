#!/bin/sh
# Installs the Debian packages Mervane needs to build, run and test.
# Skips apt entirely when everything is already present.
set -e

PACKAGES="
cmake make g++ pkg-config
qtbase5-dev qtbase5-dev-tools qttools5-dev qttools5-dev-tools
libopencv-dev libopencv-contrib-dev
libgtest-dev
xvfb xauth xdotool x11-utils imagemagick
fonts-lato fonts-dejavu-core
python3-skimage poppler-utils
libjpeg62-turbo-dev libpng-dev libtiff-dev libwebp-dev
libexiv2-dev exiv2 liblcms2-dev libheif-dev libheif-examples
libimage-exiftool-perl icc-profiles-free
desktop-file-utils appstream dpkg-dev file
clang libomp-14-dev
openbox
"

missing=""
for p in $PACKAGES; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing="$missing $p"
  fi
done

if [ -z "$missing" ]; then
  exit 0
fi

echo "setup: installing$missing"
if [ "$(id -u)" -ne 0 ]; then
  SUDO=sudo
else
  SUDO=
fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends $missing
