#!/bin/sh
# Single point positioning over the full day of station ESBC (2020-06-25,
# 2880 epochs at 30 s, GPS + GLONASS + Galileo) with ppprun: prints the
# epochs, the wall time (reading every file included) and the error figures
# against the station's reference coordinates. The last quarter hour of the
# day lies beyond the day's SP3 file: broadcast orbits stand in there.
# Usage: bench/spp_day.sh [build directory] [data directory]
build=${1:-build}
data=${2:-${PPP_DATA:-$(dirname "$0")/../../shared/data}}
ppprun=$build/bin/ppprun
obs=$data/ESBC00DNK_R_20201770000_01D_30S_MO.crx.gz
if [ ! -f "$obs" ]; then
    echo "spp_day: $obs not present, skipped"
    exit 0
fi
if [ ! -x "$ppprun" ]; then
    echo "spp_day: $ppprun is not built" >&2
    exit 1
fi
summary=$build/spp_day_summary.json
"$ppprun" --obs "$obs" \
    --sp3 "$data/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz" \
    --sp3 "$data/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz" \
    --clk "$data/GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz" \
    --nav "$data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz" --broadcast-fallback \
    --atx "$data/ESBC_receiver_antenna.atx" \
    --mode spp --systems GRE --quiet \
    --ref 3582104.766,532590.178,5232755.139 \
    --summary "$summary" >/dev/null || exit $?
# One line per figure from the JSON summary.
sed -n -e 's/^  "\(epochs\|result_codes\|rms_neu_error_m\|final_neu_error_m\|wall_s\)": \(.*\),\{0,1\}$/\1 \2/p' "$summary" |
    sed -e 's/,$//'
