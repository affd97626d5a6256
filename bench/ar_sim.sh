#!/bin/sh
# Ambiguity resolution on a simulated network (netsim): ten stations 100 to
# 1000 km apart and two rovers, GPS + GLONASS + Galileo geometry of the ESBC
# day from its real orbits and clocks, 30 s, 24 h. The stations' float
# ambiguities (ppprun --mode upd-export) give the network's UPDs (updnet,
# rovers excluded); each rover is then fixed with the true UPDs and with the
# network's, static and kinematic, restarted every two hours (twelve cold
# starts a run), and with damaged UPDs (signs flipped; one satellite's
# narrow lane half a cycle off), which must never give a fix worse than the
# float solution. Ends with the one-line summary of bench/ar_summary.py.
# Usage: bench/ar_sim.sh   (BUILD=build, WORK=$BUILD/ar_sim, DATA=../shared/data)
set -e
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD:-$root/build}
work=${WORK:-$build/ar_sim}
data=${DATA:-$root/../shared/data}
bin=$build/bin
for program in netsim ppprun updnet; do
    [ -x "$bin/$program" ] || { echo "ar_sim: $bin/$program is not built (make)" >&2; exit 1; }
done
products="--sp3 $data/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz --sp3 $data/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz
          --clk $data/GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz"
rm -rf "$work"
mkdir -p "$work/export" "$work/runs"
"$bin/netsim" $products --out "$work/net" --stations 10 --rovers 2 --hours 24 --seed 7 > "$work/netsim.log"

# Site coordinates: the header's approximate position a-priori, the truth for the figures only.
truth() { awk -v s="$1" '$1 == s { print $2 "," $3 "," $4 }' "$work/net/stations.txt"; }
apriori() { awk '/APPROX POSITION XYZ/ { print $1 "," $2 "," $3; exit }' "$work/net/$1.rnx"; }
run() {   # site, mode and further options
    site=$1; shift
    "$bin/ppprun" --obs "$work/net/$site.rnx" $products --no-sat-antenna --systems GRE \
        --apriori "$(apriori "$site")" --ref "$(truth "$site")" --quiet "$@"
}

stations=$(awk '$5 == "station" { print $1 }' "$work/net/stations.txt")
for s in $stations; do
    run "$s" --mode upd-export --dynamics static --export "$work/export/$s.famb" > "$work/runs/$s.export.txt"
done
"$bin/updnet" --out "$work/network.upd" --truth "$work/net/truth.upd" "$work"/export/*.famb > "$work/updnet.txt"
upd_line=$(grep '^UPD error' "$work/updnet.txt" | head -n 1)

for source in truth network; do
    upd=$work/net/truth.upd
    [ "$source" = network ] && upd=$work/network.upd
    : > "$work/$source.jsonl"
    for rover in ROV1 ROV2; do
        for dynamics in static kinematic; do
            out=$work/runs/$source-$rover-$dynamics
            run "$rover" --mode ar --upd "$upd" --dynamics "$dynamics" --reset-hours 2 --out "$out" \
                --summary "$out.json" > "$out.txt"
            python3 "$root/bench/ar_stats.py" --truth "$(truth "$rover")" --dynamics "$dynamics" \
                "$out"/*/*.pppar >> "$work/$source.jsonl"
        done
    done
done
# Damaged UPDs: every sign flipped; G05's narrow lane half a cycle off.
awk '/^(WL|NL) / { $5 = -$5 } { print }' "$work/net/truth.upd" > "$work/flipped.upd"
awk '/^NL / && $4 == "G05" { $5 += 0.5 } { print }' "$work/net/truth.upd" > "$work/halfcycle.upd"
for damage in flipped halfcycle; do
    : > "$work/$damage.jsonl"
    for dynamics in static kinematic; do
        out=$work/runs/$damage-ROV1-$dynamics
        run ROV1 --mode ar --upd "$work/$damage.upd" --dynamics "$dynamics" --reset-hours 2 --out "$out" > "$out.txt"
        python3 "$root/bench/ar_stats.py" --truth "$(truth ROV1)" --dynamics "$dynamics" "$out"/*/*.pppar \
            >> "$work/$damage.jsonl"
    done
done
python3 "$root/bench/ar_summary.py" --damaged "$work/flipped.jsonl" "$work/halfcycle.jsonl"
cat "$work/updnet.txt"
python3 "$root/bench/ar_summary.py" "$work/truth.jsonl" "$work/network.jsonl" "$upd_line"
