#!/usr/bin/env python3
"""The summary of bench/ar_sim.sh: the per-window figures of ar_stats.py for
the rovers with the true UPDs and with the network's own UPDs, as a table,
then the one line

AR sim: wrong fixes W of F, first fix median M min, fixed after first fix P %,
static H X mm V Y mm, kinematic RMS N/E/U a/b/c cm, UPD error WL w NL n cycles

with the true-UPD figures (static: median over the cold starts of the error
one hour after each start; kinematic: RMS over all fixed epochs).

  ar_summary.py TRUTH.jsonl NETWORK.jsonl UPD_ERROR_LINE
  ar_summary.py --damaged RUNS.jsonl ...   (fixed epochs, wrong ones and ones
                                            worse than the float solution)"""
import json
import math
import statistics
import sys


def figures(path):
    runs = [json.loads(line) for line in open(path) if line.strip()]
    windows = [w for r in runs for w in r['windows']]
    static = [w for r in runs if r['dynamics'] == 'static' for w in r['windows']]
    kinematic = [w for r in runs if r['dynamics'] == 'kinematic' for w in r['windows']]
    def first_fix(ws):
        return [w['first_fix_min'] if w['first_fix_min'] is not None else 120.0 for w in ws]
    first = first_fix(windows)
    after = [w['fixed_after_first'] for w in windows if 'fixed_after_first' in w]
    sq = [sum(w.get('sq', [0, 0, 0])[k] for w in kinematic) for k in range(3)]
    n = sum(w.get('n', 0) for w in kinematic)
    return {
        'wrong': sum(w['wrong'] for w in windows),
        'worse': sum(w.get('worse_than_float', 0) for w in windows),
        'fixed': sum(w['fixed'] for w in windows),
        'starts': len(windows),
        'never': sum(1 for w in windows if w['first_fix_min'] is None),
        'first_median': statistics.median(first),
        'first_static': statistics.median(first_fix(static)),
        'first_kinematic': statistics.median(first_fix(kinematic)),
        'after': 100.0 * statistics.mean(after) if after else 0.0,
        'h1h': 1000.0 * statistics.median([w['h_after_1h_m'] for w in static if 'h_after_1h_m' in w] or [math.nan]),
        'v1h': 1000.0 * statistics.median([w['v_after_1h_m'] for w in static if 'v_after_1h_m' in w] or [math.nan]),
        'rms': [100.0 * math.sqrt(s / n) if n else math.nan for s in sq],
    }


def row(name, f):
    return (f"| {name} | {f['wrong']} of {f['fixed']} | {f['first_median']:.1f} ({f['first_static']:.1f} / "
            f"{f['first_kinematic']:.1f}) | {f['never']} of {f['starts']} | "
            f"{f['after']:.1f} | {f['h1h']:.1f} / {f['v1h']:.1f} | "
            f"{f['rms'][0]:.1f} / {f['rms'][1]:.1f} / {f['rms'][2]:.1f} |")


def damaged(paths):
    for path in paths:
        f = figures(path)
        print(f"damaged UPDs {path}: {f['fixed']} fixed epochs, {f['wrong']} wrong, "
              f"{f['worse']} more than 1 cm worse than the float solution")


def main():
    if sys.argv[1] == '--damaged':
        damaged(sys.argv[2:])
        return
    truth, network, upd_line = figures(sys.argv[1]), figures(sys.argv[2]), sys.argv[3]
    print('| UPDs | wrong fixes | first fix median, all (static / kinematic) (min) | starts never fixed '
          '| fixed after first fix (%) '
          '| static 1 h H / V (mm) | kinematic RMS N / E / U (cm) |')
    print('|---|---|---|---|---|---|---|')
    print(row('true', truth))
    print(row('updnet', network))
    words = upd_line.split()   # "UPD error WL w NL n cycles"
    wl, nl = words[3], words[5]
    f = truth
    print(f"AR sim: wrong fixes {f['wrong']} of {f['fixed']}, first fix median {f['first_median']:.1f} min, "
          f"fixed after first fix {f['after']:.1f} %, static H {f['h1h']:.1f} mm V {f['v1h']:.1f} mm, "
          f"kinematic RMS N/E/U {f['rms'][0]:.1f}/{f['rms'][1]:.1f}/{f['rms'][2]:.1f} cm, "
          f"UPD error WL {wl} NL {nl} cycles")


if __name__ == '__main__':
    main()
