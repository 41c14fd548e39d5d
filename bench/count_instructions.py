#!/usr/bin/env python3
"""Counts the instructions that `quarv simplify` executes on small generated scripts, and compares them with a record.

Unlike seconds, instructions under valgrind hardly depend on the machine or on what else it does: a growth is a change of
the program. They do depend on the compiler, which is why the record names it. Exit status: 0 for counts that are as
recorded or lower, 1 for one that is higher, 77 where nothing can be compared.
"""

import argparse
import concurrent.futures
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

BENCH_DIR = Path(__file__).resolve().parent
RECORD = BENCH_DIR / "instructions.json"
# What is counted: a kind of script and its size; for the smallest form, the default, and for the normal form alone.
INPUTS = {"bv-program": 1000, "arrays": 1000, "linear-rational": 200, "fp-constants": 1000, "let-deep": 2000,
          "bv-program --canonical": 4000, "arrays --canonical": 4000, "linear-rational --canonical": 2000,
          "fp-constants --canonical": 8000, "let-deep --canonical": 10000}
SEED = 1
GREATEST_GROWTH = 1.05
SKIPPED = 77

# The C library chooses among variants of memcpy and the like by processor; valgrind shows each program the same one or,
# on old machines, a lesser one. Nothing else of the environment reaches the program.
ENVIRONMENT = {"PATH": "/usr/bin:/bin", "LC_ALL": "C", "GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX2,-AVX2_Usable,-ERMS"}


def count(program, work, size):
    kind, *options = work.split()
    with tempfile.TemporaryDirectory(prefix="quarv-instructions-") as folder:
        script = Path(folder) / "in.smt2"
        subprocess.run([BENCH_DIR / "generate", kind, str(size), str(SEED), "-o", script], check=True)
        done = subprocess.run(
            ["valgrind", "--tool=callgrind", f"--callgrind-out-file={os.devnull}", program, "simplify", *options, "in.smt2",
             "-o", "out.smt2"], cwd=folder, env=ENVIRONMENT, capture_output=True, text=True, check=False)
    collected = re.search(r"Collected\s*:\s*(\d+)", done.stderr)
    if done.returncode != 0 or collected is None:
        raise RuntimeError(f"{kind}: valgrind or the program failed:\n{done.stderr}")
    return int(collected.group(1))


def count_all(program):
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        counts = pool.map(lambda item: count(program, *item), INPUTS.items())
        return dict(zip(INPUTS, counts))


def compare(recorded, counts):
    """Prints a line for each input; says whether none has grown too much."""
    good = True
    for kind, now in counts.items():
        before = recorded.get(kind, {}).get("instructions")
        if before is None or recorded[kind]["size"] != INPUTS[kind]:
            print(f"{kind:<16} {now:>12}  not recorded for this size")
            good = False
            continue
        grown = now > GREATEST_GROWTH * before
        good = good and not grown
        print(f"{kind:<16} {now:>12}  recorded {before:>12}  {100 * (now / before - 1):+6.2f} %{'  GROWN' if grown else ''}")
    return good


def compiler_of(program):
    """As compilers note it down in what they make. What clang makes also holds notes of GCC, by start-up code."""
    for name, note in (("clang", rb"clang version (\d+)\."), ("GCC", rb"GCC: \([^)]*\) (\d+)\.")):
        if found := re.search(note, program.read_bytes()):
            return f"{name} {found.group(1).decode()}"
    return "an unknown compiler"


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", type=Path, default=BENCH_DIR.parent / "build" / "release" / "bin" / "quarv",
                        help="default: the release build of this tree")
    parser.add_argument("--record", action="store_true", help=f"write {RECORD.name} anew; say why in the commit")
    arguments = parser.parse_args()
    if shutil.which("valgrind") is None:
        skip("valgrind is not installed")
    program = arguments.program.resolve()
    if arguments.record:
        counts = count_all(program)
        inputs = {kind: {"size": INPUTS[kind], "instructions": number} for kind, number in counts.items()}
        RECORD.write_text(json.dumps({"compiler": compiler_of(program), "inputs": inputs}, indent=2) + "\n", encoding="utf-8")
        print(RECORD.read_text(encoding="utf-8"), end="")
        return 0
    record = json.loads(RECORD.read_text(encoding="utf-8"))
    if compiler_of(program) != record["compiler"]:
        skip(f"counts are recorded for {record['compiler']}, this program was built by {compiler_of(program)}")
    if compare(record["inputs"], count_all(program)):
        return 0
    print("If the work is worth it, record the counts with bench/count_instructions.py --record in a commit that says why.")
    return 1


if __name__ == "__main__":
    sys.exit(main())
