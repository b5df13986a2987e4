#!/usr/bin/env bash
# Runs the demo job headless for a bounded time in a temporary prefix, then reads what it left:
# a period saved by the monitor, the logger's CSV values, the backup copy and a clean main log.
#   check-demo.sh RUN_DEMO BUILD_DIR
set -u
demo=$1 build=$2
store=$build/bin/vt-store

work=$(mktemp -d /tmp/vt-demo-XXXXXX)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
fail() {
    echo "FAIL: $*"
    echo "== demo output"; cat "$work/demo.out"
    [ -f "$prefix/program/voltamon.log" ] && { echo "== main log (end)"; tail -5 "$prefix/program/voltamon.log"; }
    exit 1
}

# Sixty times real time: the period ending 10:30 closes about half a minute after the start.
unset DISPLAY WAYLAND_DISPLAY
VOLTARIS_DEMO_PREFIX=$prefix DEMO_SECONDS=45 DEMO_SPEED=60 DEMO_HEADLESS=1 "$demo" "$build" > "$work/demo.out" 2>&1 ||
    fail "the demo script ended with $?"
grep -q '^Demo stopped' "$work/demo.out" || fail "the demo did not stop cleanly"

file=$(find "$prefix/drives/c/Telvane5" -iname 'Demo*.lum' | head -1)
[ -n "$file" ] || fail "no store file"
export VOLTARIS_PREFIX=$prefix
"$store" records "$file" > "$work/records.csv" || fail "vt-store cannot read $file"

# A period closed by the monitor: flagged valid, with energy on the production line (tag 1).
saved=$(awk -F, 'NR > 1 && $4 == 1 && $5 > 0 { n++ } END { print n + 0 }' "$work/records.csv")
[ "$saved" -ge 1 ] || fail "no period saved with the valid flag"
# The logger's first half hour (tag 21, column 25): 4 + 1.5 sin(1/3).
awk -F, 'NR > 1 && $2 == 1 && $4 == 1 && $25 > 4.4 && $25 < 4.6 { found = 1 } END { exit !found }' "$work/records.csv" ||
    fail "the CSV value of tag 21 is not in the store file"
[ -f "$prefix/drives/c/VoltarisBackup/$(basename "$file")" ] || fail "no backup copy of the store file"
if grep -q ', Error ' "$prefix/program/voltamon.log"; then
    fail "error lines in the main log: $(grep ', Error ' "$prefix/program/voltamon.log" | head -3)"
fi
echo "demo job: $saved periods saved in $(basename "$file"), CSV value imported, backup copy made"
