#!/usr/bin/env python3
"""Side-by-side table of the accuracy runs listed in a manifest written by
accuracy.sh: one tab-separated line per run with the case, the program, its
status ("ok" or why it is unavailable), the position file and the output of
/usr/bin/time -v, for our program also the /usr/bin/time output of a run on
the compressed original files. Prints the table and writes it as Markdown."""
import argparse
import datetime
import os

import posstats
import tables

COLUMNS = ['Case', 'Program', 'Final N/E/U (cm)', 'RMS N/E/U 12-24 h (cm)', 'Convergence (min)',
           'Wall (s)', 'Wall, compressed originals (s)', 'Peak memory (MB)', 'Speed RTKLIB/ours']


def first_observation(obs_path):
    """TIME OF FIRST OBS of a RINEX observation header."""
    with open(obs_path) as f:
        for line in f:
            if line[60:].strip() == 'TIME OF FIRST OBS':
                y, mo, d, h, mi = (int(v) for v in line[:30].split())
                return datetime.datetime(y, mo, d, h, mi) + datetime.timedelta(seconds=float(line[30:43]))
            if line[60:].strip() == 'END OF HEADER':
                break
    return None


def resources(time_path):
    """Wall time (s) and peak resident memory (MB) from /usr/bin/time -v."""
    wall = memory = None
    with open(time_path) as f:
        for line in f:
            if 'Elapsed (wall clock) time' in line:
                parts = [float(v) for v in line.rsplit(' ', 1)[1].split(':')]
                wall = sum(v * 60 ** k for k, v in enumerate(reversed(parts)))
            elif 'Maximum resident set size' in line:
                memory = int(line.split(':')[1]) / 1024.0
    return wall, memory


def triple(values):
    return '/'.join('-' if v is None else f'{v:.1f}' for v in values)


def measure(run, reference, start):
    """Figures of one run, or the reason it has none."""
    if run['status'] != 'ok':
        return {'missing': run['status']}
    try:
        figures = posstats.statistics(run['pos'], reference, start)
    except (OSError, SystemExit) as error:
        return {'missing': f'no usable position file ({error})'}
    figures['wall_s'], figures['memory_mb'] = resources(run['time'])
    figures['original_wall_s'] = resources(run['original'])[0] if run.get('original') else None
    return figures


def rows(runs, reference, start):
    figures = [measure(run, reference, start) for run in runs]
    walls = {(run['case'], run['program']): f.get('wall_s') for run, f in zip(runs, figures)}
    for run, f in zip(runs, figures):
        if 'missing' in f:
            yield [run['case'], run['program'], f'unavailable: {f["missing"]}'] + [''] * (len(COLUMNS) - 3)
            continue
        converged = f['convergence_min']
        ratio = ''
        rtklib, ours = walls.get((run['case'], 'RTKLIB')), walls.get((run['case'], 'ours'))
        if run['program'] == 'ours' and rtklib and ours:
            ratio = f'{rtklib / ours:.2f}'
        yield [run['case'], run['program'], triple(f['final_neu_cm']), triple(f['rms_neu_second_half_cm']),
               'never' if converged is None else f'{converged:.1f}', f'{f["wall_s"]:.2f}',
               '' if f['original_wall_s'] is None else f'{f["original_wall_s"]:.2f}', f'{f["memory_mb"]:.1f}', ratio]


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('manifest')
    parser.add_argument('--ref', required=True, help='reference X,Y,Z (m)')
    parser.add_argument('--obs', required=True, help='plain RINEX observation file (start of the data)')
    parser.add_argument('--markdown', required=True, help='Markdown file to write')
    args = parser.parse_args()
    reference = [float(v) for v in args.ref.split(',')]
    with open(args.manifest) as f:
        runs = [dict(zip(['case', 'program', 'status', 'pos', 'time', 'original'], line.rstrip('\n').split('\t')))
                for line in f if line.strip()]
    table = list(rows(runs, reference, first_observation(args.obs)))
    print(tables.plain(COLUMNS, table))
    note = ('\nErrors against the ITRF2014 reference of ESBC; convergence: from the first observation to the '
            'first epoch after which the horizontal error stays below 10 cm and the vertical below 20 cm '
            '("never": not below them at the end of the day). Both programs read the same decoded plain '
            'files (wall and speed columns); ours also reads the gzip-compressed Compact RINEX originals, '
            'with the same results.\n')
    with open(args.markdown, 'w') as f:
        f.write(tables.markdown(COLUMNS, table) + note)
    print(f'\nMarkdown table written to {os.path.relpath(args.markdown)}')


if __name__ == '__main__':
    main()
