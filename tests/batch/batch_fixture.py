"""What the tests of recipes for several machines have in common."""
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time

SOURCE = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / 'tests' / 'docs'))

import pages  # noqa: E402

# Real scripts, which are not part of the project.
CORPUS = pathlib.Path(os.environ.get('QUARV_CORPUS') or SOURCE.parent / 'shared' / 'corpus').absolute()
SKIPPED = 77  # the exit status by which ctest knows a skipped test


class Skip(Exception):
    """The test cannot be made here."""


def recipe(word):
    """The recipe in the documentation that has this word in it."""
    page = pages.Page(SOURCE / 'docs' / 'batch.md')
    found = [fence.text for fence in page.fences if fence.language == 'sh' and word in fence.text]
    assert len(found) == 1, f'docs/batch.md has {len(found)} recipes with {word}'
    return found[0]


def need(*programs):
    """The paths of programs, those of administrators too."""
    path = os.environ['PATH'] + ':/usr/sbin:/sbin'
    found = [shutil.which(program, path=path) for program in programs]
    for program, place in zip(programs, found):
        if place is None:
            raise Skip(f'{program} is not installed')
    return found


def free_port():
    with socket.socket() as s:
        s.bind(('127.0.0.1', 0))
        return s.getsockname()[1]


def wait_until(condition, what, seconds=20):
    """Waits for a server to come up."""
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise Skip(f'{what} does not start')
        time.sleep(0.1)


def answers(port):
    with socket.socket() as s:
        return s.connect_ex(('127.0.0.1', port)) == 0


class Servers:
    """Processes that end with the test."""

    def __init__(self):
        self._processes = []

    def start(self, *command, **options):
        self._processes.append(subprocess.Popen(command, stdin=subprocess.DEVNULL, **options))
        return self._processes[-1]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self._processes):
            process.terminate()
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()


def write_queries(folder):
    """Scripts of which one is bad."""
    for i in range(30):
        text = f'(declare-const a (_ BitVec {i + 1}))\n'
        text += f'(assert (= (bvadd a (bvneg a)) (bvmul a (_ bv{i % 2} {i + 1}))))\n(check-sat)\n'
        file = folder / 'queries' / str(i % 3) / f'{i}.smt2'
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)
    (folder / 'queries' / 'bad.smt2').write_text('(assert a)\n')


def lasting(results):
    """Results without what two runs differ in."""
    return re.sub(r',"seconds":\{"(?!.*"inputs").*', '', results.read_text())


def tree(folder):
    return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob('*') if path.is_file()}


def check_against_one_run(folder, quarv):
    """What a recipe left in `folder` is what one run gives."""
    run = subprocess.run([quarv, 'batch', '--out', 'whole', '--results', 'whole.jsonl', 'queries'], cwd=folder,
                         check=False, stderr=subprocess.PIPE, text=True)
    assert run.returncode == 1, run.stderr
    assert lasting(folder / 'results.jsonl') == lasting(folder / 'whole.jsonl'), 'the results differ'
    assert tree(folder / 'out') == tree(folder / 'whole'), 'the outputs differ'


def main(test):
    """Runs `test(folder, quarv)` in a folder of its own; the program is the command line's first argument."""
    quarv = pathlib.Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory(prefix='quarv_batch_') as folder:
        try:
            test(pathlib.Path(folder), quarv)
        except Skip as reason:
            print(f'skipped: {reason}')
            sys.exit(SKIPPED)
    print('ok')
