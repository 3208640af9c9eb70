// Opens an FBX with the SDK based FBX2glTF and answers the facts that facts.mjs compares.
import { readFileSync } from 'node:fs';
import { Matrix4, Quaternion, Vector3 } from 'three';
import { toGltf } from './program.mjs';

const metresPerUnit = 0.01;  // glTF counts in metres, a scene of default settings in centimetres
const components = { SCALAR: 1, VEC2: 2, VEC3: 3, VEC4: 4, MAT4: 16 };
const readers = {
  5121: [1, 'readUInt8'],
  5123: [2, 'readUInt16LE'],
  5125: [4, 'readUInt32LE'],
  5126: [4, 'readFloatLE'],
};

export function openGlb(file) {
  const bytes = readFileSync(file);
  const length = bytes.readUInt32LE(12);
  const gltf = JSON.parse(bytes.toString('utf8', 20, 20 + length));
  const data = bytes.subarray(28 + length);
  const view = (index) => {
    const { byteOffset = 0, byteLength } = gltf.bufferViews[index];
    return data.subarray(byteOffset, byteOffset + byteLength);
  };
  const list = (index) => {
    const { bufferView, byteOffset = 0, count, type, componentType } = gltf.accessors[index];
    const [size, read] = readers[componentType];
    const width = components[type];
    const from = view(bufferView);
    return Array.from({ length: count }, (_, i) =>
      Array.from({ length: width }, (__, c) => from[read](byteOffset + (i * width + c) * size)));
  };
  return { gltf, view, list };
}

function worldMatrices(nodes, pose) {
  const world = new Array(nodes.length);
  const parents = new Array(nodes.length).fill(null);
  const visit = (index, parent) => {
    const { translation = [0, 0, 0], rotation = [0, 0, 0, 1], scale = [1, 1, 1] } = nodes[index];
    const turned = new Quaternion(...rotation);
    if (pose.has(nodes[index].name)) turned.multiply(pose.get(nodes[index].name));
    world[index] = new Matrix4()
      .compose(new Vector3(...translation), turned, new Vector3(...scale))
      .premultiply(parent === null ? new Matrix4() : world[parent]);
    parents[index] = parent;
    nodes[index].children?.forEach((child) => visit(child, index));
  };
  visit(0, null);
  return { world, parents };
}

/** `pose` turns the nodes of these names by quaternions, in their own axes. */
export function readWithFbx2gltf(fbx, pose = new Map()) {
  const { glb, warnings } = toGltf(fbx);
  const { gltf, view, list } = openGlb(glb);
  const { nodes } = gltf;
  const { world, parents } = worldMatrices(nodes, pose);
  const facts = { bones: [], meshes: [], materials: new Map(), warnings };
  // Node 0 is the root node that stands for the scene.
  const nameOf = (index) => (index > 0 ? nodes[index].name : null);

  for (const { name, pbrMetallicRoughness: pbr } of gltf.materials ?? []) {
    const [r, g, b] = pbr.baseColorFactor;
    const texture = gltf.textures?.[pbr.baseColorTexture?.index];
    const picture = texture ? view(gltf.images[texture.source].bufferView) : null;
    facts.materials.set(name, { diffuse: { r, g, b }, picture });
  }

  nodes.forEach((node, index) => {
    if (index === 0) return;
    if (node.mesh === undefined) {
      const matrix = world[index].clone();
      matrix.elements.forEach((value, i) => {
        if (i > 11 && i < 15) matrix.elements[i] = value / metresPerUnit;
      });
      facts.bones.push({
        name: node.name, parent: nameOf(parents[index]), world: matrix.elements,
      });
      return;
    }
    const mesh = {
      name: node.name, parent: nameOf(parents[index]),
      positions: [], materialOf: [], normals: [], coordinates: [], targets: [],
    };
    const skin = gltf.skins?.[node.skin];
    const inverses = skin && list(skin.inverseBindMatrices).map((m) => new Matrix4().fromArray(m));
    const joints = skin?.joints.map((joint, i) => world[joint].clone().multiply(inverses[i]));
    for (const primitive of gltf.meshes[node.mesh].primitives) {
      const { attributes, indices, material, targets = [] } = primitive;
      const position = list(attributes.POSITION);
      const normal = attributes.NORMAL === undefined ? null : list(attributes.NORMAL);
      const uv = attributes.TEXCOORD_0 === undefined ? null : list(attributes.TEXCOORD_0);
      const bones = skin && list(attributes.JOINTS_0);
      const weights = skin && list(attributes.WEIGHTS_0);
      const corners = list(indices);
      const triangles = corners.length / 3;
      mesh.materialOf.push(...new Array(triangles).fill(gltf.materials[material].name));
      targets.forEach(({ POSITION }, i) => {
        const offsets = list(POSITION).map((offset) =>
          offset.map((value) => value / metresPerUnit));
        mesh.targets[i] ??= { name: null, offsets: [] };  // FBX2glTF drops the names
        mesh.targets[i].offsets.push(...corners.map(([corner]) => offsets[corner]));
      });
      for (const [corner] of corners) {
        const point = new Vector3(...position[corner]);
        const placed = new Vector3();
        if (skin) {
          bones[corner].forEach((bone, i) => {
            const followed = point.clone().applyMatrix4(joints[bone]);
            placed.addScaledVector(followed, weights[corner][i]);
          });
        } else {
          placed.copy(point).applyMatrix4(world[index]);
        }
        mesh.positions.push(placed.divideScalar(metresPerUnit).toArray());
        if (normal) mesh.normals.push(normal[corner]);
        if (uv) mesh.coordinates.push([uv[corner][0], 1 - uv[corner][1]]);  // v runs down in glTF
      }
    }
    facts.meshes.push(mesh);
  });
  return facts;
}
