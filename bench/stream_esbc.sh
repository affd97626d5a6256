#!/bin/bash
# The ESBC day as RTCM 3 streams against the same day from the files: rnx2rtcm
# makes the streams (MSM7 observations, broadcast ephemerides, SSR orbit and
# clock corrections from the GRG products: 60 s orbits, 5 s clocks), then
# ppprun runs static and kinematic float PPP (GPS+GLONASS+Galileo) from the
# files and from the streams. Prints the final and RMS errors of both, their
# differences, the per-epoch latency, wall time and peak memory.
#
# Usage: bench/stream_esbc.sh    (environment: PPP_BENCH_DATA, PPP_BUILD_DIR, PPP_BENCH_WORK)
root=$(git -C "$(dirname "$0")" rev-parse --show-toplevel) || exit 1
data=${PPP_BENCH_DATA:-$root/../shared/data}
build=${PPP_BUILD_DIR:-$root/build}
work=${PPP_BENCH_WORK:-$build/stream_esbc}
reference=3582104.766,532590.178,5232755.139
obs=$data/ESBC00DNK_R_20201770000_01D_30S_MO.crx.gz
nav=$data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz
sp3=(--sp3 $data/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz --sp3 $data/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz)
clk=(--clk $data/GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz)
atx=$data/ESBC_receiver_antenna.atx
mkdir -p "$work"

"$build/bin/rnx2rtcm" --obs "$obs" --nav "$nav" "${sp3[@]}" "${clk[@]}" --atx "$atx" \
    --out "$work/esbc_obs.rtcm3" --out-corr "$work/esbc_corr.rtcm3" || exit 1

for dynamics in static kinematic; do
    /usr/bin/time -f %M -o "$work/files_$dynamics.rss" "$build/bin/ppprun" --obs "$obs" "${sp3[@]}" "${clk[@]}" \
        --atx "$atx" --systems GRE --dynamics $dynamics --ref $reference --quiet \
        --summary "$work/files_$dynamics.json" --out "$work/files_$dynamics" >/dev/null || exit 1
    /usr/bin/time -f %M -o "$work/stream_$dynamics.rss" "$build/bin/ppprun" --rtcm "$work/esbc_obs.rtcm3" \
        --rtcm-corr "$work/esbc_corr.rtcm3" --atx "$atx" --systems GRE --dynamics $dynamics --ref $reference \
        --quiet --summary "$work/stream_$dynamics.json" --out "$work/stream_$dynamics" --site ESBC >/dev/null || exit 1
done

python3 - "$work" <<'PY'
import glob, json, sys
work = sys.argv[1]
def load(name):
    with open(f'{work}/{name}.json') as f:
        s = json.load(f)
    with open(f'{work}/{name}.rss') as f:
        s['rss_mb'] = int(f.read().split()[-1]) / 1024.0
    return s
print('| run | final N/E/U (cm) | RMS N/E/U (cm) | wall (s) | peak memory (MB) | latency median/p99/max (ms) |')
print('|---|---|---|---|---|---|')
for dynamics in ('static', 'kinematic'):
    f, s = load(f'files_{dynamics}'), load(f'stream_{dynamics}')
    for label, r in (('files', f), ('streams', s)):
        lat = r.get('latency_ms')
        latency = '%.3f / %.3f / %.3f' % (lat['median'], lat['p99'], lat['max']) if lat else '-'
        print('| %s %s | %s | %s | %.2f | %.1f | %s |' % (dynamics, label,
              ' / '.join('%+.1f' % (100 * v) for v in r['final_neu_error_m']),
              ' / '.join('%.1f' % (100 * v) for v in r['rms_neu_error_m']), r['wall_s'], r['rss_mb'], latency))
    final = [100 * (a - b) for a, b in zip(s['final_neu_error_m'], f['final_neu_error_m'])]
    rms = [100 * (a - b) for a, b in zip(s['rms_neu_error_m'], f['rms_neu_error_m'])]
    print('| %s streams - files | %s | %s | | | |' % (dynamics, ' / '.join('%+.2f' % v for v in final),
          ' / '.join('%+.2f' % v for v in rms)))
print()
# Epoch by epoch: the positions both runs solved.
def positions(run):
    found = glob.glob(f'{work}/{run}/*/*.ppp.pos')
    out = {}
    for line in open(found[0]):
        if not line.startswith('%'):
            f = line.split()
            out[f[0] + ' ' + f[1]] = [float(v) for v in f[2:5]]
    return out
for dynamics in ('static', 'kinematic'):
    a, b = positions(f'files_{dynamics}'), positions(f'stream_{dynamics}')
    common = sorted(set(a) & set(b))
    def worst(keys):
        return 1000 * max(max(abs(b[k][i] - a[k][i]) for i in range(3)) for k in keys)
    last = common[-1]
    # The first epochs differ: the stream's ephemerides and corrections arrive with its first epoch.
    print('%s: %d epochs solved from the files, %d from the streams, %d in common; largest X/Y/Z difference '
          '%.1f mm (%.1f mm after the first hour), at the last common epoch (%s) %.1f mm' % (dynamics, len(a),
          len(b), len(common), worst(common), worst(common[120:]), last, worst([last])))
PY
