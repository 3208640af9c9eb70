#!/usr/bin/python3
"""Makes a model and a mapping from a skinned glTF character (.gltf or .glb).

    import_gltf.py CHARACTER MODEL DOF

Every joint becomes a body, and three variables turn it; the topmost one gets three more that move
it. Lengths stay metres: convert with a scale factor of 100.
"""

import base64
import json
import pathlib
import struct
import sys
from typing import Any, Dict, List

import kestrix
import numpy as np

COMPONENTS = {5120: "i1", 5121: "u1", 5122: "<i2", 5123: "<u2", 5125: "<u4", 5126: "<f4"}
WIDTHS = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4, "MAT4": 16}


class Gltf:
    """The JSON of a file and its buffers."""

    def __init__(self, path: pathlib.Path) -> None:
        content = path.read_bytes()
        packed = []
        if content[:4] == b"glTF":
            length = struct.unpack_from("<I", content, 12)[0]
            packed = [content[20 + length + 8 :]]
            content = content[20 : 20 + length]
        self.json: Dict[str, Any] = json.loads(content)
        self.buffers = packed
        for buffer in self.json["buffers"][len(packed) :]:
            uri = buffer["uri"]
            if uri.startswith("data:"):
                self.buffers.append(base64.b64decode(uri.split(",", 1)[1]))
            else:
                self.buffers.append((path.parent / uri).read_bytes())

    def array(self, index: int) -> Any:
        """The numbers of an accessor, a row for each element."""
        accessor = self.json["accessors"][index]
        view = self.json["bufferViews"][accessor["bufferView"]]
        kind = np.dtype(COMPONENTS[accessor["componentType"]])
        width = WIDTHS[accessor["type"]]
        start = view.get("byteOffset", 0) + accessor.get("byteOffset", 0)
        array: np.ndarray[Any, Any] = np.ndarray(
            (accessor["count"], width),
            kind,
            self.buffers[view["buffer"]],
            start,
            (view.get("byteStride", width * kind.itemsize), kind.itemsize),
        )
        if accessor.get("normalized"):
            return array / np.iinfo(kind).max
        return array


def transform_of(node: Dict[str, Any]) -> Any:
    """A node's matrix, for points as row vectors: the order in which glTF writes its columns."""
    if "matrix" in node:
        return np.reshape(node["matrix"], (4, 4))
    x, y, z, w = node.get("rotation", (0, 0, 0, 1))
    columns = np.array(
        [
            [1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)],
            [2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)],
            [2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)],
        ]
    )
    matrix = np.eye(4)
    matrix[:3, :3] = columns.T * np.reshape(node.get("scale", (1, 1, 1)), (3, 1))
    matrix[3, :3] = node.get("translation", (0, 0, 0))
    return matrix


class Importer:
    def __init__(self, path: pathlib.Path) -> None:
        self.gltf = Gltf(path)
        self.nodes: List[Dict[str, Any]] = self.gltf.json["nodes"]
        self.parents = {
            child: i for i, node in enumerate(self.nodes) for child in node.get("children", [])
        }
        self.model = kestrix.Model()
        self.model.length_unit = ("METERS", 1.0)
        self.mapping = kestrix.Mapping()
        self.bodies: Dict[int, kestrix.Body] = {}
        self.variables = 0

    def world(self, node: int) -> Any:
        matrix = transform_of(self.nodes[node])
        while node in self.parents:
            node = self.parents[node]
            matrix = matrix @ transform_of(self.nodes[node])
        return matrix

    def add_joint(self, node: int, joints: List[int]) -> None:
        """Adds a body, after those above it; nodes between two joints are part of its matrix."""
        if node in self.bodies:
            return
        matrix = transform_of(self.nodes[node])
        above = self.parents.get(node)
        while above is not None and above not in joints:
            matrix = matrix @ transform_of(self.nodes[above])
            above = self.parents.get(above)
        if above is not None:
            self.add_joint(above, joints)
        name = self.nodes[node].get("name") or f"joint{node}"
        parent = None if above is None else self.bodies[above]
        body = self.model.add_body(name, parent, matrix)
        self.bodies[node] = body
        moves = [] if parent else ["x_translation", "y_translation", "z_translation"]
        transforms = []
        for transform in [*moves, "x_rotation", "y_rotation", "z_rotation"]:
            self.variables += 1
            transforms.append(kestrix.Transform(transform, {self.variables: 1.0}))
        self.mapping.add(body.id, transforms)

    def add_materials(self) -> None:
        for i, material in enumerate(self.gltf.json.get("materials", [{}])):
            colour = material.get("pbrMetallicRoughness", {}).get("baseColorFactor", (1, 1, 1, 1))
            name = f"{material.get('name', 'material')}_{i}"
            self.model.add_material(name, id=i + 1, diffuse=colour[:3], alpha=colour[3])

    def add_primitive(self, primitive: Dict[str, Any], joints: List[int], to_world: Any) -> None:
        """Adds triangles to the first joint, from the skin's own rest pose."""
        attributes = primitive["attributes"]
        points = self.gltf.array(attributes["POSITION"]).astype(float)
        used = self.gltf.array(attributes["JOINTS_0"]).astype(int)
        shares = self.gltf.array(attributes["WEIGHTS_0"]).astype(float)
        shares /= shares.sum(axis=1, keepdims=True)
        moved = np.einsum("vi,vjik->vjk", np.c_[points, np.ones(len(points))], to_world[used])
        world = np.einsum("vj,vjk->vk", shares, moved)

        root = self.bodies[joints[0]]
        local = world @ np.linalg.inv(root.world_transform)
        weights = np.zeros(used.size, kestrix.WEIGHT_DTYPE)
        weights["vertex"] = np.repeat(np.arange(len(points)), used.shape[1])
        weights["body"] = np.array([self.bodies[joint].id for joint in joints])[used.ravel()]
        weights["weight"] = shares.ravel()
        if "indices" in primitive:
            corners = self.gltf.array(primitive["indices"]).ravel()
        else:
            corners = np.arange(len(points))
        uvs = None
        if "TEXCOORD_0" in attributes:
            uvs = (self.gltf.array(attributes["TEXCOORD_0"]) * (1, -1) + (0, 1))[corners]
        self.model.add_mesh(
            root,
            local[:, :3],
            np.full(len(corners) // 3, 3),
            corners,
            material=primitive.get("material", 0) + 1,
            uvs=uvs,
            weights=weights[weights["weight"] > 0],
        )

    def run(self) -> None:
        self.add_materials()
        for node in self.nodes:
            if "skin" not in node or "mesh" not in node:
                continue
            skin = self.gltf.json["skins"][node["skin"]]
            joints = skin["joints"]
            for joint in joints:
                self.add_joint(joint, joints)
            inverse = self.gltf.array(skin["inverseBindMatrices"]).reshape(-1, 4, 4)
            to_world = np.array([i @ self.world(j) for i, j in zip(inverse, joints)])
            for primitive in self.gltf.json["meshes"][node["mesh"]]["primitives"]:
                self.add_primitive(primitive, joints, to_world)


def main() -> None:
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    source, model, dof = map(pathlib.Path, sys.argv[1:])
    importer = Importer(source)
    importer.run()
    importer.model.save(model)
    importer.mapping.save(dof)
    print(f"{importer.model}, {importer.variables} variables")


if __name__ == "__main__":
    main()
