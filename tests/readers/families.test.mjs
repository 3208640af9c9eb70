// A character is the same scene in both file families, down to every corner of every triangle.
import assert from 'node:assert/strict';
import { join } from 'node:path';
import { test } from 'node:test';
import { openGlb } from './gltfreader.mjs';
import { unmatched } from './matching.mjs';
import { convert, samples, toGltf } from './program.mjs';

const limit = 1e-5;  // of weights, and of lengths in metres: the samples are metres tall

const characters = [
  ['fox.mdl', 'fox'],
  ['robot.mdl', 'robot'],
  ['robot-v2.mdl', 'robot'],
  ['walker-v2.mdl', 'walker'],
  ['stage-v2.mdl', 'stage'],
];

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

function readScene(fbx) {
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

for (const [model, mapping] of characters) {
  for (const options of [[], ['-mesh_per_body', '-scale_factor', '10']]) {
    test(`${model} ${options.join(' ')} in both families`, () => {
      const [newer, older] = ['2011', '2010'].map((version) =>
        readScene(convert(join(samples, model), join(samples, `${mapping}.dof`),
          [...options, '-mb_version', version])));
      assert.deepEqual(older.scene, newer.scene);
      assert.deepEqual(older.pictures, newer.pictures);
      assert.deepEqual(older.bindings, newer.bindings);
      newer.primitives.forEach((triangles, i) => {
        const others = older.primitives[i];
        assert.equal(others.length, triangles.length);
        assert.equal(unmatched(triangles, others, limit), 0, `only in 7.1, primitive ${i}`);
        assert.equal(unmatched(others, triangles, limit), 0, `only in 6.1, primitive ${i}`);
      });
    });
  }
}
