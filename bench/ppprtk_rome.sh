#!/bin/bash
# Augmented modes on the recorded Rome streams (2026-02-06, 1 Hz, 45 min):
# one station as the reference (--aug-rtcm, its marker as --aug-ref-xyz),
# the other as the user, and the other way round; modes ppp (2), ar (4, UPDs
# from the SSR phase biases), ppprtk (7) and 8. GPS+Galileo, kinematic,
# Galileo on SSR and GPS on broadcast orbits. Prints per run the share of
# epochs solved, final and 2nd-half RMS N/E/U errors against the user's
# reference, and the correction figures of the summary.
#
# Usage: bench/ppprtk_rome.sh   (environment: PPP_BENCH_DATA, PPP_BUILD_DIR, PPP_BENCH_WORK)
root=$(git -C "$(dirname "$0")" rev-parse --show-toplevel) || exit 1
data=${PPP_BENCH_DATA:-$root/../shared/data}/rtcm_2026037
build=${PPP_BUILD_DIR:-$root/build}
work=${PPP_BENCH_WORK:-$build/ppprtk_rome}
declare -A xyz=([ROVR]=4649331.6995,1029774.1231,4229062.7567 [ROMA]=4649385.0878,1029611.1264,4229026.5686)
echo "| user (reference) | mode | solved | final N/E/U (m) | RMS 2nd half N/E/U (m) | all-epoch mean / RMS N/E/U, H95 (m) |"
echo "|---|---|---|---|---|---|"
for pair in "ROMA ROVR" "ROVR ROMA"; do
    set -- $pair; user=$1; ref=$2
    for mode in 2 4 7 8; do
        out="$work/$user-$mode"; rm -rf "$out"; mkdir -p "$out"
        "$build/bin/ppprun" --rtcm "$data/${user}_20260206_MSM5.rtcm3.gz" --rtcm-corr "$data/SSR_20260206_CORR.rtcm3.gz" \
            --systems GE --broadcast-fallback --dynamics kinematic --mode $mode --site $user --quiet --out "$out" \
            --ref "${xyz[$user]}" --summary "$out/summary.json" \
            $( [ $mode -ge 7 ] && echo --aug-rtcm "$data/${ref}_20260206_MSM5.rtcm3.gz" --aug-ref-xyz "${xyz[$ref]}" ) \
            > "$out/summary.txt" || exit 1
        file=$(ls "$out"/2026*/*.ppprtk 2>/dev/null || ls "$out"/2026*/*.ppp | head -1)
        series=$(python3 "$root/bench/pos_neu.py" $file "${xyz[$user]}" --label x | cut -d'|' -f4-6 | tr -s ' ')
        python3 - "$out/summary.json" "$user ($ref)" $mode "$series" <<'PY'
import json, sys
s = json.load(open(sys.argv[1]))
codes = s["result_codes"]; n = s["epochs"]
solved = sum(v for k, v in codes.items() if int(k) >= 1)
f = s["final_neu_error_m"]; r = s["rms_neu_error_m"]
fmt = lambda t: " / ".join(f"{v:+.2f}" for v in t) if t else "-"
print(f"| {sys.argv[2]} | {sys.argv[3]} | {100.0*solved/n:.1f} % | {fmt(f)} | {fmt(r)} | {sys.argv[4].strip()} |")
PY
    done
done
grep -E "reference |corrected |correction age|too few" "$work/ROMA-7/summary.txt"
