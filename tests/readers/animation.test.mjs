// Motion on characters, as readers play it: at every frame each body must stand where the formula
// puts it, each corner where the bodies carry it, and each slider at its share.
import assert from 'node:assert/strict';
import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { readUserProperties } from './gltfreader.mjs';
import { readBodies, readCorners, readMapping, readSliderVariables } from './inputs.mjs';
import { assertMatched } from './matching.mjs';
import { bodiesOf, worldMatrices } from './pose.mjs';
import { animate, freshPath, samples } from './program.mjs';
import { readersOf, readWithThree } from './readers.mjs';
import { generator } from './random.mjs';
import { blend } from './skin.mjs';

const tolerance = 1e-4;
const inSamples = (name) => join(samples, name);

/** A motion of some variables at 30 frames per second: its times, and rows of values by variable. */
function makeMotion(random, count, start, frames, shares = new Set()) {
  const variables = Array.from({ length: count }, (_, i) => i + 1).filter(() => random() < 0.8);
  const waves = variables.map((v) =>
    (shares.has(v) ? [0.4, 1, random() * 6] : [120 * random(), 9 * random(), random() * 6]));
  const times = Array.from({ length: frames }, (_, i) => start + i / 30);
  const rows = times.map((time) => new Map(variables.map((v, i) => {
    const [size, speed, phase] = waves[i];
    return [v, +(size * Math.sin(speed * time + phase)).toFixed(4)];
  })));
  return { times, rows };
}

/** The same motion, but smaller. */
const shrunk = ({ times, rows }, share) => ({
  times,
  rows: rows.map((row) => new Map([...row].map(([v, value]) => [v, +(share * value).toFixed(6)]))),
});

function writeMotion({ times, rows }, name) {
  const file = freshPath(`-${name}.csv`);
  const header = ['time', ...rows[0].keys()].join(',');
  const lines = rows.map((row, i) => [times[i], ...row.values()].join(','));
  writeFileSync(file, [header, ...lines, ''].join('\r\n'));
  return file;
}

/** A mapping of all bodies: orders of all kinds, combinations, constants, shared variables. */
function makeMapping(random, bodies, variables) {
  const any = () => 1 + Math.floor(random() * variables);
  const maps = bodies.map(({ id }) => {
    const kinds = [1, 2, 3, 4, 5, 6].map((kind) => [random(), kind]).sort(([a], [b]) => a - b);
    const drivers = kinds.map(() => {
      const choice = random();
      if (choice < 0.1) return '0';
      if (choice < 0.2) return `-1 ${(random() * 20 - 10).toFixed(3)}`;
      if (choice < 0.5) return `-3 ${(random() * 9).toFixed(2)} ${any()} 0.5 ${any()} -0.25`;
      return `${any()}`;
    });
    return [id, kinds.map(([, kind]) => kind).join(' '), ...drivers].join('\n');
  });
  const file = freshPath('.dof');
  writeFileSync(file, ['Zov Graphic Mapping File', 'v1.0', variables, bodies.length, ...maps, '']
    .join('\n'));
  return file;
}

function compareBones(found, bodies, world, scale, size) {
  assert.equal(found.length, bodies.length);
  const bones = new Map(found.map((bone) => [bone.name, bone.world]));
  for (const { id, name } of bodies) {
    world.get(id).elements.forEach((value, i) => {
      const [wanted, limit] = i >= 12 && i < 15 ? [value * scale, size * scale] : [value, 1];
      const got = bones.get(name)[i];
      assert.ok(Math.abs(got - wanted) <= limit * tolerance, `${name}[${i}]: ${got}, not ${wanted}`);
    });
  }
}

const characters = ['fox', 'robot', 'walker', 'stage'];
const ways = [
  { version: '2011', scale: 2.54 },
  { version: '2010', scale: 2.54 },
  { version: '2011', scale: 0.37, options: ['--scale-factor', '0.37', '--mesh-per-body'] },
  {
    version: '2011', scale: 2.54, options: ['--angles', 'radians', '--lengths', 'feet'],
    units: { angle: 1, length: 12 }, share: 0.02,
  },
];

for (const name of characters) {
  const model = inSamples(`${name}-v2.mdl`);
  const expected = JSON.parse(readFileSync(inSamples(`${name}.expected.json`)));
  const bodies = bodiesOf(expected);
  const { min, max } = expected.bounding_box;
  const size = Math.hypot(...max.map((value, axis) => value - min[axis]));
  const random = generator(name.length * 7919);
  const legacy = inSamples(`${name}.mdl`);
  const rests = existsSync(legacy) ? readBodies(legacy) : [];
  const corners = existsSync(legacy) ? readCorners(legacy) : [];
  const sliders = readSliderVariables(inSamples(`${name}.dof`));
  const shares = new Set(sliders.values());
  const mappings = [
    { mapping: inSamples(`${name}.dof`), what: 'its mapping' },
    { mapping: makeMapping(random, bodies, 40), what: 'a random mapping' },
  ];

  for (const { mapping, what } of mappings) {
    const maps = readMapping(mapping);
    const used = [...maps.values()].flat().flatMap(({ terms }) => terms.map(([v]) => v));
    const count = Math.max(...used, ...sliders.values());
    // The second one starts late and has a single frame.
    const motions = [makeMotion(random, what === 'its mapping' ? count : 40, 0, 20, shares),
      makeMotion(random, 1, 0.5, 1, shares)];

    for (const { version, scale, options = [], units = {}, share = 1 } of ways) {
      const takes = motions.map((motion) => shrunk(motion, share));
      const files = takes.map((motion, i) => writeMotion(motion, `take${i}`));
      test(`${name}, ${what}, ${version} ${options.join(' ')}`, async (t) => {
        const fbx = animate(model, mapping, files, ['--mb-version', version, ...options]);
        for (const read of readersOf[version]) {
          for (const [i, { times, rows }] of takes.entries()) {
            await t.test(`${read.name}, take ${i}`, () => rows.forEach((row, frame) => {
              const take = files[i].split('/').pop().slice(0, -4);
              const time = read === readWithThree ? times[frame] : times[frame] - times[0];
              const found = read(fbx, { take, time });
              const world = worldMatrices(bodies, maps, row, units);
              compareBones(found.bones, bodies, world, scale, size);
              if (what === 'its mapping') {
                for (const { targets, influences } of found.meshes) {
                  targets.forEach(({ name: slider }, k) => {
                    const variable = [...sliders][k][1];
                    assert.ok(slider === null || slider === [...sliders][k][0]);
                    assert.ok(Math.abs(influences[k] - (row.get(variable) ?? 0)) < tolerance);
                  });
                }
              }
              if (frame !== 7 || corners.length === 0) return;
              const atRest = read(fbx).meshes.flatMap(({ positions }) => positions);
              const posed = found.meshes.flatMap(({ positions }) => positions);
              const entries = atRest.map((place, k) => ({ place, values: posed[k] }));
              assertMatched(entries, blend(rests, corners, world, scale),
                size * scale * tolerance, 'the posed corners');
            }));
          }
        }
      });
    }
  }
}

test('user properties tell what drives a body', () => {
  for (const version of ['2011', '2010']) {
    const fbx = animate(inSamples('fox.mdl'), inSamples('fox.dof'), [], ['--mb-version', version]);
    const properties = readUserProperties(fbx);
    assert.deepEqual(properties.get('b_Hip_01'), {
      bodyId: 3,
      transforms: 'yTranslation yRotation zTranslation xRotation xTranslation zRotation',
      xRotation: 'v11', yRotation: '0.5 * v11 - 0.125 * v12 - 0.25', zRotation: 'v12',
    });
    assert.equal([...properties.values()].filter(({ bodyId }) => bodyId > 0).length, 24);
  }
});
