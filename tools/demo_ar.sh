#!/bin/sh
# Ambiguity resolution from a clone alone: a simulated network of eight
# stations and one rover from the bundled sample's real orbits and clocks
# (2020-06-25 00:00-02:00, 30 s), the network's satellite UPDs estimated by
# updnet from the stations' float ambiguities, and the rover fixed with them.
# Usage: tools/demo_ar.sh [build directory]   (called by `make demo-ar`)
set -e
build=${1:-build}
root=$(cd "$(dirname "$0")/.." && pwd)
sample=$root/data/sample
out=$build/demo-ar
bin=$build/bin
for program in netsim ppprun updnet; do
    [ -x "$bin/$program" ] || { echo "demo-ar: $bin/$program is not built" >&2; exit 1; }
done
products="--sp3 $sample/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz --sp3 $sample/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz
          --clk $sample/GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz"
rm -rf "$out"
mkdir -p "$out/export"
echo "== netsim: eight stations and a rover, two hours"
"$bin/netsim" $products --out "$out/net" --stations 8 --rovers 1 --hours 2 --slips 0 --gaps 0 --seed 3 | tail -n 3

truth() { awk -v s="$1" '$1 == s { print $2 "," $3 "," $4 }' "$out/net/stations.txt"; }
apriori() { awk '/APPROX POSITION XYZ/ { print $1 "," $2 "," $3; exit }' "$out/net/$1.rnx"; }
run() {
    site=$1; shift
    "$bin/ppprun" --obs "$out/net/$site.rnx" $products --no-sat-antenna --systems GRE --dynamics static \
        --apriori "$(apriori "$site")" --ref "$(truth "$site")" --quiet "$@"
}
echo "== ppprun --mode upd-export on the stations"
for s in $(awk '$5 == "station" { print $1 }' "$out/net/stations.txt"); do
    run "$s" --mode upd-export --export "$out/export/$s.famb" > /dev/null
done
echo "== updnet: the network's UPDs, compared with the simulation's"
"$bin/updnet" --out "$out/network.upd" --converge 30 --truth "$out/net/truth.upd" "$out"/export/*.famb
echo "== ppprun --mode ar on the rover with the network's UPDs"
run ROV1 --mode ar --upd "$out/network.upd" --out "$out/rover" --summary "$out/rover.json" |
    grep -E 'processing|final error|fixed|first fix|wide lanes|library time'
