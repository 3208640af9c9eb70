// A character is the same scene in both file families and as text, down to every corner of every
// triangle, and a small difference of two scenes is a small one of their texts.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { openGlb } from './gltfreader.mjs';
import { assertMatched } from './matching.mjs';
import { convert, freshPath, samples, toGltf } from './program.mjs';
import { readWithThree } from './threereader.mjs';

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

/** The same nodes, materials, pictures, bindings, and every corner of every triangle. */
function assertSameScene(found, wanted) {
  for (const part of ['scene', 'pictures', 'bindings']) {
    assert.deepEqual(found[part], wanted[part], part);
  }
  wanted.primitives.forEach((triangles, i) => {
    const others = found.primitives[i];
    assert.equal(others.length, triangles.length);
    assertMatched(others, triangles, limit, `primitive ${i}`);
  });
}

const characters = [
  { model: 'fox.mdl', name: 'fox', texts: ['2011', '2010'] },  // with a picture
  { model: 'robot.mdl', name: 'robot' },
  { model: 'robot-v2.mdl', name: 'robot', texts: ['2011', '2010'] },  // with sliders
  { model: 'walker-v2.mdl', name: 'walker' },
  { model: 'stage-v2.mdl', name: 'stage' },
];

/** All but the pictures, which the loader leaves out of text files. */
function readThree(fbx) {
  const facts = readWithThree(fbx);
  facts.materials.forEach((material) => { material.picture = null; });
  return facts;
}

for (const { model, name, texts = [] } of characters) {
  const convertFor = (version, options = [], ascii = false) =>
    convert(join(samples, model), join(samples, `${name}.dof`),
      [...options, '-mb_version', version], ascii);
  for (const options of [[], ['-mesh_per_body', '-scale_factor', '10']]) {
    test(`${model} ${options.join(' ')} in both families`, () => {
      assertSameScene(readScene(convertFor('2010', options)),
        readScene(convertFor('2011', options)));
    });
  }
  for (const version of texts) {
    test(`${model} as text for ${version}`, () => {
      const [text, binary] = [true, false].map((ascii) => convertFor(version, [], ascii));
      assertSameScene(readScene(text), readScene(binary));
      if (version === '2011') assert.deepEqual(readThree(text), readThree(binary));
    });
  }
}

test('one point that moves changes few lines', () => {
  const original = readFileSync(join(samples, 'fox-v2.mdl'), 'utf8');
  // The second point: the first one is shared with another body, and would leave it behind.
  const moved = original.replace(/(COORDINATES \{\n.*\n +\S+ \S+ )\S+/, '$199.5');
  assert.notEqual(moved, original);
  for (const version of ['2011', '2010']) {
    const [before, after] = [original, moved].map((text) => {
      const model = freshPath('.mdl');
      writeFileSync(model, text.replaceAll('fox_fox_material.png', join(samples, '$&')));
      const fbx = convert(model, join(samples, 'fox.dof'), ['-mb_version', version], true);
      return readFileSync(fbx, 'utf8').replaceAll(/Converted from \S+/g, '').split('\n');
    });
    assert.equal(after.length, before.length);
    const changed = before.filter((line, i) => line !== after[i]);
    // The point itself, and the normals of the points around it.
    assert.ok(changed.length > 1 && changed.length < 20, `${changed.length} lines in ${version}`);
    assert.ok(changed.every((line) => line.length < 100));
  }
});
