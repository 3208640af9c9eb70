"""The programs as functions give the bytes and the messages of the programs."""

import json
import pathlib
import warnings

import kestrix
import pytest
from conftest import SAMPLES, plain, run

OPTIONS = [
    {},
    {"scale_factor": 1.0, "mesh_per_body": True},
    {"mb_version": "2010"},
    {"mb_version": "1999"},
]


def program_options(options, dashes):
    words = []
    for name, value in options.items():
        name = dashes + (name if dashes == "-" else name.replace("_", "-"))
        words += [name] if value is True else [name, value]
    return words


def told(call):
    """What a call tells, errors behind warnings."""
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        try:
            call()
            messages = []
        except kestrix.Error as error:
            messages = error.messages
    assert all(w.category is kestrix.KestrixWarning for w in caught)
    assert all(w.filename == __file__ for w in caught)
    return [w.message.message for w in caught], messages


def check_told(call, printed):
    """What is printed is what is told: all of it, and an error in its order."""
    caught, errors = told(call)
    text = plain(printed)
    for message in caught + errors:
        assert plain(message.text) in text
    rest = text
    for message in caught + errors:
        rest = rest.replace(plain(message.text), "", 1)
    assert rest.strip() == ""
    error = plain(" ".join(m.text for m in errors))
    assert text.endswith(error)


def check_bytes(ours, theirs):
    assert ours.exists() == theirs.exists()
    if ours.exists():
        assert ours.read_bytes() == theirs.read_bytes()


@pytest.mark.parametrize("options", OPTIONS)
def test_converts_like_the_program(character, options, tmp_path):
    models, dof = character
    for model in models:
        theirs, ours = tmp_path / "theirs.fbx", tmp_path / "ours.fbx"
        status, _, printed = run("kestrix", *program_options(options, "-"), model, dof, theirs)
        printed = printed.replace("theirs.fbx", "ours.fbx")
        check_told(lambda: kestrix.convert(model, dof, ours, **options), printed)
        assert (status == 0) == ours.exists()
        check_bytes(ours, theirs)


BROKEN = ["cut short", "of another character", "missing", "not a model"]


@pytest.mark.parametrize("how", BROKEN)
def test_fails_like_the_program(how, tmp_path):
    model, dof = SAMPLES / "fox.mdl", SAMPLES / "fox.dof"
    if how == "cut short":
        text = model.read_bytes()
        model = tmp_path / "cut.mdl"
        model.write_bytes(text[: len(text) // 2])
    elif how == "of another character":
        dof = SAMPLES / "robot.dof"
    elif how == "missing":
        model = tmp_path / "missing.mdl"
    else:
        model = SAMPLES / "fox.dof"
    target = tmp_path / "old.fbx"
    target.write_bytes(b"old")
    status, _, printed = run("kestrix", model, dof, target)
    assert status == 1 and printed
    check_told(lambda: kestrix.convert(model, dof, target), printed)
    assert target.read_bytes() == b"old"
    with pytest.raises(kestrix.Error):
        kestrix.view(model, dof, tmp_path / "page.html")


def test_tells_where_in_a_file(tmp_path):
    text = (SAMPLES / "fox.dof").read_text().split("\n")
    line = next(i for i, one in enumerate(text) if i > 20 and one.strip())
    text[line] = "nonsense"
    broken = tmp_path / "broken.dof"
    broken.write_text("\n".join(text))
    with pytest.raises(kestrix.Error) as raised:
        kestrix.Mapping.read(broken)
    places = [(m.file, m.line) for m in raised.value.messages if m.line]
    assert places and all(file == str(broken) for file, _ in places)
    assert abs(places[-1][1] - (line + 1)) <= 1
    assert raised.value.messages[-1].text in str(raised.value)


@pytest.mark.parametrize("options", OPTIONS[:3])
def test_animates_like_the_program(options, tmp_path):
    for name in ("fox", "walker"):
        model, dof = SAMPLES / f"{name}.mdl", SAMPLES / f"{name}.dof"
        rom = tmp_path / "rom.csv"
        kestrix.run_tool("motion rom", model, dof, output=rom, seconds=0.1)
        theirs, ours = tmp_path / "theirs.fbx", tmp_path / "ours.fbx"
        words = program_options(options, "--")
        status, _, printed = run("kestrix-tool", "animate", model, dof, rom, "-o", theirs, *words)
        caught, errors = told(lambda: kestrix.animate(model, dof, [rom], ours, **options))
        assert status == 0 and not errors
        check_bytes(ours, theirs)
        for message in caught:
            assert message.text in printed
        assert printed.count("warning:") == len(caught)
    with pytest.raises(kestrix.Error) as raised:
        kestrix.animate(model, dof, [SAMPLES / "fox.mdl"], ours)
    status, _, printed = run(
        "kestrix-tool", "animate", model, dof, SAMPLES / "fox.mdl", "-o", theirs
    )
    assert status != 0
    for message in raised.value.messages:
        assert message.text in printed


def test_checks_and_tells_like_the_program(character, tmp_path):
    models, dof = character
    for model in models:
        answer = json.loads(run("kestrix-tool", "check", "--json", model, dof)[1])
        findings = kestrix.check(model, dof)
        assert [(f["code"], f["severity"], f["text"]) for f in answer["findings"]] == [
            (f.code, f.severity, f.text) for f in findings
        ]
        answer = json.loads(run("kestrix-tool", "info", "--json", model, "--dof", dof)[1])
        assert kestrix.info(model, dof=dof)["model"] == answer["files"][0]["model"]
        theirs, ours = tmp_path / "theirs.html", tmp_path / "ours.html"
        status = run("kestrix-tool", "view", model, dof, "-o", theirs)[0]
        if status == 0:
            kestrix.view(model, dof, ours)
            check_bytes(ours, theirs)


def test_tells_differences(tmp_path):
    mapping = kestrix.Mapping.read(SAMPLES / "fox.dof")
    body = mapping.body_maps[3]
    body.set(kestrix.Transform("x_rotation", {5: 0.5}, 3.0))
    changed = tmp_path / "changed.dof"
    mapping.save(changed)
    answer = json.loads(run("kestrix-tool", "diff", "--json", SAMPLES / "fox.dof", changed)[1])
    differences = kestrix.diff(SAMPLES / "fox.dof", changed)
    assert [d.code for d in differences] == [d["code"] for d in answer["differences"]] != []
    assert kestrix.diff(SAMPLES / "fox.dof", SAMPLES / "fox.dof") == []
    with pytest.raises(kestrix.Error):
        kestrix.diff(SAMPLES / "fox.dof", pathlib.Path("missing.dof"))
    with pytest.raises(kestrix.Error):
        kestrix.run_tool("info", SAMPLES / "fox.mdl", no_such_option=3)


def test_refuses_what_no_program_could_be_given(tmp_path):
    fox = SAMPLES / "fox.mdl"
    for bad in ({"scale_factor": 0}, {"scale_factor": float("nan")}, {"scale_factor": 1e300}):
        with pytest.raises(ValueError):
            kestrix.convert(fox, SAMPLES / "fox.dof", tmp_path / "x.fbx", **bad)
    for path in ("a\0b", "", b"a\0b"):
        with pytest.raises(ValueError):
            kestrix.Model.read(path)
    with pytest.raises(TypeError):
        kestrix.Model.read(3)
    # A body that does not turn about each axis once would end the program.
    text = (SAMPLES / "fox.dof").read_text()
    odd = tmp_path / "odd.dof"
    odd.write_text(text.replace("1 2 3 4 5 6", "1 2 3 4 4 6", 1))
    assert odd.read_text() != text
    with pytest.raises(kestrix.Error) as raised:
        kestrix.convert(fox, odd, tmp_path / "x.fbx")
    assert raised.value.messages[0].code == "rotation-axes"


def test_folders_and_tables_are_for_the_program(tmp_path):
    for command in ("check", "info", "diff"):
        for name in (tmp_path, "delivery.csv"):
            with pytest.raises(ValueError, match="kestrix-tool"):
                kestrix.run_tool(command, name, name)
