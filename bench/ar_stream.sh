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
work=${WORK:-${BUILD:-$root/build}/ar_stream}
bench=ar_stream
. "$root/bench/sim_network.sh"
[ -x "$bin/rnx2rtcm" ] || { echo "ar_stream: $bin/rnx2rtcm is not built (make)" >&2; exit 1; }
nav=$data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz
simulate --stations "${STATIONS:-10}" --rovers 2 --hours "${HOURS:-24}" --seed 7
mkdir -p "$work/streams"
network_upds

common() {   # the options both runs of a rover share
    echo "--no-sat-antenna --systems GRE --apriori $(apriori "$1") --ref $(truth "$1") --quiet --site $1"
}

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
