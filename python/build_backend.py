"""Builds wheels with CMake: what "pip install ." calls.

It needs nothing but Python and CMake, so that it works without a network.
"""

import base64
import hashlib
import pathlib
import re
import subprocess
import sys
import sysconfig
import tempfile
import zipfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
VERSION = re.search(r"project\(kestrix VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text())[1]
NAME = f"kestrix-{VERSION}"
INFO = f"{NAME}.dist-info"


def _install(folder):
    options = [
        "-DCMAKE_BUILD_TYPE=Release",
        "-DKESTRIX_TESTS=OFF",
        "-DKESTRIX_PYTHON=ON",
        "-DKESTRIX_PYTHON_DIR=.",
        f"-DPython_EXECUTABLE={sys.executable}",
    ]
    if not (ROOT / "view" / "node_modules").exists():
        options.append("-DKESTRIX_VIEW=OFF")  # the page of view() needs Node.js to be built
    build = folder / "build"
    for command in (
        ["cmake", "-S", ROOT, "-B", build, "-G", "Ninja", *options],
        ["cmake", "--build", build, "--target", "kestrix_python"],
        ["cmake", "--install", build, "--component", "Python", "--prefix", folder / "out", "--strip"],
    ):
        subprocess.run(command, check=True)
    return folder / "out"


def _record(name, content):
    digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(content)}\n"


def _tag():
    version = f"cp{sys.version_info.major}{sys.version_info.minor}"
    platform = re.sub(r"[-.]", "_", sysconfig.get_platform())
    return f"{version}-{version}-{platform}"


def _metadata():
    metadata = f"Metadata-Version: 2.1\nName: kestrix\nVersion: {VERSION}\n"
    metadata += "Requires-Dist: numpy\nRequires-Python: >=3.11\n"
    wheel = f"Wheel-Version: 1.0\nGenerator: kestrix\nRoot-Is-Purelib: false\nTag: {_tag()}\n"
    return {f"{INFO}/METADATA": metadata.encode(), f"{INFO}/WHEEL": wheel.encode()}


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    for name, content in _metadata().items():
        file = pathlib.Path(metadata_directory) / name
        file.parent.mkdir(exist_ok=True)
        file.write_bytes(content)
    return INFO


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    files = _metadata()
    with tempfile.TemporaryDirectory() as folder:
        out = _install(pathlib.Path(folder))
        for file in sorted((out / "kestrix").iterdir()):
            files[f"kestrix/{file.name}"] = file.read_bytes()
    record = f"{INFO}/RECORD"
    lines = [_record(name, content) for name, content in files.items()] + [f"{record},,\n"]
    files[record] = "".join(lines).encode()
    wheel = f"{NAME}-{_tag()}.whl"
    with zipfile.ZipFile(pathlib.Path(wheel_directory) / wheel, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, content in files.items():
            archive.writestr(zipfile.ZipInfo(name, (2012, 3, 29, 0, 0, 0)), content)
    return wheel
