#!/bin/sh
# Starts the program from its run directory (it reads ./font, ./rec and
# configlink.xml relative to the working directory).
BUILD_DIR=${1:-build}
if [ -z "$DISPLAY" ] && [ -z "$WAYLAND_DISPLAY" ]; then
  echo "mervane: no display found (DISPLAY is not set); start it from a desktop session or under Xvfb" >&2
  exit 1
fi
cd "$BUILD_DIR/run" && exec ./mervane
