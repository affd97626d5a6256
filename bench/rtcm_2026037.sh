#!/bin/bash
# Float PPP on the recorded streams of ROVR and ROMA (2026-02-06, 1 Hz, 45 min)
# with their correction stream: broadcast orbits only, and with SSR (Galileo:
# the stream's GPS corrections refer to ephemerides it never sends, so GPS
# stays on broadcast orbits with --broadcast-fallback). Prints each station's
# final error against its reference, the ROMA-ROVR baseline from the two
# solutions against the carrier-phase baseline (final epoch, and mean and
# RMS over the second half of the kinematic epochs), and the stream
# statistics of one run.
#
# Usage: bench/rtcm_2026037.sh   (environment: PPP_BENCH_DATA, PPP_BUILD_DIR, PPP_BENCH_WORK)
root=$(git -C "$(dirname "$0")" rev-parse --show-toplevel) || exit 1
data=${PPP_BENCH_DATA:-$root/../shared/data}/rtcm_2026037
build=${PPP_BUILD_DIR:-$root/build}
work=${PPP_BENCH_WORK:-$build/rtcm_2026037}
mkdir -p "$work"

run() {   # label, options...
    local label=$1; shift
    for station in ROVR ROMA; do
        rm -rf "$work/$label/$station"
        "$build/bin/ppprun" --rtcm "$data/${station}_20260206_MSM5.rtcm3.gz" \
            --rtcm-corr "$data/SSR_20260206_CORR.rtcm3.gz" --site $station --quiet --out "$work/$label/$station" \
            --summary "$work/$label/$station.json" "$@" > "$work/$label/$station.txt" || exit 1
    done
    python3 "$root/bench/baseline_pair.py" "$label" "$work/$label"
}

mkdir -p "$work"/{brdc-static,brdc-kinematic,ssr-static,ssr-kinematic,ssr-galileo-kinematic}
echo "| run | ROVR N/E/U (m) | ROMA N/E/U (m) | baseline error, final epoch N/E/U (m) | baseline 2nd half mean N/E (m) | RMS N/E (m) |"
echo "|---|---|---|---|---|---|"
run brdc-static --systems GE --no-ssr
run brdc-kinematic --systems GE --no-ssr --dynamics kinematic
run ssr-static --systems GE --broadcast-fallback
run ssr-kinematic --systems GE --broadcast-fallback --dynamics kinematic
run ssr-galileo-kinematic --systems E --dynamics kinematic
echo
grep -E "stream|skipped|ephemerides|SSR|latency" "$work/ssr-kinematic/ROVR.txt"
