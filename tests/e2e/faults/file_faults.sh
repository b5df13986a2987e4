#!/bin/bash
# voltamon --headless under file and host faults, on a simulated clock where a 15-minute period
# lasts 3 s. Each case checks what the monitor reports in its log's error form
# ("Procedure, Error n/ message"), that it keeps scanning (the /log scan lines go on), and where
# the fault can be lifted, that the period saves resume.
#   file_faults.sh BIN_DIR CASE
# CASE: store-folder-is-a-file, store-folder-read-only, backup-folder-vanished, disk-full,
#       line-library-missing, host-libraries-missing, damaged-store-header
set -u
bin=$1 case=$2
. "$(dirname "$0")/faults-lib.sh"

month=2611 day=2026-11-19
store_file=$storedir/F$month.lum

store_reports() { error_reports | grep -E ' - (GetStoreFileName|StartUpFileInfo|UpdateSetupData|HalfHourSave), Error '; }

# The host with its job, then the monitor a little before 10:15.
begin() {
    start_host "${day}T10:13:00" 1
    "$host" clock "${day}T10:14:30" 300 > /dev/null
    start_monitor /log
    wait_for 20 eval '[ "$(scan_lines)" -ge 2 ]' || fail "the monitor did not scan"
}

saved_count() { saved_records $month $day | wc -l; }

# A store fault set after the first saved period: reported at the next save, scans go on, and
# saves resume once the fault is lifted (LIFT is a command).
store_fault_while_running() {
    local set=$1 lift=$2
    begin
    wait_for 20 eval '[ "$(saved_count)" -ge 1 ]' || fail "no period saved before the fault"
    eval "$set" || fail "could not set the fault: $set"
    wait_for 20 eval 'store_reports > /dev/null' || fail "no error report from the store file procedures after: $set"
    echo "reported: $(store_reports | head -3 | cut -c1-160)"
    keeps_scanning 10 || fail "the monitor stopped scanning after the fault"
    eval "$lift" || fail "could not lift the fault: $lift"
    local before
    before=$(saved_count)
    wait_for 20 eval '[ "$(saved_count)" -gt '"$before"' ]' || fail "no period saved after the fault was lifted"
    alive || fail "the monitor ended"
}

case $case in
store-folder-is-a-file)
    # The store folder's name taken by a regular file: nothing can be created or opened in it.
    store_fault_while_running 'rm -rf "$storedir" && echo not-a-folder > "$storedir"' 'rm -f "$storedir"'
    ;;

store-folder-read-only)
    # Root writes through any mode bits, so a read-only bind mount of the store folder.
    mkdir -p "$storedir"
    if ! mount --bind "$storedir" "$storedir" 2> /dev/null; then
        echo "skipped: bind mounts are not permitted here (no CAP_SYS_ADMIN)"; exit 77
    fi
    umount "$storedir"
    cleanups+=('umount "$storedir" 2> /dev/null')
    store_fault_while_running 'mount --bind "$storedir" "$storedir" && mount -o remount,bind,ro "$storedir"' 'umount "$storedir"'
    ;;

backup-folder-vanished)
    # A failed backup copy is reported as such and must not stop the period saves.
    begin
    wait_for 20 test -s "$backupdir/F$month.lum" || fail "no backup copy after the first save"
    rm -rf "$backupdir"
    before=$(saved_count)
    wait_for 20 eval '[ "$(saved_count)" -ge '"$((before + 2))"' ]' || fail "period saves stopped when the backup folder went"
    keeps_scanning 10 || fail "the monitor stopped scanning"
    error_reports | grep -q ' - BackupStoreFile, Error ' || fail "the failed backup copy was not reported"
    others=$(error_reports | grep -v ' - BackupStoreFile, Error ')
    [ -z "$others" ] || fail "other procedures failed too: $others"
    echo "reported: $(error_reports | head -1)"
    mkdir -p "$backupdir"
    before=$(saved_count)
    wait_for 20 eval '[ "$(saved_count)" -gt '"$before"' ] && cmp -s "$store_file" "$backupdir/F$month.lum"' ||
        fail "no complete backup copy once the folder was back"
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
        voltamon_real=$voltamon
        voltamon=$work/voltamon-limited
        printf '#!/bin/bash\ntrap "" XFSZ\nulimit -f 1024\nexec "%s" "$@"\n' "$voltamon_real" > "$voltamon"
        chmod +x "$voltamon"
    fi
    begin
    wait_for 20 eval 'store_reports > /dev/null' || fail "no error report from the store file procedures on a full disk"
    if [ "$full" = "tmpfs of 1 MB" ]; then
        store_reports | grep -q ', Error 61/ Disk full' || fail "a full disk not reported as error 61: $(store_reports | head -3)"
    fi
    echo "reported ($full): $(store_reports | head -3 | cut -c1-160)"
    wait_for 20 eval 'store_reports | grep -q " - HalfHourSave, Error "' || fail "the period save on a full disk was not reported"
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
    # tags; only the display value for the line is lost. The host object skips calls into a
    # missing library rather than failing, so the monitor runs on.
    start_host "${day}T10:13:00" 1
    "$host" set L1=0 > /dev/null
    rm -f "$hostdir/hostcmd32.dll"
    "$host" clock "${day}T10:14:30" 300 > /dev/null
    start_monitor /log
    wait_for 20 eval '[ "$(scan_lines)" -ge 5 ]' || fail "the monitor did not scan without the line library"
    grep -q ' - M1,100.00,' "$log" || fail "tag 1 was not read: $(grep -m1 ' - M1,' "$log")"
    wait_for 20 eval '[ "$(saved_count)" -ge 1 ]' || fail "no period saved without the line library"
    keeps_scanning 10 || fail "the monitor stopped scanning without the line library"
    read -r t101 l1 < <("$host" get T101 L1 | tr '\n' ' ')
    [ "${t101%%.*}" = 100 ] || fail "the rate of tag 1 did not reach host tag 101: $t101"
    [ "$l1" = 0 ] || fail "line 1 written without the line library: $l1"
    if error_reports > /dev/null; then echo "reported: $(error_reports | head -3)"; fi
    ;;

host-libraries-missing)
    # Without the point and recorder libraries there is no host: the tag setup file is looked
    # for outside the job's setup folder and not found (reported), and with no setup and no
    # running host job the monitor ends by itself, without a crash.
    start_host "${day}T10:13:00" 1
    rm -f "$hostdir"/*.dll
    start_monitor /log
    code=
    for _ in $(seq 200); do
        if ! kill -0 "$monpid" 2> /dev/null; then
            wait "$monpid"
            code=$?
            monpid=
            break
        fi
        sleep 0.05
    done
    [ -n "$code" ] || fail "the monitor kept running without a host job"
    [ "$code" -lt 128 ] || fail "the monitor died of signal $((code - 128))"
    error_reports | grep -q ' - GetSetupData, Error 53/ File not found' ||
        fail "the missing tag setup file was not reported: $(error_reports | head -3)"
    echo "ended with exit code $code; reported: $(error_reports | head -3 | cut -c1-160)"
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
    code=
    for _ in $(seq 300); do
        if ! kill -0 "$monpid" 2> /dev/null; then
            wait "$monpid"
            code=$?
            monpid=
            break
        fi
        sleep 0.05
    done
    [ -n "$code" ] || fail "the monitor kept running on a damaged store file"
    [ "$code" = 1 ] || fail "the monitor ended with exit code $code, not 1"
    grep -q 'Error in Store File: .*Its MaxTags (byte 60) is 32767, ' "$log" ||
        fail "no message naming the damaged field: $(grep -m1 'Store File' "$log")"
    [ "$(scan_lines)" = 0 ] || fail "the monitor scanned on the damaged file"
    reports=$(error_reports)
    [ -z "$reports" ] || fail "errors logged on the damaged file: $reports"
    cmp -s "$store_file" "$work/damaged.lum" || fail "the damaged store file was written to"
    echo "refused: $(grep -m1 -o 'Its MaxTags[^.]*' "$log")"
    ;;

*)
    echo "unknown case: $case"; exit 2 ;;
esac
echo "PASS"
