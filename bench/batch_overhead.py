#!/usr/bin/env python3
"""Measures what `quarv batch` costs beside simplifying, and what a second worker brings.

usage: batch_overhead.py [--program PROGRAM] [--runs N] [PATH...]

First the cost of a file with next to nothing in it, of 500: time, and processor time, which does not depend on what
else the machine does. Writing a file includes waiting until it is on the disk. Then the time of whole runs over PATH
(by default the folder that the variable QUARV_CORPUS names) with one and two workers. Of N runs the best one counts.
"""
import argparse
import os
import subprocess
import tempfile
import time
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[1]
NUM_SMALL = 500


def run(program, jobs, paths, folder, writes):
    """Seconds of the run, and of processors."""
    output = ['--out', str(Path(folder) / 'out')] if writes else []
    start = time.perf_counter()
    process = subprocess.Popen([program, 'batch', '-j', str(jobs), *output, '--results', Path(folder) / 'results.jsonl',
                                *paths], stderr=subprocess.DEVNULL)
    _, _, usage = os.wait4(process.pid, 0)
    process.returncode = 0
    return time.perf_counter() - start, usage.ru_utime + usage.ru_stime


def best(options, jobs, paths, writes):
    with tempfile.TemporaryDirectory(prefix='quarv-bench-') as folder:
        runs = [run(options.program, jobs, paths, folder, writes) for _ in range(options.runs)]
    return [min(values) for values in zip(*runs)]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--program', default=SOURCE / 'build/release/bin/quarv')
    parser.add_argument('--runs', type=int, default=5)
    parser.add_argument('paths', nargs='*', metavar='PATH')
    options = parser.parse_args()
    options.paths = options.paths or [p for p in [os.environ.get('QUARV_CORPUS')] if p]
    if not options.paths:
        parser.error('no PATH is given, and QUARV_CORPUS names none')
    with tempfile.TemporaryDirectory(prefix='quarv-bench-') as folder:
        for i in range(NUM_SMALL):
            (Path(folder) / f'{i}.smt2').write_text('(check-sat)\n')
        for writes in (False, True):
            seconds, processor = (1000 * s / NUM_SMALL for s in best(options, 1, [folder], writes))
            print(f'small file, output {"written" if writes else "not written":<12} {seconds:6.2f} ms, '
                  f'processor {processor:.2f} ms')
    for writes in (False, True):
        alone, both = (best(options, jobs, options.paths, writes)[0] for jobs in (1, 2))
        print(f'all, output {"written" if writes else "not written":<12} 1 worker {alone:.2f} s, 2 workers {both:.2f} s: '
              f'{alone / both:.2f} times as fast')


if __name__ == '__main__':
    main()
