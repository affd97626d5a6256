#!/usr/bin/env python3
"""Accuracy figures of a RTKLIB-style position file (ECEF lines
"yyyy/mm/dd hh:mm:ss.s x y z Q ns ...") against reference coordinates."""
import argparse
import datetime
import json
import math

WGS84_A = 6378137.0
WGS84_F = 1.0 / 298.257223563
HORIZONTAL_LIMIT_M = 0.10
VERTICAL_LIMIT_M = 0.20


def geodetic_lat_lon(x, y, z):
    """Latitude and longitude (radians) of an ECEF point on the WGS84 ellipsoid."""
    e2 = WGS84_F * (2.0 - WGS84_F)
    p = math.hypot(x, y)
    lat = math.atan2(z, p * (1.0 - e2))
    for _ in range(10):
        n = WGS84_A / math.sqrt(1.0 - e2 * math.sin(lat) ** 2)
        h = p / math.cos(lat) - n
        lat = math.atan2(z, p * (1.0 - e2 * n / (n + h)))
    return lat, math.atan2(y, x)


def to_neu(delta, lat, lon):
    """North, east, up components of an ECEF difference at (lat, lon)."""
    dx, dy, dz = delta
    sl, cl, sp, cp = math.sin(lon), math.cos(lon), math.sin(lat), math.cos(lat)
    north = -sp * cl * dx - sp * sl * dy + cp * dz
    east = -sl * dx + cl * dy
    up = cp * cl * dx + cp * sl * dy + sp * dz
    return north, east, up


def read_positions(path):
    """(time, (x, y, z)) of every solution line; comment lines start with '%'."""
    positions = []
    with open(path) as f:
        for number, line in enumerate(f, 1):
            if not line.strip() or line.startswith('%'):
                continue
            fields = line.split()
            try:
                time = datetime.datetime.strptime(fields[0] + ' ' + fields[1], '%Y/%m/%d %H:%M:%S.%f')
                xyz = tuple(float(v) for v in fields[2:5])
            except (ValueError, IndexError):
                raise SystemExit(f'{path}:{number}: expected "yyyy/mm/dd hh:mm:ss.s x y z ..."')
            positions.append((time, xyz))
    if not positions:
        raise SystemExit(f'{path}: no solution lines')
    return positions


def convergence_time(errors, start):
    """Seconds from `start` to the first epoch after which every error stays
    within the limits; None when the last epoch is outside them."""
    converged_at = None
    for time, (n, e, u) in errors:
        if math.hypot(n, e) < HORIZONTAL_LIMIT_M and abs(u) < VERTICAL_LIMIT_M:
            if converged_at is None:
                converged_at = time
        else:
            converged_at = None
    return None if converged_at is None else (converged_at - start).total_seconds()


def statistics(path, reference, start=None):
    positions = read_positions(path)
    lat, lon = geodetic_lat_lon(*reference)
    errors = [(t, to_neu([p[i] - reference[i] for i in range(3)], lat, lon)) for t, p in positions]
    start = start or positions[0][0]
    midday = datetime.datetime.combine(start.date(), datetime.time()) + datetime.timedelta(hours=12)
    second_half = [neu for t, neu in errors if t >= midday]
    rms = [math.sqrt(sum(neu[k] ** 2 for neu in second_half) / len(second_half)) if second_half else None
           for k in range(3)]
    converged = convergence_time(errors, start)
    return {
        'epochs': len(positions),
        'final_neu_cm': [100.0 * v for v in errors[-1][1]],
        'rms_neu_second_half_cm': [None if v is None else 100.0 * v for v in rms],
        'convergence_min': None if converged is None else converged / 60.0,
    }


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('pos', help='position file')
    parser.add_argument('--ref', required=True, help='reference X,Y,Z (m)')
    parser.add_argument('--start', help='start of the data, "yyyy/mm/dd hh:mm:ss" (default: first solution)')
    args = parser.parse_args()
    reference = [float(v) for v in args.ref.split(',')]
    start = datetime.datetime.strptime(args.start, '%Y/%m/%d %H:%M:%S') if args.start else None
    print(json.dumps(statistics(args.pos, reference, start)))


if __name__ == '__main__':
    main()
