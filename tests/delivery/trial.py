"""A delivery that is made up, built, disturbed and looked at: what the tests of the workflow share."""
import base64
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from collections import Counter
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
SAMPLES = ("fox", "robot", "stage", "walker")
HEADER = "Zov Graphic Model File\nv2.00\n"
PART = (
    HEADER + "BODY {\n  NAME: ball\n  ID: 1\n  COORDINATE_SYSTEM {\n"
    "    TRANSLATION: 0 0 0\n    ROTATION: 0 0 0 X Y Z\n  }\n  PARENT_NAME: GLOBAL\n}\n"
)
INCLUDE = "INCLUDE {\n  FILE_NAME: ../parts/ball.mdl\n  BODY_ID_OFFSET: 1000\n}\n"
# Tells of each conversion that was finished, and takes its time so that it can be disturbed.
CONVERTER = """#!/bin/sh
sleep {seconds}
'{kestrix}' "$@" || exit
for output; do :; done
echo "$output" >>'{log}'
"""
PATIENCE = 300  # seconds


class Trial:
    """A fresh folder with characters in it, which are built with a profile."""

    def __init__(self, count, profile, seconds=0, folder=None):
        self.folder = Path(tempfile.mkdtemp(prefix="kestrix-delivery-", dir=folder))
        self.log = self.folder / "conversions"
        self._profile = profile
        self._failed = False
        self.including = []  # characters that include the part
        self.foxes = []  # characters with the fox's picture
        self.names = [f"{SAMPLES[i % 4]} & <{i:03}>" for i in range(count)]
        for i, name in enumerate(self.names):
            self._make(i, name)
        self.write("in/parts/ball.mdl", PART)
        # The stage includes the fox, which has a picture.
        for name in ("fox-v2.mdl", "fox.dof", "fox_fox_material.png"):
            shutil.copy(ROOT / "samples" / name, self.folder / "in/characters")
        converter = self.write(
            "kestrix",
            CONVERTER.format(
                seconds=seconds, kestrix=ROOT / "build/release/kestrix", log=self.log
            ),
        )
        converter.chmod(0o755)
        self.log.touch()

    def _make(self, i, name):
        """A sample of another size; every fifth includes the part."""
        text = (ROOT / f"samples/{SAMPLES[i % 4]}-v2.mdl").read_text(encoding="utf-8")
        scale = 1 + i / 1000
        text = re.sub(
            r"(TRANSLATION:)((?: \S+){3})",
            lambda found: found[1]
            + "".join(f" {float(word) * scale:.9g}" for word in found[2].split()),
            text,
        )
        if i % 5 == 0:
            text = text.replace("END:", "").rstrip() + "\n" + INCLUDE
            self.including.append(name)
        if SAMPLES[i % 4] in ("fox", "stage"):
            self.foxes.append(name)
        self.write(f"in/characters/{name}.mdl", text)
        shutil.copy(ROOT / f"samples/{SAMPLES[i % 4]}.dof", self.folder / f"in/characters/{name}.dof")

    def write(self, name, text):
        file = self.folder / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")
        return file

    def start(self, *options, delivery="in", into="built"):
        """Starts a build in a process group of its own."""
        workflow = ROOT / "share/delivery"
        config = [
            f"delivery={delivery}",
            f"into={into}",
            f"kestrix={self.folder}/kestrix",
            f"kestrix_tool={ROOT}/build/release/kestrix-tool",
        ]
        command = ["/usr/bin/snakemake", "--snakefile", workflow / "Snakefile"]
        command += ["--profile", workflow / "profile" / self._profile, *options, "--config", *config]
        with open(self.folder / "output", "ab") as output:
            return subprocess.Popen(
                command,
                cwd=self.folder,
                stdin=subprocess.DEVNULL,
                stdout=output,
                stderr=output,
                start_new_session=True,
            )

    def build(self, *options, **config):
        """Builds; answers the characters that were converted meanwhile, and the exit status."""
        before = Counter(self.converted())
        status = self.start(*options, **config).wait(timeout=PATIENCE)
        return Counter(self.converted()) - before, status

    def kill(self, running):
        """What a machine that loses its power does; only the lock has to be taken away."""
        os.killpg(running.pid, signal.SIGKILL)
        running.wait()
        self.start("--unlock").wait(timeout=PATIENCE)

    def converted(self):
        """The characters, as often as a conversion of theirs was finished."""
        folder = "built/characters/"
        return [
            line.removeprefix(folder).removesuffix(".fbx")
            for line in self.log.read_text(encoding="utf-8").splitlines()
        ]

    def wait_for_conversions(self, count):
        wait_until(lambda: len(self.converted()) >= count)

    def unfinished(self):
        """The characters whose conversion was cut off, or ended unseen."""
        folder = self.folder / ".snakemake/incomplete"
        # Marks are named after their files in base 64, cut into folders where that is long.
        marks = [str(mark.relative_to(folder)) for mark in folder.rglob("*") if mark.is_file()]
        names = [mark.replace("/@", "").removeprefix("@").replace("/", "") for mark in marks]
        files = [base64.urlsafe_b64decode(name).decode() for name in names if "." not in name]
        return {Path(file).stem for file in files if file.endswith(".fbx")}

    def missing(self):
        """What should have been built and is not there."""
        suffixes = (".fbx", ".check.json", ".svg", ".html")
        return [
            name + suffix
            for name in self.names
            for suffix in suffixes
            if not (self.folder / "built/characters" / (name + suffix)).is_file()
        ]

    def report(self):
        return (self.folder / "built/index.html").read_text(encoding="utf-8")

    def check(self, name, answer, expected):
        """Prints whether a check was passed; the first failure tells everything."""
        if answer == expected:
            print(f"ok {name}", flush=True)
            return
        print(f"FAILED {name}\n  expected {expected}\n  found    {answer}", flush=True)
        if not self._failed:
            print((self.folder / "output").read_text(encoding="utf-8", errors="replace")[-5000:])
        self._failed = True

    def end(self):
        shutil.rmtree(self.folder, ignore_errors=True)
        sys.exit(1 if self._failed else 0)


def wait_until(question):
    end = time.monotonic() + PATIENCE
    while not question():
        if time.monotonic() > end:
            raise TimeoutError("waited in vain")
        time.sleep(0.05)
