#!/bin/bash
# voltamon killed with SIGKILL around period ends (where it saves the period and copies the store
# file to the backup folder), a hundred times, restarted after each kill. After every kill the
# backup must be a saved state of the store file; at the end the header must be unchanged and
# every record untouched or a whole save (tag t holds t times as much: never some tags saved).
#   kill_during_saves.sh BIN_DIR
# VT_FAULT_KILLS (default 100) and VT_FAULT_SEED (random delays) override the defaults.
set -u
bin=$1
. "$(dirname "$0")/faults-lib.sh"

kills=${VT_FAULT_KILLS:-100}
RANDOM=${VT_FAULT_SEED:-$$}
echo "seed ${VT_FAULT_SEED:-$$}, $kills kills"
speed=1200                          # a 15-minute period lasts 0.75 s
period_ns=$((900 * 1000000000 / speed))
month=2611 day=2026-11-10
first_record=$((9 * 96))            # the record of the period ending 10 Nov 00:15

start_host "${day}T00:00:00" 1

# Period k ends k periods after t0; no kill before the first save is backed up.
"$host" clock "${day}T00:00:00" "$speed" > /dev/null || fail "telvane-host clock"
clock_anchor
start_monitor
store_file=$storedir/F$month.lum
backup_file=$backupdir/F$month.lum
wait_for 20 eval '[ "$(saved_records $month $day | wc -l)" -ge 1 ] && cmp -s "$store_file" "$backup_file"' ||
    fail "no period saved and backed up before the kills"
info=$("$store" info "$(store_path $month)") || fail "vt-store info of the new store file"
size=$(stat -c %s "$store_file")
data_start=$(sed -n 's/^Data start: *//p' <<< "$info")
record_size=$(sed -n 's/^Records: *[0-9]* of \([0-9]*\) bytes/\1/p' <<< "$info")
[ -n "$data_start" ] && [ -n "$record_size" ] || fail "no data start or record size in: $info"
data_offset=$((data_start - 1))

# The first tag's value in record r of a file, as hex (00000000 when never written).
tag1_hex() { od -An -tx4 -j $((data_offset + $2 * record_size + 2)) -N 4 "$1" | tr -d ' '; }

# The backup equals the store file up to some record and is zero from there on: the store as it
# was after an earlier save. Anything else (short, torn, header differing) is a broken copy.
check_backup() {
    [ -f "$backup_file" ] || { echo "no backup file"; return 1; }
    local bsize first_diff
    bsize=$(stat -c %s "$backup_file")
    [ "$bsize" = "$size" ] || { echo "backup is $bsize bytes, the store file $size"; return 1; }
    first_diff=$(cmp -l "$store_file" "$backup_file" | awk -v ds="$data_offset" -v rs="$record_size" '
        { z = $1 - 1
          if (z < ds) { print "setup area differs at byte " z; bad = 1; exit }
          r = int((z - ds) / rs); if (min == "" || r < min) min = r }
        END { if (!bad && min != "") print min }')
    case $first_diff in
        "") return 0 ;;
        *[!0-9]*) echo "$first_diff"; return 1 ;;
    esac
    local from=$((data_offset + first_diff * record_size)) rest
    rest=$((size - from))
    cmp -s <(tail -c +$((from + 1)) "$backup_file") <(head -c "$rest" /dev/zero) ||
        { echo "backup differs from the store file at record $first_diff but is not an earlier saved state there"; return 1; }
}

# The kill moment follows the saves: later after a kill that came before the save, earlier after
# one that came when the backup was already complete, so most kills land inside a save whatever
# the machine's speed.
not_saved=0 behind=0 complete=0 centre_ms=5
for i in $(seq "$kills"); do
    alive || start_monitor
    now=$(now_ns)
    k=$(((now - t0 + 350000000) / period_ns + 1))
    delay_ms=$((centre_ms + RANDOM % 11 - 5))
    target=$((t0 + k * period_ns + delay_ms * 1000000))
    sleep_until "$target"
    kill_monitor
    problem=$(check_backup) || fail "after kill $i (${delay_ms} ms after the end of period $k): $problem"
    r=$((first_record + k - 1))
    if [ "$(tag1_hex "$store_file" $r)" = 00000000 ]; then
        not_saved=$((not_saved + 1))
        [ $centre_ms -lt 500 ] && centre_ms=$((centre_ms + 3))
    elif [ "$(tag1_hex "$backup_file" $r)" = 00000000 ]; then
        behind=$((behind + 1))
    else
        complete=$((complete + 1))
        [ $centre_ms -gt -500 ] && centre_ms=$((centre_ms - 3))
    fi
done
echo "kills (last aimed ${centre_ms} ms after a period end): $not_saved before the period was saved, $behind after the record was written but before the backup was complete, $complete after both"

# The files themselves after the last kill.
[ "$(stat -c %s "$store_file")" = "$size" ] || fail "the store file changed size: $(stat -c %s "$store_file") bytes, was $size"
after=$("$store" info "$(store_path $month)") || fail "vt-store info fails on the store file"
[ "$after" = "$info" ] || fail "the store file header changed:"$'\n'"$(diff <(echo "$info") <(echo "$after"))"
backup_info=$("$store" info 'C:\VtBackup\F'"$month"'.lum') || fail "vt-store info fails on the backup"
[ "$backup_info" = "$info" ] || fail "the backup header differs:"$'\n'"$(diff <(echo "$info") <(echo "$backup_info"))"

# Every record: untouched, or one whole save of the eight meters.
check_records() {
    "$store" records "$1" > "$work/records.csv" || { echo "vt-store records fails on $1"; return 1; }
    awk -F, -v m="$meters" '
        NR == 1 { next }
        {
            zero = 0
            for (t = 1; t <= m; ++t) if ($(4 + t) + 0 == 0) ++zero
            if ($(5 + m) + 0 != 0) { print "record " $1 " " $2 ": display tag slot holds " $(5 + m); bad = 1; exit }
            if (zero == m) { if ($4 + 0 != 0) { print "record " $1 " " $2 ": flag " $4 " without values"; bad = 1; exit } next }
            if (zero != 0) { print "record " $1 " " $2 " is torn: " zero " of " m " tags unsaved: " $0; bad = 1; exit }
            if ($4 != 0 && $4 != 1) { print "record " $1 " " $2 ": flag " $4; bad = 1; exit }
            mean = 0
            for (t = 1; t <= m; ++t) mean += $(4 + t) / t
            mean /= m
            # Each tag is timed on its own within a scan, so a short integration shows a spread of
            # a few simulated seconds between tags (0.5 here is 18 s at 100 units an hour).
            for (t = 1; t <= m; ++t) {
                v = $(4 + t) / t
                if (v < 0 || v > 28 || v < mean * 0.97 - 0.5 || v > mean * 1.03 + 0.5) {
                    print "record " $1 " " $2 ": tag " t " holds " $(4 + t) ", not " t " x " mean ": " $0; bad = 1; exit
                }
            }
            # A period the monitor ran through holds 15 minutes of every rate, give or take the
            # scan that crosses its end: at this clock speed a scan held up by 50 ms is a minute late.
            if ($4 == 1 && (mean < 22 || mean > 28)) { print "record " $1 " " $2 ": full period of " mean " units per 100/h"; bad = 1; exit }
            ++saved; if ($4 == 1) ++full
        }
        END { if (!bad) printf "%d records saved, %d of them whole periods\n", saved, full; exit bad }
    ' "$work/records.csv"
}
check_records "$(store_path $month)" || fail "store file records"
check_records 'C:\VtBackup\F'"$month"'.lum' > /dev/null || fail "backup records: $(check_records 'C:\VtBackup\F'"$month"'.lum')"

# And the monitor still starts and saves on this file.
before=$(saved_records $month $day | wc -l)
start_monitor
wait_for 20 eval '[ "$(saved_records '"$month $day"' | wc -l)" -gt '"$before"' ]' ||
    wait_for 5 eval '[ "$(saved_records '"$month"' 2026-11-11 | wc -l)" -gt 0 ]' || fail "no period saved after the last restart"
alive || fail "the monitor ended after the last restart"
echo "PASS"
