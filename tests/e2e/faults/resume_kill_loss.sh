#!/bin/bash
# The energy a SIGKILL loses, with the resume setting off or on: a rate meter, a pulse counter and
# a running total at 3600 units an hour, 15-minute periods, the monitor killed at a random moment
# in the middle of each of several periods and started again at once. The periods from the first
# killed one to one after the last hold, summed, what the meters gave in that time less what the
# kills lost; the loss per kill is printed as a share of a period's energy for each meter.
#   resume_kill_loss.sh BIN_DIR off|on
# VT_RESUME_KILLS (default 5) and VT_FAULT_SEED (random moments) override the defaults.
# With the setting on, the pulse counter and the running total must lose under 1% of a period a
# kill; with it off, the pulse counter must be seen to lose (the measurement would be blind otherwise).
set -u
bin=$1 mode=$2
. "$(dirname "$0")/faults-lib.sh"

kills=${VT_RESUME_KILLS:-5}
RANDOM=${VT_FAULT_SEED:-$$}
echo "mode $mode, seed ${VT_FAULT_SEED:-$$}, $kills kills"
speed=450                           # a 15-minute period lasts 2 s
period_ns=$((900 * 1000000000 / speed))
month=2611 day=2026-11-19
first=41                            # the period ending 10:15, the first saved

# Three meters instead of the library's eight.
write_site() {
    printf '[host]\ngeneration = 5\njob = %s\n\n' "$job" > "$work/site.scn"
    printf '[meter Rate]\npoint = T1\nkind = rate\nrate = 3600\n\n' >> "$work/site.scn"
    printf '[meter Pulse]\npoint = T2\nkind = pulse\nrate = 3600\nunits per pulse = 0.1\nrollover = 10000000\n\n' >> "$work/site.scn"
    printf '[meter Total]\npoint = T3\nkind = total\nrate = 3600\n' >> "$work/site.scn"
    {
        printf '[Header]\nSetupVersion = 250\nPeriodsPerDay = 96\n\n'
        printf '[Tag 1]\nTagName = "Rate"\nOnline = 1\nTagType = 1\nScanType = 24\nPageNo = 1\nUnitsPerPulse = 1\n\n'
        printf '[Tag 2]\nTagName = "Pulse"\nOnline = 1\nTagType = 1\nScanType = 22\nPageNo = 2\nUnitsPerPulse = 0.1\n'
        printf 'RolloverValue = 10000000\n\n'
        printf '[Tag 3]\nTagName = "Total"\nOnline = 1\nTagType = 1\nScanType = 28\nPageNo = 3\n'
    } > "$work/tags.txt"
}

start_host "${day}T09:59:00" 1
resume=0
[ "$mode" = on ] && resume=1
printf '[general]\r\nStoreFilePrefix=F\r\ntimer1scan=5\r\nResumeAfterRestart=%d\r\n' $resume > "$jobdir/Setup/VoltarisSetup.ini"
"$host" clock "${day}T10:00:00" "$speed" > /dev/null || fail "telvane-host clock"
t0=$(sed -n 's/^AnchorUnix=\([0-9]*\)\.\([0-9]*\).*/\1 \2/p' "$VOLTARIS_PREFIX/clock.ini" |
    awk '{ f = substr($2 "000000000", 1, 9); print $1 f }')
[ -n "$t0" ] || fail "no anchor in the clock file"
start_monitor

# Period p ends (p - 40) periods after 10:00.
period_end_ns() { echo $((t0 + ($1 - 40) * period_ns)); }
saved() { "$store" records "$(store_path $month)" 2> /dev/null | awk -F, -v d=$day -v p="$1" '$1 == d && $2 == p && $5 + 0 != 0' | grep -q .; }

wait_for 20 saved $first || fail "the period ending 10:15 was not saved"
mkfifo "$work/never"
exec 9<> "$work/never"
sleep_until() {
    local wait_ns=$(($1 - $(now_ns)))
    [ "$wait_ns" -gt 0 ] && read -r -t "$(printf '%d.%09d' $((wait_ns / 1000000000)) $((wait_ns % 1000000000)))" -u 9
    return 0
}
for i in $(seq "$kills"); do
    p=$((first + i))
    # 20 to 50% into the period, so the restart is done well before its end.
    at=$(($(period_end_ns $((p - 1))) + (20 + RANDOM % 31) * period_ns / 100))
    [ "$at" -gt "$(now_ns)" ] || fail "fell behind the clock before kill $i"
    sleep_until "$at"
    kill -KILL "$monpid" 2> /dev/null
    wait "$monpid" 2> /dev/null
    monpid=
    start_monitor
    wait_for 10 saved "$p" || fail "period $p was not saved after kill $i"
done
last=$((first + kills + 1))
wait_for 10 saved "$last" || fail "period $last was not saved"
stop_monitor
error_reports && fail "errors were logged"

"$store" records "$(store_path $month)" > "$work/records.csv" || fail "vt-store records"
# Sums over the periods first + 1 .. last; the total's energy is its growth from the record before.
awk -F, -v d=$day -v from=$((first + 1)) -v to=$last -v kills="$kills" -v mode="$mode" '
    NR == 1 { for (c = 5; c <= NF; ++c) col[$c] = c; next }
    $1 != d { next }
    $2 == from - 1 { before = $col["Total"] }
    $2 >= from && $2 <= to { rate += $col["Rate"]; pulse += $col["Pulse"]; after = $col["Total"] }
    END {
        periods = to - from + 1
        expected = 900 * periods
        split("Rate Pulse Total", names, " ")
        got["Rate"] = rate; got["Pulse"] = pulse; got["Total"] = after - before
        for (n = 1; n <= 3; ++n) {
            loss[names[n]] = (expected - got[names[n]]) / kills / 900 * 100
            printf "%-5s %s: %.1f of %.1f units in %d periods; lost per kill: %.2f%% of a period\n",
                   names[n], mode, got[names[n]], expected, periods, loss[names[n]]
        }
        bad = 0
        if (mode == "on" && (loss["Pulse"] > 1 || loss["Total"] > 1)) { print "FAIL: over 1% lost with resume on"; bad = 1 }
        if (mode == "off" && loss["Pulse"] < 5) { print "FAIL: no loss seen with resume off"; bad = 1 }
        exit bad
    }' "$work/records.csv" || fail "energy lost per kill"
echo "PASS"
