#!/usr/bin/env python3
"""Wide-lane figures from the library's ".wl" log (ppprun --amb-logs in the
ambiguity-resolution mode): per epoch block "* yyyy mm dd hh mm ss ..." one
line per GPS satellite "Gnn wl upd B nl elev count SS Rnn" (the reference
satellite's line ends in "*"). B is the single-difference wide lane after the
UPDs; its distance from the nearest integer is what the wide-lane step rounds
away. Counts satellites above --min-elev degrees from --after minutes after
the first epoch on.

  wide_lane_stats.py [--after 10] [--min-elev 15] FILE.wl"""
import argparse
import math


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('--after', type=float, default=10.0)
    parser.add_argument('--min-elev', type=float, default=15.0)
    parser.add_argument('file')
    args = parser.parse_args()
    first = None
    minutes = 0.0
    fractions, fixed, candidates = [], 0, 0
    for line in open(args.file):
        p = line.split()
        if not p:
            continue
        if p[0] == '*':
            t = int(p[4]) * 60 + int(p[5]) + int(p[6]) / 60.0
            first = t if first is None else first
            minutes = t - first
            continue
        if p[-1] == '*' or minutes < args.after or float(p[5]) < args.min_elev:
            continue
        candidates += 1
        if p[7][0] == 'W':
            fixed += 1
        b = float(p[3])
        if b != 0.0:   # 0: no UPD for the satellite or its reference
            fractions.append(b - round(b))
    rms = math.sqrt(sum(f * f for f in fractions) / len(fractions)) if fractions else float('nan')
    print(f'wide lane: {len(fractions)} satellite-epochs with UPDs, fractional RMS {rms:.3f} cycles; '
          f'fixed {100.0 * fixed / max(candidates, 1):.1f} % of {candidates} GPS satellite-epochs above '
          f'{args.min_elev:g} degrees after {args.after:g} minutes')


if __name__ == '__main__':
    main()
