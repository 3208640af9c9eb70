// Every variable of every sample: the bodies must stand where the formula puts them.
import assert from 'node:assert/strict';
import { basename } from 'node:path';
import { after, before, test } from 'node:test';
import { launch, open, writePage } from './browser.mjs';
import { randomFrom, readSample } from './samples.mjs';

const tolerance = 1e-4;  // of the size of the character

let browser;
before(async () => { browser = await launch(); });
after(() => browser?.close());

// The first model of a sample and the second are read in different ways.
const ways = [
  { options: [], scale: 2.54 },
  { options: ['--mesh-per-body', '--lengths', 'feet'], scale: 2.54, units: { length: 12 } },
  { options: ['--scale-factor', '0.37', '--angles', 'radians'], scale: 0.37, units: { angle: 1 } },
];
let turn = 0;

for (const name of ['fox', 'robot', 'walker', 'stage']) {
  const { models, mapping, bodies, variables, size, posed } = readSample(name);
  for (const model of models) {
    const { options, scale, units } = ways[turn++ % ways.length];
    test(`${basename(model)} ${options.join(' ')}`, async () => {
      const { page, complaints, close } = await open(browser, writePage([model, mapping], options));
      const known = await page.evaluate(() => kestrixView.variables());
      assert.deepEqual(variables.filter((variable) => !known.includes(variable)), []);
      // Nothing, each variable alone, and all of them together.
      const random = randomFrom(7);
      const frames = [new Map(), ...known.map((variable) => new Map([[variable, 50]])),
        ...[1, 2, 3].map(() => new Map(known.map((variable) => [variable, 70 * random()])))];
      const answers = await page.evaluate((list) => list.map((values) => {
        kestrixView.reset();
        for (const [variable, value] of values) kestrixView.set(variable, value);
        return kestrixView.joints().map(({ id, world }) => [id, world]);
      }), frames.map((frame) => [...frame]));
      answers.forEach((joints, i) => {
        const wanted = posed(frames[i], units);
        const what = [...frames[i].keys()].join();
        assert.deepEqual(joints.map(([id]) => id).sort((a, b) => a - b),
          bodies.map(({ id }) => id).sort((a, b) => a - b));
        for (const [id, world] of joints) {
          wanted.get(id).elements.forEach((value, k) => {
            // Places may be off by parts of the size, axes by parts of themselves.
            const [place, unit] = k >= 12 && k < 15 ? [scale, size * scale] : [1, 1];
            const off = Math.abs(world[k] - place * value) / unit;
            assert.ok(off < tolerance, `body ${id} with v${what}: ${off} of the size`);
          });
        }
      });
      assert.deepEqual(complaints, []);
      await close();
    });
  }
}
