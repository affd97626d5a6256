#!/usr/bin/env python3
"""Convergence over many starts: the day is cut into windows of equal
length, each processed from a cold start (ours: one run restarted at every
window boundary; RTKLIB: one run per window). A single start says little
about convergence, which depends on the geometry of the first minutes; the
spread over a dozen starts does.

Reads a manifest written by accuracy.sh: one tab-separated line per run with
the case, the program, its status ("ok" or why it is unavailable) and its
position files separated by blanks. Prints the table and appends it as
Markdown to a file."""
import argparse
import datetime
import statistics

import posstats
import tables

COLUMNS = ['Case', 'Program', 'Convergence per start (min)', 'Median (min)', 'Mean (min)',
           'Starts within 15 min', 'Faster than RTKLIB']


def window_errors(paths, reference):
    """(time, (n, e, u)) of every solution line of the files, in time order."""
    lat, lon = posstats.geodetic_lat_lon(*reference)
    errors = []
    for path in paths:
        for time, xyz in posstats.read_positions(path):
            errors.append((time, posstats.to_neu([xyz[i] - reference[i] for i in range(3)], lat, lon)))
    return sorted(errors)


def convergence_per_window(errors, day, hours):
    """Minutes to converge in each window; the window length when the
    solution is outside the limits at its end or has no epochs."""
    result = []
    for start_hour in range(0, 24, hours):
        start = day + datetime.timedelta(hours=start_hour)
        end = start + datetime.timedelta(hours=hours)
        inside = [(t, neu) for t, neu in errors if start <= t < end]
        seconds = posstats.convergence_time(inside, start) if inside else None
        result.append(60.0 * hours if seconds is None else seconds / 60.0)
    return result


def rows(runs, reference, hours):
    per_run = {}
    for run in runs:
        if run['status'] != 'ok':
            continue
        try:
            errors = window_errors(run['pos'].split(), reference)
        except (OSError, SystemExit):
            continue
        day = datetime.datetime.combine(errors[0][0].date(), datetime.time())
        per_run[(run['case'], run['program'])] = convergence_per_window(errors, day, hours)
    for run in runs:
        minutes = per_run.get((run['case'], run['program']))
        if minutes is None:
            yield [run['case'], run['program'], f'unavailable: {run["status"]}'] + [''] * (len(COLUMNS) - 3)
            continue
        rtklib = per_run.get((run['case'], 'RTKLIB'))
        faster = ''
        if run['program'] == 'ours' and rtklib:
            faster = f'{sum(a < b for a, b in zip(minutes, rtklib))} of {len(minutes)}'
        shown = ' '.join(f'>{m:.0f}' if m >= 60.0 * hours else f'{m:.1f}' for m in minutes)
        yield [run['case'], run['program'], shown, f'{statistics.median(minutes):.1f}',
               f'{statistics.mean(minutes):.1f}', f'{sum(m <= 15.0 for m in minutes)} of {len(minutes)}', faster]


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('manifest')
    parser.add_argument('--ref', required=True, help='reference X,Y,Z (m)')
    parser.add_argument('--hours', type=int, default=2, help='window length in hours (default 2)')
    parser.add_argument('--markdown', required=True, help='Markdown file to append to')
    args = parser.parse_args()
    reference = [float(v) for v in args.ref.split(',')]
    with open(args.manifest) as f:
        runs = [dict(zip(['case', 'program', 'status', 'pos'], line.rstrip('\n').split('\t')))
                for line in f if line.strip()]
    table = list(rows(runs, reference, args.hours))
    print(tables.plain(COLUMNS, table))
    note = (f'\nConvergence from {24 // args.hours} cold starts, one every {args.hours} h; a start that is not '
            f'within the limits at the end of its window counts as {60 * args.hours} min.\n')
    with open(args.markdown, 'a') as f:
        f.write('\n' + tables.markdown(COLUMNS, table) + note)


if __name__ == '__main__':
    main()
