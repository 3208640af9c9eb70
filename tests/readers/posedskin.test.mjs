// Skins in motion: every body is turned in the reader, and every corner must be where linear
// blending of the model's own weights and transforms puts it.
import assert from 'node:assert/strict';
import { join } from 'node:path';
import { test } from 'node:test';
import { Euler, Matrix4, Quaternion } from 'three';
import { readBodies, readCorners } from './inputs.mjs';
import { assertMatched } from './matching.mjs';
import { convert, samples } from './program.mjs';
import { readersOf } from './readers.mjs';
import { blend, restMatrices } from './skin.mjs';

const tolerance = 1e-4;  // of the size of the character

const turnOf = (i) => new Quaternion().setFromEuler(new Euler(0.3 + 0.02 * i, -0.25, 0.35));

/** The transforms of the bodies, each turned in its own axes. */
const worldMatrices = (bodies, pose) => restMatrices(bodies, (matrix, name) =>
  matrix.multiply(new Matrix4().makeRotationFromQuaternion(pose.get(name))));

function readMotion(read, fbx, pose) {
  const atRest = read(fbx).meshes.flatMap(({ positions }) => positions);
  const inPose = read(fbx, pose).meshes.flatMap(({ positions }) => positions);
  return atRest.map((place, i) => ({ place, values: inPose[i] }));
}

const characters = [
  { name: 'fox', models: ['fox.mdl', 'fox-v2.mdl'] },
  { name: 'robot', models: ['robot.mdl', 'robot-v2.mdl'] },
];
const ways = [
  { options: [] },
  { options: ['-mesh_per_body', '-scale_factor', '0.37'], scale: 0.37 },
];

for (const { name, models } of characters) {
  const legacy = join(samples, `${name}.mdl`);
  const bodies = readBodies(legacy);
  const corners = readCorners(legacy);
  const pose = new Map(bodies.map((body, i) => [body.name, turnOf(i)]));

  for (const { options, scale = 2.54 } of ways) {
    const wanted = blend(bodies, corners, worldMatrices(bodies, pose), scale);
    const distance = (a, b) => Math.hypot(...a.map((value, axis) => value - b[axis]));
    const size = Math.max(...wanted.map(({ place }) => distance(place, wanted[0].place)));
    const limit = size * tolerance;
    test(`${name} posed, ${options.join(' ')}`, async (t) => {
      assert.ok(wanted.some(({ place, values }) => distance(place, values) > size / 4));
      for (const model of models) {
        const fbx = convert(join(samples, model), join(samples, `${name}.dof`), options);
        for (const read of readersOf[2011]) {
          await t.test(`${model}, ${read.name}`, () =>
            assertMatched(readMotion(read, fbx, pose), wanted, limit, 'the corners of the file'));
        }
      }
    });
  }
}
