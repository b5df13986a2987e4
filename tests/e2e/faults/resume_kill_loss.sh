#!/bin/bash
# The energy a SIGKILL loses, with the resume setting off or on: a rate meter, a pulse counter and
# a running total at 3600 units an hour, the monitor killed in the middle of several 15-minute
# periods and started again at once; the loss per kill is printed as a share of a period's energy.
#   resume_kill_loss.sh BIN_DIR off|on
# VT_RESUME_KILLS (default 5) and VT_FAULT_SEED (random moments) override the defaults.
# With the setting on the pulse counter must lose under 1% of a period a kill; off, it must be seen
# to lose (else the measurement is blind). A running total is a reading no kill can change.
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
clock_anchor
start_monitor

# Period p ends (p - 40) periods after 10:00.
period_end_ns() { echo $((t0 + ($1 - 40) * period_ns)); }
saved() { "$store" records "$(store_path $month)" 2> /dev/null | awk -F, -v d=$day -v p="$1" '$1 == d && $2 == p && $5 + 0 != 0' | grep -q .; }

wait_for 20 saved $first || fail "the period ending 10:15 was not saved"
for i in $(seq "$kills"); do
    p=$((first + i))
    # 20 to 50% into the period, so the restart is done well before its end.
    at=$(($(period_end_ns $((p - 1))) + (20 + RANDOM % 31) * period_ns / 100))
    [ "$at" -gt "$(now_ns)" ] || fail "fell behind the clock before kill $i"
    sleep_until "$at"
    kill_monitor
    start_monitor
    wait_for 10 saved "$p" || fail "period $p was not saved after kill $i"
done
last=$((first + kills + 1))
wait_for 10 saved "$last" || fail "period $last was not saved"
stop_monitor
error_reports && fail "errors were logged"

"$store" records "$(store_path $month)" > "$work/records.csv" || fail "vt-store records"
# Sums over the periods first + 1 .. last. The running total's records are readings of the meter,
# so its growth over them is what the meters gave between the two saves that bound the span (all
# three run at the same rate and are read in the same pass, so they lag the host alike): the
# yardstick for the others. The total itself is checked against the clock, within the host's
# point updates (every 100 ms, 45 s of this clock, at each end of the span).
awk -F, -v d=$day -v from=$((first + 1)) -v to=$last -v kills="$kills" -v mode="$mode" '
    NR == 1 { for (c = 5; c <= NF; ++c) col[$c] = c; next }
    $1 != d { next }
    $2 == from - 1 { before = $col["Total"] }
    $2 >= from && $2 <= to { rate += $col["Rate"]; pulse += $col["Pulse"]; after = $col["Total"] }
    END {
        periods = to - from + 1
        truth = after - before
        split("Rate Pulse", names, " ")
        got["Rate"] = rate; got["Pulse"] = pulse
        for (n = 1; n <= 2; ++n) {
            loss[names[n]] = (truth - got[names[n]]) / kills / 900 * 100
            printf "%-5s %s: %.1f of %.1f units in %d periods; lost per kill: %.2f%% of a period\n",
                   names[n], mode, got[names[n]], truth, periods, loss[names[n]]
        }
        drift = (900 * periods - truth) / kills / 900 * 100
        printf "Total %s: grew %.1f in %d periods (%.1f by the clock): a kill loses none of a running total (%.2f%% a kill by the clock)\n",
               mode, truth, periods, 900 * periods, drift
        bad = 0
        if (drift > 2 * 45 / 900 * 100 / kills || drift < -2 * 45 / 900 * 100 / kills) { print "FAIL: the running total is off"; bad = 1 }
        if (mode == "on" && loss["Pulse"] > 1) { print "FAIL: over 1% lost with resume on"; bad = 1 }
        if (mode == "off" && loss["Pulse"] < 5) { print "FAIL: no loss seen with resume off"; bad = 1 }
        exit bad
    }' "$work/records.csv" || fail "energy lost per kill"
echo "PASS"
