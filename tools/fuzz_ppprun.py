#!/usr/bin/env python3
"""Feeds ppprun damaged copies of the bundled sample and reports every run
that crashes, hangs, trips a sanitizer or ends with an undocumented exit code.

Each run damages one input file (observations as RINEX or Compact RINEX,
orbits, clocks or antennas): random bytes, deleted, repeated, cut or swapped
lines, numbers replaced by zero, their negative, a scaled or shifted value
or the field's largest value, and sometimes the file cut short. The runs are
reproducible from the seed. Failing inputs are kept in the work directory.

Usage: tools/fuzz_ppprun.py [--ppprun build-asan/bin/ppprun] [--runs 200] [--seed 1]
"""
import argparse
import os
import random
import re
import subprocess
import sys

import bundled_sample
from bundled_sample import ROOT

DOCUMENTED_EXIT_CODES = (0, 2, 3)
INSERTIONS = [b'9999999999', b'-1', b'NaN', b' ', b'0', b'-99999999.999', b'1e308', b'\t']
NUMBER = re.compile(rb'-?\d+\.\d+')


def damage_line(rng, line):
    """One structural change of a line; None deletes it."""
    kind = rng.randrange(6)
    if kind == 0 and line:
        j = rng.randrange(len(line))
        return line[:j] + bytes([rng.randrange(256)]) + line[j + 1:]
    if kind == 1:
        return None
    if kind == 2 and line:
        return line[:rng.randrange(len(line))]
    if kind == 3 and line:
        j = rng.randrange(len(line))
        return line[:j] + rng.choice(INSERTIONS) + line[j:]
    if kind == 4 and line:
        j = rng.randrange(len(line))
        return line[:j] + bytes([rng.choice(b'0123456789 .-+ED')]) + line[j + 1:]
    return line


def damage_number(rng, line):
    """A plausible-looking but wrong value in the same columns."""
    numbers = list(NUMBER.finditer(line))
    if not numbers:
        return line
    m = rng.choice(numbers)
    width = m.end() - m.start()
    decimals = len(m.group().split(b'.')[1])
    value = float(m.group())
    value = rng.choice([0.0, -value, value * rng.uniform(0.5, 2.0), value + rng.uniform(-1e3, 1e3),
                        10.0 ** (width - decimals - 2) - 1.0, 1e-9])
    text = (b'%.*f' % (decimals, value))[:width].rjust(width)
    return line[:m.start()] + text + line[m.end():]


def mutate(rng, data):
    lines = data.split(b'\n')
    for _ in range(rng.choice([1, 2, 4, 20, 60])):
        # Headers hold most of the structure: hit them more often than their share.
        i = rng.randrange(min(60, len(lines))) if rng.random() < 0.3 else rng.randrange(len(lines))
        if rng.random() < 0.1:
            j = rng.randrange(len(lines))
            lines[i], lines[j] = lines[j], lines[i]
        elif rng.random() < 0.05:
            lines.insert(i, lines[i])
        elif rng.random() < 0.4:
            changed = damage_line(rng, lines[i])
            if changed is None:
                del lines[i]
            else:
                lines[i] = changed
        else:
            lines[i] = damage_number(rng, lines[i])
    out = b'\n'.join(lines)
    if rng.random() < 0.1:
        out = out[:rng.randrange(len(out) + 1)]
    return out


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--ppprun', default=os.path.join(ROOT, 'build-asan', 'bin', 'ppprun'),
                        help='program to test (default: the sanitizer build)')
    parser.add_argument('--runs', type=int, default=200)
    parser.add_argument('--seed', type=int, default=1)
    parser.add_argument('--work', default=os.path.join(ROOT, 'build', 'fuzz'), help='scratch directory')
    parser.add_argument('--timeout', type=float, default=120.0, help='seconds before a run counts as a hang')
    args = parser.parse_args()
    if not os.access(args.ppprun, os.X_OK):
        sys.exit(f'fuzz: {args.ppprun} is not built (make test-asan builds it)')

    os.makedirs(args.work, exist_ok=True)
    clean = bundled_sample.write_plain(args.work)
    originals = {}
    for role, path in clean.items():
        with open(path, 'rb') as f:
            originals[role] = f.read()
    env = dict(os.environ, ASAN_OPTIONS='detect_leaks=1', UBSAN_OPTIONS='print_stacktrace=1:halt_on_error=1')

    rng = random.Random(args.seed)
    failures, exit_codes = 0, {}
    for run in range(args.runs):
        role = rng.choice(sorted(clean))
        damaged = os.path.join(args.work, 'damaged_' + os.path.basename(clean[role]))
        with open(damaged, 'wb') as f:
            f.write(mutate(rng, originals[role]))
        files = dict(clean, **{role: damaged})
        command = [args.ppprun] + bundled_sample.ppprun_inputs(files, 'crx' if role == 'crx' else 'obs')
        command += ['--mode', rng.choice(['spp', 'ppp']), '--dynamics', rng.choice(['static', 'kinematic']),
                    '--quiet', '--out', os.path.join(args.work, 'out')]
        try:
            result = subprocess.run(command, capture_output=True, timeout=args.timeout, env=env)
        except subprocess.TimeoutExpired:
            verdict, stderr, code = 'hang', '', None
        else:
            stderr, code = result.stderr.decode(errors='replace'), result.returncode
            exit_codes[code] = exit_codes.get(code, 0) + 1
            sanitizer = 'runtime error' in stderr or 'Sanitizer' in stderr
            verdict = 'sanitizer' if sanitizer else None if code in DOCUMENTED_EXIT_CODES else f'exit {code}'
        if verdict:
            failures += 1
            kept = f'{damaged}.run{run}'
            os.replace(damaged, kept)
            print(f'run {run}: {verdict} with damaged {role}, kept {kept}')
            print(' '.join(command))
            print(stderr[-1500:])
    codes = ', '.join(f'{c}: {n}' for c, n in sorted(exit_codes.items()))
    print(f'{args.runs} runs, seed {args.seed}: {failures} failures; exit codes {codes}')
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main())
