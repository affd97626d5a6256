# Shared by the benchmarks on the simulated network (sourced, not run):
# the programs, the products of the ESBC day, and the steps every such
# benchmark takes. Set `work` and `bench` (a name for messages) first.
#
#   simulate ARGS...       netsim into $work/net with the products
#   run SITE OPTIONS...    ppprun on a simulated site: header a-priori, truth as --ref
#   network_upds           float-ambiguity exports of the stations, then updnet
build=${BUILD:-$root/build}
data=${DATA:-$root/../shared/data}
bin=$build/bin
for program in netsim ppprun updnet; do
    [ -x "$bin/$program" ] || { echo "$bench: $bin/$program is not built (make)" >&2; exit 1; }
done
products="--sp3 $data/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz --sp3 $data/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz
          --clk $data/GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz"

simulate() {
    rm -rf "$work"
    mkdir -p "$work/export" "$work/runs"
    "$bin/netsim" $products --out "$work/net" "$@" > "$work/netsim.log"
}

# Site coordinates: the header's approximate position a-priori, the truth for the figures only.
truth() { awk -v s="$1" '$1 == s { print $2 "," $3 "," $4 }' "$work/net/stations.txt"; }
apriori() { awk '/APPROX POSITION XYZ/ { print $1 "," $2 "," $3; exit }' "$work/net/$1.rnx"; }
run() {   # site, mode and further options
    site=$1; shift
    "$bin/ppprun" --obs "$work/net/$site.rnx" $products --no-sat-antenna --systems GRE \
        --apriori "$(apriori "$site")" --ref "$(truth "$site")" --quiet "$@"
}

network_upds() {
    for s in $(awk '$5 == "station" { print $1 }' "$work/net/stations.txt"); do
        run "$s" --mode upd-export --dynamics static --export "$work/export/$s.famb" > "$work/runs/$s.export.txt"
    done
    "$bin/updnet" --out "$work/network.upd" --truth "$work/net/truth.upd" "$work"/export/*.famb > "$work/updnet.txt"
}
