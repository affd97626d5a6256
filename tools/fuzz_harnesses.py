#!/usr/bin/env python3
"""Runs the libFuzzer harnesses of fuzz/ (built with -DPPPLIB_FUZZ=ON) for a
fixed time each and prints a table: harness, executions, coverage (cov and
ft as libFuzzer counts them), corpus size and findings.

Each harness grows its working corpus in <work>/corpus/<name>, starting from
the seeds fuzz/corpus/<name> and the past findings fuzz/regressions/<name>
(read only). An input that crashes, trips a sanitizer, leaks, hangs longer
than the time-out or exceeds the memory limit is written to
<work>/findings/<name>/ and ends that harness's run; copy it to
fuzz/regressions/<name>/ once fixed. Exit code 1 when anything was found.

Usage: tools/fuzz_harnesses.py --build build-fuzz [--seconds 300] [--jobs 2] [--work DIR] [name ...]
"""
import argparse
import concurrent.futures
import glob
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
STATUS = re.compile(r'^#(\d+)\s+\w+\s+cov: (\d+) ft: (\d+) corp: (\d+)/')
EXECUTED = re.compile(r'^stat::number_of_executed_units: (\d+)')


def run(binary, name, seconds, work):
    corpus = os.path.join(work, 'corpus', name)
    findings = os.path.join(work, 'findings', name)
    os.makedirs(corpus, exist_ok=True)
    os.makedirs(findings, exist_ok=True)
    seeds = [d for d in (os.path.join(ROOT, 'fuzz', sub, name) for sub in ('corpus', 'regressions'))
             if os.path.isdir(d)]
    # The harnesses' scratch files go there too: a crashing run leaves them behind.
    scratch = os.path.join(work, 'scratch', name)
    os.makedirs(scratch, exist_ok=True)
    log_path = os.path.join(work, name + '.log')
    command = [binary, corpus] + seeds + [
        '-max_total_time=%d' % seconds, '-rss_limit_mb=2048', '-timeout=10', '-print_final_stats=1',
        '-artifact_prefix=' + findings + '/']
    with open(log_path, 'w') as log:
        code = subprocess.call(command, stdout=log, stderr=subprocess.STDOUT, env=dict(os.environ, TMPDIR=scratch))
    row = {'name': name, 'execs': 0, 'cov': 0, 'ft': 0, 'corpus': len(os.listdir(corpus)), 'code': code}
    with open(log_path, errors='replace') as log:
        for line in log:
            m = STATUS.match(line)
            if m:
                row['execs'], row['cov'], row['ft'] = int(m.group(1)), int(m.group(2)), int(m.group(3))
            m = EXECUTED.match(line)
            if m:
                row['execs'] = int(m.group(1))
    row['findings'] = sorted(os.listdir(findings))
    return row


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n\n')[0])
    parser.add_argument('--build', required=True, help='build directory configured with -DPPPLIB_FUZZ=ON')
    parser.add_argument('--seconds', type=int, default=300, help='time per harness')
    parser.add_argument('--jobs', type=int, default=1, help='harnesses run at the same time')
    parser.add_argument('--work', help='working corpora and findings (default <build>/fuzz-work)')
    parser.add_argument('names', nargs='*', help='harnesses to run (default: all)')
    args = parser.parse_args()
    work = args.work or os.path.join(args.build, 'fuzz-work')
    available = sorted(os.path.basename(p)[len('fuzz_'):-len('.cpp')]
                       for p in glob.glob(os.path.join(ROOT, 'fuzz', 'fuzz_*.cpp')))
    names = args.names or available
    binaries = [os.path.join(args.build, 'fuzz', 'fuzz_' + name) for name in names]
    for binary in binaries:
        if not os.access(binary, os.X_OK):
            print('%s not built' % binary, file=sys.stderr)
            return 2
    print('fuzzing %s for %d s each, %d at a time' % (' '.join(names), args.seconds, args.jobs), flush=True)
    with concurrent.futures.ThreadPoolExecutor(max_workers=max(1, args.jobs)) as pool:
        rows = list(pool.map(lambda job: run(job[0], job[1], args.seconds, work), zip(binaries, names)))

    print('\n| harness | executions | cov | ft | corpus | findings |')
    print('|---|---:|---:|---:|---:|---|')
    for r in rows:
        found = ', '.join(r['findings']) if r['findings'] else 'none'
        if r['code'] != 0 and not r['findings']:
            found = 'exit code %d, see %s.log' % (r['code'], r['name'])
        print('| %s | %d | %d | %d | %d | %s |' % (r['name'], r['execs'], r['cov'], r['ft'], r['corpus'], found))
    print('\nlogs, corpora and findings in %s' % work)
    return 1 if any(r['findings'] or r['code'] != 0 for r in rows) else 0


if __name__ == '__main__':
    sys.exit(main())
