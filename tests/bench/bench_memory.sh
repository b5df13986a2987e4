#!/bin/bash
# Start-up time and resident memory of voltamon with 200 tag slots (198 scanned tags, each read
# from its own simulated host meter) beside telvane-host in a fresh prefix.
#   bench_memory.sh BUILD_DIR ROWS_FILE
# Appends one line per figure to ROWS_FILE: figure|ours|baseline|ratio|goal|verdict
# Environment: VT_BENCH_SIM_HOUR_SECONDS (real seconds one simulated hour takes, default 30),
# VT_BENCH_STARTS (start-up runs, default 5).
set -u
bin=$(cd "$1/bin" && pwd) rows=$2
host=$bin/telvane-host voltamon=$bin/voltamon mtg=$bin/vt-mtg store=$bin/vt-store
hour_seconds=${VT_BENCH_SIM_HOUR_SECONDS:-30}
starts=${VT_BENCH_STARTS:-5}
tags=198

for p in "$host" "$voltamon" "$mtg" "$store"; do
    [ -x "$p" ] || { echo "bench_memory: $p is not built"; exit 1; }
done

work=$(mktemp -d /tmp/vt-benchmem-XXXXXX)
hostpid= monpid= xpid=
stop_monitor() {
    if [ -n "$monpid" ]; then
        kill "$monpid" 2> /dev/null
        wait "$monpid" 2> /dev/null
        monpid=
    fi
}
stop_host() {
    [ -n "$hostpid" ] || return 0
    "$host" stop > /dev/null 2>&1
    kill "$hostpid" 2> /dev/null
    wait "$hostpid" 2> /dev/null
    hostpid=
}
finish() {
    stop_monitor
    stop_host
    [ -n "$xpid" ] && kill "$xpid" 2> /dev/null && wait "$xpid" 2> /dev/null
    rm -rf "$work"
}
trap finish EXIT
row() { echo "$1|$2|$3|$4|$5|$6" >> "$rows"; }
now_ns() { date +%s%N; }
rss_kb() { awk '/^VmRSS:/ { print $2 }' "/proc/$1/status" 2> /dev/null; }

# Three kinds of meter in turn: pulse counters, rates and running totals, on host tags 1..198;
# the rates go back to host tags 1001..1198.
make_site() {
    local t kind scan
    {
        printf '[host]\ngeneration = 5\njob = Bench\n\n'
        for t in $(seq $tags); do
            case $((t % 3)) in
                0) printf '[meter M%d]\npoint = T%d\nkind = pulse\nrate = %d..%d\nperiod = 900\nunits per pulse = 0.1\nrollover = 1000000\n\n' "$t" "$t" $((50 + t)) $((150 + t)) ;;
                1) printf '[meter M%d]\npoint = T%d\nkind = rate\nrate = %d..%d\nperiod = 1200\n\n' "$t" "$t" $((100 + t)) $((300 + t)) ;;
                2) printf '[meter M%d]\npoint = T%d\nkind = total\nrate = %d\nstart = 5000\n\n' "$t" "$t" $((20 + t)) ;;
            esac
        done
    } > "$work/site.scn"
    {
        printf '[Header]\nSetupVersion = 250\nPeriodsPerDay = 96\n\n'
        for t in $(seq $tags); do
            case $((t % 3)) in 0) scan=22 ;; 1) scan=24 ;; 2) scan=28 ;; esac
            printf '[Tag %d]\nTagName = "Meter %d"\nOnline = 1\nTagType = 1\nScanType = %d\nPageNo = %d\n' "$t" "$t" "$scan" "$t"
            printf 'UnitsPerPulse = %s\nMaxRate = 1000000\nRolloverValue = 1000000\nHostTagNumber = %d\nInTotal = 1\n\n' \
                "$([ "$scan" = 22 ] && echo 0.1 || echo 1)" $((1000 + t))
        done
    } > "$work/site.txt"
}

# A fresh prefix with the host job running, the tag setup and the settings in place.
start_site() {
    export VOLTARIS_PREFIX=$work/$1/prefix VOLTARIS_PROGRAM_DIR=$work/$1/program
    mkdir -p "$VOLTARIS_PREFIX" "$VOLTARIS_PROGRAM_DIR"
    "$host" clock "$2" "$3" > /dev/null || return 1
    "$host" run --scenario "$work/site.scn" > "$work/$1/host.out" 2>&1 &
    hostpid=$!
    local _
    for _ in $(seq 300); do
        "$host" status 2> /dev/null | grep -q '^job running: yes' && break
        sleep 0.1
    done
    "$host" status 2> /dev/null | grep -q '^job running: yes' || { echo "bench_memory: the host job did not start"; return 1; }
    local setup
    setup=$("$host" status | sed -n 's/^job setup folder: //p' | tr -d '\r')
    "$mtg" build "$work/site.txt" "$setup\\VoltarisMonitor.mtg" > "$work/$1/mtg.out" 2>&1 || { cat "$work/$1/mtg.out"; return 1; }
    local c=$VOLTARIS_PREFIX/drives/c/Telvane5/Jobs/Bench/Setup
    mkdir -p "$c"
    printf '[general]\r\nStoreFilePrefix=Bench\r\ntimer1scan=5\r\nBackupDir=C:\\VtBackup\r\n' > "$c/VoltarisSetup.ini"
    printf '[Sockets]\r\nVoltarisMonitorPortNo=%d\r\n' $((20000 + $$ % 20000)) > "$c/WinSockets.ini"
}

# Seconds (3 decimals) from the program's start until the log holds N scan lines of tag 1.
# The start-up's own acquisition pass writes the first one, the first timed scan the second.
scan_line_times() {
    local log=$VOLTARIS_PROGRAM_DIR/voltamon.log start=$1 first= second= n deadline
    deadline=$((start + 30000000000))
    while [ "$(now_ns)" -lt "$deadline" ]; do
        n=$(grep -c ' - M1,' "$log" 2> /dev/null)
        n=${n:-0}
        if [ -z "$first" ] && [ "$n" -ge 1 ]; then first=$(now_ns); fi
        if [ "$n" -ge 2 ]; then second=$(now_ns); break; fi
        kill -0 "$monpid" 2> /dev/null || break
        sleep 0.005
    done
    [ -n "$first" ] && [ -n "$second" ] || return 1
    awk -v s="$start" -v a="$first" -v b="$second" 'BEGIN { printf "%.3f %.3f\n", (a - s) / 1e9, (b - s) / 1e9 }'
}

median() { sort -n | awk '{ v[NR] = $1 } END { if (NR == 0) print ""; else if (NR % 2) print v[(NR + 1) / 2]; else printf "%.3f\n", (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

# Start-up at the clock speed set: one run creating the month's store file, the others finding it.
startup_runs() {
    local mode=$1 i t0 times
    : > "$work/startup-$mode"
    for i in $(seq "$starts"); do
        rm -f "$VOLTARIS_PROGRAM_DIR/voltamon.log"
        t0=$(now_ns)
        if [ "$mode" = headless ]; then
            "$voltamon" --headless /log > "$work/mon-$mode-$i.out" 2>&1 &
        else
            "$voltamon" /log > "$work/mon-$mode-$i.out" 2>&1 &
        fi
        monpid=$!
        times=$(scan_line_times "$t0") || { echo "bench_memory: no scan line from voltamon ($mode)"; tail -5 "$VOLTARIS_PROGRAM_DIR/voltamon.log" 2> /dev/null; stop_monitor; return 1; }
        stop_monitor
        echo "$times" >> "$work/startup-$mode"
        echo "  $mode start $i: start-up pass done after ${times% *} s, first timed scan after ${times#* } s"
    done
}

# One simulated hour of 5-second scans; VmRSS sampled every second. The first quarter is warm-up.
memory_run() {
    local mode=$1 end samples
    samples=$work/rss-$mode
    : > "$samples"
    if [ "$mode" = headless ]; then
        "$voltamon" --headless > "$work/mon-$mode-hour.out" 2>&1 &
    else
        "$voltamon" > "$work/mon-$mode-hour.out" 2>&1 &
    fi
    monpid=$!
    end=$(($(now_ns) + hour_seconds * 1000000000))
    while [ "$(now_ns)" -lt "$end" ]; do
        kill -0 "$monpid" 2> /dev/null || { echo "bench_memory: voltamon ($mode) ended during the hour"; monpid=; return 1; }
        rss_kb "$monpid" >> "$samples"
        sleep 1
    done
    stop_monitor
}

# The hour from 09:30 at high speed; its period saves show the scans went on all the time.
hour_of_scans() {
    local saved
    rm -f "$VOLTARIS_PREFIX"/drives/c/Telvane5/Jobs/Bench/Data/Voltaris/*.lum
    "$host" clock 2026-11-19T09:30:00 $((3600 / hour_seconds)) > /dev/null
    memory_run "$1" || return 1
    saved=$("$store" records 'C:\Telvane5\Jobs\Bench\Data\Voltaris\Bench2611.lum' 2> /dev/null |
        awk -F, '$1 == "2026-11-19" && $5 + 0 != 0' | wc -l)
    echo "  periods saved during the hour: $saved"
    [ "$saved" -ge 3 ] || row "period saves during the hour of scans, $1" "$saved" "-" "-" ">= 3" "FAIL"
}

report_memory() {
    local mode=$1 limit_mb=$2 samples n warm first last peak growth
    samples=$work/rss-$mode
    n=$(wc -l < "$samples")
    [ "$n" -ge 4 ] || { row "resident memory, $mode, 200 tags, 1 h of scans" "-" "-" "-" "< $limit_mb MB" "no samples"; return; }
    warm=$((n / 4 + 1))
    first=$(sed -n "${warm}p" "$samples")
    last=$(tail -1 "$samples")
    peak=$(sort -n "$samples" | tail -1)
    growth=$((last - first))
    row "resident memory, $mode, 200 tags, peak over 1 h of scans" "$(awk -v k="$peak" 'BEGIN { printf "%.1f MB", k / 1024 }')" "-" "-" "< $limit_mb MB" \
        "$(awk -v k="$peak" -v l="$limit_mb" 'BEGIN { print (k < l * 1024 ? "pass" : "FAIL") }')"
    # Allocator noise allowed: 1% of the warm figure or 256 kB, whichever is larger.
    row "memory growth, $mode, after warm-up to end of the hour" "$(awk -v g="$growth" 'BEGIN { printf "%+.0f kB", g }')" \
        "$first kB" "$(awk -v a="$last" -v b="$first" 'BEGIN { printf "%.3f", a / b }')" "no growth" \
        "$(awk -v g="$growth" -v f="$first" 'BEGIN { t = f / 100; if (t < 256) t = 256; print (g <= t ? "pass" : "FAIL") }')"
    echo "  $mode VmRSS samples (kB): $(tr '\n' ' ' < "$samples")"
}

report_startup() {
    local mode=$1 goal=$2 pass med_first med_second
    med_first=$(awk '{ print $1 }' "$work/startup-$mode" | median)
    med_second=$(awk '{ print $2 }' "$work/startup-$mode" | median)
    [ -n "$med_first" ] || return
    if [ -n "$goal" ]; then
        pass=$(awk -v v="$med_first" -v g="$goal" 'BEGIN { print (v < g ? "pass" : "FAIL") }')
        row "start to first finished scan, $mode, 200 tags (median of $starts)" "$med_first s" "-" "-" "< $goal s" "$pass"
    else
        row "start to first finished scan, $mode, 200 tags (median of $starts)" "$med_first s" "-" "-" "-" "-"
    fi
    row "start to first timed scan, $mode (one scan interval later)" "$med_second s" "-" "-" "-" "-"
}

make_site

echo "== voltamon --headless: start-up"
start_site headless 2026-11-19T09:30:00 1 || exit 1
startup_runs headless || exit 1
report_startup headless 1
# The same at a clock 20 times as fast: the first tick comes after 50 ms instead of a second, so
# this is nearly all start-up work.
"$host" clock 2026-11-19T09:30:00 20 > /dev/null
startup_runs headless || exit 1
med=$(awk '{ print $1 }' "$work/startup-headless" | median)
row "start to first finished scan, headless, clock at 20x (first tick at 0.05 s)" "$med s" "-" "-" "-" "-"
echo "== voltamon --headless: one simulated hour of scans in ${hour_seconds} s"
hour_of_scans headless || exit 1
report_memory headless 30
stop_host

display=
if command -v Xvfb > /dev/null; then
    display=99
    while [ -e "/tmp/.X$display-lock" ]; do display=$((display + 1)); done
    Xvfb ":$display" -screen 0 1280x1024x24 -nolisten tcp > "$work/xvfb.out" 2>&1 &
    xpid=$!
    for _ in $(seq 50); do [ -e "/tmp/.X11-unix/X$display" ] && break; sleep 0.1; done
    [ -e "/tmp/.X11-unix/X$display" ] || display=
fi
if [ -n "$display" ]; then
    export DISPLAY=":$display"
    echo "== voltamon window on Xvfb :$display: start-up"
    start_site window 2026-11-19T09:30:00 1 || exit 1
    startup_runs window || exit 1
    echo "== voltamon window: one simulated hour of scans in ${hour_seconds} s"
    hour_of_scans window || exit 1
    report_startup window ""
    report_memory window 80
    stop_host
else
    row "resident memory, window, 200 tags" "-" "-" "-" "< 80 MB" "skipped: no Xvfb"
fi
exit 0
