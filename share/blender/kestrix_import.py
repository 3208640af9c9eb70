"""Imports characters that kestrix wrote: File > Import > kestrix character (.fbx).

Blender's own importer, up to 4.4, turns the rest rotation of a node (PreRotation) in the order of
the node's animated rotations, where the format has it in the order XYZ always. Characters with
other orders come in twisted, and their takes play wrong. This add-on imports with Blender's
importer and puts that right; bones follow translations even where they begin at the end of their
parent. Whatever else the importer makes stays as it is.

To install: Edit > Preferences > Add-ons > Install, choose this file, and tick its box.
"""

import contextlib
import math

import bpy
from bpy.props import StringProperty
from bpy_extras.io_utils import ImportHelper
from mathutils import Euler

bl_info = {
    "name": "kestrix characters",
    "author": "Vemra Studios",
    "version": (0, 9, 0),
    "blender": (3, 4, 0),
    "location": "File > Import > kestrix character (.fbx)",
    "description": "Imports FBX characters in their rest pose, with takes that play right",
    "category": "Import-Export",
}

FIRST_RIGHT_VERSION = (4, 5, 0)


def in_order(angles, order):
    """The angles, in degrees, that turn in this order as the given ones do in the order XYZ."""
    turned = Euler([math.radians(angle) for angle in angles], "XYZ").to_matrix().to_euler(order)
    return tuple(math.degrees(angle) for angle in turned)


@contextlib.contextmanager
def right_rest_rotations():
    """While it lasts, Blender's importer reads rest rotations in the order XYZ."""
    from io_scene_fbx import import_fbx

    original = import_fbx.blen_read_object_transform_preprocess

    def read(*args, **kwargs):
        data = original(*args, **kwargs)
        return data._replace(
            pre_rot=in_order(data.pre_rot, data.rot_ord),
            pst_rot=in_order(data.pst_rot, data.rot_ord),
        )

    import_fbx.blen_read_object_transform_preprocess = read
    try:
        yield
    finally:
        import_fbx.blen_read_object_transform_preprocess = original


def release_bones(context, armature):
    """Lets bones that begin at the end of their parent move away from it."""
    context.view_layer.objects.active = armature
    bpy.ops.object.mode_set(mode="EDIT")
    for bone in armature.data.edit_bones:
        bone.use_connect = False
    bpy.ops.object.mode_set(mode="OBJECT")


def clear_pose(armature):
    for bone in armature.pose.bones:
        bone.matrix_basis.identity()


class KestrixImport(bpy.types.Operator, ImportHelper):
    """Import a character that kestrix wrote"""

    bl_idname = "import_scene.kestrix"
    bl_label = "Import kestrix character"
    bl_options = {"UNDO"}

    filename_ext = ".fbx"
    filter_glob: StringProperty(default="*.fbx", options={"HIDDEN"})

    def execute(self, context):
        before = set(bpy.data.objects)
        is_right = bpy.app.version >= FIRST_RIGHT_VERSION
        with contextlib.nullcontext() if is_right else right_rest_rotations():
            result = bpy.ops.import_scene.fbx(filepath=self.filepath)
        for armature in set(bpy.data.objects) - before:
            if armature.type != "ARMATURE":
                continue
            release_bones(context, armature)
            if armature.animation_data is None:
                clear_pose(armature)
        return result


def menu_entry(self, _context):
    self.layout.operator(KestrixImport.bl_idname, text="kestrix character (.fbx)")


def register():
    bpy.utils.register_class(KestrixImport)
    bpy.types.TOPBAR_MT_file_import.append(menu_entry)


def unregister():
    bpy.types.TOPBAR_MT_file_import.remove(menu_entry)
    bpy.utils.unregister_class(KestrixImport)


if __name__ == "__main__":
    register()
