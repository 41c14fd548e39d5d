#!/usr/bin/env python3
"""Shows that no option of `quarv simplify` changes what scripts mean.

Each file is simplified in many ways: with each rule left out in turn, without rules, without simplifiers, as the plain
layer does it, and printed with sharing of each kind. A solver is asked whether any assertion can differ from the one
it came from; texts that several ways have in common are asked for once. Each output, simplified again in the same way,
must not change.
"""

import argparse
import collections
import concurrent.futures
import dataclasses
import json
import os
import shutil
import re
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from check_equivalence import CORPUS, SOURCE_DIR, Progress, files_of, sample_of, skip
from comparison import Comparison, Mismatch, shorten
from smt_text import split
from solver import PROVED, REFUTED, UNDECIDED, VERDICTS, Solver, Verdict

PROGRAM_SECONDS = 120
LARGEST_TEXT = 20_000_000  # without sharing a text may be exponentially large
TOO_LARGE = "without sharing, the output would exceed"  # says the program when it is even larger
SOLVER_MEGABYTES = 2000

# Where the standard leaves a value open, the library chooses one, and a solver may choose another.
LIBRARY_SEMANTICS = ("--library-semantics",)
OPPOSITE_ZEROS = "the minimum or maximum of two zeros of opposite sign is either of them"
LIBRARY_DIFFERS = {
    "all/0003.smt2": OPPOSITE_ZEROS,
    "qf_fp/0009.smt2": OPPOSITE_ZEROS,
    "qf_fp/0011.smt2": OPPOSITE_ZEROS,
    "qf_fp/0018.smt2": OPPOSITE_ZEROS,
}

# Outputs that change when they are simplified again, by file and options, and why: there are none.
NO_FIXED_POINT = {}


@dataclasses.dataclass
class Result:
    """What was seen of one file. `failures` are complete sentences."""

    path: Path
    num_outputs: int = 0
    num_texts: int = 0
    num_too_large: int = 0
    num_queries: int = 0  # terms compared, in all texts
    num_same: int = 0  # of these: the same text as the input
    num_known: int = 0  # of these: asked for another way
    verdicts: collections.Counter = dataclasses.field(default_factory=collections.Counter)  # of what was asked
    failures: list = dataclasses.field(default_factory=list)
    notes: list = dataclasses.field(default_factory=list)


class LimitedSolver(Solver):
    """z3 with little memory: several run side by side."""

    def _session_command(self):
        return ["z3", "-smt2", f"-memory:{SOLVER_MEGABYTES}"]


# The options of all ways to simplify but those that leave out a rule.
WAYS = [(), ("--no-rules",), ("--no-simplifiers",), LIBRARY_SEMANTICS, ("--share", "let"), ("--share", "none")]


def rules(program):
    """The names of all rules, or their numbers where they have no names."""
    listing = subprocess.run([program, "rules", "list"], capture_output=True, text=True, check=True).stdout
    found = re.findall(r"^ *(\d+) . \S+ +(?:([a-z0-9-]+): )?", listing, re.MULTILINE)
    return [name or number for number, name in found]


def fired_rules(program, path):
    """Those that were applied to a file."""
    done = subprocess.run([program, "simplify", "--stats=json", "-o", "/dev/null", str(path)], capture_output=True,
                          text=True, check=True)
    return list(json.loads(done.stderr)["rules"])


class Check:
    def __init__(self, options):
        self._options = options
        self._program = str(options.program.absolute())
        self._rules = rules(self._program)
        self._solver = LimitedSolver("z3", options.timeout)

    @property
    def num_ways(self):
        return len(WAYS) + len(self._rules)

    def check(self, path):
        result = Result(path)
        try:
            before = split(path.read_text(encoding="latin-1"))
            texts = self._texts(path, result)
            asked = {}
            with tempfile.TemporaryDirectory(prefix="quarv-metamorphic-") as folder:
                for text, chosen in texts.items():
                    self._compare(before, text, chosen, asked, Path(folder) / "session.smt2", result)
        except (Mismatch, ValueError, IndexError) as fault:
            result.failures.append(f"the output is not the input simplified: {fault}")
        return result

    def _texts(self, path, result):
        """All different outputs, each with the ways that lead to it. Each must stay as it is."""
        texts = collections.defaultdict(list)
        chosen = fired_rules(self._program, path) if self._options.only_fired else self._rules
        for way in WAYS + [("--disable-rule", rule) for rule in chosen]:
            text = self._simplify(path, way, result)
            if text is None:
                continue
            result.num_outputs += 1
            texts[text].append(way)
            self._check_fixed_point(path, text, way, result)
        result.num_texts = len(texts)
        return texts

    def _check_fixed_point(self, path, text, way, result):
        with tempfile.NamedTemporaryFile("w", suffix=".smt2", encoding="latin-1") as file:
            file.write(text)
            file.flush()
            again = self._simplify(Path(file.name), way, result)
        reason = NO_FIXED_POINT.get((name_of(path), way))
        if again is None or again == text:
            if reason:
                result.notes.append(f"a fixed point after all: {' '.join(way)}: {reason}")
        elif reason:
            result.notes.append(f"no fixed point, as is known: {' '.join(way)}: {reason}")
        else:
            pairs = zip(text.splitlines() + ["the end"], again.splitlines() + ["the end"])
            first, second = next((pair for pair in pairs if pair[0] != pair[1]), ("", ""))
            result.failures.append(f"no fixed point with {' '.join(way) or 'no option'}:\n    first  {first[:400]}\n"
                                   f"    second {second[:400]}")

    def _simplify(self, path, way, result):
        """None when the text is too large, or something is wrong."""
        with tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as errors:
            process = subprocess.Popen([self._program, "simplify", *way, str(path)], stdout=subprocess.PIPE,
                                       stderr=errors)
            text = process.stdout.read(LARGEST_TEXT + 1)
            if len(text) > LARGEST_TEXT:
                process.kill()
                process.wait()
                result.num_too_large += 1
                result.notes.append(f"more than {LARGEST_TEXT} bytes with {' '.join(way)}")
                return None
            status = process.wait(PROGRAM_SECONDS)
            if status == 0:
                return text.decode("latin-1")
            errors.seek(0)
            message = errors.read().decode("latin-1").strip() or "no message"
            if TOO_LARGE in message:
                result.num_too_large += 1
                return None
            result.failures.append(f"exit status {status} with {' '.join(way)}: {shorten(message)}")
            return None

    def _compare(self, before, text, chosen, asked, file, result):
        comparison = Comparison(before, split(text))
        queries = comparison.queries()
        added = [step for step in comparison.steps if isinstance(step, str) and step.startswith("(define-fun $")]
        new = []
        for query in queries:
            result.num_queries += 1
            key = (query.number, query.before, query.after, *(added if "$" in query.after else ()))
            if query.is_same_text:
                result.num_same += 1
            elif key in asked:
                result.num_known += 1
            else:
                asked[key] = None
                new.append(query)
        verdicts = self._solver.ask(comparison, new, file, self._options.seconds_per_text) if new else {}
        for query in new:
            self._note(query, verdicts.get(query.number, Verdict(UNDECIDED)), chosen, result)

    @staticmethod
    def _note(query, verdict, chosen, result):
        result.verdicts[verdict.word] += 1
        which = ", ".join(" ".join(way) or "no option" for way in chosen[:4])
        reason = LIBRARY_DIFFERS.get(name_of(result.path)) if chosen == [LIBRARY_SEMANTICS] else None
        if verdict.word == REFUTED and reason:
            result.notes.append(f"{query.label} differs with --library-semantics, as is known: {reason}")
        elif verdict.word == REFUTED:
            result.failures.append(f"REFUTED with {which}: {query.label}\n    input  {shorten(query.before, 400)}\n"
                                   f"    output {shorten(query.after, 400)}\n    model  {shorten(verdict.detail, 600)}")
        elif verdict.word != PROVED:
            result.notes.append(f"{verdict.word} with {which}: {query.label}: {shorten(verdict.detail, 120)}")


def name_of(path):
    return f"{path.parent.name}/{path.name}"


def print_figures(results, num_ways):
    def total(field):
        return sum(getattr(r, field) for r in results)

    print(f"\n{len(results)} files, up to {num_ways} ways: {total('num_outputs')} outputs, {total('num_texts')} different "
          f"texts, {total('num_too_large')} too large.")
    verdicts = sum((r.verdicts for r in results), collections.Counter())
    print(f"{total('num_queries')} terms: {total('num_same')} as in the input, {total('num_known')} as in another text; "
          f"asked: {sum(verdicts.values())}, " + ", ".join(f"{verdicts[v]} {v}" for v in VERDICTS) + ".")


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("paths", nargs="*", type=Path, metavar="PATH", help="files and folders; by default the folder QUARV_CORPUS")
    parser.add_argument("--folders", default=".", metavar="NAME,...", help="only these folders of QUARV_CORPUS")
    parser.add_argument("--program", type=Path, default=SOURCE_DIR / "build/release/bin/quarv")
    parser.add_argument("--timeout", type=int, default=2000, metavar="MS", help="for each term")
    parser.add_argument("--seconds-per-text", type=float, default=120, metavar="S",
                        help="terms left after that are undecided")
    parser.add_argument("--sample", type=int, metavar="N", help="only N small files, of all folders, the same each time")
    parser.add_argument("--only-fired", action="store_true",
                        help="leave out only rules that are applied to the file; leaving out others changes nothing")
    parser.add_argument("-j", "--jobs", type=int, default=os.cpu_count())
    parser.add_argument("-v", "--verbose", action="store_true", help="tell what was not proved, and why")
    options = parser.parse_args(arguments)
    options.paths = options.paths or [CORPUS / name for name in options.folders.split(",")]
    return options


def main(arguments):
    options = parse_arguments(arguments)
    absent = [str(p) for p in options.paths if not p.exists()]
    if absent:
        return skip(f"no such file or folder: {', '.join(absent)}")
    if not shutil.which("z3"):
        return skip("z3 is not installed")
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
    print_figures(results, check.num_ways)
    failed = [r for r in results if r.failures]
    print(f"{len(failed)} failed, {time.monotonic() - start:.0f} s.")
    return 1 if failed or not files else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
