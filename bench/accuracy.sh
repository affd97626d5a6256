#!/usr/bin/env bash
# Accuracy and speed of our ppprun against RTKLIB 2.4.3 (rnx2rtkp) on the
# full ESBC day, static and kinematic, GPS only and GPS+GLONASS+Galileo.
# Prints one table and writes it as Markdown (bench/accuracy_results.md),
# then the convergence of the static cases over twelve cold starts, one
# every two hours, appended to the same file.
#
# Environment: PPP_BENCH_DATA  data directory (default <repo>/../shared/data)
#              PPP_BENCH_WORK  work directory (default <repo>/build/accuracy)
#              PPP_BUILD_DIR   build directory with bin/ (default <repo>/build)
#              PPPRUN          our program (default $PPP_BUILD_DIR/bin/ppprun)
set -uo pipefail

root=$(git -C "$(dirname "$0")" rev-parse --show-toplevel) || exit 1
data=${PPP_BENCH_DATA:-$root/../shared/data}
work=${PPP_BENCH_WORK:-$root/build/accuracy}
build=${PPP_BUILD_DIR:-$root/build}
ppprun=${PPPRUN:-$build/bin/ppprun}
results=$root/bench/accuracy_results.md
reference=3582104.766,532590.178,5232755.139

obs=$data/ESBC00DNK_R_20201770000_01D_30S_MO.crx.gz
nav=$data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz
sp3_before=$data/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz
sp3_day=$data/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz
clk=$data/GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz
atx=$data/ESBC_receiver_antenna.atx
day=2020/06/25  # the day of the files above, for RTKLIB's start and end times

cases="static:G static:GRE kinematic:G kinematic:GRE"
restart_cases="static:G static:GRE"
restart_hours=2

say() { echo "accuracy: $*" >&2; }

require_package() {  # command package
    command -v "$1" >/dev/null && return 0
    say "installing $2"
    if [ "$(id -u)" = 0 ]; then apt-get install -y "$2" >/dev/null
    else sudo apt-get install -y "$2" >/dev/null; fi
    command -v "$1" >/dev/null
}

# Decompressed and decoded inputs for RTKLIB, made once and kept in $work/input.
prepare_inputs() {
    mkdir -p "$work/input"
    local in=$work/input
    if [ ! -s "$in/obs.rnx" ] || [ "$obs" -nt "$in/obs.rnx" ]; then
        say "decoding $(basename "$obs")"
        "$build/bin/crx2rnx" "$obs" "$in/obs.rnx" || return 1
    fi
    local pair
    for pair in "$nav:nav.rnx" "$sp3_before:before.sp3" "$sp3_day:day.sp3" "$clk:day.clk"; do
        local source=${pair%%:*} target=$in/${pair#*:}
        if [ ! -s "$target" ] || [ "$source" -nt "$target" ]; then
            gzip -dc "$source" > "$target" || return 1
        fi
    done
}

rtklib_mode() { [ "$1" = static ] && echo ppp-static || echo ppp-kine; }
rtklib_systems() { [ "$1" = G ] && echo 1 || echo 13; }  # bit mask: 1 GPS, 4 GLONASS, 8 Galileo

# run_rtklib dynamics systems dir: prints the status of the run.
run_rtklib() {
    local dir=$3 in=$work/input
    { cat "$root/bench/rtklib/ppp.conf"
      echo "pos1-posmode       =$(rtklib_mode "$1")"
      echo "pos1-navsys        =$(rtklib_systems "$2")"
      echo "file-rcvantfile    =$atx"; } > "$dir/rtklib.conf"
    /usr/bin/time -v -o "$dir/rtklib.time" rnx2rtkp -k "$dir/rtklib.conf" -o "$dir/rtklib.pos" \
        "$in/obs.rnx" "$in/nav.rnx" "$in/before.sp3" "$in/day.sp3" "$in/day.clk" >"$dir/rtklib.log" 2>&1
    local code=$?
    [ $code = 0 ] && echo ok || echo "rnx2rtkp exited with $code"
}

# run_rtklib_restarts dynamics systems dir: one RTKLIB run per window of
# $restart_hours hours into dir/restarts; prints the status.
run_rtklib_restarts() {
    local dir=$3 in=$work/input hour
    rm -rf "${dir:?}/restarts" && mkdir -p "$dir/restarts"
    for ((hour = 0; hour < 24; hour += restart_hours)); do
        local first=$(printf '%02d:00:00' $hour) last=$(printf '%02d:59:30' $((hour + restart_hours - 1)))
        rnx2rtkp -k "$dir/rtklib.conf" -ts $day "$first" -te $day "$last" \
            -o "$dir/restarts/rtklib_$(printf %02d $hour).pos" \
            "$in/obs.rnx" "$in/nav.rnx" "$in/before.sp3" "$in/day.sp3" "$in/day.clk" >/dev/null 2>&1 ||
            { echo "rnx2rtkp failed for the start at $first"; return; }
    done
    echo ok
}

# run_ours dynamics systems dir [name [inputs [options]]]: runs ppprun into
# dir/<name> (default "ours") on the decoded inputs that RTKLIB reads, or with
# inputs "original" on the compressed originals; prints the status of the run.
run_ours() {
    local dir=$3 name=${4:-ours} in=$work/input
    if [ ! -x "$ppprun" ]; then echo "ppprun not built"; return; fi
    local files=(--obs "$in/obs.rnx" --sp3 "$in/before.sp3" --sp3 "$in/day.sp3" --clk "$in/day.clk")
    [ "${5:-decoded}" = original ] && files=(--obs "$obs" --sp3 "$sp3_before" --sp3 "$sp3_day" --clk "$clk")
    rm -rf "${dir:?}/$name"
    /usr/bin/time -v -o "$dir/$name.time" "$ppprun" "${files[@]}" --atx "$atx" --mode ppp --dynamics "$1" \
        --systems "$2" --elev-mask 7 --ref "$reference" --out "$dir/$name" --summary "$dir/$name.json" --quiet \
        "${@:6}" >"$dir/$name.log" 2>&1
    local code=$?
    [ $code = 0 ] && echo ok || echo "ppprun exited with $code"
}

# The .pos file ppprun wrote: <out>/<yyyymmdd>/<name>_<S|K>_<systems>.ppp.pos
ours_pos() { find "$1/${2:-ours}" -name "*.ppp.pos" 2>/dev/null | head -n 1; }

# Convergence of the static cases from a cold start every $restart_hours hours.
restarts() {
    local have_rtklib=$1 manifest=$work/restarts.tsv case
    : > "$manifest"
    for case in $restart_cases; do
        local dynamics=${case%%:*} systems=${case#*:} dir=$work/${case/:/_}
        local name="$dynamics $systems" status="RTKLIB not installed"
        say "$name, restarted every $restart_hours h: RTKLIB"
        [ $have_rtklib = 1 ] && status=$(run_rtklib_restarts "$dynamics" "$systems" "$dir")
        printf '%s\tRTKLIB\t%s\t%s\n' "$name" "$status" "$(echo "$dir"/restarts/rtklib_*.pos)" >> "$manifest"
        say "$name, restarted every $restart_hours h: ours"
        status=$(run_ours "$dynamics" "$systems" "$dir" ours_restarts decoded --reset-hours $restart_hours)
        printf '%s\tours\t%s\t%s\n' "$name" "$status" "$(ours_pos "$dir" ours_restarts)" >> "$manifest"
    done
    python3 "$root/bench/restart_convergence.py" "$manifest" --ref "$reference" --hours $restart_hours \
        --markdown "$results"
}

main() {
    require_package /usr/bin/time time || { say "/usr/bin/time is needed"; return 1; }
    local have_rtklib=1
    require_package rnx2rtkp rtklib || { have_rtklib=0; say "RTKLIB could not be installed"; }
    if [ ! -x "$build/bin/crx2rnx" ]; then
        say "building crx2rnx"
        { cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null &&
          cmake --build "$build" -j2 --target crx2rnx >/dev/null; } || { say "cannot build crx2rnx"; return 1; }
    fi
    prepare_inputs || { say "cannot prepare the inputs from $data"; return 1; }

    local manifest=$work/runs.tsv case
    : > "$manifest"
    for case in $cases; do
        local dynamics=${case%%:*} systems=${case#*:} dir=$work/${case/:/_}
        local name="$dynamics $systems"
        mkdir -p "$dir"
        say "$name: RTKLIB"
        local status="RTKLIB not installed"
        [ $have_rtklib = 1 ] && status=$(run_rtklib "$dynamics" "$systems" "$dir")
        printf '%s\tRTKLIB\t%s\t%s\t%s\n' "$name" "$status" "$dir/rtklib.pos" "$dir/rtklib.time" >> "$manifest"
        say "$name: ours"
        status=$(run_ours "$dynamics" "$systems" "$dir")
        # Once more on the compressed originals, which RTKLIB cannot read: the time of that too.
        local original=$dir/ours_original.time
        [ "$(run_ours "$dynamics" "$systems" "$dir" ours_original original)" = ok ] || original=
        printf '%s\tours\t%s\t%s\t%s\t%s\n' "$name" "$status" "$(ours_pos "$dir")" "$dir/ours.time" \
            "$original" >> "$manifest"
    done
    python3 "$root/bench/accuracy_table.py" "$manifest" --ref "$reference" --obs "$work/input/obs.rnx" \
        --markdown "$results"
    echo
    restarts $have_rtklib
}

main "$@"
