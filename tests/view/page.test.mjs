// The page in a real browser: what it shows, what it answers to, and what it must not do.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { cpSync, existsSync, mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import {
  freshPath, launch, open, root, runTool, samples, shotOf, sizeOf, writePage,
} from './browser.mjs';

let browser;
before(async () => { browser = await launch(); });
after(() => browser?.close());

const filesOf = (name, model = name) =>
  [join(samples, `${model}.mdl`), join(samples, `${name}.dof`)];

test('takes play, pause, loop and can be scrubbed', async () => {
  const motion = freshPath('.csv');
  writeFileSync(motion, 'time,v21,22\n1,0,5\n1.5,40,5\n1.75,20,-5\n');
  const files = [...filesOf('fox'), motion, motion];
  const { page, complaints, close } = await open(browser, writePage(files));
  const valueOf = (variable) => page.evaluate((id) => kestrixView.value(id), variable);
  assert.match((await page.getByLabel('Take').allInnerTexts()).join(), /^(.+)\s+\1_2$/);
  await page.evaluate(() => { kestrixView.set(30, 9); kestrixView.seek(1, 1.25); });
  assert.deepEqual([await valueOf(21), await valueOf(22), await valueOf(30)], [20, 5, 0]);
  const row = page.getByLabel('value of variable 21');
  await row.scrollIntoViewIfNeeded();
  await page.waitForFunction((field) => field.value === '20', await row.elementHandle());
  await page.getByLabel('Time').fill('1.625');
  assert.deepEqual([await valueOf(21), await valueOf(22)], [30, 0]);

  await page.locator('#canvas').focus();
  await page.keyboard.press(' ');
  await page.waitForFunction(() => kestrixView.value(22) === 5);  // only before 1.5 s: it has looped
  await page.getByLabel('loop').uncheck();
  await page.getByRole('button', { name: 'Play' }).waitFor();
  assert.deepEqual([await valueOf(21), await valueOf(22)], [20, -5]);
  await page.getByLabel('Speed').selectOption('0.1');
  await page.getByRole('button', { name: 'Play' }).click();
  await page.waitForFunction(() => kestrixView.value(21) > 1);
  await page.getByRole('button', { name: 'Pause' }).click();
  const stopped = await valueOf(21);
  assert.ok(stopped < 39, `${stopped}`);
  await page.waitForTimeout(200);
  assert.equal(await valueOf(21), stopped);
  assert.deepEqual(complaints, []);
  await close();
});

test('the page holds the very bytes that kestrix writes', () => {
  // The file is taken to lie beside the model: it names the pictures from where it lies.
  const folder = freshPath('');
  cpSync(samples, folder, { recursive: true });
  const files = [join(folder, 'fox.mdl'), join(folder, 'fox.dof')];
  const fbx = join(folder, 'fox.fbx');
  const kestrix = process.env.KESTRIX ?? join(root, 'build/release/kestrix');
  assert.equal(spawnSync(kestrix, [...files, fbx]).status, 0);
  const path = writePage(files);
  const [, text] = /id="kestrix-fbx">([^<]*)</.exec(readFileSync(path, 'utf8'));
  assert.ok(Buffer.from(text, 'base64').equals(readFileSync(fbx)));
  assert.ok(sizeOf(path) - text.length < 800_000, 'the viewer is too large');
});

test('clicks, keys, search, sliders and findings', async () => {
  const { page, complaints, close } = await open(browser, writePage(filesOf('fox')));
  const chosen = () => page.evaluate(() => kestrixView.chosen());
  const picture = () => shotOf(page);
  const canvas = await page.locator('#canvas').boundingBox();

  const head = await page.evaluate(() => kestrixView.place(7));
  await page.mouse.move(canvas.x + head.x, canvas.y + head.y);
  await page.locator('#tip', { hasText: 'b_Head_05' }).waitFor();
  await page.mouse.click(canvas.x + head.x, canvas.y + head.y);
  assert.equal(await chosen(), 7);
  assert.deepEqual(await page.locator('.card li').allTextContents(), [
    'moves along X: nothing', 'moves along Y: nothing', 'moves along Z: nothing',
    'turns about X: v22 = 0°', 'turns about Y: 0.5 × v22 − 0.125 × v23 − 0.25 = -0.25°',
    'turns about Z: v23 = 0°']);

  const before_ = await picture();
  await page.locator('.card button', { hasText: /^v22$/ }).click();
  await page.keyboard.press('End');
  assert.equal(await page.evaluate(() => kestrixView.value(22)), 180);
  await page.getByLabel('value of variable 22').fill('-400.5');
  assert.equal(await page.evaluate(() => kestrixView.value(22)), -400.5);
  assert.ok(!before_.equals(await picture()));
  await page.getByRole('button', { name: 'Reset all' }).click();
  assert.equal(await page.evaluate(() => kestrixView.value(22)), 0);
  await page.getByLabel('swing variable 22').click();
  await page.waitForFunction(() => Math.abs(kestrixView.value(22)) > 5);
  await page.keyboard.press('Escape');
  assert.equal(await chosen(), null);
  assert.equal(await page.getByLabel('swing variable 22').getAttribute('aria-pressed'), 'false');

  await page.keyboard.press('/');
  await page.keyboard.type('tail02');
  await page.keyboard.press('Enter');
  assert.equal(await page.locator('[aria-selected=true][role=treeitem]').textContent(), 'b_Tail02_013');
  await page.locator('#canvas').focus();
  await page.keyboard.press(']');
  const next = await chosen();
  await page.keyboard.press('[');
  assert.notEqual(await chosen(), next);

  await page.getByRole('tab', { name: 'Findings' }).click();
  await page.locator('.findings button', { hasText: 'b_RightHand_08' }).click();
  assert.equal(await chosen(), 10);
  await page.getByRole('tab', { name: 'Show' }).click();
  for (const name of ['Materials', 'Textures', 'Wireframe', 'Normals', 'Weights', 'Bounding box',
    'Skeleton', 'Grid', 'Rest pose']) {
    const old = await picture();
    await page.getByLabel(name).click();
    // Textures are not to be seen while materials are off.
    if (name !== 'Textures') assert.ok(!old.equals(await picture()), name);
  }
  assert.deepEqual(complaints, []);
  await close();
});

test('branches of the tree fold', async () => {
  const { page, close } = await open(browser, writePage(filesOf('fox')));
  const look = async () => [await page.locator('[role=treeitem]:visible').count(),
    await page.evaluate(() => document.activeElement.textContent)];
  await page.getByRole('treeitem', { name: 'b_Tail01_012' }).focus();
  for (const [key, count, at] of [
    ['ArrowLeft', 22, 'b_Tail01_012'], ['ArrowLeft', 22, 'b_Hip_01'], ['ArrowLeft', 3, 'b_Hip_01'],
    ['ArrowRight', 22, 'b_Hip_01'], ['ArrowRight', 22, 'b_Spine01_02'], ['ArrowUp', 22, 'b_Hip_01'],
    ['End', 22, 'b_RightFoot02_022']]) {
    await page.keyboard.press(key);
    assert.deepEqual(await look(), [count, at], key);
  }
  // What is folded is found, and uncovered when it is chosen.
  await page.getByLabel('Search bodies').fill('tail03');
  assert.equal((await look())[0], 1);
  await page.getByLabel('Search bodies').fill('');
  assert.equal((await look())[0], 22);
  await page.evaluate(() => kestrixView.choose(16));
  assert.equal((await look())[0], 24);
  await page.getByRole('button', { name: 'Fold' }).click();
  assert.equal((await look())[0], 2);
  await page.locator('.tree i').nth(1).click();
  assert.equal((await look())[0], 3);
  await close();
});

test('sliders of shapes move the mesh, driven or not', async () => {
  const { page, close } = await open(browser, writePage(filesOf('robot', 'robot-v2')));
  await page.getByLabel('Search variables').fill('shape');
  const shapes = page.locator('.variables > li:visible');
  assert.equal(await shapes.count(), 3);
  const picture = () => shotOf(page);
  await page.getByRole('button', { name: 'front', exact: true }).click();
  for (let i = 0; i < 3; ++i) {
    const old = await picture();
    await shapes.nth(i).locator('input[type=number]').fill('3');
    assert.ok(!old.equals(await picture()), `shape ${i}`);
  }
  await close();
});

test('names do no harm', async () => {
  const name = '</script><img/src=x/onerror=window.harmed=1>';
  const folder = freshPath('');
  mkdirSync(folder);
  const model = join(folder, '<b onload=window.harmed=1>.mdl');
  const body = (id, text) =>
    `X\n${text}\n${id}\n<NOT_YET_ASSIGNED>\n0\n1 0 0\n0 1 0\n0 0 1\n0 0 0\n`;
  writeFileSync(model, `Zov Graphic Model File\nv1.30\n${body(1, name)}${body(2, '<!--<script>')}`);
  const { page, complaints, close } = await open(browser, writePage([model]));
  assert.equal(await page.evaluate(() => globalThis.harmed), undefined);
  assert.equal(await page.locator('img, b[onload]').count(), 0);
  assert.deepEqual(await page.locator('[role=treeitem]').allTextContents(), [name, '<!--<script>']);
  assert.equal(await page.locator('h1').textContent(), '<b onload=window.harmed=1>.mdl');
  // What the page itself would let through, its policy stops.
  await page.evaluate(() => {
    document.body.append(Object.assign(document.createElement('script'), { text: 'harmed = 1' }));
    return fetch('https://example.com').catch(() => {});
  });
  assert.equal(await page.evaluate(() => globalThis.harmed), undefined);
  assert.ok(complaints.length >= 2 && complaints.every((text) =>
    /Content Security Policy/.test(text)), complaints.join('\n'));
  await close();
});

test('a missing picture is a finding, and its material can be shown', async () => {
  const model = freshPath('.mdl');
  writeFileSync(model, readFileSync(filesOf('fox')[0]));
  const { page, complaints, close } = await open(browser, writePage([model]));
  await page.getByRole('tab', { name: 'Findings' }).click();
  const old = await shotOf(page);
  await page.locator('.findings button', { hasText: 'texture-missing' }).click();
  assert.ok(!old.equals(await shotOf(page)));
  assert.deepEqual(complaints, []);
  await close();
});

test('fits a phone, in dark and light', async () => {
  const path = writePage(filesOf('fox'));
  const stages = [];
  for (const colorScheme of ['dark', 'light']) {
    const { page, close } =
      await open(browser, path, { viewport: { width: 360, height: 640 }, colorScheme });
    assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), 360);
    for (const tab of ['Bodies', 'Variables', 'Findings', 'Show']) {
      await page.getByRole('tab', { name: tab }).click();
      assert.ok(await page.locator(`#${tab.toLowerCase()}`).isVisible(), tab);
    }
    stages.push(await shotOf(page));
    await close();
  }
  assert.ok(!stages[0].equals(stages[1]));
});

/** A legacy model of bodies: [id, parent, place, directions of the axes]. */
function modelOf(bodies) {
  const upright = '1 0 0\n0 1 0\n0 0 1';
  const file = freshPath('.mdl');
  writeFileSync(file, ['Zov Graphic Model File', 'v1.30',
    ...bodies.flatMap(([id, parent, place = '0 0 0', axes = upright]) =>
      ['X', `body ${id}`, id, 'parent', parent, axes, place]), ''].join('\n'));
  return file;
}

test('what cannot be converted makes no page', () => {
  const written = (suffix, text) => {
    const file = freshPath(suffix);
    writeFileSync(file, text);
    return file;
  };
  const [fox, foxDof] = filesOf('fox');
  const [, walkerDof] = filesOf('walker');
  const one = modelOf([[1, 0]]);
  const of = (args, words, status) => ({ args, words, status });
  for (const { args, words, status } of [
    of([modelOf([[1, 0, 'broken']])], 'Unable to read body data'),
    of([written('.mdl', '')], 'file-empty'),
    of([written('.mdl', Buffer.from(Array.from({ length: 999 }, (_, i) => i % 256)))], 'file-kind'),
    of([modelOf([[1, 2], [2, 1]])], 'parent-circle'),
    of([modelOf([[1, 7]])], 'parent-missing'),
    of([modelOf([[1, 0, '0 0 0', '-1 0 0\n0 1 0\n0 0 1']])], 'left-handed'),
    of([one, written('.dof', 'Zov Graphic Mapping File\nv1.0\n5\n1\n1\n1 2 3 4 5 5\n0\n0\n0\n1\n2\n3\n')],
      'rotation-axes: body body_1'),
    of([fox, walkerDof], 'mapping-foreign: body'),
    of(['none.mdl'], 'Unable to open'),
    // What check does not know of is trouble.
    of([fox, foxDof, written('.csv', 'time,v999\n0,1\n')], 'variable 999 is above 64', 2),
    of([fox, '--scale-factor', '0'], '--scale-factor', 2)]) {
    const out = freshPath('.html');
    const answer = runTool(['view', ...args, '-o', out]);
    assert.equal(answer.status, status ?? runTool(['check', ...args]).status, words);
    assert.ok(answer.status > 0 && answer.stderr.includes(words), answer.stderr);
    assert.ok(!existsSync(out) && existsSync(dirname(out)));
  }
  const copy = written('.mdl', readFileSync(fox));
  const { status, stderr } = runTool(['view', copy, foxDof, '-o', copy]);
  assert.deepEqual([status, /is one of the files that were read/.test(stderr)], [2, true]);
  assert.ok(readFileSync(copy).equals(readFileSync(fox)));
});

test('what cannot be shown is told', async () => {
  const across = '1e30 0 0';
  for (const [bodies, words] of [[[], 'no bodies'], [[[1, 0], [2, 1, across]], 'too large'],
    [[[1, 0]], null]]) {
    const { page, complaints, close } = await open(browser, writePage([modelOf(bodies)]));
    const trouble = await page.locator('#trouble').innerText();
    assert.ok(words === null ? trouble === '' : trouble.includes(words), trouble);
    assert.equal(complaints.length, words === null ? 0 : 1);
    await close();
  }
});
