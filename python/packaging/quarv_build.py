"""Builds the wheel of the Python package with CMake: the extension module with the libraries in it, and the modules.

A build back-end as PEP 517 defines it, which needs Python's standard library, CMake, a compiler, GMP and pybind11.
Settings, given as `pip install --config-settings NAME=VALUE .`: `build-dir`, where to build (a temporary folder otherwise,
which is gone afterwards), and `cmake`, further arguments of CMake.
"""

import base64
import hashlib
import os
import re
import shlex
import subprocess
import sys
import sysconfig
import tarfile
import tempfile
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def _version():
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    return re.search(r"project\(quarv\s+VERSION\s+([\d.]+)", text).group(1)


def _metadata():
    return (f"Metadata-Version: 2.1\nName: quarv\nVersion: {_version()}\n"
            "Summary: Terms of SMT formulas, simplified without changing what they mean\n"
            "Requires-Python: >=3.9\nDescription-Content-Type: text/markdown\n\n" +
            (ROOT / "README.md").read_text(encoding="utf-8"))


def _build(build_dir, arguments):
    """The folder of the package, put together in the build tree."""
    subprocess.run(
        ["cmake", "-S", ROOT, "-B", build_dir, "-DCMAKE_BUILD_TYPE=Release", "-DQUARV_SHARED=OFF", "-DQUARV_PYTHON=ON",
         "-DQUARV_BUILD_TESTS=OFF", "-DQUARV_BUILD_TOOLS=OFF", "-DQUARV_INSTALL=OFF",
         f"-DPython_EXECUTABLE={sys.executable}", *arguments], check=True)
    jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count() or 1))
    subprocess.run(["cmake", "--build", build_dir, "--target", "quarv_python", "-j", jobs], check=True)
    return Path(build_dir) / "python" / "quarv"


def _tag():
    python = f"cp{sys.version_info.major}{sys.version_info.minor}"
    platform = re.sub(r"[-.]", "_", sysconfig.get_platform())
    return f"{python}-{python}-{platform}"


def _digest(data):
    return "sha256=" + base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()


def _write_wheel(path, files):
    """Files by their names in the archive."""
    info = f"quarv-{_version()}.dist-info"
    files = {
        **files, f"{info}/METADATA": _metadata().encode(),
        f"{info}/WHEEL": f"Wheel-Version: 1.0\nGenerator: quarv\nRoot-Is-Purelib: false\nTag: {_tag()}\n".encode()
    }
    record = "".join(f"{name},{_digest(data)},{len(data)}\n" for name, data in files.items())
    files[f"{info}/RECORD"] = (record + f"{info}/RECORD,,\n").encode()
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, data in files.items():
            entry = zipfile.ZipInfo(name)
            entry.external_attr = (0o755 if name.endswith(".so") else 0o644) << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, data)


def get_requires_for_build_wheel(config_settings=None):
    return []


def get_requires_for_build_sdist(config_settings=None):
    return []


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    settings = config_settings or {}
    with tempfile.TemporaryDirectory(prefix="quarv-build-") as temporary:
        package = _build(settings.get("build-dir", temporary), shlex.split(settings.get("cmake", "")))
        files = {f"quarv/{p.name}": p.read_bytes() for p in sorted(package.iterdir()) if p.is_file()}
    name = f"quarv-{_version()}-{_tag()}.whl"
    _write_wheel(Path(wheel_directory) / name, files)
    return name


def build_sdist(sdist_directory, config_settings=None):
    name = f"quarv-{_version()}"
    with tarfile.open(Path(sdist_directory) / f"{name}.tar.gz", "w:gz") as archive:
        for part in ("CMakeLists.txt", "LICENSE", "README.md", "cmake", "pyproject.toml", "python", "reference", "src", "tools"):
            archive.add(ROOT / part, f"{name}/{part}", filter=lambda f: None if "__pycache__" in f.name else f)
        metadata = _metadata().encode()
        entry = tarfile.TarInfo(f"{name}/PKG-INFO")
        entry.size = len(metadata)
        with tempfile.TemporaryFile() as text:
            text.write(metadata)
            text.seek(0)
            archive.addfile(entry, text)
    return f"{name}.tar.gz"
