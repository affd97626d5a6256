#!/usr/bin/env python3
"""Runs the native ppprun and the 32-bit ARM ppprun (under qemu-arm) on the
bundled sample, from its files and replayed as RTCM 3 streams, and compares
every file they write, number by number.

The two builds must give the same results: a number may differ by at most
--tolerance (default 1e-4, one unit in the last digit of the 0.1 mm
coordinates); any other difference in a file fails the comparison.

Usage: tools/compare_platforms.py --native build/bin/ppprun --arm build-arm/bin/ppprun
"""
import argparse
import os
import re
import shutil
import subprocess
import sys

import bundled_sample
from bundled_sample import ROOT

RUNS = {
    'spp': ['--mode', 'spp', '--dynamics', 'kinematic', '--systems', 'GRE'],
    'static': ['--mode', 'ppp', '--dynamics', 'static', '--systems', 'GRE'],
    'kinematic': ['--mode', 'ppp', '--dynamics', 'kinematic', '--systems', 'GRE', '--residuals', '--debug'],
}
# The same sample replayed as RTCM 3 streams (observations, ephemerides and SSR corrections).
STREAM_RUNS = {
    'stream-static': ['--mode', 'ppp', '--dynamics', 'static', '--systems', 'GRE'],
    'stream-kinematic': ['--mode', 'ppp', '--dynamics', 'kinematic', '--systems', 'GRE'],
}
NUMBER = re.compile(r'[-+]?(?:\d+\.\d*|\.\d+|\d+)(?:[eE][-+]?\d+)?')


def run(command, input_options, options, out):
    shutil.rmtree(out, ignore_errors=True)
    arguments = command + input_options + ['--quiet', '--out', out] + options
    result = subprocess.run(arguments, capture_output=True, text=True)
    if result.returncode != 0:
        sys.exit(f'compare: {" ".join(arguments)} exited with {result.returncode}\n{result.stderr}')


def written_files(directory):
    found = set()
    for parent, _, names in os.walk(directory):
        for name in names:
            found.add(os.path.relpath(os.path.join(parent, name), directory))
    return found


def line_difference(a, b):
    """Largest difference of the numbers of two lines, or None when their text differs otherwise."""
    if NUMBER.sub('#', a).split() != NUMBER.sub('#', b).split():
        return None
    return max((abs(float(x) - float(y)) for x, y in zip(NUMBER.findall(a), NUMBER.findall(b))), default=0.0)


def compare_file(a_path, b_path, tolerance):
    """(identical lines, largest difference, first offending line or None)."""
    with open(a_path, errors='replace') as fa, open(b_path, errors='replace') as fb:
        a_lines, b_lines = fa.read().splitlines(), fb.read().splitlines()
    if len(a_lines) != len(b_lines):
        return 0, float('inf'), f'{len(a_lines)} lines against {len(b_lines)}'
    identical, largest = 0, 0.0
    for number, (a, b) in enumerate(zip(a_lines, b_lines), 1):
        if a == b:
            identical += 1
            continue
        difference = line_difference(a, b)
        if difference is None or difference > tolerance:
            return identical, float('inf') if difference is None else difference, f'line {number}:\n  {a}\n  {b}'
        largest = max(largest, difference)
    return identical, largest, None


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--native', default=os.path.join(ROOT, 'build', 'bin', 'ppprun'))
    parser.add_argument('--arm', default=os.path.join(ROOT, 'build-arm', 'bin', 'ppprun'))
    parser.add_argument('--emulator', default='qemu-arm -L /usr/arm-linux-gnueabihf')
    parser.add_argument('--work', default=os.path.join(ROOT, 'build', 'platforms'))
    parser.add_argument('--tolerance', type=float, default=1e-4)
    args = parser.parse_args()
    for program in (args.native, args.arm):
        if not os.access(program, os.X_OK):
            sys.exit(f'compare: {program} is not built')

    os.makedirs(args.work, exist_ok=True)
    inputs = bundled_sample.write_plain(args.work)
    file_inputs = bundled_sample.ppprun_inputs(inputs)
    rnx2rtcm = os.path.join(os.path.dirname(args.native), 'rnx2rtcm')
    stream_inputs = bundled_sample.ppprun_stream_inputs(inputs, bundled_sample.write_streams(rnx2rtcm, inputs, args.work))
    failed = False
    runs = [(name, file_inputs, options) for name, options in RUNS.items()] + \
        [(name, stream_inputs, options) for name, options in STREAM_RUNS.items()]
    for name, input_options, options in runs:
        native_out = os.path.join(args.work, name, 'native')
        arm_out = os.path.join(args.work, name, 'arm')
        run([args.native], input_options, options, native_out)
        run(args.emulator.split() + [args.arm], input_options, options, arm_out)
        native_files, arm_files = written_files(native_out), written_files(arm_out)
        if native_files != arm_files:
            print(f'{name}: different files: {sorted(native_files ^ arm_files)}')
            failed = True
        lines = identical = 0
        largest = 0.0
        for relative in sorted(native_files & arm_files):
            same, difference, problem = compare_file(os.path.join(native_out, relative),
                                                     os.path.join(arm_out, relative), args.tolerance)
            if problem:
                print(f'{name}: {relative} differs beyond {args.tolerance:g}, {problem}')
                failed = True
                continue
            with open(os.path.join(native_out, relative), errors='replace') as f:
                lines += sum(1 for _ in f)
            identical += same
            largest = max(largest, difference)
        print(f'{name}: {len(native_files)} files, {lines} lines, {identical} identical, '
              f'largest difference {largest:g}')
    return 1 if failed else 0


if __name__ == '__main__':
    sys.exit(main())
