"""The characters of a delivery, and the files that each is made from."""
import json
import os
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

TABLE = "delivery.csv"


class Character:
    """A model, its mapping, and how they are converted."""

    def __init__(self, listed):
        self.name = listed["name"]  # of what is built, below its folder, without an extension
        self.model = listed["model"]
        self.dof = listed["mapping"]
        self.options = listed["options"]
        # The same for kestrix-tool.
        self.scale = [f"--scale-factor={listed['scale_factor']}"]
        self.form = [*self.scale, *(["--mesh-per-body"] if listed["mesh_per_body"] else [])]

    @property
    def files(self):
        return [self.model, self.dof]


class Delivery:
    """Everything that is to be built."""

    def __init__(self, source, into, tool):
        self.source = source or (TABLE if os.path.exists(TABLE) else ".")
        self.into = Path(into)
        self._tool = tool
        self._files = {}
        answer = self._ask("list", self.source)
        listed = [Character(character) for character in answer["characters"]]
        self.characters = {character.name: character for character in listed if character.dof}
        # What has no partner cannot be converted.
        self.left_out = [character.model for character in listed if not character.dof]
        self.left_out += answer["lone_mappings"]

    def find_files(self):
        """Looks up the files of all characters at once."""
        with ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
            list(pool.map(self.files_of, self.characters.values()))

    def files_of(self, character):
        """The files that a conversion reads, as far as they are there."""
        if character.name not in self._files:
            self._files[character.name] = self._find_files(character)
        return self._files[character.name]

    def _ask(self, *question):
        """What kestrix-tool answers."""
        command = [self._tool, *question, "--json"]
        try:
            run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
            return json.loads(run.stdout)
        except OSError as error:
            fail(f"{self._tool}: {error.strerror}")
        except ValueError:
            fail(run.stderr.decode(errors="replace").strip() or shlex.join(command))

    def _find_files(self, character):
        cache = self.into / ".files" / (character.name + ".json")
        files = cached_files(cache, character)
        if files is not None:
            return files
        answer = self._ask("deps", *character.files)
        files = [file["file"] for file in answer["files"]]
        # What is not there may come to be: such a character is asked again next time.
        whole = not answer["missing"] and not answer["errors"]
        stamps = {file: stamp(file) for file in files}
        cache.parent.mkdir(parents=True, exist_ok=True)
        part = cache.with_name(f"{cache.name}.{os.getpid()}")
        part.write_text(
            json.dumps({"of": character.files, "whole": whole, "files": stamps}), encoding="utf-8"
        )
        part.replace(cache)
        return files


def cached_files(cache, character):
    """What was found earlier; None where it may be otherwise now."""
    try:
        known = json.loads(cache.read_text(encoding="utf-8"))
    except (OSError, ValueError):
        return None
    if known.get("of") != character.files or not known.get("whole"):
        return None
    if any(stamp(file) != known_stamp for file, known_stamp in known["files"].items()):
        return None
    return list(known["files"])


def stamp(file):
    try:
        info = os.stat(file)
    except OSError:
        return None
    return [info.st_mtime_ns, info.st_size]


def fail(text):
    # What ends the reading of a workflow is not shown by "--quiet".
    print(f"kestrix delivery: {text}", file=sys.stderr)
    sys.exit(1)
