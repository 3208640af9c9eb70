# Checks within Blender that the add-on brings characters in as their files have them: in their rest
# pose, and with takes whose bones stand in every frame where the file's own numbers put them.
#   blender -b --python-exit-code 1 --python import_test.py -- <add-on> <still.fbx> <moving.fbx>
import importlib.util
import math
import sys

import bpy
from io_scene_fbx import parse_fbx
from mathutils import Euler, Matrix, Vector

TICKS = 46186158000
ORDERS = ["XYZ", "XZY", "YZX", "YXZ", "ZXY", "ZYX"]
NEAR = 2e-4  # in metres, and as a part of a matrix


class File:
    """The nodes of a file and the curves of its take, read without Blender's importer."""

    def __init__(self, name):
        root, _version = parse_fbx.parse(name)
        tops = {elem.id: elem for elem in root.elems}
        self.objects = {elem.props[0]: elem for elem in tops[b"Objects"].elems}
        links = [elem.props for elem in tops[b"Connections"].elems]
        self.parents = {}
        self.curves = {}  # (node, property, axis) -> times, values
        owners = {}
        for link in links:
            if link[0] == b"OP" and link[3].startswith(b"Lcl "):
                owners[link[1]] = (link[2], link[3])
        for link in links:
            if link[0] == b"OP" and link[1] in self.objects and link[2] in owners:
                curve = {elem.id: elem.props[0] for elem in self.objects[link[1]].elems}
                key = (*owners[link[2]], "XYZ".index(link[3].decode()[-1]))
                self.curves[key] = (curve[b"KeyTime"], curve[b"KeyValueFloat"])
            elif link[0] == b"OO" and self.is_bone(link[1]):
                if link[2] == 0 or self.is_bone(link[2]):
                    self.parents[link[1]] = link[2]

    def is_bone(self, ident):
        elem = self.objects.get(ident)
        return elem is not None and elem.id == b"Model" and elem.props[2] == b"LimbNode"

    def name(self, ident):
        return self.objects[ident].props[1].split(b"\0\1")[0].decode()

    def property(self, ident, name, default):
        for elem in self.objects[ident].elems:
            for row in elem.elems if elem.id == b"Properties70" else []:
                if row.props[0] == name:
                    return row.props[4:]
        return default

    def values(self, ident, name, time):
        values = list(self.property(ident, name, (0.0, 0.0, 0.0)))
        for axis in range(3) if time is not None else []:
            times, keys = self.curves.get((ident, name, axis), ((), ()))
            if len(keys) == 1:
                values[axis] = keys[0]
            elif len(keys) > 1:
                values[axis] = keys[list(times).index(time)]
        return values

    def matrix(self, ident, time=None):
        def turn(angles, order):
            return Euler([math.radians(a) for a in angles], order).to_matrix().to_4x4()

        order = ORDERS[self.property(ident, b"RotationOrder", [0])[0]]
        local = (
            Matrix.Translation(Vector(self.values(ident, b"Lcl Translation", time)))
            @ turn(self.property(ident, b"PreRotation", (0.0, 0.0, 0.0)), "XYZ")
            @ turn(self.values(ident, b"Lcl Rotation", time), order)
        )
        parent = self.parents[ident]
        return local if parent == 0 else self.matrix(parent, time) @ local

    def times(self):
        return max((list(times) for times, _ in self.curves.values()), key=len)


def largest(a, b):
    return max(abs(x - y) for row, other in zip(a, b) for x, y in zip(row, other))


def fresh(operator, name):
    bpy.ops.wm.read_homefile(use_empty=True)
    operator(filepath=name)
    (armature,) = [o for o in bpy.data.objects if o.type == "ARMATURE"]
    return armature


def from_rest(armature):
    """How far the pose of each bone is from its rest."""
    return max(largest(bone.matrix, bone.bone.matrix_local) for bone in armature.pose.bones)


def check(what, passed):
    print(("ok " if passed else "FAILED ") + what)
    return passed


def check_take(armature, name):
    file = File(name)
    rate = bpy.context.scene.render.fps / bpy.context.scene.render.fps_base
    # Y up and centimetres there, Z up and metres here.
    to_here = Matrix.Rotation(math.pi / 2, 4, "X") @ Matrix.Scale(0.01, 4)
    worst = 0
    moved = 0
    times = file.times()
    for time in times[:: max(1, len(times) // 5)]:
        frame = 1 + time / TICKS * rate
        bpy.context.scene.frame_set(round(frame))
        if abs(frame - round(frame)) > 1e-3:
            continue
        place = armature.matrix_world
        for ident in file.parents:
            bone = armature.pose.bones[file.name(ident)]
            here = place @ bone.matrix @ bone.bone.matrix_local.inverted() @ place.inverted()
            there = file.matrix(ident, time) @ file.matrix(ident).inverted()
            there = to_here @ there @ to_here.inverted()
            worst = max(worst, largest(here, there))
            moved = max(moved, largest(there, Matrix.Identity(4)))
    print(f"   a pose differs by {worst:.2e}, of {moved:.2f} that bones move")
    return worst < NEAR and moved > 0.1


def main(addon, still, moving):
    spec = importlib.util.spec_from_file_location("kestrix_import", addon)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    plain = from_rest(fresh(bpy.ops.import_scene.fbx, still))
    print(f"   Blender's importer alone: {plain:.2f} from the rest pose")
    results = []
    for _ in range(2):  # it leaves nothing behind
        module.register()
        character = fresh(bpy.ops.import_scene.kestrix, still)
        results.append(check("the rest pose", from_rest(character) < 1e-6))
        modifiers = [modifier.type for mesh in character.children for modifier in mesh.modifiers]
        results.append(check("skins", "ARMATURE" in modifiers))
        character = fresh(bpy.ops.import_scene.kestrix, moving)
        results.append(check("the take", check_take(character, moving)))
        module.unregister()
    again = from_rest(fresh(bpy.ops.import_scene.fbx, still))
    results.append(check("Blender's importer is as before", again == plain))
    sys.exit(0 if all(results) else 1)


main(*sys.argv[sys.argv.index("--") + 1 :])
