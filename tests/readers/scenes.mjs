// Opens an FBX with the SDK based FBX2glTF as a whole scene, and compares two of them.
import assert from 'node:assert/strict';
import { openGlb } from './gltfreader.mjs';
import { unmatched } from './matching.mjs';
import { toGltf } from './program.mjs';

const limit = 1e-5;  // of weights, and of lengths in metres: the samples are metres tall

/** The weights of a corner, one for each joint. */
function spread(joints, weights, count) {
  const all = new Array(count).fill(0);
  joints.forEach((joint, i) => { all[joint] += weights[i]; });
  return all;
}

/** All that a primitive says of its triangles; the place is that of the first corner. */
function trianglesOf({ attributes, indices, targets = [] }, list, joints) {
  const { JOINTS_0: bones, WEIGHTS_0: weights, ...others } = attributes;
  const columns = [others, ...targets].flatMap(Object.values).map(list);
  if (bones !== undefined) {
    const followed = list(weights);
    columns.push(list(bones).map((bone, i) => spread(bone, followed[i], joints)));
  }
  const corners = list(indices).map(([index]) => columns.flatMap((column) => column[index]));
  const places = list(attributes.POSITION);
  return list(indices).flatMap(([index], i) =>
    (i % 3 === 0 ? [{ place: places[index], values: corners.slice(i, i + 3).flat() }] : []));
}

export function readScene(fbx) {
  const { glb, warnings } = toGltf(fbx);
  assert.deepEqual(warnings, []);
  const { gltf, view, list } = openGlb(glb);
  // The reader merges corners that are equal to the last bit, so lists differ in length.
  const { buffers, bufferViews, accessors, ...scene } = gltf;
  const joints = Math.max(0, ...(gltf.skins ?? []).map((skin) => skin.joints.length));
  return {
    scene,
    pictures: (gltf.images ?? []).map(({ bufferView }) => view(bufferView)),
    bindings: (gltf.skins ?? []).map((skin) => list(skin.inverseBindMatrices).flat()),
    primitives: gltf.meshes.flatMap(({ primitives }) =>
      primitives.map((primitive) => trianglesOf(primitive, list, joints))),
  };
}

/** The same nodes, materials, pictures, bindings, and every corner of every triangle. */
export function assertSameScene(found, wanted) {
  for (const part of ['scene', 'pictures', 'bindings']) {
    assert.deepEqual(found[part], wanted[part], part);
  }
  wanted.primitives.forEach((triangles, i) => {
    const others = found.primitives[i];
    assert.equal(others.length, triangles.length);
    assert.equal(unmatched(triangles, others, limit), 0, `missing in primitive ${i}`);
    assert.equal(unmatched(others, triangles, limit), 0, `more in primitive ${i}`);
  });
}
