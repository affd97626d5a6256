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
build=${BUILD:-$root/build}
work=${WORK:-$build/ppprtk_sim}
data=${DATA:-$root/../shared/data}
hours=${HOURS:-6}
bin=$build/bin
for program in netsim ppprun updnet; do
    [ -x "$bin/$program" ] || { echo "ppprtk_sim: $bin/$program is not built" >&2; exit 1; }
done
products="--sp3 $data/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz --sp3 $data/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz
          --clk $data/GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz"
users="B010 B050 B100"
rm -rf "$work"
mkdir -p "$work/export" "$work/runs"
"$bin/netsim" $products --out "$work/net" --stations 10 --rovers 0 --hours "$hours" --seed 7 \
    $(for u in $users; do echo --baseline "${u#B}"; done) > "$work/netsim.log"

truth() { awk -v s="$1" '$1 == s { print $2 "," $3 "," $4 }' "$work/net/stations.txt"; }
apriori() { awk '/APPROX POSITION XYZ/ { print $1 "," $2 "," $3; exit }' "$work/net/$1.rnx"; }
run() {   # site, mode and further options
    site=$1; shift
    "$bin/ppprun" --obs "$work/net/$site.rnx" $products --no-sat-antenna --systems GRE \
        --apriori "$(apriori "$site")" --ref "$(truth "$site")" --quiet "$@"
}

for s in $(awk '$5 == "station" { print $1 }' "$work/net/stations.txt"); do
    run "$s" --mode upd-export --dynamics static --export "$work/export/$s.famb" > "$work/runs/$s.export.txt"
done
"$bin/updnet" --out "$work/network.upd" --truth "$work/net/truth.upd" "$work"/export/*.famb > "$work/updnet.txt"

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
