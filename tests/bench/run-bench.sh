#!/bin/bash
# Every benchmark of a build, then one table: figure, our result, the baseline measured in the
# same run, their ratio, the goal and whether it is met.
#   run-bench.sh BUILD_DIR
# The bench_* programs of BUILD_DIR/bin are Google Benchmark programs (bench_socket and bench_report
# are plain ones that ignore the JSON options and print their own summary lines); bench_memory.sh beside
# this script measures start-up time and resident memory of the running monitor.
set -u
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:?usage: run-bench.sh BUILD_DIR}" && pwd)
bin=$build/bin
work=$(mktemp -d /tmp/vt-benchrun-XXXXXX)
trap 'rm -rf "$work"' EXIT
rows=$work/rows
: > "$rows"
failed=0

case $(sed -n 's/^CMAKE_BUILD_TYPE:[A-Z]*=//p' "$build/CMakeCache.txt" 2> /dev/null) in
    Release | RelWithDebInfo) ;;
    *) echo "warning: $build is not a Release or RelWithDebInfo build; its figures mean little" ;;
esac

row() { echo "$1|$2|$3|$4|$5|$6" >> "$rows"; }
# pass or FAIL by an awk condition on r (the result) and l (a second value), "no result" when r is empty.
judge() { awk -v r="$1" -v l="${3-x}" "BEGIN { if (r == \"\" || l == \"\") print \"no result\"; else print (($2) ? \"pass\" : \"FAIL\") }"; }
verdict() { judge "$1" "r <= $2"; }
ratio_of() { awk -v a="$1" -v b="$2" 'BEGIN { if (a != "" && b > 0) printf "%.2f", a / b; else print "-" }'; }

# One field of the first benchmark whose name starts with $2, from Google Benchmark's JSON output.
json_field() {
    awk -v want="$2" -v field="$3" '
        /"name":/ { n = $0; sub(/.*"name": *"/, "", n); sub(/".*/, "", n); current = (index(n, want) == 1) }
        current && $0 ~ "\"" field "\":" { v = $0; sub(/.*: */, "", v); sub(/,$/, "", v); gsub(/"/, "", v); print v; exit }
    ' "$1"
}

# A summary line printed by the program itself: "<what> = R (goal at most G): A <unit> against B <unit>",
# shown under LABEL when one is given.
summary_rows() {
    local out=$1 label=${2:-} found=0 line what ratio goal ours base
    while IFS= read -r line; do
        what=${label:-${line%% = *}}
        ratio=$(sed -n 's/.* = \([0-9.]*\) (goal at most.*/\1/p' <<< "$line")
        goal=$(sed -n 's/.*(goal at most \([0-9.]*\)).*/\1/p' <<< "$line")
        ours=$(sed -n 's/.*): \([0-9.]* [^ ]*\) against .*/\1/p' <<< "$line")
        base=$(sed -n 's/.* against \([0-9.]* [^ ]*\).*/\1/p' <<< "$line")
        row "$what" "$ours" "$base" "$ratio" "<= $goal" "$(verdict "$ratio" "$goal")"
        found=1
    done < <(grep ' = [0-9.]* (goal at most [0-9.]*)' "$out")
    [ "$found" = 1 ]
}

run_benchmark() {
    local b=$1 name out json
    name=$(basename "$b")
    out=$work/$name.out json=$work/$name.json
    echo "== $name"
    "$b" --benchmark_out="$json" --benchmark_out_format=json 2>&1 | tee "$out"
    [ "${PIPESTATUS[0]}" -eq 0 ] || { row "$name" "-" "-" "-" "-" "FAIL: the program failed"; failed=1; return; }
    case $name in
        bench_periodsave)
            summary_rows "$out" "period save, 96 periods x 200 tags, with flush and backup, vs cp + sync" || {
                local a c
                a=$(json_field "$json" BM_PeriodSave real_time) c=$(json_field "$json" BM_CopyWithCpAndSync real_time)
                row "period save, 96 periods x 200 tags, with flush and backup, vs cp + sync" "${a:--} ms" "${c:--} ms" \
                    "$(awk -v a="$a" -v c="$c" 'BEGIN { if (c > 0) printf "%.2f", a / c }')" "<= 1.5" \
                    "$(verdict "$(awk -v a="$a" -v c="$c" 'BEGIN { if (c > 0) printf "%.2f", a / c }')" 1.5)"
            } ;;
        bench_scan)
            summary_rows "$out" "one full scan of 200 tags (CPU) vs the bare host reads and writes" || {
                local a c
                a=$(json_field "$json" BM_InputGeneral cpu_time) c=$(json_field "$json" BM_BareHostCalls cpu_time)
                row "one full scan of 200 tags vs the bare host reads and writes" "${a:--} us" "${c:--} us" \
                    "$(awk -v a="$a" -v c="$c" 'BEGIN { if (c > 0) printf "%.2f", a / c }')" "<= 3" \
                    "$(verdict "$(awk -v a="$a" -v c="$c" 'BEGIN { if (c > 0) printf "%.2f", a / c }')" 3)"
            } ;;
        bench_csvimport)
            local imp par ratio lps
            imp=$(json_field "$json" BM_MonthBackfill import_s)
            par=$(json_field "$json" BM_MonthBackfill parse_s)
            ratio=$(json_field "$json" BM_MonthBackfill import_to_parse)
            lps=$(json_field "$json" BM_MonthBackfill import_lines_per_s)
            if [ -n "$ratio" ]; then
                ratio=$(awk -v r="$ratio" 'BEGIN { printf "%.2f", r }')
                row "month CSV back-fill (529,728 lines) vs a parse-only pass" "$(awk -v v="$imp" 'BEGIN { printf "%.2f s", v }')" \
                    "$(awk -v v="$par" 'BEGIN { printf "%.2f s", v }')" "$ratio" "<= 3" "$(verdict "$ratio" 3)"
                row "month CSV back-fill speed" "$(awk -v v="$lps" 'BEGIN { printf "%.0f lines/s", v }')" \
                    "$(json_field "$json" BM_MonthBackfill parse_lines_per_s | awk '{ printf "%.0f lines/s", $1 }')" "-" "-" "-"
            else
                summary_rows "$out" || row "$name" "-" "-" "-" "-" "no ratio found in its output"
            fi ;;
        bench_socket)
            # "socket: N clients: R round trips/s (echo E), ratio X, ..." and
            # "socket during scan: N clients: R round trips/s, p50 A ms, p99 B ms (echo p99 C)"
            local clients line rate echo ratio goal result p99 ep99
            for clients in 1 10 50; do
                line=$(grep "^socket: $clients clients: " "$out" | head -n 1)
                rate=$(sed -n 's/.* clients: \([0-9.]*\) round trips.*/\1/p' <<< "$line")
                echo=$(sed -n 's/.*round trips\/s (echo \([0-9.]*\)).*/\1/p' <<< "$line")
                ratio=$(sed -n 's/.*, ratio \([0-9.]*\),.*/\1/p' <<< "$line")
                goal="-" result="-"
                if [ "$clients" = 50 ]; then
                    goal=">= 50000/s"
                    result=$(judge "$rate" "r >= 50000")
                fi
                row "socket read round trips, $clients client$([ "$clients" = 1 ] || echo s) (vs echo server)" \
                    "${rate:--} /s" "${echo:--} /s" "${ratio:--}" "$goal" "$result"
            done
            line=$(grep "^socket during scan: " "$out" | head -n 1)
            p99=$(sed -n 's/.*, p99 \([0-9.]*\) ms.*/\1/p' <<< "$line")
            ep99=$(sed -n 's/.*(echo p99 \([0-9.]*\)).*/\1/p' <<< "$line")
            row "socket p99 latency during a 200-tag scan, 50 clients (vs echo, no scan)" "${p99:--} ms" "${ep99:--} ms" \
                "$(ratio_of "$p99" "$ep99")" "< 5 ms" \
                "$(judge "$p99" "r < 5")"
            # "socket beside ...: 10 clients: R round trips/s (echo E), ratio X, ..., silent still open O of N"
            local what open
            for what in "100 silent clients" "a one-address flood"; do
                line=$(grep "^socket beside $what: " "$out" | head -n 1)
                rate=$(sed -n 's/.* clients: \([0-9.]*\) round trips.*/\1/p' <<< "$line")
                echo=$(sed -n 's/.*round trips\/s (echo \([0-9.]*\)).*/\1/p' <<< "$line")
                ratio=$(sed -n 's/.*, ratio \([0-9.]*\),.*/\1/p' <<< "$line")
                open=$(sed -n 's/.*silent still open \([0-9]* of [0-9]*\).*/\1/p' <<< "$line")
                row "socket round trips, 10 clients beside $what (vs echo, same crowd; silent kept: ${open:-?})" \
                    "${rate:--} /s" "${echo:--} /s" "${ratio:--}" ">= 0.5" \
                    "$(judge "$ratio" "r >= 0.5")"
            done ;;
        bench_meters)
            # "meters modbus: ... host A % of a core (idle host B %), last point read yes" and
            # "meters mqtt: ... host A msg/s against mosquitto_sub B msg/s, ratio R, last values lost L"
            local line share idle rate sub ratio lost
            line=$(grep "^meters modbus: " "$out" | head -n 1)
            share=$(sed -n 's/.*: host \([0-9.]*\) % of a core.*/\1/p' <<< "$line")
            idle=$(sed -n 's/.*(idle host \([0-9.]*\) %).*/\1/p' <<< "$line")
            row "host polling 200 Modbus points on 4 devices every second: CPU (vs the host without devices)" \
                "${share:--} %" "${idle:--} %" \
                "$(ratio_of "$share" "$idle")" "< 2 % of a core" \
                "$(judge "$share" "r < 2 && l ~ /last point read yes/" "$line")"
            line=$(grep "^meters mqtt: " "$out" | head -n 1)
            rate=$(sed -n 's/.*: host \([0-9.]*\) msg\/s against.*/\1/p' <<< "$line")
            sub=$(sed -n 's/.*mosquitto_sub \([0-9.]*\) msg\/s.*/\1/p' <<< "$line")
            ratio=$(sed -n 's/.*, ratio \([0-9.]*\),.*/\1/p' <<< "$line")
            lost=$(sed -n 's/.*last values lost \([0-9]*\).*/\1/p' <<< "$line")
            row "MQTT 5,000 msg/s into 200 points: taken (vs mosquitto_sub), last values lost ${lost:--}" \
                "${rate:--} /s" "${sub:--} /s" "${ratio:--}" ">= 0.5, none lost" \
                "$(judge "$ratio" "r >= 0.5 && l == 0" "$lost")" ;;
        bench_report)
            # "report day: open and draw T s (goal under G s), vt-store records B s, ratio R"
            local what line t g b r
            for what in day month "month of all 198 tags"; do
                line=$(grep "^report $what: " "$out" | head -n 1)
                t=$(sed -n 's/.*open and draw \([0-9.]*\) s.*/\1/p' <<< "$line")
                g=$(sed -n 's/.*(goal under \([0-9.]*\) s).*/\1/p' <<< "$line")
                b=$(sed -n 's/.*vt-store records \([0-9.]*\) s.*/\1/p' <<< "$line")
                r=$(sed -n 's/.*, ratio \([0-9.]*\).*/\1/p' <<< "$line")
                row "vtreport: open a 96 x 200 month, draw the $what (vs vt-store records)" "${t:--} s" "${b:--} s" \
                    "${r:--}" "${g:+< $g s}" \
                    "$(awk -v t="$t" -v g="$g" 'BEGIN { if (t == "") print "no result"; else if (g == "") print "-"; else print (t < g ? "pass" : "FAIL") }')"
            done ;;
        *)
            summary_rows "$out" || row "$name" "-" "-" "-" "-" "no ratio found in its output" ;;
    esac
}

found=0
for b in "$bin"/bench_*; do
    [ -x "$b" ] && [ -f "$b" ] || continue
    found=1
    run_benchmark "$b"
done
[ "$found" = 1 ] || echo "no bench_* programs in $bin (Google Benchmark missing, or VT_BENCH off?)"

echo "== start-up time and resident memory"
if ! "$here/bench_memory.sh" "$build" "$rows"; then
    row "start-up and memory" "-" "-" "-" "-" "FAIL: the measurement did not finish"
    failed=1
fi

echo
echo "Voltaris Monitor benchmarks ($(nproc) cores, $(date '+%Y-%m-%d %H:%M'))"
{
    echo "figure|ours|baseline|ratio|goal|result"
    cat "$rows"
} | awk -F'|' '
    { for (i = 1; i <= NF; ++i) { cell[NR, i] = $i; if (length($i) > w[i]) w[i] = length($i) } ; n = NR }
    END {
        for (r = 1; r <= n; ++r) {
            line = ""
            for (i = 1; i <= 6; ++i) line = line sprintf("%-" w[i] "s", cell[r, i]) (i < 6 ? "  " : "")
            print line
            if (r == 1) { sep = ""; for (i = 1; i <= 6; ++i) { s = ""; for (k = 0; k < w[i]; ++k) s = s "-"; sep = sep s (i < 6 ? "  " : "") } print sep }
        }
    }'
grep -q '|FAIL' "$rows" && failed=1
exit $failed
