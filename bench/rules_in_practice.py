#!/usr/bin/env python3
"""Says what simplifiers and rewrite rules do to real scripts: how often each rule fires, and how many distinct sub-terms
are left by the simplifiers alone and by both.

Of the scripts given, those are taken whose logic has bit-vectors. The report is a page in Markdown.
"""

import argparse
import collections
import concurrent.futures
import dataclasses
import json
import os
import re
import subprocess
import sys
from pathlib import Path

SOURCE_DIR = Path(__file__).resolve().parents[1]
PROGRAM_SECONDS = 300

INTRODUCTION = """# Rewrite rules in practice

What `quarv simplify` does to {num_files} scripts by other authors, in logics with bit-vectors. This page is written by

    bench/rules_in_practice.py FOLDER > docs/rules-in-practice.md

Sub-terms are counted once, however often they occur: as read, after the simplifiers of the operators alone
(`--no-rules`), and after simplifiers and rules. A rule that splits an operator into simpler ones can add terms where it
does not meet others that make use of it.
"""


@dataclasses.dataclass
class Measured:
    path: Path
    logic: str
    before: int
    simplified: int
    normalized: int
    fired: dict  # name of the rule: how often


def logic_of(path):
    found = re.search(r"\(set-logic\s+(\w+)\)", path.read_text(encoding="latin-1"))
    return found.group(1) if found else ""


def statistics_of(program, path, *options):
    command = [program, "simplify", path, "-o", os.devnull, "--stats=json", *options]
    done = subprocess.run(command, capture_output=True, text=True, timeout=PROGRAM_SECONDS, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{path}: {done.stderr.strip()}")
    return json.loads(done.stderr)


def measure(program, path, logic):
    alone = statistics_of(program, path, "--no-rules")
    both = statistics_of(program, path)
    fired = dict(both["rules"])
    return Measured(path, logic, both["terms"]["before"], alone["terms"]["after"], both["terms"]["after"], fired)


def catalogue_of(program):
    """The texts of the standard rules by name."""
    lines = subprocess.run([program, "rules", "list"], capture_output=True, text=True, check=True).stdout.splitlines()
    found = (re.match(r"\s*\d+ .*? ([a-z0-9-]+): (rewrite\(.*)$", line) for line in lines)
    return {m.group(1): m.group(2) for m in found if m}


def show_progress(done, total):
    if sys.stderr.isatty():
        filled = 40 * done // total
        end = "\n" if done == total else ""
        print(f"\r[{'#' * filled}{'.' * (40 - filled)}] {done}/{total}", end=end, file=sys.stderr, flush=True)


def measure_all(program, files, jobs):
    results = []
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        largest_first = sorted(files, key=lambda entry: -entry[0].stat().st_size)
        tasks = [pool.submit(measure, program, *entry) for entry in largest_first]
        for task in concurrent.futures.as_completed(tasks):
            results.append(task.result())
            show_progress(len(results), len(files))
    return results


def table(head, alignment, rows):
    lines = [head, alignment, *rows]
    return "\n".join("| " + " | ".join(str(cell) for cell in line) + " |" for line in lines) + "\n"


def terms_table(results):
    groups = collections.defaultdict(list)
    for result in results:
        groups[result.logic].append(result)

    def row(name, group):
        before, simplified, normalized = (sum(getattr(r, key) for r in group)
                                          for key in ("before", "simplified", "normalized"))
        fired = sum(sum(r.fired.values()) for r in group)
        return [name, len(group), before, simplified, f"{100 * simplified / before:.1f} %", normalized,
                f"{100 * normalized / before:.1f} %", fired]

    rows = [row(logic, group) for logic, group in sorted(groups.items())] + [row("all", results)]
    head = ["logic", "scripts", "sub-terms", "simplifiers", "", "and rules", "", "rules applied"]
    return table(head, ["---"] + ["---:"] * 7, rows)


def rules_table(results, catalogue):
    times, scripts = collections.Counter(), collections.Counter()
    for result in results:
        times.update(result.fired)
        scripts.update(result.fired.keys())
    order = list(catalogue)
    rows = [[f"`{name}`", count, scripts[name], f"`{catalogue[name]}`"]
            for name, count in sorted(times.items(), key=lambda entry: (-entry[1], order.index(entry[0])))]
    silent = [f"`{name}`" for name in catalogue if name not in times]
    return (f"{len(rows)} rules fire:\n\n" +
            table(["rule", "times", "scripts", "text"], ["---", "---:", "---:", "---"], rows) +
            f"\nThe others do not: {', '.join(silent)}.\n")


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("paths", nargs="+", type=Path, metavar="PATH", help="scripts, and folders with scripts")
    parser.add_argument("--program", type=Path, default=SOURCE_DIR / "build/release/bin/quarv")
    parser.add_argument("-j", "--jobs", type=int, default=os.cpu_count())
    return parser.parse_args(arguments)


def main(arguments):
    options = parse_arguments(arguments)
    files = [f for path in options.paths for f in (sorted(path.rglob("*.smt2")) if path.is_dir() else [path])]
    chosen = [(f, logic) for f in files if f.parent.name != "malformed" and "BV" in (logic := logic_of(f))]
    if not chosen:
        print("no script whose logic has bit-vectors", file=sys.stderr)
        return 1
    try:
        results = measure_all(options.program, chosen, options.jobs)
    except (RuntimeError, OSError, subprocess.TimeoutExpired) as fault:
        print(fault, file=sys.stderr)
        return 1
    print(INTRODUCTION.format(num_files=len(results)))
    print(terms_table(results))
    print(rules_table(results, catalogue_of(options.program)), end="")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
