#!/usr/bin/env python3
"""Do the package's stubs say what the package has, and does a type checker see through them what users do?

usage: typing_test.py PACKAGE_PARENT

Exit status 77, and the reason, where mypy is not installed.
"""
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

SAMPLE = Path(__file__).resolve().parent / "typing_sample.py"
# What pybind11 makes of classes that are not made by calling them.
ALLOWED = r"quarv\.(Derivation|Function|Manager|Sort|Step|Term)(\.__init__)?" "\n" r"quarv\._\w+(\..*)?" "\n"


def run(folder, *arguments):
    return subprocess.run([sys.executable, "-m", *arguments], cwd=folder, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, check=False)


def stubs_fail(folder):
    """The modules that are no one's business have no stubs; empty ones let stubtest pass over them."""
    for module in (folder / "quarv").glob("_*"):
        if module.suffix in (".py", ".so") and module.stem != "__init__":
            (folder / "quarv" / f"{module.name.split('.')[0]}.pyi").touch()
    (folder / "allowed").write_text(ALLOWED)
    result = run(folder, "mypy.stubtest", "quarv", "--allowlist", "allowed", "--ignore-unused-allowlist")
    print(result.stdout)
    return result.returncode != 0


def sample_fails(folder):
    shutil.copy(SAMPLE, folder / "sample.py")
    result = run(folder, "mypy", "--strict", "sample.py")
    reported = {int(line) for line in re.findall(r"^sample\.py:(\d+): error", result.stdout, flags=re.M)}
    expected = {i for i, line in enumerate(SAMPLE.read_text().splitlines(), 1) if line.endswith("# error")}
    if reported == expected:
        return False
    print("errors in lines", sorted(reported), "expected in lines", sorted(expected))
    print(result.stdout)
    return True


def main(parent):
    if run(".", "mypy", "--version").returncode != 0:
        print("skipped: mypy is not installed for", sys.executable)
        return 77
    with tempfile.TemporaryDirectory(prefix="quarv_types_") as name:
        folder = Path(name)
        shutil.copytree(parent / "quarv", folder / "quarv", ignore=shutil.ignore_patterns("__pycache__"))
        failed = sample_fails(folder)
        return 1 if stubs_fail(folder) or failed else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]).resolve()))
