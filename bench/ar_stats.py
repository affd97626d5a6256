#!/usr/bin/env python3
"""Fixing figures of ppprun runs in the ambiguity-resolution mode, from the
library's ".pppar" files (one line per epoch, the ratio of the fixed
solution in its 23rd field) and the ".pppar.pos" files beside them (the
same epochs, ECEF positions) against the true position, with the filter restarted every `--window` hours (a cold
start each).

Per window: time to the first fix, share of epochs fixed after it, the
error of the fixed solution, the fixed epochs more than 1 cm further from
the truth than the float solution of the same epoch; a fixed epoch counts as a wrong fix when its
error exceeds the limits of its dynamics (static 2 cm horizontal or 4 cm
vertical after the first 10 minutes of fixing, kinematic 5 and 10 cm),
which one wrong narrow-lane integer exceeds.

  ar_stats.py --truth X,Y,Z --dynamics static|kinematic [--window 2] FILE.pppar ...
prints one JSON object per file."""
import argparse
import datetime
import json
import math
import statistics

import posstats

LIMITS = {'static': (0.02, 0.04), 'kinematic': (0.05, 0.10)}


def read_pppar(path):
    """(time, fixed, (x, y, z), float (x, y, z)) per epoch: the float
    solution of the same epoch comes from the ".ppp.pos" file of the run."""
    fixed = []
    with open(path) as f:
        for line in f:
            p = line.split()
            if len(p) >= 23:
                fixed.append(float(p[22]) > 0.0)
    positions = posstats.read_positions(path + '.pos')
    if len(positions) != len(fixed):
        raise SystemExit(f'{path}: {len(fixed)} epochs, {len(positions)} positions in {path}.pos')
    floats = dict(posstats.read_positions(path[:-len('.pppar')] + '.ppp.pos'))
    return [(t, f, xyz, floats.get(t)) for (t, xyz), f in zip(positions, fixed)]


def window_figures(epochs, truth, dynamics, hours):
    lat, lon = posstats.geodetic_lat_lon(*truth)
    day = datetime.datetime.combine(epochs[0][0].date(), datetime.time())
    h_limit, v_limit = LIMITS[dynamics]
    out = []
    for start_hour in range(0, 24, hours):
        start = day + datetime.timedelta(hours=start_hour)
        end = start + datetime.timedelta(hours=hours)
        inside = [e for e in epochs if start <= e[0] < end]
        if not inside:
            continue
        fixed = [e for e in inside if e[1]]
        w = {'start_hour': start_hour, 'epochs': len(inside), 'fixed': len(fixed), 'wrong': 0,
             'worse_than_float': 0}
        if not fixed:
            w['first_fix_min'] = None
            out.append(w)
            continue
        first = fixed[0][0]
        w['first_fix_min'] = (first - start).total_seconds() / 60.0
        after = [e for e in inside if e[0] >= first]
        w['fixed_after_first'] = len(fixed) / len(after)
        errors = []
        for t, _, xyz, float_xyz in fixed:
            n, e, u = posstats.to_neu([xyz[i] - truth[i] for i in range(3)], lat, lon)
            errors.append((t, n, e, u))
            if float_xyz and math.dist(xyz, truth) > math.dist(float_xyz, truth) + 0.01:
                w['worse_than_float'] += 1
            settled = dynamics == 'kinematic' or (t - first).total_seconds() >= 600.0
            if settled and (math.hypot(n, e) > h_limit or abs(u) > v_limit):
                w['wrong'] += 1
        if dynamics == 'static':
            at_hour = [x for x in errors if x[0] >= start + datetime.timedelta(hours=1)]
            if at_hour:
                _, n, e, u = at_hour[0]
                w['h_after_1h_m'] = math.hypot(n, e)
                w['v_after_1h_m'] = abs(u)
        w['sq'] = [sum(x[k] ** 2 for x in errors) for k in (1, 2, 3)]
        w['n'] = len(errors)
        out.append(w)
    return out


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('--truth', required=True)
    parser.add_argument('--dynamics', choices=sorted(LIMITS), required=True)
    parser.add_argument('--window', type=int, default=2)
    parser.add_argument('files', nargs='+')
    args = parser.parse_args()
    truth = [float(v) for v in args.truth.split(',')]
    for path in args.files:
        windows = window_figures(read_pppar(path), truth, args.dynamics, args.window)
        print(json.dumps({'file': path, 'dynamics': args.dynamics, 'windows': windows}))


if __name__ == '__main__':
    main()
