#!/usr/bin/env python3
"""Shows that the output is the same, byte for byte, from build to build and from run to run.

Each file is simplified by all programs, and twice by the first: addresses differ from run to run. What is compared is
the simplified script, also by the library's semantics and without rules, and the trace, in which the order shows in which
terms were made. Programs: built by different compilers, with and without optimisation and sanitizers.
"""

import argparse
import concurrent.futures
import hashlib
import os
import shutil
import subprocess
import sys
import time
from pathlib import Path

from check_equivalence import CORPUS, SOURCE_DIR, files_of, sample_of, skip

PROGRAM_SECONDS = 600
WAYS = {
    "the script": (),
    "the library's script": ("--library-semantics",),
    "the script without rules": ("--no-rules",),
    "the trace": ("-o", "/dev/null", "--trace", "-"),
}


def digest(program, way, path):
    """Of all that the program says, its messages and exit status included."""
    command = [str(program), "simplify", str(path), *WAYS[way]]
    try:
        done = subprocess.run(command, capture_output=True, timeout=PROGRAM_SECONDS)
    except subprocess.TimeoutExpired:
        return f"not done within {PROGRAM_SECONDS} s"
    return hashlib.sha256(done.stdout + b"\0" + done.stderr + b"\0%d" % done.returncode).hexdigest()


def differences(programs, path):
    """What is not the same for all programs: (what, the programs with a digest of their own)."""
    found = []
    for way in WAYS:
        first = digest(programs[0], way, path)
        others = [p for p in programs if digest(p, way, path) != first]  # the first one again
        if others:
            found.append((way, others))
    return found


def newest_source():
    sources = [p for folder in ("src", "tools") for p in (SOURCE_DIR / folder).rglob("*") if p.is_file()]
    return max(p.stat().st_mtime for p in sources)


def built_programs(program, builds):
    """The program, and what stands in the place of it in other builds of the same sources."""
    programs = [program.absolute()]
    newest = newest_source()
    for folder in sorted(builds.iterdir()) if builds and builds.is_dir() else []:
        other = (folder / "bin" / "quarv").absolute()
        if not shutil.which(other) or other == programs[0]:
            continue
        if other.stat().st_mtime < newest:
            print(f"left out, since it is older than the sources: {other}")
        else:
            programs.append(other)
    return programs


class Progress:
    """A bar where somebody watches."""

    def __init__(self, total):
        self._total, self._done = total, 0

    def step(self):
        self._done += 1
        if sys.stderr.isatty():
            filled = 40 * self._done // self._total
            end = "\r\033[K" if self._done == self._total else ""
            print(f"\r[{'#' * filled}{'.' * (40 - filled)}] {self._done}/{self._total}{end}", end="", file=sys.stderr,
                  flush=True)


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("paths", nargs="*", type=Path, metavar="PATH", help="files and folders; by default the folder QUARV_CORPUS")
    parser.add_argument("--program", type=Path, default=SOURCE_DIR / "build/release/bin/quarv")
    parser.add_argument("--also", type=Path, action="append", default=[], metavar="PROGRAM", help="may be repeated")
    parser.add_argument("--builds", type=Path, metavar="DIR",
                        help="compare DIR/*/bin/quarv too, unless older than the sources")
    parser.add_argument("--sample", type=int, metavar="N", help="only N small files, of all folders, the same each time")
    parser.add_argument("-j", "--jobs", type=int, default=os.cpu_count())
    options = parser.parse_args(arguments)
    options.paths = options.paths or [CORPUS]
    return options


def main(arguments):
    options = parse_arguments(arguments)
    absent = [str(p) for p in options.paths if not p.exists()]
    if absent:
        return skip(f"no such file or folder: {', '.join(absent)}")
    programs = [*built_programs(options.program, options.builds), *(p.absolute() for p in options.also)]
    for program in programs:
        if not shutil.which(program):
            print(f"no such program: {program}", file=sys.stderr)
            return 2
    files = files_of(options.paths)
    if options.sample:
        files = sample_of(files, options.sample)
    start, progress, num_different = time.monotonic(), Progress(len(files)), 0
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for path, found in zip(files, pool.map(lambda f: differences(programs, f), files)):
            progress.step()
            num_different += bool(found)
            for way, others in found:
                again = "from run to run" if programs[0] in others else f"from {', '.join(map(str, others))}"
                print(f"{path}: {way} differs {again}")
    print(f"{len(files)} files, {len(programs)} programs ({', '.join(map(str, programs))}): {num_different} files differ, "
          f"{time.monotonic() - start:.0f} s.")
    return 1 if num_different or not files else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
