#!/usr/bin/env bash
# The Debian packages as a new user gets them: unpacked into a temporary root (nothing installed on
# this machine), the installed programs run from there as a user who cannot write that root,
# against a temporary prefix.
#   tests/install/check-package.sh PACKAGE_DIR
# Checks: every program's --help, --version and a refused option; the host libraries taken from
# the private library folder; logs in <prefix>/program when the program folder is read-only; the
# headless stderr text of each fatal start-up case; SIGTERM ending the monitor cleanly; the
# server package linking no GUI library; systemd-analyze verify on the units when systemd is there.
set -uo pipefail

packages=${1:?usage: check-package.sh PACKAGE_DIR}
packages=$(cd "$packages" && pwd)
work=$(mktemp -d /tmp/vt-package.XXXXXX)
chmod 755 "$work"
root=$work/root
prefix=$work/prefix
pids=()
failures=0

cleanup() {
    for pid in "${pids[@]}"; do kill -9 "$pid" 2>/dev/null; done
    rm -rf "$work"
}
trap cleanup EXIT

fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
pass() { echo "ok: $*"; }

# The user the programs run as: this one, or nobody when this is root (root can write anywhere).
# An array, so a program started in the background is that program's own process.
user_env=(env -u DISPLAY -u WAYLAND_DISPLAY HOME="$work/home" VOLTARIS_PREFIX="$prefix"
          PATH="$root/usr/bin:/usr/bin:/bin")
if [ "$(id -u)" -eq 0 ]; then user_env=(setpriv --reuid=nobody --regid=nogroup --clear-groups "${user_env[@]}"); fi
as_user() { "${user_env[@]}" "$@"; }

mkdir -p "$root" "$prefix" "$work/home" "$work/out"
for deb in "$packages"/voltaris-monitor_*.deb "$packages"/voltaris-monitor-window_*.deb; do
    [ -f "$deb" ] || { echo "FAIL: no package $deb"; exit 1; }
    dpkg-deb -x "$deb" "$root" || { echo "FAIL: cannot unpack $deb"; exit 1; }
done
if [ "$(id -u)" -eq 0 ]; then chown -R nobody:nogroup "$prefix" "$work/home" "$work/out"; fi
bin=$root/usr/bin

# --- what the packages hold -------------------------------------------------------------------
for f in usr/bin/voltamon usr/bin/voltamond usr/bin/telvane-host usr/bin/vt-mtg usr/bin/vt-store \
         usr/lib/voltaris/hostpts32.dll usr/lib/voltaris/hostrec32.dll usr/lib/voltaris/hostarc.dll \
         usr/lib/voltaris/hostcmd32.dll usr/lib/systemd/system/telvane-host.service \
         usr/lib/systemd/system/voltamond.service usr/share/man/man1/voltamond.1 usr/share/man/man1/voltamon.1 \
         usr/share/man/man1/telvane-host.1 usr/share/man/man1/vt-mtg.1 usr/share/man/man1/vt-store.1 etc/voltaris/site.scn \
         usr/share/doc/voltaris-monitor/README.md usr/share/voltaris/demo/run-demo.sh; do
    [ -e "$root/$f" ] || fail "the packages have no /$f"
done
server_deps=$(dpkg-deb -f "$packages"/voltaris-monitor_*.deb Depends)
case "$server_deps" in
    *gui* | *widgets* | *libgl* | *libx11*) fail "the server package pulls GUI libraries: $server_deps" ;;
    *) pass "server package depends on: $server_deps" ;;
esac
if ldd "$bin/voltamond" | grep -qE 'libQt6Gui|libQt6Widgets|libGL\.|libOpenGL|libX11|libxcb'; then
    fail "voltamond links GUI libraries: $(ldd "$bin/voltamond")"
else
    pass "voltamond links no GUI library"
fi

# --- command lines ----------------------------------------------------------------------------
for program in voltamon voltamond telvane-host vt-mtg vt-store vtreport; do
    [ -x "$bin/$program" ] || { [ "$program" = vtreport ] && continue; fail "$program missing"; continue; }
    out=$(as_user "$bin/$program" --help 2>&1); rc=$?
    { [ $rc -eq 0 ] && grep -qi usage <<<"$out"; } || fail "$program --help: exit $rc: $out"
    out=$(as_user "$bin/$program" --version 2>&1); rc=$?
    { [ $rc -eq 0 ] && grep -q "^$program [0-9]" <<<"$out" && grep -q "^build: " <<<"$out"; } ||
        fail "$program --version: exit $rc: $out"
    out=$(as_user "$bin/$program" --no-such-option 2>&1 >/dev/null); rc=$?
    { [ $rc -eq 2 ] && grep -q -- "--no-such-option" <<<"$out" && grep -qi usage <<<"$out"; } ||
        fail "$program --no-such-option: exit $rc: $out"
done
pass "command lines checked"
[ -e "$prefix/program" ] && fail "--help made the program folder"

# --- the host from the installed files --------------------------------------------------------
conf=$work/conf
cp -r "$root/etc/voltaris" "$conf"
port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
printf '[Sockets]\r\nVoltarisMonitorPortNo=%d\r\n' "$port" > "$conf/WinSockets.ini"
chmod -R a+rX "$conf"

"${user_env[@]}" "$bin/telvane-host" run --scenario "$conf/site.scn" > "$work/out/host.out" 2> "$work/out/host.err" &
pids+=($!)
hostpid=$!
if as_user env VOLTARIS_CONF="$conf" "$root/usr/lib/voltaris/voltaris-job-setup" > "$work/out/setup.out" 2>&1; then
    pass "job setup in place: $(tail -1 "$work/out/setup.out")"
else
    fail "voltaris-job-setup: $(cat "$work/out/setup.out" "$work/out/host.err")"
fi
grep -q "not installed" "$work/out/host.err" && fail "host libraries not found: $(cat "$work/out/host.err")"
status=$(as_user "$bin/telvane-host" status)
datalocal=$(sed -n 's/^job data folder (local): //p' <<<"$status")

# Starts voltamond in the background of this shell; its pid in $mon.
start_monitor() {
    "${user_env[@]}" "$bin/voltamond" > "$work/out/mon$1.out" 2> "$work/out/mon$1.err" &
    mon=$!
    pids+=("$mon")
}
wait_gone() {
    local i
    for ((i = 0; i < $2 * 10; i++)); do kill -0 "$1" 2>/dev/null || return 0; sleep 0.1; done
    return 1
}
store_file() { find "$datalocal" -iname '*.lum' 2>/dev/null | head -1; }

# --- a monitor running from a read-only install, then a second one, then SIGTERM ---------------
start_monitor 1
for _ in $(seq 100); do [ -n "$(store_file)" ] && [ -s "$prefix/program/voltamon.log" ] && break; sleep 0.1; done
[ -n "$(store_file)" ] || fail "no store file in $datalocal: $(cat "$work/out/mon1.err")"
[ -s "$prefix/program/voltamon.log" ] && pass "log in $prefix/program (install folder read-only)" ||
    fail "no log in $prefix/program: $(ls -la "$prefix" 2>&1)"

start_monitor 2
wait_gone "$mon" 10 || fail "a second monitor did not end"
grep -qx "voltamon: Voltaris Monitor: Voltaris Monitor is already loaded" "$work/out/mon2.err" &&
    pass "second instance said on stderr" || fail "second instance stderr: $(cat "$work/out/mon2.err")"

mon=${pids[-2]}
kill -TERM "$mon"
if wait_gone "$mon" 15; then wait "$mon" 2>/dev/null; rc=$?; else rc=timeout; fi
[ "$rc" = 0 ] && pass "SIGTERM ended the monitor (exit 0)" || fail "SIGTERM: exit $rc: $(cat "$work/out/mon1.err")"
as_user "$bin/telvane-host" status | grep -q '^job running: yes' || fail "SIGTERM to the monitor stopped the host job"
lsof_out=$(ls -l /proc/"$hostpid"/fd 2>/dev/null | grep -i '\.lum' || true)
[ -z "$lsof_out" ] || fail "the host holds the store file open"

# --- a host killed outright: the monitor sees its job gone and ends ------------------------------
start_monitor 7
sleep 3
kill -0 "$mon" 2>/dev/null || fail "the monitor ended before the host was killed: $(cat "$work/out/mon7.err")"
kill -KILL "$hostpid"
wait "$hostpid" 2>/dev/null
if wait_gone "$mon" 10; then
    grep -q "the host job is not running" "$work/out/mon7.err" && pass "a SIGKILLed host ends the monitor" ||
        fail "after a SIGKILLed host: $(cat "$work/out/mon7.err")"
else
    fail "the monitor runs on beside a SIGKILLed host"
fi
"${user_env[@]}" "$bin/telvane-host" run --scenario "$conf/site.scn" > "$work/out/host2.out" 2> "$work/out/host2.err" &
hostpid=$!
pids+=("$hostpid")
as_user env VOLTARIS_CONF="$conf" "$root/usr/lib/voltaris/voltaris-job-setup" > "$work/out/setup2.out" 2>&1 ||
    fail "the host did not come back after SIGKILL: $(cat "$work/out/host2.err" "$work/out/setup2.out")"

# --- fatal start-up cases, each said on stderr with the message's own text ---------------------
store=$(store_file)
cp "$store" "$work/good.lum"
patch_int16() { printf "$(printf '\\x%02x\\x%02x' $(($3 & 255)) $((($3 >> 8) & 255)))" |
    dd of="$1" bs=1 seek="$2" conv=notrunc status=none; }

patch_int16 "$store" 66 30
start_monitor 3
wait_gone "$mon" 10 || fail "a monitor with a 30-period store file did not end"
grep -q "^voltamon: Error in Store File: WARNING!!!$" "$work/out/mon3.err" &&
    grep -q "^has in incorrect setting for demand periods per day$" "$work/out/mon3.err" &&
    grep -q "^The store file is set to 30 periods per day.$" "$work/out/mon3.err" &&
    pass "wrong periods per day said on stderr" || fail "periods per day stderr: $(cat "$work/out/mon3.err")"

cp "$work/good.lum" "$store"
patch_int16 "$store" 60 2
start_monitor 4
wait_gone "$mon" 10 || fail "a monitor with no tag slots did not end"
grep -q "^voltamon: Error - Voltaris Monitor: There are no valid tags in the store file!$" "$work/out/mon4.err" &&
    grep -q "^and then restart the Voltaris Monitor$" "$work/out/mon4.err" &&
    pass "no valid tags said on stderr" || fail "no valid tags stderr: $(cat "$work/out/mon4.err")"
cp "$work/good.lum" "$store"

# An old tag setup file: the setup error.
setuplocal=$(sed -n 's/^job setup folder (local): //p' <<<"$status")
setuptext=$(sed -n 's/^job setup folder: //p' <<<"$status")
sed 's/^\(SetupVersion *= *\).*/\1200/' "$conf/site.vtm" > "$work/old.vtm"
chmod a+r "$work/old.vtm"
as_user "$bin/vt-mtg" build --force "$work/old.vtm" "$setuptext\\VoltarisMonitor.mtg" >/dev/null 2>&1 ||
    as_user "$bin/vt-mtg" build "$work/old.vtm" "$setuptext\\VoltarisMonitor.mtg" >/dev/null 2>&1 ||
    fail "cannot build an old tag setup file"
start_monitor 5
wait_gone "$mon" 10 || fail "a monitor with an old tag setup file did not end"
grep -q "^voltamon: Setup error: This is not an Voltaris version 2.2a setup. Please load" "$work/out/mon5.err" &&
    pass "setup error said on stderr" || fail "setup error stderr: $(cat "$work/out/mon5.err")"

# --- no host job ------------------------------------------------------------------------------
as_user "$bin/telvane-host" stop >/dev/null 2>&1
wait_gone "$hostpid" 15 || fail "the host did not stop"
start_monitor 6
wait_gone "$mon" 15 || fail "a monitor without a host job did not end"
grep -q "the host job is not running" "$work/out/mon6.err" && pass "no host job said on stderr" ||
    fail "no host job stderr: $(cat "$work/out/mon6.err")"

# --- the units --------------------------------------------------------------------------------
if command -v systemd-analyze >/dev/null; then
    # The units as installed, their programs taken from the unpacked root.
    mkdir -p "$work/units"
    for unit in telvane-host.service voltamond.service; do
        sed "s|/usr/|$root/usr/|g" "$root/usr/lib/systemd/system/$unit" > "$work/units/$unit"
    done
    if out=$(systemd-analyze verify --man=no "$work/units/telvane-host.service" "$work/units/voltamond.service" 2>&1) &&
        [ -z "$out" ]; then
        pass "systemd-analyze verify: both units clean"
    else
        fail "systemd-analyze verify: $out"
    fi
else
    echo "skip: systemd-analyze not here"
fi

if [ $failures -gt 0 ]; then
    echo "$failures check(s) failed"
    exit 1
fi
echo "All package checks passed"
