#!/bin/bash
# Each view of the report window on a virtual X display, kept as a screenshot.
#   screenshot.sh VTREPORT STORE.lum SETTINGS.ini DAY OUTDIR
# Exit 77 (skipped) when Xvfb or ImageMagick's import is not installed.
set -u
vtreport=$1 store=$2 settings=$3 day=$4 outdir=$5

for tool in Xvfb import identify; do
    command -v "$tool" > /dev/null || { echo "skipped: $tool is not installed"; exit 77; }
done

work=$(mktemp -d /tmp/vt-reportshot-XXXXXX)
xpid= reppid=
finish() {
    [ -n "$reppid" ] && kill "$reppid" 2> /dev/null && wait "$reppid" 2> /dev/null
    [ -n "$xpid" ] && kill "$xpid" 2> /dev/null && wait "$xpid" 2> /dev/null
    rm -rf "$work"
}
trap finish EXIT
fail() { echo "FAIL: $*"; [ -f "$work/vtreport.out" ] && tail -20 "$work/vtreport.out"; exit 1; }

# A free display number: the first without a lock file.
display=99
while [ -e "/tmp/.X$display-lock" ]; do display=$((display + 1)); done
Xvfb ":$display" -screen 0 1280x1024x24 -nolisten tcp > "$work/xvfb.out" 2>&1 &
xpid=$!
export DISPLAY=":$display"
unset QT_QPA_PLATFORM
for _ in $(seq 100); do [ -e "/tmp/.X11-unix/X$display" ] && break; sleep 0.1; done
[ -e "/tmp/.X11-unix/X$display" ] || fail "Xvfb did not start on :$display"

mkdir -p "$outdir"
title="vtreport - $(basename "$store")"
for view in day month site tags; do
    "$vtreport" "$store" --settings "$settings" --day "$day" --view "$view" > "$work/vtreport.out" 2>&1 &
    reppid=$!
    # Taken by the window's caption once it is on the screen and drawn.
    shot=$outdir/vtreport-$view.png
    taken=
    for _ in $(seq 50); do
        sleep 0.2
        kill -0 "$reppid" 2> /dev/null || fail "vtreport ended early ($view)"
        timeout 10 import -window "$title" "$shot" 2> /dev/null && { taken=1; break; }
    done
    [ -n "$taken" ] || fail "no window captioned '$title' ($view)"
    sleep 0.5
    timeout 10 import -window "$title" "$shot" || fail "the $view view could not be taken"
    kill "$reppid" && wait "$reppid" 2> /dev/null
    reppid=
    spread=$(identify -format '%[fx:standard_deviation]' "$shot")
    awk -v s="$spread" 'BEGIN { exit !(s > 0.01) }' || fail "the $view screenshot is blank (deviation $spread)"
    echo "screenshot: $shot (deviation $spread)"
done
