#!/bin/sh
# Proves that a change of engine/ keeps the output: builds proof.cpp against
# engine/ as of a git revision and as in the work tree, both with the
# generators' seed fixed (the engine seeds them from the clock), runs both
# on one thread and compares the hashes of every job's output.
#
#   sh bench/memory/identity/identity.sh [REVISION]     (default: HEAD)
set -eu
HERE=$(cd "$(dirname "$0")" && pwd)
TOP=$(git -C "$HERE" rev-parse --show-toplevel)
REV=${1:-HEAD}
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT
mkdir -p "$WORK/old" "$WORK/new"
git -C "$TOP" archive "$REV" engine | tar -x -C "$WORK/old"
(cd "$TOP" && tar -c engine) | tar -x -C "$WORK/new"
cp "$HERE/proof.cpp" "$WORK/"
cp "$HERE/CMakeLists.txt.in" "$WORK/CMakeLists.txt"
for side in old new; do
    sed -i 's/static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count())/uint64_t(12345)/' \
        "$WORK/$side/engine/mypatchmatch.cpp"
    grep -q 'uint64_t(12345)' "$WORK/$side/engine/mypatchmatch.cpp" || { echo "cannot fix the seed in $side" >&2; exit 2; }
    launcher=$(command -v ccache || true)
    cmake -S "$WORK" -B "$WORK/b-$side" -DENGINE_DIR="$WORK/$side/engine" ${launcher:+-DCMAKE_CXX_COMPILER_LAUNCHER=$launcher} >/dev/null
    cmake --build "$WORK/b-$side" -j2 >/dev/null
    "$WORK/b-$side/proof" 2>/dev/null | grep '^job' > "$WORK/$side.txt"
done
cat "$WORK/new.txt"
if diff "$WORK/old.txt" "$WORK/new.txt" >/dev/null; then
    echo "same output as $REV"
else
    echo "OUTPUT DIFFERS from $REV:"; diff "$WORK/old.txt" "$WORK/new.txt"; exit 1
fi
