#!/bin/sh
# Real time on the bundled sample: rnx2rtcm turns the two hours of ESBC into
# RTCM 3 streams (MSM7 observations; broadcast ephemerides with SSR orbit and
# clock corrections from the GRG products), ntripcaster serves them on the
# loopback address, and ppprun reads both mounts over NTRIP, printing an NMEA
# GGA line per epoch and the summary with the stream statistics.
# Usage: tools/demo_rt.sh [build directory]   (called by `make demo-rt`)
set -e
build=${1:-build}
root=$(cd "$(dirname "$0")/.." && pwd)
sample=$root/data/sample
out=$build/demo_rt
for program in rnx2rtcm ntripcaster ppprun; do
    if [ ! -x "$build/bin/$program" ]; then
        echo "demo-rt: $build/bin/$program is not built" >&2
        exit 1
    fi
done
mkdir -p "$out"
"$build/bin/rnx2rtcm" --obs "$sample/ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz" \
    --nav "$sample/ESBC00DNK_R_20201770000_02H_MN.rnx.gz" \
    --sp3 "$sample/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz" \
    --sp3 "$sample/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz" \
    --clk "$sample/GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz" \
    --atx "$sample/ESBC_receiver_antenna.atx" --out "$out/obs.rtcm3" --out-corr "$out/corr.rtcm3"

# The caster picks a free port and says which.
"$build/bin/ntripcaster" --port 0 ESBC=$out/obs.rtcm3 SSR=$out/corr.rtcm3 > "$out/caster.log" 2>&1 &
caster=$!
trap 'kill $caster 2>/dev/null' EXIT
port=
for _ in 1 2 3 4 5 6 7 8 9 10; do
    port=$(sed -n 's/.*127\.0\.0\.1:\([0-9]*\).*/\1/p' "$out/caster.log")
    [ -n "$port" ] && break
    sleep 0.5
done
[ -n "$port" ] || { echo "demo-rt: the caster did not start" >&2; cat "$out/caster.log" >&2; exit 1; }
echo "demo-rt: caster on 127.0.0.1:$port, mounts ESBC (observations) and SSR (corrections)"

# The recorded streams are served as fast as possible: the corrections come
# from the file so that they line up with the observations; 240 epochs are
# the two hours.
"$build/bin/ppprun" --rtcm "ntrip://127.0.0.1:$port/ESBC" --rtcm-corr "$out/corr.rtcm3" \
    --atx "$sample/ESBC_receiver_antenna.atx" --systems GRE --dynamics kinematic --max-epochs 240 \
    --ref 3582104.766,532590.178,5232755.139 --nmea "$out/esbc.nmea" --out "$out" \
    --summary "$out/summary.json" --quiet
echo "demo-rt: first NMEA lines of $out/esbc.nmea:"
head -n 3 "$out/esbc.nmea"
