#!/usr/bin/env python3
"""Shows that `quarv simplify` keeps the meaning of real scripts.

Each file is simplified; the output is simplified again and must not change; z3 and cvc5 must accept it; and a solver
is asked for each assertion whether it can differ from the one it came from. Options of the program follow after `--`.
"""

import argparse
import collections
import concurrent.futures
import dataclasses
import itertools
import os
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from comparison import Comparison, Mismatch, shorten
from smt_text import has_binder, head, split
from solver import PROVED, REFUTED, UNDECIDED, UNSUPPORTED, VERDICTS, Solver, Verdict

SOURCE_DIR = Path(__file__).resolve().parents[2]
# Real scripts, which are not part of the project.
CORPUS = Path(os.environ.get("QUARV_CORPUS") or SOURCE_DIR.parent / "shared" / "corpus")
SOLVERS = ("z3", "cvc5")
SKIPPED = 77  # the exit status by which ctest knows a skipped test
PROGRAM_SECONDS = 120
SAMPLE_BYTES = 8000


@dataclasses.dataclass
class Result:
    """What was seen of one file. A file's `failures` are complete sentences."""

    path: Path
    has_quantifiers: bool = False
    is_printed: bool = False
    is_fixed_point: bool = False
    accepted: dict = dataclasses.field(default_factory=dict)  # by solver: "yes", "no", or "input" when it fails too
    num_assertions: int = 0
    num_same_text: int = 0  # of the assertions: nothing was to be proved
    verdicts: collections.Counter = dataclasses.field(default_factory=collections.Counter)  # of assertions
    failures: list = dataclasses.field(default_factory=list)
    notes: list = dataclasses.field(default_factory=list)


class Check:
    """Checks one file after the other, each in its own folder for what passes between the programs."""

    def __init__(self, options):
        self._options = options
        self._solvers = [Solver(name, options.timeout) for name in SOLVERS if shutil.which(name)]
        self._asked = Solver(options.solver, options.timeout)

    def check(self, path):
        result = Result(path)
        with tempfile.TemporaryDirectory(prefix="quarv-equivalence-") as scratch:
            folder = Path(scratch)
            if self._options.keep:
                folder = self._options.keep / f"{path.parent.name}-{path.stem}"
                folder.mkdir(parents=True, exist_ok=True)
            try:
                self._check_in(folder, path, result)
            except (Mismatch, ValueError, IndexError) as fault:
                result.failures.append(f"the output is not the input simplified: {fault}")
        return result

    def _check_in(self, folder, path, result):
        before = split(path.read_text(encoding="latin-1"))
        result.has_quantifiers = any(has_binder(c) for c in before)
        result.num_assertions = sum(head(c) == "assert" for c in before)
        text = self._simplify(path, result)
        if text is None:
            return
        result.is_printed = True
        output = folder / "simplified.smt2"
        output.write_text(text, encoding="latin-1")
        result.is_fixed_point = self._is_fixed_point(output, text, result)
        after = split(text)
        for solver in self._solvers:
            result.accepted[solver.name] = self._accepted(solver, before, after, folder / "accepted.smt2", result)
        self._compare(before, after, folder / "session.smt2", result)

    def _simplify(self, path, result):
        command = [str(self._options.program.absolute()), "simplify", *self._options.program_options, str(path)]
        try:
            done = subprocess.run(command, capture_output=True, timeout=PROGRAM_SECONDS)
        except subprocess.TimeoutExpired:
            result.failures.append(f"not simplified within {PROGRAM_SECONDS} s")
            return None
        if done.returncode != 0:
            message = done.stderr.decode("latin-1").strip() or "no message"
            result.failures.append(f"exit status {done.returncode} of the program: {shorten(message)}")
            return None
        return done.stdout.decode("latin-1")

    def _is_fixed_point(self, output, text, result):
        again = self._simplify(output, result)
        if again is None or again == text:
            return again is not None
        lines = itertools.zip_longest(text.splitlines(), again.splitlines(), fillvalue="the end")
        first, second = next(pair for pair in lines if pair[0] != pair[1])
        result.failures.append(f"no fixed point:\n    first  {first[:400]}\n    second {second[:400]}")
        return False

    @staticmethod
    def _accepted(solver, before, after, file, result):
        error = solver.first_error(after, file)
        if error is None:
            return "yes"
        if solver.first_error(before, file) is not None:
            result.notes.append(f"{solver.name} rejects output and input: {shorten(error)}")
            return "input"
        result.failures.append(f"{solver.name} rejects the output: {shorten(error)}")
        return "no"

    def _compare(self, before, after, file, result):
        comparison = Comparison(before, after)
        queries = comparison.queries()
        asked = [q for q in queries if not q.is_same_text or self._options.ask_all]
        limit = self._options.assertions_per_file or len(asked)
        chosen = asked[:: max(1, -(-len(asked) // limit))] if asked else []
        verdicts = {q.number: Verdict(PROVED) for q in queries}
        verdicts |= {q.number: Verdict(UNDECIDED, "left out") for q in asked}
        verdicts |= self._asked.ask(comparison, chosen, file, self._options.seconds_per_file)
        for query in queries:
            self._note(query, verdicts[query.number], result)

    @staticmethod
    def _note(query, verdict, result):
        if query.is_assertion:
            result.verdicts[verdict.word] += 1
            result.num_same_text += query.is_same_text
        if verdict.word == REFUTED:
            result.failures.append(f"REFUTED: {query.label}\n    input  {shorten(query.before, 400)}\n"
                                   f"    output {shorten(query.after, 400)}\n    model  {shorten(verdict.detail, 600)}")
        elif verdict.word != PROVED:
            result.notes.append(f"{verdict.word}: {query.label}: {shorten(verdict.detail, 120)}")


class Progress:
    """One line a file, or a bar where somebody watches. What fails is always said in full."""

    def __init__(self, total, verbose):
        self._total, self._verbose = total, verbose
        self._bar = sys.stderr.isatty()
        self._done = self._failed = 0

    def add(self, result):
        self._done += 1
        self._failed += bool(result.failures)
        name = f"{result.path.parent.name}/{result.path.name}"
        if self._bar:
            print("\r\033[K", end="", file=sys.stderr, flush=True)
        if result.failures or self._verbose or not self._bar:
            counts = ", ".join(f"{n} {word}" for word, n in result.verdicts.items() if n)
            print(f"{'FAILED' if result.failures else 'ok':6} {name}: {counts or 'no assertion'}")
        for line in result.failures + (result.notes if self._verbose else []):
            print(f"  {line}")
        sys.stdout.flush()
        if self._bar and self._done < self._total:
            filled = 40 * self._done // self._total
            print(f"[{'#' * filled}{'.' * (40 - filled)}] {self._done}/{self._total}, {self._failed} failed: {name}",
                  end="", file=sys.stderr, flush=True)


def row_of(name, results):
    def accepted(solver):
        count = sum(r.accepted.get(solver) == "yes" for r in results)
        as_input = sum(r.accepted.get(solver) == "input" for r in results)
        return f"{count}+{as_input}" if as_input else str(count)

    verdicts = sum((r.verdicts for r in results), collections.Counter())
    return [name, len(results), sum(r.is_printed for r in results), sum(r.is_fixed_point for r in results),
            *map(accepted, SOLVERS), sum(r.num_assertions for r in results), *(verdicts[v] for v in VERDICTS)]


def print_table(results):
    folders = collections.defaultdict(list)
    for result in results:
        folders[result.path.parent.name].append(result)
    rows = [["folder", "files", "printed", "fixed", *SOLVERS, "assertions", *VERDICTS]]
    rows += [row_of(name, group) for name, group in sorted(folders.items())]
    rows.append(row_of("total", results))
    widths = [max(len(str(row[i])) for row in rows) for i in range(len(rows[0]))]
    print()
    for row in rows:
        print("  ".join(str(c).ljust(w) if i == 0 else str(c).rjust(w) for i, (c, w) in enumerate(zip(row, widths))))
    print("Accepted: n+m means that the solver rejects m more files, and their inputs too.")
    for text, chosen in (("quantifier-free files", [r for r in results if not r.has_quantifiers]),
                         ("files with quantifiers", [r for r in results if r.has_quantifiers])):
        total = sum(r.num_assertions for r in chosen)
        proved = sum(r.verdicts[PROVED] for r in chosen)
        same = sum(r.num_same_text for r in chosen)
        if total:
            print(f"Proved in {len(chosen)} {text}: {proved} of {total} assertions, {100 * proved / total:.2f} %; "
                  f"{same} of them are the same text.")


def sample_of(files, size):
    """The same files each time: one of each folder, then a second one, …; large among the small ones first."""
    folders = collections.defaultdict(list)
    for file in files:
        folders[file.parent.name].append(file)
    ranked = []
    for group in folders.values():
        by_size = sorted((f.stat().st_size, f) for f in group)
        small = [entry for entry in by_size if entry[0] <= SAMPLE_BYTES]
        ordered = [*reversed(small), *by_size[len(small) :]]
        ranked += [(rank, file) for rank, (_, file) in enumerate(ordered)]
    return sorted(file for _, file in sorted(ranked)[:size])


def files_of(paths):
    """Scripts in folders and below, but for those that are wrong on purpose."""
    found = []
    for path in paths:
        inside = sorted(path.rglob("*.smt2")) if path.is_dir() else [path]
        found += [f for f in inside if not path.is_dir() or f.parent.name != "malformed"]
    return found


def parse_arguments(arguments):
    own, _, program_options = _partition(arguments, "--")
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("paths", nargs="*", type=Path, metavar="PATH", help="files and folders; by default the folder QUARV_CORPUS")
    parser.add_argument("--program", type=Path, default=SOURCE_DIR / "build/release/bin/quarv")
    parser.add_argument("--solver", choices=SOLVERS, default="z3", help="who compares the assertions")
    parser.add_argument("--timeout", type=int, default=2000, metavar="MS", help="for each assertion")
    parser.add_argument("--seconds-per-file", type=float, default=600, metavar="S",
                        help="assertions left after that are undecided")
    parser.add_argument("--assertions-per-file", type=int, default=0, metavar="N",
                        help="ask for about N assertions, spread over the file; the others are undecided")
    parser.add_argument("--sample", type=int, metavar="N", help="only N small files, of all folders, the same each time")
    parser.add_argument("--ask-all", action="store_true", help="ask the solver for assertions of equal text too")
    parser.add_argument("--keep", type=Path, metavar="DIR", help="leave outputs and solver sessions there")
    parser.add_argument("-j", "--jobs", type=int, default=os.cpu_count())
    parser.add_argument("-v", "--verbose", action="store_true", help="tell what was not proved, and why")
    options = parser.parse_args(own)
    options.program_options = program_options
    options.paths = options.paths or [CORPUS]
    return options


def _partition(arguments, separator):
    at = arguments.index(separator) if separator in arguments else len(arguments)
    return arguments[:at], separator, arguments[at + 1 :]


def skip(reason):
    print(f"skipped: {reason}")
    return SKIPPED


def main(arguments):
    options = parse_arguments(arguments)
    absent = [str(p) for p in options.paths if not p.exists()]
    if absent:
        return skip(f"no such file or folder: {', '.join(absent)}")
    if not shutil.which(options.solver):
        return skip(f"{options.solver} is not installed")
    for name in SOLVERS:
        if not shutil.which(name):
            print(f"{name} is not installed: nobody asks whether it accepts the output")
    if not shutil.which(options.program.absolute()):
        print(f"no such program: {options.program}", file=sys.stderr)
        return 2
    files = files_of(options.paths)
    if options.sample:
        files = sample_of(files, options.sample)
    start = time.monotonic()
    check, progress, results = Check(options), Progress(len(files), options.verbose), []
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        tasks = [pool.submit(check.check, f) for f in sorted(files, key=lambda f: -f.stat().st_size)]
        for task in concurrent.futures.as_completed(tasks):
            results.append(task.result())
            progress.add(results[-1])
    print_table(results)
    failed = [r for r in results if r.failures]
    print(f"{len(files)} files, {len(failed)} failed, {time.monotonic() - start:.0f} s.")
    return 1 if failed or not files else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
