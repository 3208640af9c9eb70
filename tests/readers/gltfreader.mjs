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
  /** The entries of an accessor, each a list of numbers; null for no accessor. */
  const list = (index) => {
    if (index === undefined) return null;
    const { bufferView, byteOffset = 0, count, type, componentType } = gltf.accessors[index];
    const [size, read] = readers[componentType];
    const width = components[type];
    const from = view(bufferView);
    return Array.from({ length: count }, (_, i) =>
      Array.from({ length: width }, (__, c) => from[read](byteOffset + (i * width + c) * size)));
  };
  return { gltf, view, list };
}

function worldMatrices(nodes) {
  const world = [];
  const parents = [];
  const visit = (index, parent, above) => {
    const {
      translation = [0, 0, 0], rotation = [0, 0, 0, 1], scale = [1, 1, 1], children = [],
    } = nodes[index];
    world[index] = new Matrix4()
      .compose(new Vector3(...translation), new Quaternion(...rotation), new Vector3(...scale))
      .premultiply(above);
    parents[index] = parent > 0 ? nodes[parent].name : null;  // node 0 stands for the scene
    children.forEach((child) => visit(child, index, world[index]));
  };
  visit(0, -1, new Matrix4());
  return { world, parents };
}

/** The nodes as they are in a take at a time, where a key of the file must be. */
function playedNodes({ nodes, animations }, list, take, time) {
  const played = structuredClone(nodes);
  const { channels, samplers } = animations.find(({ name }) => name === take);
  for (const { sampler, target: { node, path } } of channels) {
    const { input, output } = samplers[sampler];
    const times = list(input).flat();
    const key = times.findIndex((found) => Math.abs(found - time) < 1e-4);
    if (key < 0) throw new Error(`no key at ${time} of ${take}`);
    const values = list(output);
    const count = values.length / times.length;  // several of weights
    played[node][path] = values.slice(key * count, (key + 1) * count).flat();
  }
  return played;
}

const opened = new Map();  // what was converted with its animation, by file

function openAnimated(fbx) {
  const options = ['--anim-framerate', 'bake30', '--user-properties'];
  if (!opened.has(fbx)) opened.set(fbx, { ...toGltf(fbx, options) });
  return opened.get(fbx);
}

/** The user properties of each node by their names. */
export function readUserProperties(fbx) {
  const { gltf } = openGlb(openAnimated(fbx).glb);
  const valuesOf = (properties = {}) =>
    Object.fromEntries(Object.entries(properties).map(([name, { value }]) => [name, value]));
  return new Map(gltf.nodes.map(({ name, extras }) =>
    [name, valuesOf(extras?.fromFBX?.userProperties)]));
}

/** `pose` is a take and a time, counted from the start of the take. */
export function readWithFbx2gltf(fbx, pose = null) {
  const { glb, warnings } = pose ? openAnimated(fbx) : toGltf(fbx);
  const { gltf, view, list } = openGlb(glb);
  const nodes = pose ? playedNodes(gltf, list, pose.take, pose.time) : gltf.nodes;
  const { world, parents } = worldMatrices(nodes);
  const inUnits = (lengths) => lengths.map((value) => value / metresPerUnit);
  const materials = gltf.materials.map(({ name, pbrMetallicRoughness: pbr }) => {
    const [r, g, b, opacity] = pbr.baseColorFactor;
    const texture = gltf.textures?.[pbr.baseColorTexture?.index];
    const picture = texture ? view(gltf.images[texture.source].bufferView) : null;
    return { name, diffuse: { r, g, b }, opacity, picture };
  });

  const facts = { bones: [], meshes: [], materials, warnings };
  nodes.forEach((node, index) => {
    const common = { name: node.name, parent: parents[index] };
    if (node.mesh === undefined) {
      const { elements } = world[index];
      const place = inUnits(elements.slice(12, 15));
      const inFileUnits = [...elements.slice(0, 12), ...place, elements[15]];
      if (index > 0) facts.bones.push({ ...common, world: inFileUnits });
      return;
    }
    const mesh = {
      ...common, positions: [], materialOf: [], normals: [], coordinates: [], targets: [],
      influences: node.weights ?? [],
    };
    // What has no skin follows its own node.
    const skin = gltf.skins?.[node.skin];
    const inverses = skin && list(skin.inverseBindMatrices).map((m) => new Matrix4().fromArray(m));
    const joints = skin?.joints.map((joint, i) => world[joint].clone().multiply(inverses[i])) ??
      [world[index]];
    for (const primitive of gltf.meshes[node.mesh].primitives) {
      const { attributes, indices, material, targets = [] } = primitive;
      const [position, normal, uv, bones, weights] =
        ['POSITION', 'NORMAL', 'TEXCOORD_0', 'JOINTS_0', 'WEIGHTS_0']
          .map((name) => list(attributes[name]));
      const corners = list(indices);
      const triangles = corners.length / 3;
      mesh.materialOf.push(...new Array(triangles).fill(gltf.materials[material].name));
      targets.forEach(({ POSITION }, i) => {
        const offsets = list(POSITION).map(inUnits);
        mesh.targets[i] ??= { name: null, offsets: [] };  // FBX2glTF drops the names
        mesh.targets[i].offsets.push(...corners.map(([corner]) => offsets[corner]));
      });
      for (const [corner] of corners) {
        const placed = new Vector3();
        (skin ? bones[corner] : [0]).forEach((bone, i) => {
          const followed = new Vector3(...position[corner]).applyMatrix4(joints[bone]);
          placed.addScaledVector(followed, skin ? weights[corner][i] : 1);
        });
        mesh.positions.push(inUnits(placed.toArray()));
        if (normal) mesh.normals.push(normal[corner]);
        if (uv) mesh.coordinates.push([uv[corner][0], 1 - uv[corner][1]]);  // v runs down in glTF
      }
    }
    facts.meshes.push(mesh);
  });
  return facts;
}
