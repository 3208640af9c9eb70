// Measures how many pictures a second the page draws of a large character, without a graphics
// processor, on a canvas of 800 x 600.
//   node bench/view.mjs [<triangles> [<bodies> [<option of view> ...]]]
import { writeFileSync } from 'node:fs';
import { freshPath, launch, open, writePage } from '../tests/view/browser.mjs';

const kAround = 12;      // corners of an arm's cross-section
const kBodiesOfArm = 20;
const kSeconds = 2;
const kTimes = 3;

const frame = (x, y, z) => `1 0 0\n0 1 0\n0 0 1\n${x} ${y} ${z}\n`;
const bodyRecord = (id, parent, place) => `X\nbody ${id}\n${id}\nparent\n${parent}\n${frame(...place)}`;

/** The tube of a body along Y as quads; the ring at its joint follows the parent by half. */
function tube(id, bends, rings, length, radius) {
  const vertex = (i, k) => {
    const angle = 2 * Math.PI * k / kAround;
    const wide = radius * (1 + 0.2 * Math.sin(9 * i / rings));
    const at = [wide * Math.cos(angle), length * i / rings, wide * Math.sin(angle)]
      .map((value) => value.toFixed(5)).join(' ');
    const soft = bends && i < rings / 4 ? `2 ${(0.5 - 2 * i / rings).toFixed(4)} ` : '';
    return ` ${at} ${soft}-1\n`;
  };
  const quads = [];
  for (let i = 0; i < rings; ++i) {
    for (let k = 0; k < kAround; ++k) {
      const corners = [[i, k], [i + 1, k], [i + 1, k + 1], [i, k + 1]].map(([a, b]) => vertex(a, b));
      quads.push(`F ${id} ${1 + id % 4} 4\n${corners.join('')}`);
    }
  }
  return quads.join('');
}

/** A creature of many arms: its model and its mapping, a variable for each body. */
function creature(triangles, bodies) {
  const rings = Math.max(1, Math.round(triangles / bodies / kAround / 2));
  const model = ['Zov Graphic Model File\nv1.30\n'];
  const maps = [];
  for (let id = 1; id <= 4; ++id) {
    model.push(`M ${id} paint${id}\n 3 ${0.2 * id} 0.5 ${1 - 0.2 * id}\n 5 20\n 0\n`);
  }
  model.push(bodyRecord(1, 0, [0, 40, 0]));
  for (let id = 2; id <= bodies; ++id) {
    const arm = Math.floor((id - 2) / kBodiesOfArm);
    const first = (id - 2) % kBodiesOfArm === 0;
    const place = first ? [8 * Math.cos(arm * 2.4), 2, 8 * Math.sin(arm * 2.4)] : [0, 3, 0];
    model.push(bodyRecord(id, first ? 1 : id - 1, place));
    maps.push(`${id}\n1 2 3 4 5 6\n0\n0\n0\n${1 + id % 7}\n0\n${id + 10}\n`);
  }
  for (let id = 1; id <= bodies; ++id) model.push(tube(id, id > 1, rings, 3, id === 1 ? 6 : 1.2));
  return { model: model.join(''),
    mapping: `Zov Graphic Mapping File\nv1.0\n${bodies + 20}\n${maps.length}\n${maps.join('')}` };
}

const [triangles = '110000', bodies = '300', ...options] = process.argv.slice(2);
const { model, mapping } = creature(Number(triangles), Number(bodies));
const files = [freshPath('.mdl'), freshPath('.dof')];
writeFileSync(files[0], model);
writeFileSync(files[1], mapping);
const path = writePage(files, options);
const browser = await launch();
const { page, complaints } = await open(browser, path, { viewport: { width: 1470, height: 640 } });
const { width, height } = await page.locator('#canvas').boundingBox();
await page.setViewportSize(
  { width: Math.round(1470 + 800 - width), height: Math.round(640 + 600 - height) });

/** Pictures a second, several times. */
const rates = () => page.evaluate(async ([times, seconds]) => {
  const answers = [];
  for (let i = 0; i < times; ++i) {
    const [start, frames] = [performance.now(), kestrixView.frames()];
    await new Promise((resolve) => { setTimeout(resolve, 1000 * seconds); });
    answers.push((kestrixView.frames() - frames) / (performance.now() - start) * 1000);
  }
  return answers.map((rate) => rate.toFixed(0)).join(', ');
}, [kTimes, kSeconds]);

const tell = async (what) => console.log(`${what}: ${await rates()} pictures a second`);
await page.getByLabel('swing variable 3', { exact: true }).click();
await page.waitForTimeout(500);
await tell('a variable swings');
await page.evaluate(() => {
  const canvas = document.getElementById('canvas');
  const turn = () => {
    canvas.dispatchEvent(new KeyboardEvent('keydown', { key: 'ArrowLeft', bubbles: true }));
    requestAnimationFrame(turn);
  };
  document.dispatchEvent(new KeyboardEvent('keydown', { key: 'Escape' }));
  turn();
});
await tell('the camera turns');
if (complaints.length > 0) console.log(complaints.join('\n'));
await browser.close();
