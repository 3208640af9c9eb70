// Opens an FBX with three.js and answers the facts that facts.mjs compares.
import { readFileSync } from 'node:fs';
import { AnimationMixer, LoopOnce, SRGBColorSpace, Vector3 } from 'three';

// The loader hands embedded pictures to the browser: these stand in for it and keep the bytes.
const pictures = new Map();
globalThis.window = globalThis;
globalThis.Blob = class {
  constructor(parts) {
    this.bytes = Buffer.concat(parts.map((part) => Buffer.from(part)));
  }
};
URL.createObjectURL = ({ bytes }) => {
  const url = `picture:${pictures.size}`;
  pictures.set(url, bytes);
  return url;
};
class Picture {
  addEventListener(type, listener) {
    if (type === 'load') this.loaded = listener;
  }
  removeEventListener() {}
  set src(url) {
    this.url = url;
    this.loaded();
  }
}
globalThis.document = { createElementNS: () => new Picture() };

const { FBXLoader } = await import('three/examples/jsm/loaders/FBXLoader.js');

const nameOf = (object) => object.userData.originalName ?? object.name;

function trianglesOf(mesh) {
  const { attributes, groups, morphAttributes } = mesh.geometry;
  const corners = attributes.position.count;
  const positions = [];
  const point = new Vector3();
  for (let i = 0; i < corners; ++i) {
    point.fromBufferAttribute(attributes.position, i);
    if (mesh.isSkinnedMesh) mesh.applyBoneTransform(i, point);
    positions.push(point.applyMatrix4(mesh.matrixWorld).toArray());
  }
  const materials = [mesh.material].flat();
  const materialOf = new Array(corners / 3);
  const parts = groups.length ? groups : [{ start: 0, count: corners, materialIndex: 0 }];
  for (const { start, count, materialIndex } of parts) {
    materialOf.fill(materials[materialIndex].name, start / 3, (start + count) / 3);
  }
  const list = (attribute) =>
    attribute && Array.from({ length: corners }, (_, i) =>
      Array.from({ length: attribute.itemSize }, (__, c) => attribute.getComponent(i, c)));
  return {
    positions,
    materialOf,
    normals: list(attributes.normal),
    coordinates: list(attributes.uv),
    targets: (morphAttributes.position ?? []).map((target) =>
      ({ name: target.name, offsets: list(target) })),
  };
}

/** `pose` is a take and a time, counted from the zero of the file. */
export function readWithThree(fbx, pose = null) {
  const warnings = [];
  const { warn } = console;
  console.warn = (text) => {
    // A limit of this reader, not a fault of the file.
    if (!text.includes('more than 4 skinning weights')) warnings.push(text);
  };
  const file = readFileSync(fbx);
  const bytes = file.buffer.slice(file.byteOffset, file.byteOffset + file.length);
  const scene = new FBXLoader().parse(bytes, '');
  console.warn = warn;
  if (pose) {
    const mixer = new AnimationMixer(scene);
    const action = mixer.clipAction(scene.animations.find(({ name }) => name === pose.take));
    action.setLoop(LoopOnce);
    action.clampWhenFinished = true;  // the last frame, not the first one again
    action.play();
    mixer.setTime(pose.time);
  }
  scene.updateMatrixWorld(true);

  const facts = { bones: [], meshes: [], warnings };
  const materials = new Map();  // by name: the loader makes one for each mesh
  scene.traverse((object) => {
    // A bone that two skins share is doubled by the loader; the copies have no transform data.
    const transform = object.userData.transformData;
    if (object.isBone && transform) {
      const parent = object.parent.isBone ? nameOf(object.parent) : null;
      const { eulerOrder, preRotation = [0, 0, 0] } = transform;
      const world = object.matrixWorld.elements;
      facts.bones.push({ name: nameOf(object), parent, world, eulerOrder, preRotation });
    }
    if (!object.isMesh) return;
    facts.meshes.push({
      name: nameOf(object), parent: nameOf(object.parent), ...trianglesOf(object),
      influences: [...object.morphTargetInfluences ?? []],
    });
    [object.material].flat().forEach((material) => materials.set(material.name, material));
  });
  const bytesOf = (texture) => pictures.get(texture?.image?.url) ?? null;
  facts.materials = [...materials.values()].map(({ name, color, opacity, reflectivity, map, envMap }) => ({
    name, diffuse: color.getRGB({}, SRGBColorSpace), opacity,
    reflectivity, picture: bytesOf(map), reflected: bytesOf(envMap),
  }));
  return facts;
}
