// What people see: the picture must be that of the expected posed points, drawn by other means.
import assert from 'node:assert/strict';
import { basename } from 'node:path';
import { after, before, test } from 'node:test';
import { launch, open, pictureOf, writePage } from './browser.mjs';
import { differenceOf, drawn } from './drawer.mjs';
import { randomFrom, readSample } from './samples.mjs';

const scale = 2.54;

let browser;
before(async () => { browser = await launch(); });
after(() => browser?.close());

/** Grey and alone on the canvas. */
async function openBare(model, mapping) {
  const opened = await open(browser, writePage([model, mapping]), { viewport: { width: 1100, height: 560 } });
  await opened.page.getByRole('tab', { name: 'Show' }).click();
  for (const name of ['Materials', 'Grid', 'Skeleton']) await opened.page.getByLabel(name).uncheck();
  return opened;
}

/** Shades of what is on the canvas, 0 for its ground. */
async function shadesOf(page) {
  const { pixels, width, height } = await pictureOf(page);
  const middle = 4 * width * Math.floor(height / 2);  // at the left border
  const ground = pixels.slice(middle, middle + 3).join();
  const shades = new Float32Array(width * height).map((_, i) => {
    const color = pixels.slice(4 * i, 4 * i + 3);
    return color.join() === ground ? 0 : (color[0] + color[1] + color[2]) / 3;
  });
  return { shades, width, height };
}

/** Which variable is turned round for the control, and what may be off: few pixels, many edges. */
const characters = [
  { name: 'fox', dialect: 0, bent: 21, most: { shape: 0.002, shade: 3 } },
  { name: 'robot', dialect: 1, bent: 22, most: { shape: 0.002, shade: 3 } },
  { name: 'walker', dialect: 0, bent: 20, most: { shape: 0.02, shade: 12 } },
];
const views = [['1', [1, 0, 0]], ['2', [0, 0, -1]]];  // the key, and what is to the right then

for (const { name, dialect, bent, most } of characters) {
  const sample = readSample(name);
  const model = sample.models[dialect];
  const random = randomFrom(11);
  const frame = new Map(sample.variables.map((variable) => [variable, 25 * random()]));
  sample.sliders.forEach((variable) => frame.set(variable, 0.6));
  const turned = new Map([...frame, [bent, -frame.get(bent)]]);
  const fits = ({ shape, shade }) => shape < most.shape && shade < most.shade;

  test(`${basename(model)} is drawn where it is`, async () => {
    const { page, complaints, close } = await openBare(model, sample.mapping);
    const unseen = [];  // pictures in which a wrong sign would not be noticed
    for (const posed of [false, true]) {
      await page.evaluate(([values, rest]) => {
        for (const [variable, value] of values) kestrixView.set(variable, value);
        kestrixView.rest(rest);
      }, [[...frame], !posed]);
      for (const [key, toRight] of views) {
        await page.keyboard.press(key);
        const { shades, width, height } = await shadesOf(page);
        const camera = await page.evaluate(() => kestrixView.camera());
        toRight.forEach((part, axis) => assert.ok(Math.abs(camera.view[4 * axis] - part) < 1e-6));
        const compare = (values) => {
          const polygons = posed ? sample.polygons(sample.posed(values), scale, values) :
            sample.polygons(sample.rest(), scale);
          return differenceOf(shades, drawn(polygons, camera, width, height), width);
        };
        const found = compare(frame);
        assert.ok(found.covered > 0.001 && fits(found),
          `${posed ? 'posed' : 'rest'}, key ${key}: ${JSON.stringify(found)}`);
        if (posed && fits(compare(turned))) unseen.push(key);
      }
    }
    assert.ok(unseen.length < views.length, 'a wrong sign would not be seen');
    assert.deepEqual(complaints, []);
    await close();
  });
}
