#!/usr/bin/env python3
"""Do z3 and cvc5 read annotated, quantified scripts as they did before the program simplified them?

The scripts are random, the same each time: patterns, names, weights and identifiers below quantifiers, nested lets, levels,
assumptions and questions. A solver that rejects an annotation drops the assertion and goes on, so verdicts alone say
little: neither may errors be new in the output. And certify must not be content where a solver rejects the output.
"""

import argparse
import concurrent.futures
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from check_equivalence import SOURCE_DIR, files_of, skip
from smt_text import head, split

WAYS = {"smallest": [], "normal": ["--canonical"]}
SOLVERS = {
    "z3": ["z3", "-smt2", "-t:400", "-T:10"],
    "cvc5": ["cvc5", "--lang=smt2", "--incremental", "--tlimit-per=400"],
}
COMPLAINT = re.compile(r"error|invalid|warning|fatal", re.IGNORECASE)
# What depends on an answer that time may change.
HARMLESS = re.compile(r"model is not available|annot get value|interrupted by|canceled|timeout|unknown \(:reason")
DECIDED = {"sat", "unsat"}
CERTIFIED = 0


class Generator:
    """One random script; terms are drawn by sort, and remembered, so that they occur again."""

    SORTS = {"Int": "Int", "Bool": "Bool", "B": "(_ BitVec 8)"}
    LEAVES = {"Int": ["x", "y", "0", "1", "3"], "Bool": ["p", "q", "|a b|", "true"], "B": ["v", "w", "#x00", "#x03"]}
    FUNCTIONS = {
        "Int": [("f", "Int"), ("+", "Int", "Int", "Int"), ("-", "Int", "Int"), ("* 2", "Int"), ("ite", "Bool", "Int", "Int")],
        "Bool": [("g", "Int", "Int"), ("h", "B", "Int"), ("and", "Bool", "Bool"), ("or", "Bool", "Bool", "Bool"),
                 ("not", "Bool"), ("=>", "Bool", "Bool"), ("<=", "Int", "Int"), ("=", "Int", "Int"), ("bvult", "B", "B"),
                 ("xor", "Bool", "Bool")],
        "B": [("bvadd", "B", "B"), ("bvmul", "B", "B"), ("bvand", "B", "B"), ("k", "Int")],
    }

    def __init__(self, seed):
        self._random = random.Random(seed)
        self._bound = []  # (name, sort) of quantifiers and lets, innermost last
        self._pool = {sort: [] for sort in self.SORTS}  # closed terms
        self._names = []  # given by :named, with their sorts
        self._count = 0

    def script(self):
        lines = ["(set-option :produce-models true)", "(set-logic ALL)", "(declare-fun f (Int) Int)",
                 "(declare-fun g (Int Int) Bool)", "(declare-fun h ((_ BitVec 8) Int) Bool)",
                 "(declare-fun k (Int) (_ BitVec 8))"]
        lines += [f"(declare-const {name} {self.SORTS[sort]})" for sort, names in self.LEAVES.items()
                  for name in names if name[0] in "xypqvw|"]
        levels = []
        for _ in range(self._random.randrange(4, 9)):
            choice = self._random.random()
            if choice < 0.12:
                lines.append("(push 1)")
                levels.append(len(self._names))
            elif choice < 0.2 and levels:
                lines.append("(pop 1)")
                del self._names[levels.pop():]
                self._pool = {sort: [] for sort in self.SORTS}
            elif choice < 0.75:
                lines.append(self._assertion())
            else:
                lines += self._questions()
        return "\n".join([*lines, "(check-sat)", ""])

    def _assertion(self):
        new = []
        term = self._quantified(new) if self._random.random() < 0.75 else self._term("Bool", 3, new)
        if self._random.random() < 0.3:
            term = self._named(term, "Bool", new)
        self._names += new
        return f"(assert {term})"

    def _questions(self):
        literals = [name for name, sort in self._names if sort == "Bool"] + ["p", "q", "|a b|"]
        chosen = [self._random.choice(literals) for _ in range(2)]
        assumed = [c if self._random.random() < 0.5 else f"(not {c})" for c in chosen]
        if self._random.random() < 0.4:
            assumed.append(self._term("Bool", 2))
        values = [self._term(self._random.choice(list(self.SORTS)), 2) for _ in range(2)]
        return [f"(check-sat-assuming ({' '.join(assumed)}))", f"(get-value ({' '.join(values)}))"]

    def _named(self, term, sort, new):
        self._count += 1
        name = f"n{self._count}"
        new.append((name, sort))
        return f"(! {term} :named {name})"

    def _quantified(self, new=None, depth=0):
        binder = self._random.choice(["forall", "forall", "exists"])
        variables = [(f"z{depth}{i}", "Int") for i in range(self._random.randrange(1, 3))]
        self._bound += variables
        names = [name for name, _ in variables]
        patterns = [self._trigger(names) for _ in range(self._random.randrange(0, 3))]
        body = self._quantified(None, depth + 1) if depth == 0 and self._random.random() < 0.25 else self._body(patterns)
        del self._bound[-len(variables):]
        self._count += 1
        attributes = [f":pattern ({pattern})" for pattern in patterns]
        attributes += [a for a in (f":qid q{self._count}", f":skolemid s{self._count}", ":weight 3")
                       if self._random.random() < 0.3]
        self._random.shuffle(attributes)
        if attributes:
            body = f"(! {body} {' '.join(attributes)})"
        term = f"({binder} ({' '.join(f'({name} Int)' for name in names)}) {body})"
        if new is not None and self._random.random() < 0.3:
            term = f"(or {term} {self._term('Bool', 1, new)})"
        return term

    def _trigger(self, names):
        """All variables below functions that mean nothing to a theory; the inside recurs in the body."""
        parts = [f"(f (+ {name} 1))" if self._random.random() < 0.6 else f"(f {name})" for name in names]
        return f"(g {parts[0]} {parts[-1]})" if len(parts) > 1 or self._random.random() < 0.5 else f"(f {parts[0]})"

    def _body(self, patterns):
        """Repeats what the patterns say, and lets give it names."""
        inside = [p for p in patterns if p.startswith("(f ")] or [f"(f {self._bound[-1][0]})"]
        shared = self._random.choice(inside)
        if self._random.random() < 0.5:
            return f"(or (= {shared} {shared}) (and (g {shared} 0) (g 0 {shared})) {self._term('Bool', 2)})"
        self._count += 1
        one, two = f"l{self._count}", f"m{self._count}"
        self._bound.append((one, "Int"))
        inner = self._term("Int", 2)
        self._bound.append((two, "Int"))
        term = f"(let (({one} (f {shared}))) (let (({two} {inner})) (and (g {one} {two}) {self._term('Bool', 2)})))"
        del self._bound[-2:]
        return term

    def _term(self, sort, depth, new=None):
        pool = self._pool[sort]
        if pool and not self._bound and self._random.random() < 0.3:
            return self._random.choice(pool)
        bound = [name for name, s in self._bound + self._names if s == sort]
        if depth == 0 or self._random.random() < 0.15:
            return self._random.choice(bound + self.LEAVES[sort])
        function, *arguments = self._random.choice(self.FUNCTIONS[sort])
        term = f"({function} {' '.join(self._term(a, depth - 1, new) for a in arguments)})"
        if new is not None and not self._bound and self._random.random() < 0.1:
            return self._named(term, sort, new)
        if not self._bound and ":named" not in term:
            pool.append(term)
        return term


def run(command, text=None, seconds=30):
    done = subprocess.run(command, input=text, capture_output=True, text=True, timeout=seconds, check=False)
    return done.returncode, done.stdout, done.stderr


def told(solver, text):
    """The solver's verdicts, and its complaints without their places."""
    if solver == "cvc5":
        # It ends at the first question that has no answer; whether the terms are sound is asked apart.
        verdicts, _ = answers(solver, "\n".join(c for c in split(text) if head(c) != "get-value") + "\n", [])
        return verdicts, answers(solver, text, ["--parse-only"])[1]
    return answers(solver, text, [])


def answers(solver, text, more):
    with tempfile.NamedTemporaryFile("w", suffix=".smt2", encoding="latin-1") as file:
        file.write(text)
        file.flush()
        _, out, err = run([*SOLVERS[solver], *more, file.name])
        lines = [line.replace(file.name, "") for line in (out + err).splitlines()]
    complaints = {re.sub(r"\d+", "#", line)[:80] for line in lines if COMPLAINT.search(line) and not HARMLESS.search(line)}
    return [line for line in lines if line in DECIDED | {"unknown"}], complaints


def differences(solver, before, after):
    """What the solver says of `after` and does not say of `before`: complaints, and the other verdict."""
    (verdicts, complaints), (new_verdicts, new_complaints) = told(solver, before), told(solver, after)
    found = [f"{solver} complains: {c}" for c in sorted(new_complaints - complaints)]
    for i, pair in enumerate(zip(verdicts, new_verdicts)):
        if set(pair) == DECIDED:
            found.append(f"{solver}, query {i + 1}: {pair[0]} before, {pair[1]} after")
    decided = sum(v in DECIDED and w in DECIDED for v, w in zip(verdicts, new_verdicts))
    return found, decided, bool(new_complaints - complaints)


def check(program, name, text, solvers, certify):
    """Failures, and for how many queries both sides were decided."""
    failures, num_decided = [], 0
    for way, options in WAYS.items():
        status, after, err = run([program, "simplify", *options, "-"], text, 300)
        if status != 0:
            failures.append(f"{name}, {way}: exit status {status}: {err.strip()}")
            continue
        if way == "normal" and run([program, "simplify", *options, "-"], after, 300)[1] != after:
            failures.append(f"{name}, {way}: the output is no fixed point")
        for solver in solvers:
            found, decided, rejected = differences(solver, text, after)
            failures += [f"{name}, {way}: {f}" for f in found]
            num_decided += decided
            if certify or rejected:
                status, out, err = run([program, "certify", "-q", "-j", "1", "--timeout", "2", *options, "--solver", solver, "-"], text, 300)
                if status == CERTIFIED and rejected:
                    failures.append(f"{name}, {way}: certify is content with what {solver} rejects")
                if re.search(r"[1-9]\d* refuted", out):
                    failures.append(f"{name}, {way}: refuted by {solver}: {out}")
    return failures, num_decided


def check_the_check(solvers):
    """Outputs that are wrong on purpose are seen."""
    functions = "(declare-fun f (Int) Int)\n(declare-fun g (Int Int) Bool)\n"
    rest = "(assert (not (g (f 4) 0)))\n(check-sat)\n"
    before = functions + "(assert (forall ((x Int)) (! (g (f x) 0) :pattern ((f x)))))\n" + rest
    wrong = {
        "a let above an annotation": functions + "(assert (forall ((x Int)) (let ((a (f x))) (! (g a 0) :pattern (a)))))\n" + rest,
        "another meaning": before.replace("(g (f 4) 0)", "(g (f 4) 1)"),
        "a name that nobody gave": before.replace("(f 4)", "(f b)"),
    }
    failures = [f"{s}: something found where nothing differs" for s in solvers if differences(s, before, before)[0]]
    for what, after in wrong.items():
        if not any(differences(s, before, after)[0] for s in solvers):
            failures.append(f"not seen: {what}")
    return failures


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("paths", nargs="*", type=Path, metavar="PATH", help="files and folders instead of random scripts")
    parser.add_argument("--program", type=Path, default=SOURCE_DIR / "build/release/bin/quarv")
    parser.add_argument("--first", type=int, default=0, metavar="SEED")
    parser.add_argument("--count", type=int, default=40, metavar="N", help="of scripts")
    parser.add_argument("-j", "--jobs", type=int, default=os.cpu_count())
    options = parser.parse_args(arguments)
    solvers = [s for s in SOLVERS if shutil.which(s)]
    if not solvers:
        return skip("neither z3 nor cvc5 is installed")
    if options.paths:
        files = [f for f in files_of(options.paths) if b"(!" in f.read_bytes()]
        scripts = [(str(f), f.read_text(encoding="latin-1")) for f in files]
    else:
        seeds = range(options.first, options.first + options.count)
        scripts = [(f"script {seed}", Generator(seed).script()) for seed in seeds]
    failures, num_decided = check_the_check(solvers), 0
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        tasks = [pool.submit(check, options.program.absolute(), name, text, solvers, number % 10 == 0)
                 for number, (name, text) in enumerate(scripts)]
        for task in concurrent.futures.as_completed(tasks):
            found, decided = task.result()
            failures += found
            num_decided += decided
    print("\n".join(failures + [f"{len(scripts)} scripts, {num_decided} pairs of verdicts by {' and '.join(solvers)}, "
                                f"{len(failures)} failures"]))
    return 1 if failures or num_decided == 0 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
