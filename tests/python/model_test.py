"""Models, mappings and motion: what the samples' own facts say, arrays in and out, edits."""

import json

import kestrix
import numpy as np
import pytest
from conftest import CHARACTERS, SAMPLES

TRIANGLE = ([[0, 0, 0], [1, 0, 0], [0, 1, 0]], [3], [0, 1, 2])


def facts_of(name):
    return json.loads((SAMPLES / f"{name}.expected.json").read_text())


def models_of(name):
    return [kestrix.Model.read(path) for path in sorted(SAMPLES.glob(f"{name}*.mdl"))]


@pytest.mark.parametrize("name", CHARACTERS)
def test_geometry_is_that_of_the_source(name):
    facts = facts_of(name)
    least, greatest = (np.array(facts["bounding_box"][side]) for side in ("min", "max"))
    size = np.abs(greatest - least).max()
    for model in models_of(name):
        mesh = model.mesh()
        assert len(mesh.polygon_sizes) == facts["polygons"]
        assert mesh.polygon_sizes.sum() == facts["corners"] == len(mesh.corners)
        np.testing.assert_allclose(mesh.bounds, (least, greatest), atol=1e-4 * size)
        sums = np.bincount(mesh.weights["vertex"], mesh.weights["weight"])
        np.testing.assert_allclose(sums, 1, atol=1e-5)
        assert len(model) == facts["body_count"]
        for body, fact in zip(model.bodies, facts["bodies"]):
            assert (body.name.replace(" ", "_"), body.id) == (fact["name"], fact["id"])
            world = body.world_transform
            np.testing.assert_allclose(world[3, :3], fact["global_rest_position"], atol=1e-4 * size)
            np.testing.assert_allclose(world[:3, :3], fact["global_rest_axes"], atol=1e-4)
            own = mesh.vertex_bodies == body.id
            assert own.sum() == fact["welded_vertices"]
            weights = mesh.weights[mesh.weights["body"] == body.id]["weight"].sum()
            expected = fact["weight_sum_over_welded_vertices"]
            assert weights == pytest.approx(expected, abs=1e-3 * max(1, expected))
        moved = {s["name"]: s for s in facts["sliders"]}
        for (_, slider), (vertices, offsets) in mesh.shapes.items():
            largest = np.linalg.norm(offsets, axis=1).max()
            assert largest == pytest.approx(moved[slider]["largest_move"], abs=1e-4 * size)
        if facts["sliders"] and model.version == 2:
            assert {slider for _, slider in mesh.shapes} == set(moved)


@pytest.mark.parametrize("name", ["fox", "robot"])
def test_a_model_from_arrays_is_the_model(name, tmp_path):
    model = models_of(name)[-1]
    copy = kestrix.Model()
    for material in model.materials:
        copy.add_material(
            material.name,
            id=material.id,
            diffuse=material.diffuse,
            alpha=material.alpha,
            textures=material.textures,
        )
    for group, sliders in model.slider_groups.items():
        copy.add_slider_group(group, sliders)
    for body in model.bodies:
        parent = body.parent.id if body.parent else None
        copy.add_body(body.name, parent, body.transform, id=body.id)
    for body in model.bodies:
        if not body.has_polygons:
            continue
        mesh = body.mesh()
        copy.add_mesh(
            body.name,
            mesh.points,
            mesh.polygon_sizes,
            mesh.corners,
            material=mesh.material_ids,
            uvs=mesh.uvs,
            weights=mesh.weights,
            shapes=mesh.shapes,
        )
    assert copy._fault() is None
    a, b = model.mesh(), copy.mesh()
    for field in ("points", "polygon_sizes", "corners", "material_ids", "vertex_bodies"):
        np.testing.assert_array_equal(getattr(a, field), getattr(b, field))
    assert (a.uvs is None) == (b.uvs is None)
    np.testing.assert_allclose(a.weights["weight"], b.weights["weight"], atol=1e-6)
    np.testing.assert_allclose(a.normals, b.normals)
    assert np.linalg.norm(a.face_normals, axis=1) == pytest.approx(1, abs=1e-4)
    model.remove_bones()
    model.save(tmp_path / "a.mdl")
    copy.save(tmp_path / "b.mdl")
    assert {d.kind for d in kestrix.diff(tmp_path / "a.mdl", tmp_path / "b.mdl")} <= {"material"}


def test_handles_know_when_their_part_is_gone():
    model = models_of("fox")[0]
    hip = model["b_Hip_01"]
    child = hip.children[0]
    hip.name, hip.id = "hip", 100
    assert model[100] == hip == model["hip"] and hip != child and hip in {hip}
    stood = child.world_transform
    model.remove_body(hip)
    np.testing.assert_allclose(child.world_transform, stood, atol=1e-4)
    for use in (lambda: hip.name, lambda: hip.mesh(), lambda: model.remove_body(hip)):
        with pytest.raises(ReferenceError):
            use()
    assert "removed" in repr(hip) and "hip" not in model
    mapping = kestrix.Mapping.read(SAMPLES / "fox.dof")
    body_map = mapping.body_maps[0]
    mapping.remove(body_map.body_id)
    with pytest.raises(ReferenceError):
        body_map.transforms
    for key in ("nobody", 99999, 0, 2**80):
        with pytest.raises(KeyError):
            model.body(key)
    del model
    assert child.parent is not None


def test_edits_refuse_what_would_break_a_model():
    model = kestrix.Model()
    model.add_material("a")
    model.add_body("a")
    squeezed = ([[0, 0, 0], [0, 0, 0], [1, 0, 0], [0, 1, 0]], [4, 3], [0, 1, 2, 3, 0, 1, 2])
    with pytest.warns(kestrix.KestrixWarning, match="1 polygons") as caught:
        model.add_mesh("a", *squeezed, material="a")
    assert caught[0].message.message.code == "polygon-degenerate"
    assert model.mesh().polygon_sizes.tolist() == [3]
    refused = [
        (ValueError, lambda: model.add_body("a")),
        (KeyError, lambda: model.add_body("b", "nobody")),
        (ValueError, lambda: model.add_body("b", transform=np.eye(3))),
        (ValueError, lambda: model.add_body("b", transform=np.eye(4) * np.nan)),
        (ValueError, lambda: model.add_body("b", id=0)),
        (ValueError, lambda: model.add_material("a")),
        (KeyError, lambda: model.add_mesh("a", *TRIANGLE, material="b")),
        (IndexError, lambda: model.add_mesh("a", [[0, 0, 0]], [3], [0, 1, 2], material="a")),
        (ValueError, lambda: model.add_mesh("a", TRIANGLE[0], [4], [0, 1, 2], material="a")),
        (KeyError, lambda: model.add_mesh("a", *TRIANGLE, material="a", weights=[(0, 7, 1)])),
        (ValueError, lambda: model.add_mesh("a", *TRIANGLE, material="a", weights=[(0, 1, 2)])),
        (TypeError, lambda: model.add_material("b", colour=1)),
        (ValueError, lambda: setattr(model, "length_unit", ("FEET", 1))),
    ]
    for error, edit in refused:
        with pytest.raises(error):
            edit()
    assert (len(model), len(model.materials), model._fault()) == (1, 1, None)


def test_combines_models():
    fox, robot = models_of("fox")[0], models_of("robot")[0]
    both = kestrix.combine([fox, (robot, 1000, "_r"), (fox, 2000, "_again")])
    assert len(both) == 2 * len(fox) + len(robot)
    assert both["b_Hip_01_again"].id == fox["b_Hip_01"].id + 2000
    with pytest.raises(kestrix.Error):
        kestrix.combine([fox, fox])


def test_mappings_are_edited_and_saved(tmp_path):
    mapping = kestrix.Mapping.read(SAMPLES / "robot.dof")
    first = mapping.body_maps[0]
    first.set(kestrix.Transform("z_rotation", {2: 0.5, 7: -1.0}, 3.0))
    added = mapping.add(4000, [kestrix.Transform("y_rotation", {900: 1.0})])
    assert added.rotation_order == "YXZ" and mapping.highest_variable == 900
    assert [d.id for d in mapping.driven_by(900)] == [4000]
    mapping.change_body_ids({4000: first.body_id, first.body_id: 4000})
    assert first.body_id == 4000 and mapping[4000] == first
    mapping.renumber_variables({900: 901})
    mapping.save(tmp_path / "a.dof")
    again = kestrix.Mapping.read(tmp_path / "a.dof")
    assert again == mapping
    assert again[4000]["z_rotation"].terms == {2: 0.5, 7: -1.0}
    with pytest.raises(kestrix.Error, match="(?i)body"):
        again.merge(mapping)
    again.merge(mapping, body_id_offset=10000)
    assert len(again) == 2 * len(mapping) and again.highest_variable == 2 * 901
    with pytest.raises(kestrix.Error):
        mapping.check_compatible(again)


def test_motion_is_arrays(tmp_path):
    times = np.arange(50) / 25
    motion = kestrix.Motion(times, {3: np.sin(times), 1: times * 90})
    motion.add_comment("swing")
    motion.save(tmp_path / "m.csv")
    again = kestrix.Motion.read(tmp_path / "m.csv")
    assert again == motion and again.rate == 25 and again.variables == [3, 1]
    assert again.comments == ["swing"]
    np.testing.assert_array_equal(again.to_array()[:, 1], motion[1])
    assert len(motion.cut(0.5, 1.0)) == 13
    np.testing.assert_allclose(motion.resampled(50)[1][1], 0.5 * motion[1][1])
    assert motion.frame(-1)[1] == motion[1][-1]
    for bad in (lambda: kestrix.Motion([1, 1]), lambda: motion.resampled(1e12)):
        with pytest.raises(ValueError):
            bad()


def rotation(axis, degrees):
    """For points as row vectors."""
    c, s = np.cos(np.radians(degrees)), np.sin(np.radians(degrees))
    matrix = np.eye(4)
    a, b = (axis + 1) % 3, (axis + 2) % 3
    matrix[a, a] = matrix[b, b] = c
    matrix[a, b], matrix[b, a] = s, -s
    return matrix


def posed_by_hand(model, mapping, values):
    places = {}
    for body in model.bodies:
        moved = np.eye(4)
        if body.id in mapping:
            for transform in mapping[body.id].transforms:
                value = transform.constant
                value += sum(f * values.get(v, 0) for v, f in transform.terms.items())
                axis = "xyz".index(transform.name[0])
                step = np.eye(4)
                if transform.name.endswith("rotation"):
                    step = rotation(axis, value)
                else:
                    step[3, axis] = value
                moved = step @ moved
        parent = places[body.parent.id] if body.parent else np.eye(4)
        places[body.id] = moved @ body.transform.astype(float) @ parent
    return np.array([places[body.id] for body in model.bodies])


@pytest.mark.parametrize("shuffled", [False, True])
@pytest.mark.parametrize("name", ["fox", "robot", "walker"])
def test_poses_are_those_of_matrices_by_hand(name, shuffled):
    model, mapping = models_of(name)[-1], kestrix.Mapping.read(SAMPLES / f"{name}.dof")
    random = np.random.default_rng(7)
    for body_map in mapping.body_maps if shuffled else []:
        transforms = [body_map.transforms[i] for i in random.permutation(6)]
        odd = kestrix.Transform(transforms[0].name, {1: 0.5, 2: -1.25}, random.uniform(-90, 90))
        body_map.transforms = [odd, *transforms[1:]]
    count = 4
    values = {v: random.uniform(-90, 90, count).astype(np.float32) for v in mapping.variables}
    motion = kestrix.Motion(np.arange(count), values)
    poses = kestrix.pose(model, mapping, motion)
    size = np.abs(poses[..., 3, :3]).max()
    mesh = model.mesh()
    rest = kestrix.pose(model, None, {})
    np.testing.assert_allclose(rest, [b.world_transform for b in model.bodies], atol=1e-6 * size)
    np.testing.assert_allclose(
        kestrix.posed_points(model, None, {}), mesh.points, atol=1e-5 * size
    )
    points = kestrix.posed_points(model, mapping, motion, frames=[1, -1])
    places = {body.id: i for i, body in enumerate(model.bodies)}
    for i, frame in enumerate((1, count - 1)):
        by_hand = posed_by_hand(model, mapping, motion.frame(frame))
        np.testing.assert_allclose(poses[frame], by_hand, atol=1e-5 * size)
        np.testing.assert_allclose(
            kestrix.pose(model, mapping, motion.frame(frame)), by_hand, atol=1e-5 * size
        )
        moved = mesh.points.astype(float)
        for slider, (vertices, offsets) in mesh.shapes.items():
            share = motion.frame(frame).get(mapping.slider_variables.get(slider, 0), 0)
            np.add.at(moved, vertices, share * offsets)
        skinned = np.zeros_like(moved)
        for vertex, body, weight in mesh.weights:
            move = np.linalg.inv(rest[places[body]]) @ by_hand[places[body]]
            skinned[vertex] += weight * (moved[vertex] @ move[:3, :3] + move[3, :3])
        np.testing.assert_allclose(points[i], skinned, atol=1e-4 * size)


def test_poses_take_units():
    model, mapping = models_of("fox")[0], kestrix.Mapping()
    mapping.add(1, [kestrix.Transform("x_translation", {1: 1.0}),
                    kestrix.Transform("z_rotation", {2: 1.0})])
    plain = kestrix.pose(model, mapping, {1: 1.0, 2: 90.0})
    other = kestrix.pose(
        model, mapping, {1: 0.0254, 2: np.pi / 2}, angles="radians", lengths="meters"
    )
    np.testing.assert_allclose(plain, other, atol=1e-6)
    assert plain[0, 3, 0] == 1
    for bad in ({"angles": "turns"}, {"lengths": "miles"}):
        with pytest.raises(ValueError):
            kestrix.pose(model, mapping, {}, **bad)
