#!/usr/bin/env python3
"""Measures what `quarv batch` costs beside simplifying, and what a second worker brings.

usage: batch_overhead.py [--program PROGRAM] [--runs N] [PATH...]

Prints a table: for one and two workers the time of the best of N runs, the overhead for each file (the run's time,
less the time of reading, simplifying and printing that the results tell), with and without output files.
"""
import argparse
import json
import subprocess
import tempfile
import time
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[1]


def run(program, jobs, paths, folder, writes):
    """Seconds of the run, seconds of simplification in it, number of files."""
    results = Path(folder) / 'results.jsonl'
    output = ['--out', str(Path(folder) / 'out')] if writes else []
    start = time.perf_counter()
    subprocess.run([program, 'batch', '-j', str(jobs), *output, '--results', results, *paths], check=False,
                   stderr=subprocess.DEVNULL)
    seconds = time.perf_counter() - start
    rows = [json.loads(line) for line in results.read_text().splitlines()[1:]]
    work = sum(row['seconds'].get(phase, 0) for row in rows for phase in ('read', 'simplify', 'print'))
    return seconds, work, len(rows)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--program', default=SOURCE / 'build/release/bin/quarv')
    parser.add_argument('--runs', type=int, default=5)
    parser.add_argument('paths', nargs='*', default=[SOURCE.parent / 'shared' / 'corpus'], metavar='PATH')
    options = parser.parse_args()
    print('workers  output  files  seconds  simplifying  overhead/file  speed-up')
    for writes in (False, True):
        alone = None
        for jobs in (1, 2):
            with tempfile.TemporaryDirectory(prefix='quarv-bench-') as folder:
                best = min(run(options.program, jobs, options.paths, folder, writes) for _ in range(options.runs))
            seconds, work, files = best
            alone = alone or seconds
            overhead = f'{(seconds - work) / files * 1000:10.2f} ms' if jobs == 1 else ' ' * 13
            print(f'{jobs:7}  {"yes" if writes else "no":>6}  {files:5}  {seconds:7.3f}  {work:11.3f}  {overhead}'
                  f'  {alone / seconds:8.2f}')


if __name__ == '__main__':
    main()
