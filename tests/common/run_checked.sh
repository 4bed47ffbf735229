#!/bin/sh
# run_checked.sh <test name> <command...>: runs one registered test and
# judges its skips, so that a skip never passes for a pass.
#
# A skipped test case (GoogleTest "[  SKIPPED ]", Qt Test "SKIP   :") fails
# the test, unless its message names a missing optional tool, one that the
# project's set-up does not install, in the form
#
#     optional tool missing: <tool>
#
# (GTEST_SKIP() << "optional tool missing: foo" or
#  QSKIP("optional tool missing: foo")). Such a skip passes here and its line
# is added to $MERVANE_SKIP_LOG, which `make test` prints at the end, so the
# skip is reported by name. Anything the set-up installs (the test photos,
# the X tools, the compiled resources) is not optional: its absence fails.
set -u
name=$1
shift

out=$(mktemp "${TMPDIR:-/tmp}/mervane-test.XXXXXX") || exit 1
trap 'rm -f "$out" "$out.rc"' EXIT

# The test's output goes to the console as it comes (ctest keeps it) and to
# a file to be judged afterwards.
{ "$@" 2>&1; echo $? > "$out.rc"; } | tee "$out"
rc=$(cat "$out.rc")
[ "$rc" = 0 ] || exit "$rc"

# One line per skipped case: GoogleTest ends a skipped case with
# "[  SKIPPED ] Suite.Name (N ms)"; Qt Test writes "SKIP   : Class::fn() ...".
skipped=$(grep -c -e '^\[  SKIPPED \] [^ ]* ([0-9]* ms)$' -e '^SKIP   : ' "$out")
# Each skip prints its message once (GoogleTest on the line after "Skipped",
# Qt Test on the SKIP line itself).
optional=$(grep -c 'optional tool missing: [^ ]' "$out")
if [ "$skipped" -gt "$optional" ]; then
    echo "FAIL: $name skipped $skipped case(s); only a skip that names a missing"
    echo "      optional tool (\"optional tool missing: <tool>\") may pass:"
    grep -e '^\[  SKIPPED \] [^ ]* ([0-9]* ms)$' -e '^SKIP   : ' "$out" | sed 's/^/      /'
    exit 1
fi
if [ "$skipped" -gt 0 ] && [ -n "${MERVANE_SKIP_LOG:-}" ]; then
    grep -o 'optional tool missing: .*' "$out" | sed "s|^|$name: |" >> "$MERVANE_SKIP_LOG"
fi
exit 0
