#!/usr/bin/env python3
"""N/E/U errors of a library position file (.ppprtk, .ppp, .pppar, .spp)
against reference coordinates: mean, RMS and 95th percentile of the
horizontal error over all epochs or from a given second of the file on.

The file's X/Y/Z columns are the position minus the site's a-priori
coordinates (absolute without them): give those with --apriori.

Usage: pos_neu.py FILE X,Y,Z [--apriori X,Y,Z] [--from SECONDS] [--label TEXT]"""
import math
import sys


def neu(dx, lat, lon):
    sl, cl, sb, cb = math.sin(lon), math.cos(lon), math.sin(lat), math.cos(lat)
    n = -sb * cl * dx[0] - sb * sl * dx[1] + cb * dx[2]
    e = -sl * dx[0] + cl * dx[1]
    u = cb * cl * dx[0] + cb * sl * dx[1] + sb * dx[2]
    return n, e, u


def geodetic(x, y, z):
    a, f = 6378137.0, 1 / 298.257223563
    e2 = f * (2 - f)
    lon = math.atan2(y, x)
    p = math.hypot(x, y)
    lat = math.atan2(z, p * (1 - e2))
    for _ in range(5):
        n = a / math.sqrt(1 - e2 * math.sin(lat) ** 2)
        lat = math.atan2(z + e2 * n * math.sin(lat), p)
    return lat, lon


def main():
    path, ref = sys.argv[1], [float(v) for v in sys.argv[2].split(",")]
    start = float(sys.argv[sys.argv.index("--from") + 1]) if "--from" in sys.argv else 0.0
    label = sys.argv[sys.argv.index("--label") + 1] if "--label" in sys.argv else path
    apriori = ([float(v) for v in sys.argv[sys.argv.index("--apriori") + 1].split(",")]
               if "--apriori" in sys.argv else [0.0, 0.0, 0.0])
    lat, lon = geodetic(*ref)
    rows, first = [], None
    for line in open(path):
        f = line.split()
        if len(f) < 32 or line.startswith("%"):
            continue
        t = float(f[7])
        first = t if first is None else first
        xyz = [float(f[29 + k]) + apriori[k] for k in range(3)]
        if t - first >= start:
            rows.append(neu([xyz[k] - ref[k] for k in range(3)], lat, lon))
    if not rows:
        print(f"| {label} | no epochs |")
        return
    k = len(rows)
    mean = [sum(r[i] for r in rows) / k for i in range(3)]
    rms = [math.sqrt(sum(r[i] ** 2 for r in rows) / k) for i in range(3)]
    horizontal = sorted(math.hypot(r[0], r[1]) for r in rows)
    p95 = horizontal[min(k - 1, int(0.95 * k))]
    print(f"| {label} | {k} | {mean[0]:+.3f} / {mean[1]:+.3f} / {mean[2]:+.3f} | "
          f"{rms[0]:.3f} / {rms[1]:.3f} / {rms[2]:.3f} | {p95:.3f} |")


main()
