#!/usr/bin/env python3
"""Installs the Python package by pip into a fresh virtual environment, without network, and uses it there.

usage: pip_install.py SOURCE_DIR WORK_DIR [CMAKE_ARGUMENT...]

The build is kept in WORK_DIR. Exit status 77 where Python cannot make environments.
"""
import os
import shlex
import shutil
import subprocess
import sys
from pathlib import Path

PROGRAM = """
import pathlib, sys, quarv
assert pathlib.Path(quarv.__file__).is_relative_to(sys.prefix), quarv.__file__
m = quarv.Manager()
x = m.bv("x", 8)
print((x * 1 + 0).simplify(), quarv.__version__)
"""


def main(source, work, cmake_arguments):
    work.mkdir(parents=True, exist_ok=True)
    environment = work / "environment"
    shutil.rmtree(environment, ignore_errors=True)
    made = subprocess.run([sys.executable, "-m", "venv", environment], capture_output=True, text=True, check=False)
    if made.returncode != 0:
        print("no virtual environments:", made.stdout or made.stderr)
        return 77
    python = environment / "bin" / "python"
    clean = {name: value for name, value in os.environ.items() if not name.startswith(("PYTHON", "PIP"))}
    subprocess.run(
        [python, "-m", "pip", "install", "--no-index", "--disable-pip-version-check", "--config-settings",
         f"build-dir={work / 'build'}", "--config-settings",
         f"cmake={shlex.join(cmake_arguments)}", source], env=clean, check=True)
    printed = subprocess.run([python, "-c", PROGRAM], env=clean, cwd="/", capture_output=True, text=True, check=True).stdout
    version = subprocess.run([python, "-m", "pip", "show", "quarv"], env=clean, capture_output=True, text=True,
                             check=True).stdout.split("Version: ")[1].split()[0]
    if printed != f"x {version}\n":
        print("printed", printed)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve(), sys.argv[3:]))
