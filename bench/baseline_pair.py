#!/usr/bin/env python3
"""The ROVR and ROMA solutions of one run of bench/rtcm_2026037.sh against
their references and the baseline between them, as a markdown table row.

Usage: baseline_pair.py LABEL DIR   (DIR holds ROVR.json, ROMA.json and the --out folders)"""
import glob
import json
import math
import sys

# References of the data README: ROVR's marker, and ROMA = ROVR + the fixed carrier-phase baseline.
ROVR = (4649331.6995, 1029774.1231, 4229062.7567)
BASELINE = (53.3883, -162.9967, -36.1881)
ROMA = tuple(r + b for r, b in zip(ROVR, BASELINE))


def neu_axes(xyz):
    lat = math.atan2(xyz[2], math.hypot(xyz[0], xyz[1]))
    lon = math.atan2(xyz[1], xyz[0])
    sl, cl, so, co = math.sin(lat), math.cos(lat), math.sin(lon), math.cos(lon)
    return ((-sl * co, -sl * so, cl), (-so, co, 0.0), (cl * co, cl * so, sl))


AXES = neu_axes(ROVR)


def neu(d):
    return [sum(a * v for a, v in zip(axis, d)) for axis in AXES]


def positions(directory):
    found = glob.glob(f'{directory}/*/*.ppp.pos')
    out = {}
    for line in open(found[0]) if found else []:
        if not line.startswith('%'):
            f = line.split()
            out[f[0] + ' ' + f[1]] = [float(v) for v in f[2:5]]
    return out


def main():
    label, directory = sys.argv[1], sys.argv[2]
    final = {}
    for station, ref in (('ROVR', ROVR), ('ROMA', ROMA)):
        with open(f'{directory}/{station}.json') as f:
            final[station] = json.load(f)['final_xyz']
    errors = {s: neu([final[s][i] - ref[i] for i in range(3)]) for s, ref in (('ROVR', ROVR), ('ROMA', ROMA))}
    base = neu([final['ROMA'][i] - final['ROVR'][i] - BASELINE[i] for i in range(3)])
    a, b = positions(f'{directory}/ROVR'), positions(f'{directory}/ROMA')
    common = sorted(set(a) & set(b))
    half = [neu([b[k][i] - a[k][i] - BASELINE[i] for i in range(3)]) for k in common[len(common) // 2:]]
    mean = [sum(e[j] for e in half) / len(half) for j in range(2)]
    rms = [math.sqrt(sum(e[j] ** 2 for e in half) / len(half)) for j in range(2)]
    fmt = lambda v: ' / '.join('%+.2f' % x for x in v)
    print(f'| {label} | {fmt(errors["ROVR"])} | {fmt(errors["ROMA"])} | {fmt(base)} (H {math.hypot(base[0], base[1]):.3f}) '
          f'| {fmt(mean)} | {rms[0]:.3f} / {rms[1]:.3f} |')


if __name__ == '__main__':
    main()
