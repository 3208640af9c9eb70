"""The page on Python, the examples and the types are what they say."""

import base64
import json
import os
import re
import shutil
import subprocess
import sys

import kestrix
import numpy as np
import pytest
from conftest import BUILD, ROOT, SAMPLES


def run_python(*arguments, cwd, **environment):
    done = subprocess.run(
        [sys.executable, *map(str, arguments)],
        cwd=cwd,
        env={**os.environ, **environment},
        capture_output=True,
        text=True,
        timeout=200,
    )
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def test_the_page_prints_what_it_says(tmp_path):
    page = (ROOT / "docs" / "python.md").read_text()
    code = re.findall(r"```python\n(.*?)```", page, re.DOTALL)
    said = re.findall(r"```text\n(.*?)```", page, re.DOTALL)
    assert len(code) > 8
    folder = tmp_path / "samples"
    shutil.copytree(SAMPLES, folder)
    script = folder / "page.py"
    script.write_text("\n".join(code))
    printed = run_python("-W", "ignore", script, cwd=folder)
    for text in said:
        assert text in printed, f"{text!r} is not in\n{printed}"
    assert (folder / "head.png").read_bytes().startswith(b"\x89PNG")
    assert len(list((folder / "mappings").iterdir())) == 200


def gltf_of(model, path):
    """A glTF character with the bodies and the mesh of a model, as other programs would make it."""
    mesh = model.mesh()
    bodies = model.bodies
    places = {body.id: i for i, body in enumerate(bodies)}
    nodes = [{"name": body.name, "matrix": body.transform.ravel().tolist()} for body in bodies]
    for node, body in zip(nodes, bodies):
        if body.children:
            node["children"] = [places[child.id] for child in body.children]
    joints = np.zeros((len(mesh.points), 4), "<u2")
    weights = np.zeros((len(mesh.points), 4), "<f4")
    count = np.zeros(len(mesh.points), int)
    for vertex, body, weight in mesh.weights:
        joints[vertex, count[vertex]] = places[body]
        weights[vertex, count[vertex]] = weight
        count[vertex] += 1
    inverse = np.linalg.inv([body.world_transform for body in bodies]).astype("<f4")
    arrays = [
        (mesh.points.astype("<f4"), 5126, "VEC3"),
        (joints, 5123, "VEC4"),
        (weights, 5126, "VEC4"),
        (mesh.corners.astype("<u4").reshape(-1, 1), 5125, "SCALAR"),
        (inverse.reshape(-1, 16), 5126, "MAT4"),
    ]
    content, views, accessors = b"", [], []
    for array, kind, shape in arrays:
        views.append({"buffer": 0, "byteOffset": len(content), "byteLength": array.nbytes})
        accessors.append(
            {"bufferView": len(views) - 1, "componentType": kind, "count": len(array), "type": shape}
        )
        content += array.tobytes()
    uri = "data:application/octet-stream;base64," + base64.b64encode(content).decode()
    attributes = {"POSITION": 0, "JOINTS_0": 1, "WEIGHTS_0": 2}
    gltf = {
        "asset": {"version": "2.0"},
        "nodes": [*nodes, {"mesh": 0, "skin": 0}],
        "skins": [{"joints": list(range(len(bodies))), "inverseBindMatrices": 4}],
        "meshes": [{"primitives": [{"attributes": attributes, "indices": 3}]}],
        "buffers": [{"byteLength": len(content), "uri": uri}],
        "bufferViews": views,
        "accessors": accessors,
    }
    path.write_text(json.dumps(gltf))


def test_the_importer_makes_a_character(tmp_path):
    fox = kestrix.Model.read(SAMPLES / "fox.mdl")
    gltf_of(fox, tmp_path / "fox.gltf")
    files = [tmp_path / name for name in ("fox.gltf", "fox.mdl", "fox.dof")]
    printed = run_python(ROOT / "examples" / "import_gltf.py", *files, cwd=tmp_path)
    assert printed.startswith("<kestrix.Model of 24 bodies>")
    model, mapping = kestrix.Model.read(files[1]), kestrix.Mapping.read(files[2])
    np.testing.assert_allclose(model.mesh().bounds, fox.mesh().bounds, atol=1e-3)
    kestrix.convert(files[1], files[2], tmp_path / "fox.fbx", scale_factor=100)
    facts = kestrix.info(tmp_path / "fox.fbx")["fbx"]
    assert sum(mesh["polygons"] for mesh in facts["meshes"]) == 576
    # It moves as the original does.
    turn = kestrix.Mapping()
    turn.add(fox["b_Neck_04"].id, [kestrix.Transform("z_rotation", {1: 1.0})])
    variable = next(iter(mapping[model["b_Neck_04"].id]["z_rotation"].terms))
    ours = kestrix.posed_points(model, mapping, {variable: 40.0})
    theirs = kestrix.posed_points(fox, turn, {1: 40.0})
    np.testing.assert_allclose(ours.min(axis=0), theirs.min(axis=0), atol=1e-2)
    np.testing.assert_allclose(ours.max(axis=0), theirs.max(axis=0), atol=1e-2)


def test_types_are_right(tmp_path):
    cache = str(tmp_path / "cache")
    package = BUILD / "python"
    files = [package / "kestrix", ROOT / "examples" / "import_gltf.py"]
    for mypy in (["mypy", "--strict", *files], ["mypy.stubtest", "kestrix", "--allowlist"]):
        if mypy[-1] == "--allowlist":
            mypy.append(ROOT / "tests" / "python" / "stubtest-allowed")
        run_python("-m", *mypy, cwd=package, MYPY_CACHE_DIR=cache, MYPYPATH=str(package))


@pytest.mark.parametrize("thing", ["Model", "Body", "Material", "Mapping", "BodyMap", "Motion"])
def test_everything_has_a_docstring(thing):
    for name, value in vars(getattr(kestrix, thing)).items():
        if not name.startswith("_"):
            assert value.__doc__, f"{thing}.{name}"
