#!/usr/bin/env python3
"""Compares the binary interface of quarv/c_api.h with the one that is written down in c_api.abi, that of the last
release: what programs were linked against must be there, with the same types and symbol versions. More may be there.

usage: abi_test.py SOURCE_DIR C_COMPILER [--library SHARED_LIBRARY] [--update]

Exit status 77, and the reason, where abidiff is not installed or the machine is another one. --update writes down the
interface as it is now: for releases.
"""
import argparse
import platform
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
RELEASED = HERE / "c_api.abi"
ABIDW = ["abidw", "--no-show-locs", "--no-corpus-path", "--no-comp-dir-path", "--no-write-default-sizes", "--no-elf-needed",
         "--type-id-style", "hash"]


def declarations(header):
    """The text of each function's declaration."""
    text = re.sub(r"/\*.*?\*/", "", header.read_text(encoding="utf-8"), flags=re.S)
    return re.findall(r"^QUARV_API ([^;]*);", text, flags=re.M)


def interface_library(source, compiler, folder):
    """A library with all functions that the header declares and nothing behind them: the types of the interface are all
    that is described in it."""
    bodies = [f"QUARV_API {d} {{ for (;;) {{}} }}\n" for d in declarations(source / "src/quarv/c_api.h")]
    code, library = folder / "interface.c", folder / "libinterface.so"
    code.write_text("#include <quarv/c_api.h>\n" + "".join(bodies), encoding="utf-8")
    source = source.resolve()
    # From within the folder: its path must not be written down.
    subprocess.run([compiler, "-std=c99", "-g", "-gdwarf-4", "-w", "-fPIC", "-shared", "-fvisibility=hidden", f"-I{source / 'src'}",
                    code.name, "-o", library.name, f"-Wl,--version-script={source / 'cmake/exports.map'}"], cwd=folder, check=True)
    return library


def symbols(library):
    """The functions of the C interface that a shared library has, with their versions."""
    listed = subprocess.run(["nm", "--dynamic", "--defined-only", library], text=True, stdout=subprocess.PIPE, check=True).stdout
    return {line.split()[-1] for line in listed.splitlines() if re.search(r" quarv_\w+@@", line)}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("source", type=Path)
    parser.add_argument("compiler")
    parser.add_argument("--library")
    parser.add_argument("--update", action="store_true")
    arguments = parser.parse_args()
    if shutil.which("abidiff") is None:
        print("skipped: abidiff is not installed (Debian's package abigail-tools)")
        return 77
    if platform.machine() != "x86_64":
        print(f"skipped: the interface is written down for x86_64, not for {platform.machine()}")
        return 77
    with tempfile.TemporaryDirectory(prefix="quarv_abi_") as folder:
        library = interface_library(arguments.source, arguments.compiler, Path(folder))
        if arguments.library and symbols(arguments.library) != symbols(library):
            print("the header and the library differ in", *sorted(symbols(arguments.library) ^ symbols(library)))
            return 1
        now = Path(folder) / "now.abi"
        subprocess.run([*ABIDW, "--out-file", now, library], check=True)
        if arguments.update:
            shutil.copy(now, RELEASED)
            return 0
        compared = subprocess.run(["abidiff", "--no-added-syms", "--leaf-changes-only", RELEASED, now], text=True,
                                  stdout=subprocess.PIPE, check=False)
    if compared.returncode != 0:
        print("Programs linked against the last release would break; only a release with a new soname may change this:")
        print(compared.stdout)
    return 1 if compared.returncode else 0


if __name__ == "__main__":
    sys.exit(main())
