# Shared by the fault scripts (sourced): a fresh prefix with telvane-host running a site of eight
# constant-rate meters (tag t reads host tag t at 100 x t units an hour, its rate back to host tag
# 100 + t) and a display tag on line 1, 96 periods a day, a backup folder, and voltamon --headless.
# Callers set: bin (the build's bin folder). Exit 77 means skipped.

host=$bin/telvane-host voltamon=$bin/voltamon mtg=$bin/vt-mtg store=$bin/vt-store
for p in "$host" "$voltamon" "$mtg" "$store"; do
    [ -x "$p" ] || { echo "skipped: $p is not built"; exit 77; }
done

work=$(mktemp -d /tmp/vt-faults-XXXXXX)
export VOLTARIS_PREFIX=$work/prefix VOLTARIS_PROGRAM_DIR=$work/program
mkdir -p "$VOLTARIS_PREFIX" "$VOLTARIS_PROGRAM_DIR"
mkfifo "$work/never"  # read with a timeout by sleep_until
exec 9<> "$work/never"
unset DISPLAY WAYLAND_DISPLAY
hostpid= monpid=
cleanups=()
job=Faults
hostdir=$VOLTARIS_PREFIX/drives/c/Telvane5
jobdir=$hostdir/Jobs/$job
storedir=$jobdir/Data/Voltaris
backupdir=$VOLTARIS_PREFIX/drives/c/VtBackup
log=$VOLTARIS_PROGRAM_DIR/voltamon.log
meters=8

finish() {
    local c
    stop_monitor
    if [ -n "$hostpid" ]; then
        "$host" stop > /dev/null 2>&1
        kill "$hostpid" 2> /dev/null
        wait "$hostpid" 2> /dev/null
    fi
    for c in "${cleanups[@]}"; do eval "$c"; done
    [ -n "${keep:-}" ] || rm -rf "$work"
}
trap finish EXIT

fail() {
    echo "FAIL: $*"
    [ -f "$log" ] && { echo "== last lines of voltamon.log"; tail -15 "$log" | cut -c1-200; }
    exit 1
}

now_ns() { date +%s%N; }

write_site() {
    local t
    {
        printf '[host]\ngeneration = 5\njob = %s\n\n' "$job"
        for t in $(seq $meters); do printf '[meter M%d]\npoint = T%d\nkind = rate\nrate = %d\n\n' "$t" "$t" $((100 * t)); done
    } > "$work/site.scn"
    {
        printf '[Header]\nSetupVersion = 250\nPeriodsPerDay = 96\n\n'
        for t in $(seq $meters); do
            printf '[Tag %d]\nTagName = "Rate %d"\nOnline = 1\nTagType = 1\nScanType = 24\nPageNo = %d\n' "$t" "$t" "$t"
            printf 'UnitsPerPulse = 1\nMaxRate = 1000000\nHostTagNumber = %d\nInTotal = 1\n\n' $((100 + t))
        done
        printf '[Tag %d]\nTagName = "Display"\nOnline = 1\nTagType = 3\nDisplaySourceIsTag = 1\nDisplaySource = 1\n' $((meters + 1))
        printf 'RecorderNo = 1\nPageNo = 1\nLineNo = 1\n'
    } > "$work/tags.txt"
}

# start_host START SPEED: the simulated clock, the host job, the tag setup and the settings.
start_host() {
    write_site
    "$host" clock "$1" "$2" > /dev/null || fail "telvane-host clock"
    "$host" run --scenario "$work/site.scn" > "$work/host.out" 2>&1 &
    hostpid=$!
    local _
    for _ in $(seq 300); do
        "$host" status 2> /dev/null | grep -q '^job running: yes' && break
        sleep 0.1
    done
    "$host" status 2> /dev/null | grep -q '^job running: yes' || fail "the host job did not start: $(cat "$work/host.out")"
    "$mtg" build "$work/tags.txt" "C:\\Telvane5\\Jobs\\$job\\Setup\\VoltarisMonitor.mtg" > "$work/mtg.out" 2>&1 ||
        fail "vt-mtg: $(cat "$work/mtg.out")"
    mkdir -p "$jobdir/Setup" "$backupdir"
    printf '[general]\r\nStoreFilePrefix=F\r\ntimer1scan=5\r\nBackupDir=C:\\VtBackup\r\n' > "$jobdir/Setup/VoltarisSetup.ini"
    # A port of its own, so that monitors of tests running side by side do not collide.
    printf '[Sockets]\r\nVoltarisMonitorPortNo=%d\r\n' $((20000 + $$ % 20000)) > "$jobdir/Setup/WinSockets.ini"
}

# start_monitor [SWITCHES...]: voltamon --headless in the background (pid in monpid).
start_monitor() {
    "$voltamon" --headless "$@" >> "$work/monitor.out" 2>&1 &
    monpid=$!
}

stop_monitor() {
    [ -n "$monpid" ] || return 0
    kill "$monpid" 2> /dev/null
    wait "$monpid" 2> /dev/null
    monpid=
}

alive() { [ -n "$monpid" ] && kill -0 "$monpid" 2> /dev/null; }

# wait_for SECONDS COMMAND...: true as soon as the command succeeds.
wait_for() {
    local limit=$(($(now_ns) + $1 * 1000000000))
    shift
    while [ "$(now_ns)" -lt "$limit" ]; do
        "$@" && return 0
        sleep 0.05
    done
    "$@"
}

# The real moment (ns) the simulated clock stood at its last setting, as the clock file keeps it.
clock_anchor() {
    t0=$(sed -n 's/^AnchorUnix=\([0-9]*\)\.\([0-9]*\).*/\1 \2/p' "$VOLTARIS_PREFIX/clock.ini" |
        awk '{ f = substr($2 "000000000", 1, 9); print $1 f }')
    [ -n "$t0" ] || fail "no anchor in the clock file: $(cat "$VOLTARIS_PREFIX/clock.ini")"
}

# sleep_until NS: a read that times out sleeps without starting a process, so a kill keeps to its moment.
sleep_until() {
    local wait_ns=$(($1 - $(now_ns)))
    [ "$wait_ns" -gt 0 ] && read -r -t "$(printf '%d.%09d' $((wait_ns / 1000000000)) $((wait_ns % 1000000000)))" -u 9
    return 0
}

kill_monitor() {
    kill -KILL "$monpid" 2> /dev/null
    wait "$monpid" 2> /dev/null
    monpid=
}

# wait_exit SECONDS: the monitor's exit code in code once it ends by itself (empty if it did not).
wait_exit() {
    local _
    code=
    for _ in $(seq $(($1 * 20))); do
        kill -0 "$monpid" 2> /dev/null || { wait "$monpid"; code=$?; monpid=; return 0; }
        sleep 0.05
    done
}

scan_lines() { if [ -f "$log" ]; then grep -c ' - M1,' "$log"; else echo 0; fi; }

# Error reports in the log's error form: "dd/mm/yy hh:mm:ss - Procedure, Error n/ message".
error_reports() { grep -E '^[0-9]{2}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} - [A-Za-z_0-9]+, Error [0-9]+/ .+' "$log" 2> /dev/null; }

# Still scanning: alive, and N more scan lines after the current count within a while.
keeps_scanning() {
    local before
    before=$(scan_lines)
    wait_for 30 eval '[ "$(scan_lines)" -ge $((before + '"${1:-5}"')) ]' || return 1
    alive
}

store_path() { echo "C:\\Telvane5\\Jobs\\$job\\Data\\Voltaris\\F$1.lum"; }

# Records of a day with a non-zero first tag: "period flag value1 ..." per line.
saved_records() {
    "$store" records "$(store_path "$1")" 2> /dev/null | awk -F, -v d="$2" '$1 == d && $5 + 0 != 0 { print $2, $4 }'
}
