"""Models, mappings and motion of kestrix, and its programs as functions.

    import kestrix

    model = kestrix.Model.read("fox.mdl")
    mapping = kestrix.Mapping.read("fox.dof")
    kestrix.convert("fox.mdl", "fox.dof", "fox.fbx")

What fails raises kestrix.Error, warnings go to Python's `warnings` as kestrix.KestrixWarning.
"""

from ._core import (
    WEIGHT_DTYPE,
    Body,
    BodyMap,
    Mapping,
    Material,
    Model,
    Motion,
    combine,
    face_normals,
    pose,
    posed_points,
    smooth_normals,
)
from ._core import __version__ as __version__
from ._errors import Error, KestrixWarning, Message
from ._programs import animate, check, convert, diff, info, run_tool, view
from ._types import Difference, Driven, Finding, Light, Mesh, Texture, Transform

__all__ = [
    "WEIGHT_DTYPE",
    "Body",
    "BodyMap",
    "Difference",
    "Driven",
    "Error",
    "Finding",
    "KestrixWarning",
    "Light",
    "Mapping",
    "Material",
    "Mesh",
    "Message",
    "Model",
    "Motion",
    "Texture",
    "Transform",
    "animate",
    "check",
    "combine",
    "convert",
    "diff",
    "face_normals",
    "info",
    "pose",
    "posed_points",
    "run_tool",
    "smooth_normals",
    "view",
]
