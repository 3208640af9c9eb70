// Every sample, converted with every kind of option, as readers that we did not write see it. Files
// of the older family are compared with these in families.test.mjs.
import assert from 'node:assert/strict';
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import * as facts from './facts.mjs';
import { readBodies, readRotationOrders, readTextureCoordinates } from './inputs.mjs';
import { convert, samples } from './program.mjs';
import { readersOf, readWithThree } from './readers.mjs';

// The legacy form of a model holds no sliders. The stage has no legacy form: its textured corners
// are those of the fox that it includes.
const characters = [
  { name: 'fox', model: 'fox.mdl' },
  { name: 'robot', model: 'robot.mdl' },
  { name: 'walker', model: 'walker.mdl' },
  { name: 'fox', model: 'fox-v2.mdl' },
  { name: 'robot', model: 'robot-v2.mdl', sliders: true },
  { name: 'walker', model: 'walker-v2.mdl' },
  { name: 'stage', model: 'stage-v2.mdl', corners: 'fox.mdl' },
];

const ways = [
  { options: [] },
  { options: ['-mesh_per_body'], meshPerBody: true },
  { options: ['-scale_factor', '0.37'], scale: 0.37 },
  { options: ['-mesh_per_body', '-scale_factor', '100'], scale: 100, meshPerBody: true },
];

const inSamples = (name) => join(samples, name);
const readPicture = (name) => readFileSync(inSamples(name));

for (const { name, model, corners = `${name}.mdl`, sliders = false } of characters) {
  const expected = JSON.parse(readFileSync(inSamples(`${name}.expected.json`)));
  const { min, max } = expected.bounding_box;
  const diagonal = Math.hypot(...max.map((value, axis) => value - min[axis]));
  const orders = readRotationOrders(inSamples(`${name}.dof`));
  const legacy = inSamples(`${name}.mdl`);
  const bodies = existsSync(legacy) ? readBodies(legacy) : expected.bodies;
  const coordinates = readTextureCoordinates(inSamples(corners));

  for (const { options, scale = 2.54, meshPerBody = false } of ways) {
    const size = diagonal * scale;
    test(`${model} ${options.join(' ')}`, async (t) => {
      const fbx = convert(inSamples(model), inSamples(`${name}.dof`), options);
      for (const read of readersOf[2011]) {
        const found = read(fbx);
        const checks = {
          'opens without a warning': () => assert.deepEqual(found.warnings, []),
          bodies: () => facts.compareBones(found, expected, scale, size),
          // glTF has rotations as quaternions, without an order.
          ...(read === readWithThree && {
            rotations: () => facts.compareRotations(found, bodies, orders),
          }),
          meshes: () => facts.compareMeshes(found, expected, scale, size, meshPerBody),
          normals: () => facts.compareNormals(found),
          materials: () => facts.compareMaterials(found, expected, readPicture),
          'texture coordinates': () => facts.compareTextureCoordinates(found, coordinates),
          ...(sliders && {
            sliders: () => facts.compareSliders(found, expected.sliders, scale, size),
          }),
        };
        for (const [what, check] of Object.entries(checks)) {
          await t.test(`${read.name}: ${what}`, check);
        }
      }
    });
  }
}
