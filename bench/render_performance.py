#!/usr/bin/env python3
"""Writes the figures of build/compare.json and build/profile.json into docs/performance.md.

In the page, a table stands between `<!-- measured: NAME -->` and `<!-- end -->`; all else is left as it is.
"""

import argparse
import importlib.machinery
import importlib.util
import json
import re
import sys
from pathlib import Path

import comparison_table

SOURCE_DIR = Path(__file__).resolve().parents[1]
PAGE = SOURCE_DIR / "docs" / "performance.md"


def load_script(name):
    """A program of this folder as a module."""
    loader = importlib.machinery.SourceFileLoader(name, str(SOURCE_DIR / "bench" / name))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(name, loader))
    loader.exec_module(module)
    return module


def compared(path):
    results = comparison_table.Results(json.loads(path.read_text(encoding="utf-8")))
    return {
        "machine": comparison_table.machine_text(results),
        "ratios": comparison_table.ratio_table(results),
        "growth": comparison_table.growth_table(results),
        "start": comparison_table.start_table(results),
        "all": comparison_table.measured_table(results),
    }


def profiled(path):
    sys.dont_write_bytecode = True
    profile = load_script("profile")
    data = json.loads(path.read_text(encoding="utf-8"))
    functions = {f"functions of {kind}": profile.function_table(data, kind) for kind in [*data["inputs"], "start"]}
    return {"phases": profile.phase_table(data), **functions}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--compare", type=Path, default=SOURCE_DIR / "build" / "compare.json", metavar="FILE")
    parser.add_argument("--profile", type=Path, default=SOURCE_DIR / "build" / "profile.json", metavar="FILE")
    arguments = parser.parse_args()
    tables = {}
    for path, read in ((arguments.compare, compared), (arguments.profile, profiled)):
        if path.exists():
            tables |= read(path)
        else:
            print(f"render_performance: without {path}: its tables stay as they are", file=sys.stderr)

    def replace(found):
        table = tables.get(found.group(2))
        return found.group(0) if table is None else f"{found.group(1)}\n\n{table}\n<!-- end -->"

    text = PAGE.read_text(encoding="utf-8")
    text = re.sub(r"(<!-- measured: ([\w -]+) -->)\n.*?<!-- end -->", replace, text, flags=re.S)
    PAGE.write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
