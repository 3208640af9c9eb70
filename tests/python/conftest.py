"""Where the programs and the samples are, and calls that run the programs as users do."""

import os
import pathlib
import re
import subprocess

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLES = ROOT / "samples"
BUILD = pathlib.Path(os.environ["KESTRIX_BUILD"])
CHARACTERS = ["fox", "robot", "walker", "stage"]


def run(*arguments):
    """Runs one of the programs; answers its status, standard output and standard error."""
    done = subprocess.run(
        [str(BUILD / arguments[0]), *map(str, arguments[1:])], capture_output=True, timeout=60
    )
    return done.returncode, done.stdout.decode(), done.stderr.decode()


def plain(text):
    """A printed text without its marks and line breaks."""
    return re.sub(r"\s+", " ", text.replace("ERROR: ", "").replace("WARNING: ", "")).strip()


@pytest.fixture(params=CHARACTERS)
def character(request):
    """The files of each sample character: its models and its mapping."""
    models = sorted(SAMPLES.glob(request.param + "*.mdl"))
    return models, SAMPLES / (request.param + ".dof")
