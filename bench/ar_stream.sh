#!/bin/sh
# Ambiguity resolution through streams beside the file path, on the
# simulated network of bench/ar_sim.sh (HOURS default 24, STATIONS default
# 10; under a minute): the network's UPDs from updnet as there;
# then each rover converted by rnx2rtcm into an MSM7 observation stream and
# a correction stream (SSR orbits and clocks against the broadcast
# ephemerides, zero code biases, phase biases carrying the network's UPDs),
# and processed twice, static and kinematic, restarted every two hours:
#   file:   ppprun --obs ROVER.rnx --sp3 .. --clk .. --upd network.upd --mode ar
#   stream: ppprun --rtcm ROVER_obs.rtcm3 --rtcm-corr ROVER_corr.rtcm3 --mode ar
# Prints the fixed epochs, wrong fixes (against the simulator's truth, as
# ar_sim.sh counts them), first fix per cold start and how far the two runs'
# fixed positions are apart (bench/ar_stream_compare.py).
# PHASE=bias takes the simulator's Bias-SINEX (truth.bia, code and phase
# OSBs) instead: rnx2rtcm --bias beside ppprun --obs --bias.
# Usage: bench/ar_stream.sh   (BUILD=build, WORK=$BUILD/ar_stream, DATA=../shared/data, HOURS=24, STATIONS=10, PHASE=upd)
set -e
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD:-$root/build}
work=${WORK:-$build/ar_stream}
data=${DATA:-$root/../shared/data}
hours=${HOURS:-24}
bin=$build/bin
for program in netsim ppprun updnet rnx2rtcm; do
    [ -x "$bin/$program" ] || { echo "ar_stream: $bin/$program is not built (make)" >&2; exit 1; }
done
products="--sp3 $data/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz --sp3 $data/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz
          --clk $data/GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz"
nav=$data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz
rm -rf "$work"
mkdir -p "$work/export" "$work/runs" "$work/streams"
"$bin/netsim" $products --out "$work/net" --stations "${STATIONS:-10}" --rovers 2 --hours "$hours" --seed 7 \
    > "$work/netsim.log"

truth() { awk -v s="$1" '$1 == s { print $2 "," $3 "," $4 }' "$work/net/stations.txt"; }
apriori() { awk '/APPROX POSITION XYZ/ { print $1 "," $2 "," $3; exit }' "$work/net/$1.rnx"; }
common() {   # the options both runs of a site share
    echo "--no-sat-antenna --systems GRE --apriori $(apriori "$1") --ref $(truth "$1") --quiet --site $1"
}

for s in $(awk '$5 == "station" { print $1 }' "$work/net/stations.txt"); do
    "$bin/ppprun" --obs "$work/net/$s.rnx" $products $(common "$s") --mode upd-export --dynamics static \
        --export "$work/export/$s.famb" > "$work/runs/$s.export.txt"
done
"$bin/updnet" --out "$work/network.upd" --truth "$work/net/truth.upd" "$work"/export/*.famb > "$work/updnet.txt"

phase="--upd $work/network.upd"
[ "${PHASE:-upd}" = bias ] && phase="--bias $work/net/truth.bia"
for rover in ROV1 ROV2; do
    streams=$work/streams/$rover
    "$bin/rnx2rtcm" --obs "$work/net/$rover.rnx" --nav "$nav" $products $phase \
        --out "${streams}_obs.rtcm3" --out-corr "${streams}_corr.rtcm3" > "$streams.txt"
    for dynamics in static kinematic; do
        out=$work/runs/file-$rover-$dynamics
        "$bin/ppprun" --obs "$work/net/$rover.rnx" $products $phase $(common "$rover") \
            --mode ar --dynamics "$dynamics" --reset-hours 2 --out "$out" > "$out.txt"
        out=$work/runs/stream-$rover-$dynamics
        "$bin/ppprun" --rtcm "${streams}_obs.rtcm3" --rtcm-corr "${streams}_corr.rtcm3" $(common "$rover") \
            --mode ar --dynamics "$dynamics" --reset-hours 2 --out "$out" > "$out.txt"
    done
done
grep '^UPD error' "$work/updnet.txt" | head -n 1
python3 "$root/bench/ar_stream_compare.py" --truth-file "$work/net/stations.txt" --window 2 "$work/runs"
