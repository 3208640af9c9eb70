"""The characters of a delivery, and the files that each is made from."""
import csv
import json
import os
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

TABLE = "delivery.csv"
COLUMNS = ("model", "dof", "options", "output")
COMPRESSED = ("", ".gz", ".Z")
# What kestrix-tool calls options of kestrix, with the number of their values.
TOOL_OPTIONS = {"-scale_factor": ("--scale-factor", 1), "-mesh_per_body": ("--mesh-per-body", 0)}


class Character:
    """A model, its mapping, and how they are converted."""

    def __init__(self, name, model, dof, options=()):
        self.name = name  # of what is built, without its extension, in the folder of the delivery
        self.model = str(model)
        self.dof = str(dof)
        self.options = list(options)

    @property
    def files(self):
        return [self.model, self.dof]

    def tool_options(self, *wanted):
        found = []
        for i, option in enumerate(self.options):
            if option in wanted:
                name, count = TOOL_OPTIONS[option]
                found += [name, *self.options[i + 1 : i + 1 + count]]
        return found


class Delivery:
    """Everything that is to be built."""

    def __init__(self, source, into, tool):
        self.source = Path(source or (TABLE if Path(TABLE).exists() else "."))
        self.into = Path(into)
        self.characters = {}
        self.left_out = []  # models of a folder that have no mapping
        self._tool = tool
        self._files = {}
        if self.source.is_dir():
            self._read_folder()
        elif self.source.is_file():
            self._read_table()
        else:
            fail(f"{self.source}: there is no such table or folder")

    def find_files(self):
        """Looks up the files of all characters at once."""
        with ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
            list(pool.map(self.files_of, self.characters.values()))

    def files_of(self, character):
        """The files that a conversion reads, as far as they are there."""
        if character.name not in self._files:
            self._files[character.name] = self._find_files(character)
        return self._files[character.name]

    def _add(self, character, where):
        other = self.characters.setdefault(character.name, character)
        if other is not character:
            fail(f"{where}: {character.name}.fbx is the output of {other.model} already")

    def _read_table(self):
        folder = self.source.parent
        with open(self.source, newline="", encoding="utf-8-sig") as file:
            rows = csv.DictReader(file, strict=True)
            names = [name.strip() for name in rows.fieldnames or []]
            for name in names:
                if name not in COLUMNS:
                    fail(f"{self.source}:1: unknown column '{name}'; known are {', '.join(COLUMNS)}")
            rows.fieldnames = names
            for row in rows:
                where = f"{self.source}:{rows.line_num}"
                if None in row:
                    fail(f"{where}: more values than columns")
                row = {name: (value or "").strip() for name, value in row.items()}
                if not any(row.values()):
                    continue
                if not row.get("model") or not row.get("dof"):
                    fail(f"{where}: a row needs a model and a dof")
                output = row.get("output") or stem(Path(row["model"]).name, ".mdl") + ".fbx"
                if not output.endswith(".fbx") or output.startswith("/") or ".." in output.split("/"):
                    fail(f"{where}: the output must be a name that ends in .fbx, within {self.into}")
                self._add(
                    Character(
                        output[: -len(".fbx")],
                        folder / row["model"],
                        folder / row["dof"],
                        shlex.split(row.get("options", "")),
                    ),
                    where,
                )

    def _read_folder(self):
        for folder, folders, files in os.walk(self.source):
            path = Path(folder)
            folders[:] = sorted(
                name for name in folders if name[0] != "." and not same(path / name, self.into)
            )
            mappings = {stem(name, ".dof"): name for name in sorted(files) if stem(name, ".dof")}
            for file in sorted(files):
                name = stem(file, ".mdl")
                if not name:
                    continue
                if name in mappings:
                    where = path.relative_to(self.source) / name
                    self._add(Character(str(where), path / file, path / mappings[name]), path / file)
                else:
                    self.left_out.append(str(path / file))

    def _find_files(self, character):
        cache = self.into / ".files" / (character.name + ".json")
        files = cached_files(cache, character)
        if files is not None:
            return files
        command = [self._tool, "deps", "--json", *character.files]
        run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        try:
            answer = json.loads(run.stdout)
        except ValueError:
            fail(f"{shlex.join(command)}: {run.stderr.decode(errors='replace').strip()}")
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


def stem(name, extension):
    """The name without its extension and that of a compression; empty for another kind of file."""
    for compressed in COMPRESSED:
        if name.endswith(extension + compressed):
            return name[: -len(extension + compressed)]
    return ""


def same(a, b):
    return os.path.exists(b) and os.path.samefile(a, b)


def fail(text):
    sys.exit(f"kestrix delivery: {text}")
