#!/bin/sh
# Processes the bundled two-hour sample of station ESBC (Esbjerg, 2020-06-25)
# with ppprun: float PPP, static, GPS + GLONASS + Galileo, and prints the
# summary with the error against the station's reference coordinates.
# Usage: tools/demo.sh [build directory]   (called by `make demo`)
set -e
build=${1:-build}
root=$(cd "$(dirname "$0")/.." && pwd)
sample=$root/data/sample
out=$build/demo
ppprun=$build/bin/ppprun
if [ ! -x "$ppprun" ]; then
    echo "demo: $ppprun is not built" >&2
    exit 1
fi
mkdir -p "$out"
# ESBC reference coordinates (ITRF2014, epoch 2020.48); never used as a-priori.
exec "$ppprun" \
    --obs "$sample/ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz" \
    --sp3 "$sample/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz" \
    --sp3 "$sample/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz" \
    --clk "$sample/GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz" \
    --atx "$sample/ESBC_receiver_antenna.atx" \
    --mode ppp --dynamics static --systems GRE \
    --ref 3582104.766,532590.178,5232755.139 \
    --out "$out" --summary "$out/summary.json"
