#!/usr/bin/env python3
"""The comparison of bench/ar_stream.sh: for each rover and dynamics, the
file run (RINEX + UPD file) beside the stream run (RTCM observations + SSR
corrections whose phase biases carry the same UPDs), per cold-start window
(ar_stats.py figures), then how far the two runs agree epoch by epoch:
epochs fixed by one run only and the distance between their fixed
positions.

  ar_stream_compare.py --truth-file stations.txt --window H RUNS_DIR
RUNS_DIR holds file-ROVER-DYNAMICS/ and stream-ROVER-DYNAMICS/ result trees."""
import argparse
import glob
import math
import os
import statistics

import ar_stats


def one_run(directory, truth, dynamics, window):
    paths = glob.glob(os.path.join(directory, '*', '*.pppar'))
    if len(paths) != 1:
        raise SystemExit(f'{directory}: expected one .pppar file, found {len(paths)}')
    epochs = ar_stats.read_pppar(paths[0])
    return epochs, ar_stats.window_figures(epochs, truth, dynamics, window)


def first_fixes(windows):
    return ' '.join('-' if w['first_fix_min'] is None else f"{w['first_fix_min']:.1f}" for w in windows)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('--truth-file', required=True)
    parser.add_argument('--window', type=int, default=2)
    parser.add_argument('runs')
    args = parser.parse_args()
    truths = {}
    for line in open(args.truth_file):
        p = line.split()
        if len(p) >= 4 and not line.startswith('%'):
            try:
                truths[p[0]] = [float(v) for v in p[1:4]]
            except ValueError:
                pass
    print('| rover | dynamics | run | fixed epochs | wrong fixes | first fix per start (min) | only this run fixed '
          '| fixed positions apart, median / max (mm) |')
    print('|---|---|---|---|---|---|---|---|')
    totals = {'file': [0, 0], 'stream': [0, 0]}
    for directory in sorted(d for d in glob.glob(os.path.join(args.runs, 'file-*')) if os.path.isdir(d)):
        _, rover, dynamics = os.path.basename(directory).split('-')
        truth = truths[rover]
        runs = {name: one_run(os.path.join(args.runs, f'{name}-{rover}-{dynamics}'), truth, dynamics, args.window)
                for name in ('file', 'stream')}
        fixed = {name: {e[0]: e[2] for e in runs[name][0] if e[1]} for name in runs}
        both = sorted(set(fixed['file']) & set(fixed['stream']))
        apart = [1000.0 * math.dist(fixed['file'][t], fixed['stream'][t]) for t in both]
        spread = f'{statistics.median(apart):.1f} / {max(apart):.1f}' if apart else '-'
        for name, other in (('file', 'stream'), ('stream', 'file')):
            windows = runs[name][1]
            count = sum(w['fixed'] for w in windows)
            wrong = sum(w['wrong'] for w in windows)
            totals[name][0] += count
            totals[name][1] += wrong
            only = len(set(fixed[name]) - set(fixed[other]))
            print(f'| {rover} | {dynamics} | {name} | {count} | {wrong} | {first_fixes(windows)} | {only} '
                  f'| {spread if name == "file" else ""} |')
    f, s = totals['file'], totals['stream']
    print(f'AR stream: fixed epochs file {f[0]} stream {s[0]}, wrong fixes file {f[1]} stream {s[1]}')


if __name__ == '__main__':
    main()
