#!/bin/bash
# voltamon --headless under file and host faults, on a simulated clock where a 15-minute period
# lasts 3 s. Each case checks what the monitor reports in its log's error form
# ("Procedure, Error n/ message"), that it keeps scanning (the /log scan lines go on), and where
# the fault can be lifted, that the period saves resume. A store folder that is a file and a vanished
# backup folder are unit tests.
#   file_faults.sh BIN_DIR CASE
# CASE: store-folder-read-only, disk-full, line-library-missing, host-libraries-missing, damaged-store-header,
#       clock-set-back
set -u
bin=$1 case=$2
. "$(dirname "$0")/faults-lib.sh"

month=2611 day=2026-11-19
store_file=$storedir/F$month.lum

store_reports() { error_reports | grep -E ' - (GetStoreFileName|StartUpFileInfo|UpdateSetupData|HalfHourSave), Error '; }
saved_count() { saved_records $month $day | wc -l; }

# The host with its job (a hook may break it first), then the monitor a little before 10:15.
begin() {
    start_host "${day}T10:13:00" 1
    "$@"
    "$host" clock "${day}T10:14:30" 300 > /dev/null
    start_monitor /log
}

case $case in
store-folder-read-only)
    # Root writes through any mode bits, so a read-only bind mount of the store folder, set after
    # the first saved period: reported at the next save, scans go on, saves resume once lifted.
    mkdir -p "$storedir"
    mount --bind "$storedir" "$storedir" 2> /dev/null || { echo "skipped: bind mounts are not permitted here"; exit 77; }
    umount "$storedir"
    cleanups+=('umount "$storedir" 2> /dev/null')
    begin
    wait_for 20 eval '[ "$(saved_count)" -ge 1 ]' || fail "no period saved before the fault"
    mount --bind "$storedir" "$storedir" && mount -o remount,bind,ro "$storedir" || fail "could not make the store folder read-only"
    wait_for 20 eval 'store_reports > /dev/null' || fail "no error report from the store file procedures"
    echo "reported: $(store_reports | head -3 | cut -c1-160)"
    keeps_scanning 10 || fail "the monitor stopped scanning after the fault"
    umount "$storedir" || fail "could not lift the fault"
    before=$(saved_count)
    wait_for 20 eval '[ "$(saved_count)" -gt '"$before"' ]' || fail "no period saved after the fault was lifted"
    alive || fail "the monitor ended"
    ;;

disk-full)
    # A 1 MB file system for the store folder: the month's file (2.4 MB at 96 periods a day)
    # cannot be laid out, and the record of 10:15 on the 19th lies past the end.
    mkdir -p "$storedir"
    if mount -t tmpfs -o size=1m vt-faults "$storedir" 2> /dev/null; then
        cleanups+=('umount "$storedir" 2> /dev/null')
        full="tmpfs of 1 MB"
    else
        echo "mounting a small file system is not permitted here: a 1 MB file size limit instead"
        full="file size limit"
        printf '#!/bin/bash\ntrap "" XFSZ\nulimit -f 1024\nexec "%s" "$@"\n' "$voltamon" > "$work/voltamon-limited"
        chmod +x "$work/voltamon-limited"
        voltamon=$work/voltamon-limited
    fi
    begin
    wait_for 20 eval 'store_reports | grep -q " - HalfHourSave, Error "' || fail "the period save on a full disk was not reported"
    if [ "$full" = "tmpfs of 1 MB" ]; then
        store_reports | grep -q ', Error 61/ Disk full' || fail "a full disk not reported as error 61: $(store_reports | head -3)"
    fi
    echo "reported ($full): $(store_reports | head -3 | cut -c1-160)"
    keeps_scanning 10 || fail "the monitor stopped scanning on a full disk"
    if [ "$full" = "tmpfs of 1 MB" ]; then
        # Room again: the next save writes its record past the old end of the file.
        mount -o remount,size=16m "$storedir" || fail "could not grow the tmpfs"
        wait_for 20 eval '[ "$(stat -c %s "$store_file")" -gt 1048576 ]' || fail "no record written once there was room again"
        alive || fail "the monitor ended"
    fi
    ;;

line-library-missing)
    # Without the line library the tags are still read and their rates written back to host
    # tags; only the display value for the line is lost, and the monitor runs on.
    begin eval '"$host" set L1=0 > /dev/null && rm -f "$hostdir/hostcmd32.dll"'
    wait_for 20 eval '[ "$(saved_count)" -ge 1 ]' || fail "no period saved without the line library"
    grep -q ' - M1,100.00,' "$log" || fail "tag 1 was not read: $(grep -m1 ' - M1,' "$log")"
    keeps_scanning 10 || fail "the monitor stopped scanning without the line library"
    read -r t101 l1 < <("$host" get T101 L1 | tr '\n' ' ')
    [ "${t101%%.*}" = 100 ] || fail "the rate of tag 1 did not reach host tag 101: $t101"
    [ "$l1" = 0 ] || fail "line 1 written without the line library: $l1"
    ;;

host-libraries-missing)
    # Without the point and recorder libraries there is no host: the tag setup file is looked
    # for outside the job's setup folder and not found (reported), and with no setup and no
    # running host job the monitor ends by itself, without a crash.
    begin eval 'rm -f "$hostdir"/*.dll'
    wait_exit 10
    [ -n "$code" ] || fail "the monitor kept running without a host job"
    [ "$code" -lt 128 ] || fail "the monitor died of signal $((code - 128))"
    error_reports | grep -q ' - GetSetupData, Error 53/ File not found' ||
        fail "the missing tag setup file was not reported: $(error_reports | head -3)"
    ;;

damaged-store-header)
    # A store file whose header says 32767 tag slots: the restarted monitor refuses it at start-up,
    # naming the field and its value, ends with exit code 1 and leaves the file as it was.
    begin
    wait_for 20 eval '[ "$(saved_count)" -ge 1 ]' || fail "no period saved before the damage"
    stop_monitor
    printf '\xff\x7f' | dd of="$store_file" bs=1 seek=60 conv=notrunc status=none || fail "could not damage the header"
    cp "$store_file" "$work/damaged.lum"
    : > "$log"
    start_monitor /log
    wait_exit 15
    [ "$code" = 1 ] || fail "the monitor ended with exit code '$code' (empty: still running), not 1"
    grep -q 'Error in Store File: .*Its MaxTags (byte 60) is 32767, ' "$log" ||
        fail "no message naming the damaged field: $(grep -m1 'Store File' "$log")"
    [ "$(scan_lines)" = 0 ] || fail "the monitor scanned on the damaged file"
    [ -z "$(error_reports)" ] || fail "errors logged on the damaged file: $(error_reports)"
    cmp -s "$store_file" "$work/damaged.lum" || fail "the damaged store file was written to"
    ;;

clock-set-back)
    # The PC clock set back to 09:55 soon after the 10:15 save, at the same speed: no record may
    # hold negative energy, none more than its period and the minute its save may come late, and
    # the monitor saves on.
    begin
    wait_for 20 eval '[ "$(saved_count)" -ge 1 ]' || fail "no period saved before the step"
    "$host" clock "${day}T09:55:00" 300 > /dev/null || fail "could not set the clock back"
    wait_for 30 eval '"$host" clock | grep -q "T10:3[1-9]"' || fail "the clock did not reach 10:31"
    sleep 0.5  # the save of 10:30 and a scan or two beyond
    grep -qE ' - PC clock stepped by -[0-9]{4} secs' "$log" || fail "the step was not seen: $(grep -m1 'stepped' "$log")"
    "$store" records "$(store_path $month)" > "$work/records.csv" || fail "vt-store records"
    # Tag t runs at 100 x t an hour: a 15-minute period holds 25 x t, a repeated one 50 x t at most.
    awk -F, -v d=$day -v m=$meters '
        $1 != d { next }
        { for (t = 1; t <= m; ++t) if ($(4 + t) + 0 < 0 || $(4 + t) / t > 52) { print "period " $2 ": tag " t " holds " $(4 + t); bad = 1 } }
        END { exit bad }' "$work/records.csv" || fail "a record out of bounds after the step"
    keeps_scanning 5 || fail "the monitor stopped scanning after the step"
    reports=$(error_reports)
    [ -z "$reports" ] || fail "errors after the step: $reports"
    echo "step seen: $(grep -m1 -o 'PC clock stepped by [-0-9]* secs' "$log")"
    ;;

*)
    echo "unknown case: $case"; exit 2 ;;
esac
echo "PASS"
