#!/usr/bin/env bash
# The demo job: a stand-in host with a site of simulated meters and the monitor beside it, on a
# fast simulated clock so demand periods close every minute or so.
#   demo/run-demo.sh BUILD_DIR
# Environment:
#   VOLTARIS_DEMO_PREFIX  the demo's prefix, wiped at every start (default ~/.voltaris-demo)
#   DEMO_SECONDS          stop by itself after this many seconds (default: run until Ctrl-C)
#   DEMO_SPEED            simulated seconds per real second (default 30: a half-hour period a minute)
#   DEMO_START            simulated start, YYYY-MM-DDTHH:MM:SS (default yesterday 09:55:00)
#   DEMO_HEADLESS=1       no window even when a display is there
set -u

here=$(cd "$(dirname "$0")" && pwd)
build=${1:-}
if [ -z "$build" ] || [ ! -d "$build" ]; then
    echo "usage: $0 BUILD_DIR" >&2
    exit 2
fi
build=$(cd "$build" && pwd)

program() {
    local p
    for p in "$build/bin/$1" "$build/$1"; do
        [ -x "$p" ] && { echo "$p"; return 0; }
    done
    echo "run-demo: $1 not found in $build/bin: build it first" >&2
    exit 1
}
voltamon=$(program voltamon)
host=$(program telvane-host)
mtg=$(program vt-mtg)
store=$(program vt-store)

prefix=${VOLTARIS_DEMO_PREFIX:-$HOME/.voltaris-demo}
speed=${DEMO_SPEED:-30}
start=${DEMO_START:-$(date -d yesterday +%Y-%m-%d)T09:55:00}
limit=${DEMO_SECONDS:-0}
marker=.voltaris-demo

# --- a fresh prefix -----------------------------------------------------------
# Only a folder this script made is ever wiped.
if [ -e "$prefix" ] && [ ! -e "$prefix/$marker" ] && [ -n "$(ls -A "$prefix" 2> /dev/null)" ]; then
    echo "run-demo: $prefix exists and is not a demo prefix; set VOLTARIS_DEMO_PREFIX to another folder" >&2
    exit 1
fi
export VOLTARIS_PREFIX=$prefix
# A host still running from an earlier demo in this prefix is stopped first (its monitor follows).
if [ -e "$prefix/$marker" ] && "$host" status 2> /dev/null | grep -q '^job running: yes'; then
    echo "Stopping the host of an earlier demo run ..."
    "$host" stop > /dev/null 2>&1
fi
rm -rf "$prefix"
mkdir -p "$prefix"
touch "$prefix/$marker"
prefix=$(cd "$prefix" && pwd)
export VOLTARIS_PREFIX=$prefix

# The program folder: the logs and the CSV import folder land here, not in the build folder.
programdir=$prefix/program
mkdir -p "$programdir"
ln -s "$voltamon" "$programdir/voltamon"
export VOLTARIS_PROGRAM_DIR=$programdir
out=$prefix/output
mkdir -p "$out"

hostpid= monpid= stopping=0
running() { [ -n "$1" ] && kill -0 "$1" 2> /dev/null; }

# Waits up to $2 seconds for process $1 to end; 0 when it did.
wait_end() {
    local i
    for ((i = 0; i < $2 * 10; i++)); do
        running "$1" || { wait "$1" 2> /dev/null; return 0; }
        sleep 0.1
    done
    return 1
}

fail() {
    echo "run-demo: $*" >&2
    for f in "$out"/*.err "$out"/*.out; do
        [ -s "$f" ] && { echo "== $f" >&2; tail -20 "$f" >&2; }
    done
    [ -n "$hostpid" ] && "$host" stop > /dev/null 2>&1
    running "$monpid" && kill "$monpid"
    running "$hostpid" && kill "$hostpid"
    exit 1
}

# --- the host -----------------------------------------------------------------
echo "Voltaris Monitor demo"
echo "  prefix:         $prefix"
echo "Starting the stand-in host with the demo site ($here/scenario.scn) ..."
"$host" run --generation 5 --scenario "$here/scenario.scn" > "$out/telvane-host.out" 2> "$out/telvane-host.err" &
hostpid=$!
for _ in $(seq 100); do
    "$host" status 2> /dev/null | grep -q '^job running: yes' && break
    running "$hostpid" || break
    sleep 0.1
done
"$host" status 2> /dev/null | grep -q '^job running: yes' || fail "the host job did not start"
"$host" status > "$out/host-status.txt"
field() { sed -n "s/^$1: //p" "$out/host-status.txt"; }
setup=$(field "job setup folder")
setuplocal=$(field "job setup folder (local)")
datalocal=$(field "job data folder (local)")

# --- the job's setup: tag setup file, settings, backup folder -----------------
"$mtg" build "$here/demo.vtm" "$setup\\VoltarisMonitor.mtg" > "$out/vt-mtg.out" 2> "$out/vt-mtg.err" ||
    fail "vt-mtg could not build the tag setup file"
cp "$here/VoltarisSetup.ini" "$setuplocal/VoltarisSetup.ini"
# The request server listens on this PC only, on the first free port from 41007 (the usual 1007
# needs root and may be taken by another monitor).
port=41007
while (: <> "/dev/tcp/127.0.0.1/$port") 2> /dev/null; do port=$((port + 1)); done
printf '[Sockets]\r\nVoltarisMonitorPortNo=%d\r\n' "$port" > "$setuplocal/WinSockets.ini"
backup=$prefix/drives/c/VoltarisBackup
mkdir -p "$backup"

# --- the clock and the monitor ------------------------------------------------
# The host's counters have run on the real clock so far; the simulated one starts in the past,
# which adds nothing to them.
"$host" clock "$start" "$speed" || fail "cannot set the simulated clock"
if [ "${DEMO_HEADLESS:-0}" != 1 ] && [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    mode=window
    "$programdir/voltamon" > "$out/voltamon.out" 2> "$out/voltamon.err" &
else
    mode=headless
    "$programdir/voltamon" --headless > "$out/voltamon.out" 2> "$out/voltamon.err" &
fi
monpid=$!
began=$SECONDS
echo "Monitor started ($mode), simulated clock from $start at $speed times real time."
periodsecs=$(awk -v s="$speed" 'BEGIN { printf "%.0f", 1800 / s }')
if [ -z "${DEMO_START:-}" ]; then
    cat << EOF
The site's master clock runs 200 s ahead: its hour pulse at 09:56:40 makes the monitor set the
clock to 10:00, which closes the first (partial) period; after that a half-hour period closes
every $periodsecs s or so, and the clock is set again shortly before every full hour.
EOF
fi

mainlog=$programdir/voltamon.log
csvdir=$programdir/vtcsvlog

cat << EOF

Where to look:
  settings file:   $setuplocal/VoltarisSetup.ini
  tag setup file:  $setuplocal/VoltarisMonitor.mtg   (read it: $mtg dump <file>)
  store files:     $datalocal/Voltaris/Demo<yymm>.lum
  backup copies:   $backup
  main log:        $mainlog   (one line per scan: M<tag>,current,integrated,rate;)
  clock log:       $programdir/voltamon_PC_Clock.log
  CSV import:      $csvdir   (import log vtcsvlog.log)
  host points:     VOLTARIS_PREFIX=$prefix $host get T201 T202 T203 L11 L12 L13
  request server:  127.0.0.1:$port, e.g. the rate of tag 1:
                   exec 3<> /dev/tcp/127.0.0.1/$port; printf '[M1];Rate' >&3; timeout 1 cat <&3; exec 3>&-

Press Ctrl-C to stop.

EOF

# --- the CSV file of the logger-read tag --------------------------------------
# Tag 21 ("From Log File"): a logger's half-hourly readings of the simulated day so far.
drop_csv() {
    local day=${start%%T*} y m d
    IFS=- read -r y m d <<< "$day"
    mkdir -p "$csvdir"
    awk -v y="$y" -v m="$((10#$m))" -v d="$((10#$d))" 'BEGIN {
        for (p = 1; p <= 20; p++) printf "%d,%d,%d,%d,21,%.2f\r\n", y, m, d, p, 4 + 1.5 * sin(p / 3)
    }' > "$csvdir/borehole.tmp"
    mv "$csvdir/borehole.tmp" "$csvdir/BOREHOLE.CSV"
    echo "Dropped $csvdir/BOREHOLE.CSV: 20 half-hourly readings of tag 21 for $day."
}

# --- progress and stop ----------------------------------------------------------
store_file() { find "$datalocal" -iname '*.lum' -printf '%T@ %p\n' 2> /dev/null | sort -n | tail -1 | cut -d' ' -f2-; }

# Periods the monitor has closed: flagged valid, with a value for the production line (tag 1);
# the CSV import also flags the records it writes, but leaves tag 1 at 0.
closed_periods() {
    "$store" records "$1" 2> /dev/null |
        awk -F, 'NR > 1 && $4 == 1 && $5 != 0 { n++; last = $3 } END { print n + 0, last }'
}

# A few values of the last scan line ("M<tag>,current,integrated,rate;" pieces).
last_scan() {
    grep ' - M1,' "$mainlog" 2> /dev/null | tail -n 1 | tr -d '\r' | awk '{
        sub(/^.* - /, ""); n = split($0, piece, ";")
        for (i = 1; i <= n; i++) { split(piece[i], f, ","); tag = substr(f[1], 2); cur[tag] = f[2]; integ[tag] = f[3]; rate[tag] = f[4] }
        printf "production %s kW, gas %s m3/h, steam %s t/h, electricity this period %s kWh, compressor AND boiler %s",
            cur[1], rate[5], cur[6], integ[13], cur[16]
    }'
}

progress() {
    local now file closed count last
    now=$("$host" clock 2> /dev/null)
    file=$(store_file)
    if [ -n "$file" ]; then
        read -r count last <<< "$(closed_periods "$file")"
        file="$(basename "$file"): $count periods closed${last:+ (last ending $last)}"
    else
        file="no store file yet"
    fi
    printf '[%4ds] clock %s | %s\n        last scan: %s\n' $((SECONDS - began)) "${now/T/ }" "$file" "$(last_scan)"
}

# New lines of a log since the last look, each printed with a heading; $1 names the counter.
declare -A seen
new_lines() {
    local key=$1 file=$2 heading=$3 filter=${4:-.} total
    [ -f "$file" ] || return
    total=$(wc -l < "$file")
    # A log rotated since the last look starts again from its first line.
    [ "$total" -lt "${seen[$key]:-0}" ] && seen[$key]=0
    if [ "$total" -gt "${seen[$key]:-0}" ]; then
        tail -n "+$((${seen[$key]:-0} + 1))" "$file" | head -n $((total - ${seen[$key]:-0})) | tr -d '\r' |
            grep -v -e "$filter" | head -5 | sed "s|^|$heading|"
        seen[$key]=$total
    fi
}

summary() {
    local file
    echo
    echo "Demo stopped. What it left in $prefix:"
    for file in $(find "$prefix/drives" -iname '*.lum' | sort); do
        echo "  $file ($(stat -c %s "$file") bytes)"
    done
    for file in "$mainlog" "$programdir/voltamon_PC_Clock.log" "$csvdir/vtcsvlog.log"; do
        [ -f "$file" ] && echo "  $file ($(wc -l < "$file") lines)"
    done
    file=$(find "$datalocal" -iname '*.lum' | sort | tail -1)
    echo
    echo "Read them with:"
    echo "  export VOLTARIS_PREFIX=$prefix"
    [ -n "$file" ] && echo "  $store info $file" && echo "  $store records $file | awk -F, 'NR == 1 || \$4 == 1'"
    echo "  $store peaks $setuplocal/VoltarisSetup.ini"
    echo "  tail $mainlog"
}

stop_all() {
    [ "$stopping" = 1 ] && return
    stopping=1
    trap '' INT TERM
    echo
    echo "What the monitor wrote to the host: rates T201 T202 T203, display lines L11 L12 L13:"
    echo "  $("$host" get T201 T202 T203 L11 L12 L13 2> /dev/null | tr '\n' ' ')"
    echo "Stopping: the host job ends and the monitor with it ..."
    "$host" stop > "$out/host-stop.out" 2>&1
    if ! wait_end "$monpid" 10; then
        echo "The monitor did not end with the host; stopping it."
        kill "$monpid" 2> /dev/null
        wait_end "$monpid" 5 || kill -9 "$monpid" 2> /dev/null
    fi
    if ! wait_end "$hostpid" 10; then
        kill "$hostpid" 2> /dev/null
        wait_end "$hostpid" 5 || kill -9 "$hostpid" 2> /dev/null
    fi
    summary
    exit 0
}
trap stop_all INT TERM

csvdone=0 boiler=0 nextprogress=$((SECONDS + 10))
while :; do
    elapsed=$((SECONDS - began))
    if ! running "$monpid"; then
        wait "$monpid" 2> /dev/null
        echo "The monitor has ended (exit $?)."
        stop_all
    fi
    # After the first scans, the logger's file arrives.
    scans=$(grep -c ' - M1,' "$mainlog" 2> /dev/null)
    if [ "$csvdone" = 0 ] && [ "${scans:-0}" -ge 3 ]; then
        drop_csv
        csvdone=1
    fi
    # The boiler runs for a while: the logic tags 16 and 17 follow it.
    if [ "$boiler" = 0 ] && [ "$elapsed" -ge 20 ]; then
        "$host" set T21=1 > /dev/null && echo "Boiler running (host tag T21 = 1): maths tag 16 (compressor AND boiler) switches on."
        boiler=1
    elif [ "$boiler" = 1 ] && [ "$elapsed" -ge 80 ]; then
        "$host" set T21=0 > /dev/null && echo "Boiler stopped (host tag T21 = 0)."
        boiler=2
    fi
    new_lines clock "$programdir/voltamon_PC_Clock.log" "Clock sync: " '^$'
    new_lines csv "$csvdir/vtcsvlog.log" "CSV import: " '^$'
    new_lines main "$mainlog" "Main log: " ' - M1,'
    if [ "$SECONDS" -ge "$nextprogress" ]; then
        progress
        nextprogress=$((SECONDS + 10))
    fi
    if [ "$limit" -gt 0 ] && [ "$elapsed" -ge "$limit" ]; then
        stop_all
    fi
    # Waiting in the background lets Ctrl-C reach the trap at once.
    sleep 0.5 &
    wait $!
done
