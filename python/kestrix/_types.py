"""Plain values that models, mappings and checks are told in."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any, Dict, Mapping as Dictionary, Optional, Tuple

import numpy as np
import numpy.typing as npt

from . import _core

FloatArray = npt.NDArray[np.float32]
IntArray = npt.NDArray[np.int32]


@dataclass(frozen=True)
class Texture:
    """A texture of a material: a picture file and how it is put on.

    `kind` is "decal", "cube environment" or "environment"; `s_attributes` and `t_attributes` are
    the wrap attributes in the words of documents, None where they are not given.
    """

    file: Optional[str]
    kind: str = "decal"
    unit: int = 0
    s_attributes: Optional[str] = None
    t_attributes: Optional[str] = None


@dataclass(frozen=True)
class Light:
    """A light or a lighting model of a legacy file.

    Attributes are tuples of numbers by name: "ambient", "color", "position", "spot_direction" and
    "spot_light" of lights, "ambient", "local_viewer" and "attenuation" of lighting models.
    """

    id: int
    on: bool = True
    attributes: Dictionary[str, Tuple[float, ...]] = field(default_factory=dict)


@dataclass(frozen=True)
class Transform:
    """One translation or rotation of a mapped body and what drives it.

    `name` is "x_translation" ... "z_rotation". The value is `constant` plus the sum of each
    variable of `terms` times its factor, in the units of the variables. `is_combination` tells a
    linear combination from a single variable, which files keep apart; other constants and factors
    than 0 and 1 make a combination anyway.
    """

    name: str
    terms: Dictionary[int, float] = field(default_factory=dict)
    constant: float = 0.0
    is_combination: bool = False


@dataclass(frozen=True)
class Driven:
    """One thing that a variable drives: by `kind` a "transform" of the body `id`, the "texture" of
    the material `id`, or a "slider". `factor` is what it changes by when the variable changes by 1.
    """

    kind: str
    id: Optional[int]
    transform: Optional[str]
    slider_group: Optional[str]
    slider: Optional[str]
    factor: float


@dataclass(frozen=True, eq=False)
class Mesh:
    """Shapes as arrays. All are new ones: to change them changes no model.

    points          (n, 3) float32, in the model's unit of lengths
    polygon_sizes   (p,) int32, the corners of each polygon
    corners         (c,) int32, 0-based points, polygon by polygon
    uvs             (c, 2) float32 for each corner, NaN where a polygon has none; None without any
    material_ids    (p,) int32
    vertex_bodies   (n,) int32, the id of the body that each vertex is defined on
    weights         (w,) of the fields vertex, body (its id) and weight, by vertex; those of a
                    vertex come to 1
    shapes          (indices (m,), offsets (m, 3)) by (slider group, slider)
    """

    points: FloatArray
    polygon_sizes: IntArray
    corners: IntArray
    uvs: Optional[FloatArray]
    material_ids: IntArray
    vertex_bodies: IntArray
    weights: npt.NDArray[Any]
    shapes: Dict[Tuple[str, str], Tuple[IntArray, FloatArray]]

    @property
    def normals(self) -> FloatArray:
        """One unit normal for each point, (n, 3), weighted by the areas of the faces around it."""
        return _core.smooth_normals(self.points, self.polygon_sizes, self.corners)

    @property
    def face_normals(self) -> FloatArray:
        """One unit normal for each polygon, (p, 3)."""
        return _core.face_normals(self.points, self.polygon_sizes, self.corners)

    @property
    def bounds(self) -> Tuple[FloatArray, FloatArray]:
        """The least and the greatest coordinates of the points that polygons use."""
        used = self.points[self.corners]
        if len(used) == 0:
            raise ValueError("a mesh without polygons has no bounds")
        return used.min(axis=0), used.max(axis=0)

    def __repr__(self) -> str:
        return f"<kestrix.Mesh of {len(self.points)} points, {len(self.polygon_sizes)} polygons>"


@dataclass(frozen=True)
class Finding:
    """One finding of check(). `code` is for programs and never changes its meaning; `severity` is
    "error", "warning" or "note"; `advice` says what to do about it. `kind`, `name` and `id` say
    what it is about, `count` how many vertices, polygons or messages it stands for; file, line and
    column where it was found."""

    code: str
    severity: str
    text: str
    advice: str
    kind: str
    name: Optional[str]
    id: Optional[int]
    count: int = 1
    file: Optional[str] = None
    line: Optional[int] = None
    column: Optional[int] = None


@dataclass(frozen=True)
class Difference:
    """One finding of diff(): what `a` and `b` have, None for nothing."""

    code: str
    kind: str
    name: str
    a: Optional[str]
    b: Optional[str]
