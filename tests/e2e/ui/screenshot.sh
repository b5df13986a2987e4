#!/bin/bash
# The monitor's own main window on a virtual X display beside a running stand-in host with the demo
# job, photographed once the first acquisition has filled the grid.
#   screenshot.sh VOLTAMON TELVANE_HOST VT_MTG SITE_DESCRIPTION OUT.png [SCENARIO SETTINGS]
# Exit 77 (skipped) when Xvfb or ImageMagick's import is not installed.
set -u
voltamon=$1 host=$2 mtg=$3 site=$4 out=$5 scenario=${6:-} settings=${7:-}

for tool in Xvfb import identify; do
    command -v "$tool" > /dev/null || { echo "skipped: $tool is not installed"; exit 77; }
done

work=$(mktemp -d /tmp/vt-shot-XXXXXX)
export VOLTARIS_PREFIX=$work/prefix VOLTARIS_PROGRAM_DIR=$work/program
mkdir -p "$VOLTARIS_PREFIX" "$VOLTARIS_PROGRAM_DIR"
hostpid= xpid= monpid=
finish() {
    [ -n "$monpid" ] && kill "$monpid" 2> /dev/null && wait "$monpid" 2> /dev/null
    "$host" stop > /dev/null 2>&1
    [ -n "$hostpid" ] && kill "$hostpid" 2> /dev/null && wait "$hostpid" 2> /dev/null
    [ -n "$xpid" ] && kill "$xpid" 2> /dev/null && wait "$xpid" 2> /dev/null
    rm -rf "$work"
}
trap finish EXIT
fail() { echo "FAIL: $*"; for f in "$work"/*.out "$VOLTARIS_PROGRAM_DIR"/*.log; do [ -f "$f" ] && { echo "== $f"; tail -20 "$f"; }; done; exit 1; }

# A simulated clock: the demo's settings synchronise the PC clock to the host's hour pulse, and a
# test must never set the machine's own clock.
"$host" clock 2026-11-22T10:10:00 1 > /dev/null || fail "the simulated clock could not be set"
"$host" run --generation 5 ${scenario:+--scenario "$scenario"} > "$work/host.out" 2>&1 &
hostpid=$!
for _ in $(seq 100); do
    "$host" status 2> /dev/null | grep -q '^job running: yes' && break
    sleep 0.1
done
"$host" status | grep -q '^job running: yes' || fail "the host job did not start"
setup=$("$host" status | sed -n 's/^job setup folder: //p')
"$mtg" build "$site" "$setup\\VoltarisMonitor.mtg" > "$work/mtg.out" 2>&1 || fail "vt-mtg could not build the tag setup file"
# A port of its own (bound once with port 0 and read back), so monitors of parallel tests never clash.
port=$(perl -MIO::Socket::INET -e 'print IO::Socket::INET->new(LocalAddr => "127.0.0.1", Listen => 1)->sockport') ||
    fail "no free port"
local_setup=$("$host" status | sed -n 's/^job setup folder (local): //p')
mkdir -p "$local_setup"
[ -n "$settings" ] && cp "$settings" "$local_setup/VoltarisSetup.ini"
printf '[Sockets]\r\nVoltarisMonitorPortNo=%d\r\n' "$port" > "$local_setup/WinSockets.ini"

# A free display number: the first without a lock file.
display=99
while [ -e "/tmp/.X$display-lock" ]; do display=$((display + 1)); done
Xvfb ":$display" -screen 0 1024x768x24 -nolisten tcp > "$work/xvfb.out" 2>&1 &
xpid=$!
export DISPLAY=":$display"
for _ in $(seq 50); do [ -e "/tmp/.X11-unix/X$display" ] && break; sleep 0.1; done

"$voltamon" > "$work/voltamon.out" 2>&1 &
monpid=$!
# Stage 2 runs on the first tick and fills the grid; give it a few ticks more.
sleep 6
kill -0 "$monpid" 2> /dev/null || fail "voltamon ended early"
# The socket server listens on that port and answers a read of tag 2's rate.
exec 3<> "/dev/tcp/127.0.0.1/$port" || fail "nothing listens on port $port"
printf '[M2];Rate' >&3
reply=
read -r -t 2 -u 3 reply
exec 3>&-
[[ $reply == "[M2];Rate;"[0-9-]* ]] || fail "socket read answered '$reply'"

mkdir -p "$(dirname "$out")"
# Taken by the main window's caption: it fails when no such window is on the screen.
import -window "Voltaris Monitor" "$out" || fail "no window captioned Voltaris Monitor"
# A window on the screen: the picture is not one flat colour.
spread=$(identify -format '%[fx:standard_deviation]' "$out")
awk -v s="$spread" 'BEGIN { exit !(s > 0.01) }' || fail "the screenshot is blank (deviation $spread)"
echo "screenshot: $out (deviation $spread)"
