#!/bin/sh
# Ambiguity resolution on one real hour with a phase-bias product: station
# CCJ2 (2021-07-29 00:00-01:00, 30 s) with the rapid orbits, clocks and
# Bias-SINEX OSBs of one analysis centre. Prints ppprun's summary (fixed
# epochs, wide-lane fixing) and the wide-lane figures of the library's .wl
# log. The products were made with satellite antenna offsets that this data
# set does not have, so the narrow lane must not fix here (see the README).
# Usage: bench/ccj2_ar.sh   (BUILD=build, DATA=../shared/data)
set -e
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD:-$root/build}
data=${DATA:-$root/../shared/data}/ccj2_2021210
out=$build/ccj2_ar
rm -rf "$out"
for dynamics in static kinematic; do
    echo "== $dynamics"
    "$build/bin/ppprun" --obs "$data/ccj22100.21o.gz" \
        --sp3 "$data/WUM0MGXRAP_20212100000_01D_01M_ORB.SP3.gz" \
        --clk "$data/WUM0MGXRAP_20212100000_01D_30S_CLK.CLK.gz" \
        --atx "$data/TRM59800.00_SCIS.atx" --bias "$data/WUM0MGXRAP_20212100000_01D_01D_ABS.BIA.gz" \
        --mode ar --dynamics $dynamics --systems GRE --ref -4490605.094,3483895.065,2884928.334 \
        --amb-logs --out "$out/$dynamics" --quiet | grep -E 'final error|RMS|fixed|first fix|wide lanes'
    python3 "$root/bench/wide_lane_stats.py" "$out/$dynamics"/*/*.wl
done
