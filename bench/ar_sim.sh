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
work=${WORK:-${BUILD:-$root/build}/ar_sim}
bench=ar_sim
. "$root/bench/sim_network.sh"
simulate --stations 10 --rovers 2 --hours 24 --seed 7
network_upds
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
