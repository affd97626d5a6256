#!/bin/bash
# Augmented modes on simulated baselines (netsim, ESBC-day orbits and clocks,
# GPS + GLONASS + Galileo, 30 s): users B010, B050 and B100 at 10, 50 and
# 100 km east of station S001, which is their reference station (--aug-obs,
# its true position as --aug-ref-xyz). Ten stations (S001 among them) export
# their float ambiguities for the network's UPDs (updnet), as bench/ar_sim.sh
# does. Each user runs kinematic in modes ppp (2), ar (4, network UPDs),
# ppprtk (7) and 8 (network UPDs and the reference); errors against the
# simulator's truth. Prints a markdown table, then the correction figures.
# Last column: every epoch of the mode's position file (.ppp, .pppar,
# .ppprtk; mode 8 writes only the float .ppp).
#
# Usage: bench/ppprtk_sim.sh   (environment: HOURS=6, BUILD=build, WORK=$BUILD/ppprtk_sim, DATA=../shared/data)
set -e
root=$(cd "$(dirname "$0")/.." && pwd)
work=${WORK:-${BUILD:-$root/build}/ppprtk_sim}
bench=ppprtk_sim
. "$root/bench/sim_network.sh"
hours=${HOURS:-6}
users="B010 B050 B100"
simulate --stations 10 --rovers 0 --hours "$hours" --seed 7 $(for u in $users; do echo --baseline "${u#B}"; done)
network_upds

reference="--aug-obs $work/net/S001.rnx --aug-ref-xyz $(truth S001)"
echo "| user (km from S001) | mode | solved | fixed | final N/E/U (m) | RMS 2nd half N/E/U (m) | all epochs: mean / RMS N/E/U, H95 (m) |"
echo "|---|---|---|---|---|---|---|"
for user in $users; do
    for mode in 2 4 7 8; do
        out=$work/runs/$user-$mode
        case $mode in
            2) options="--mode ppp"; file=ppp ;;
            4) options="--mode ar --upd $work/network.upd"; file=pppar ;;
            7) options="--mode ppprtk $reference"; file=ppprtk ;;
            8) options="--mode 8 --upd $work/network.upd $reference"; file=ppp ;;   # no AR file in mode 8
        esac
        run "$user" $options --dynamics kinematic --out "$out" --summary "$out.json" > "$out.txt"
        series=$(python3 "$root/bench/pos_neu.py" "$out"/*/*."$file" "$(truth "$user")" --apriori "$(apriori "$user")" --label x |
                 cut -d'|' -f4-6 | tr -s ' ')
        python3 - "$out.json" "$user ($((10#${user#B})))" $mode "$series" <<'PY'
import json, sys
s = json.load(open(sys.argv[1]))
codes = {int(k): v for k, v in s["result_codes"].items()}
n = s["epochs"]
solved = sum(v for k, v in codes.items() if k >= 2)
fixed = sum(v for k, v in codes.items() if k in (4, 8))
fmt = lambda t: " / ".join(f"{v:+.3f}" for v in t) if t else "-"
mode = int(sys.argv[3])
print(f"| {sys.argv[2]} | {mode} | {100.0 * solved / n:.1f} % | "
      f"{f'{100.0 * fixed / n:.1f} %' if mode in (4, 8) else '-'} | {fmt(s['final_neu_error_m'])} | "
      f"{fmt(s['rms_neu_error_m'])} | {sys.argv[4].strip()} |")
PY
    done
done
for user in $users; do
    echo "$user mode ppprtk:"
    grep -E "reference |corrected |correction age|too few" "$work/runs/$user-7.txt"
done
grep '^UPD' "$work/updnet.txt" | head -n 2 || true
