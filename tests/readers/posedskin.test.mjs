// Skins in motion: every body is turned in the reader, and every corner must be where linear
// blending of the model's own weights and transforms puts it.
import assert from 'node:assert/strict';
import { join } from 'node:path';
import { test } from 'node:test';
import { Euler, Matrix4, Quaternion, Vector3 } from 'three';
import { readBodies, readCorners } from './inputs.mjs';
import { assertMatched } from './matching.mjs';
import { convert, samples } from './program.mjs';
import { readersOf } from './readers.mjs';

const tolerance = 1e-4;  // of the size of the character

const turnOf = (i) => new Quaternion().setFromEuler(new Euler(0.3 + 0.02 * i, -0.25, 0.35));

function worldMatrices(bodies, pose) {
  const world = new Map([[0, new Matrix4()]]);
  const find = ({ id, name, parentId, rows: [x, y, z], origin }) => {
    if (!world.has(parentId)) find(bodies.find((body) => body.id === parentId));
    const matrix = new Matrix4().makeBasis(new Vector3(...x), new Vector3(...y), new Vector3(...z));
    matrix.setPosition(...origin).premultiply(world.get(parentId));
    if (pose.has(name)) matrix.multiply(new Matrix4().makeRotationFromQuaternion(pose.get(name)));
    world.set(id, matrix);
  };
  bodies.forEach(find);
  return world;
}

/** Body id -> weight, all of them together 1. */
function weightsOf({ body, flexes }, parents) {
  const weights = new Map();
  const total = flexes.reduce((sum, [weight]) => sum + weight, 0);
  const add = (id, weight) => weight > 0 && weights.set(id, (weights.get(id) ?? 0) + weight);
  add(body, 1 - total);
  flexes.forEach(([weight, id]) => add(id ?? parents.get(body), weight / Math.max(total, 1)));
  return weights;
}

/** Of each corner of the model: its place at rest, and its values in the pose. */
function blend(bodies, corners, pose, scale) {
  const rest = worldMatrices(bodies, new Map());
  const posed = worldMatrices(bodies, pose);
  const moves = new Map([...rest].map(([id, matrix]) =>
    [id, posed.get(id).clone().multiply(matrix.clone().invert())]));
  const parents = new Map(bodies.map(({ id, parentId }) => [id, parentId]));
  return corners.map((corner) => {
    const start = new Vector3(...corner.point).applyMatrix4(rest.get(corner.body));
    const weights = weightsOf(corner, parents);
    const end = new Vector3();
    weights.forEach((weight, id) =>
      end.addScaledVector(start.clone().applyMatrix4(moves.get(id)), weight));
    const [place, values] = [start, end].map((point) => point.multiplyScalar(scale).toArray());
    return { place, values };
  });
}

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
    const wanted = blend(bodies, corners, pose, scale);
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
