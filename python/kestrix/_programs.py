"""The programs as functions: the same work, the same messages, options in snake case."""

from __future__ import annotations

import json
import os
from typing import Any, Dict, Iterable, List, Optional, Sequence, Tuple, Union

from . import _core
from ._errors import Error, Message, warn
from ._types import Difference, Finding

Path = Union[str, "os.PathLike[str]"]


def _tell(messages: Sequence[Message]) -> None:
    """Gives warnings to `warnings` and raises the error, if there is one."""
    warn([message for message in messages if not message.is_error])
    first = next((i for i, message in enumerate(messages) if message.is_error), None)
    if first is not None:
        raise Error(messages[first:])


def convert(
    model: Path,
    dof: Path,
    fbx: Path,
    *,
    scale_factor: float = 2.54,
    mesh_per_body: bool = False,
    mb_version: str = "2011",
) -> None:
    """Converts a model and its mapping to an FBX file, as the program kestrix does.

    The bytes are those of the program, and so are the messages: warnings go to `warnings`, an error
    raises kestrix.Error and leaves an older file as it was. `scale_factor` multiplies all lengths
    (2.54 turns inches into centimetres), `mesh_per_body` makes one mesh per body and not one per
    chain, `mb_version` is the MotionBuilder release to write for, as -mb_version of the program.
    """
    _tell(_core._convert(model, dof, fbx, scale_factor, mesh_per_body, mb_version))


def _options(options: Dict[str, Any]) -> List[bytes]:
    arguments = []
    for name, value in options.items():
        option = b"--" + name.replace("_", "-").encode()
        if value is None or value is False:
            continue
        if value is True:
            arguments.append(option)
        elif isinstance(value, (list, tuple)):
            arguments += [option + b"=" + os.fsencode(str(one)) for one in value]
        elif isinstance(value, (str, os.PathLike)):
            arguments.append(option + b"=" + os.fsencode(value))
        else:
            arguments.append(option + b"=" + repr(value).encode())
    return arguments


def _run(command: str, files: Iterable[Path], options: Dict[str, Any]) -> Tuple[int, str]:
    names = [os.fsencode(os.fspath(file)) for file in files]
    arguments = [word.encode() for word in command.split()] + _options(options)
    for argument in arguments + names:
        if b"\0" in argument:
            raise ValueError("embedded null byte")
    # Those are checked by processes of the program's own, and this process runs Python.
    if arguments[:1] in ([b"check"], [b"info"], [b"diff"]) and any(
        os.path.isdir(name) or name.endswith(b".csv") for name in names
    ):
        raise ValueError("folders and tables are for the program kestrix-tool")
    status, printed, messages = _core._run_tool([*arguments, b"--", *names])
    _tell(messages)
    return status, printed.decode("utf-8", "surrogateescape")


def _run_json(command: str, files: Iterable[Path], options: Dict[str, Any]) -> Dict[str, Any]:
    answer: Dict[str, Any] = json.loads(_run(command, files, {**options, "json": True})[1])
    return answer


def _message(fact: Dict[str, Any], is_error: bool) -> Message:
    where = fact.get("where") or {}
    return Message(
        fact["text"],
        is_error,
        fact.get("code"),
        where.get("file"),
        where.get("line"),
        where.get("column"),
        fact.get("count", 1),
    )


def info(path: Path, *, dof: Optional[Path] = None) -> Dict[str, Any]:
    """Tells what is in a model, a mapping or an FBX file, as `kestrix-tool info --json` does.

    The answer has the keys "file", "kind" ("model", "mapping", "fbx") and, under the name of the
    kind, the facts. `dof`, the mapping of a model, adds rotation orders. Raises kestrix.Error for
    what cannot be read.
    """
    answer = _run_json("info", [path], {"dof": dof})
    if dof is not None and answer["dof"]["error"]:
        raise Error([Message(answer["dof"]["error"], file=os.fspath(dof))])
    facts: Dict[str, Any] = answer["files"][0]
    warn([_message(fact, False) for fact in facts.pop("warnings")])
    error = facts.pop("error")
    where = facts.pop("where")
    if error is not None:
        raise Error([_message({"text": error, "where": where}, True)])
    return facts


def check(
    model: Path,
    dof: Optional[Path] = None,
    *,
    scale_factor: float = 2.54,
    only: Sequence[str] = (),
    ignore: Sequence[str] = (),
) -> List[Finding]:
    """Finds what would make a conversion fail or look wrong, as `kestrix-tool check` does.

    `only` and `ignore` are codes of findings to look for or to pass over. A file that cannot be
    read is a finding, too.
    """
    files = [model] if dof is None else [model, dof]
    options = {"scale_factor": scale_factor, "only": list(only), "ignore": list(ignore)}
    findings = []
    for fact in _run_json("check", files, options)["findings"]:
        place = fact["place"]
        where = fact["where"] or {}
        findings.append(
            Finding(
                fact["code"],
                fact["severity"],
                fact["text"],
                fact["advice"],
                place["kind"],
                place["name"],
                place["id"],
                fact["count"],
                where.get("file"),
                where.get("line"),
                where.get("column"),
            )
        )
    return findings


def diff(a: Path, b: Path, *, tolerance: float = 1e-4) -> List[Difference]:
    """Tells what differs between two models or two mappings, as `kestrix-tool diff` does.

    Numbers that differ by no more than the tolerance are equal. Raises kestrix.Error for what
    cannot be read.
    """
    answer = _run_json("diff", [a, b], {"tolerance": tolerance})
    if answer["error"] is not None:
        raise Error([Message(answer["error"])])
    return [
        Difference(one["code"], one["place"]["kind"], one["place"]["name"], one["a"], one["b"])
        for one in answer["differences"]
    ]


def animate(
    model: Path,
    dof: Path,
    motions: Sequence[Path],
    fbx: Path,
    *,
    scale_factor: float = 2.54,
    mesh_per_body: bool = False,
    mb_version: str = "2011",
    rate: Optional[float] = None,
    angles: str = "degrees",
    lengths: Optional[str] = None,
) -> None:
    """Converts a model and puts captured motion on it, as `kestrix-tool animate` does.

    Each motion file becomes a take. `rate` is their rate in frames per second where they do not
    tell one; `angles` ("degrees", "radians") and `lengths` ("meters", "centimeters",
    "millimeters", "inches", "feet"; None for the model's) are the units of variables. The other
    options are those of convert().
    """
    options = {
        "output": fbx,
        "scale_factor": scale_factor,
        "mesh_per_body": mesh_per_body,
        "mb_version": mb_version,
        "rate": rate,
        "angles": angles,
        "lengths": lengths,
    }
    _run("animate", [model, dof, *motions], options)


def view(
    model: Path,
    dof: Optional[Path],
    html: Path,
    *,
    motions: Sequence[Path] = (),
    scale_factor: float = 2.54,
    mesh_per_body: bool = False,
    rate: Optional[float] = None,
    angles: str = "degrees",
    lengths: Optional[str] = None,
) -> None:
    """Writes a page that shows the converted character and moves it, as `kestrix-tool view` does.

    Motion needs a mapping. The options are those of animate().
    """
    if dof is None and motions:
        raise ValueError("motion needs a mapping")
    options = {
        "output": html,
        "scale_factor": scale_factor,
        "mesh_per_body": mesh_per_body,
        "rate": rate,
        "angles": angles,
        "lengths": lengths,
    }
    _run("view", [model, *([] if dof is None else [dof]), *motions], options)


def run_tool(command: str, *files: Path, **options: Any) -> str:
    """Runs any command of kestrix-tool in this process and answers what it prints.

    Options have their names in snake case: run_tool("motion rom", model, dof, output="rom.csv",
    swing=30). Raises kestrix.Error where the command complains of an error, and ValueError for
    folders and tables of characters, which the program itself takes.
    """
    return _run(command, files, options)[1]
