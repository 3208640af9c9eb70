// The examples and the messages of the documentation, against the program and its sources.
import assert from 'node:assert/strict';
import { mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { freshPath, kestrix, root } from './program.mjs';
import { readWithThree } from './threereader.mjs';

const page = (name) => readFileSync(join(root, 'docs', name), 'utf8');
const pages = ['legacy-model.md', 'mapping.md', 'fbx-output.md'];

test('the arm of the examples converts', () => {
  const folder = freshPath('.docs');
  mkdirSync(folder);
  for (const name of pages) {
    for (const [, file, text] of page(name).matchAll(/^```text (\S+)\n([^]*?)^```$/gm)) {
      writeFileSync(join(folder, file), text);
    }
  }
  const fbx = join(folder, 'arm.fbx');
  const run = kestrix('-scale_factor', '1', join(folder, 'arm.mdl'), join(folder, 'arm.dof'), fbx);
  assert.equal(run.stderr, '');
  assert.equal(run.status, 0);
  const { bones, meshes, materials } = readWithThree(fbx);
  const [arm, forearm] = bones;
  assert.deepEqual([arm.name, arm.eulerOrder, forearm.name, forearm.eulerOrder],
    ['upper_arm', 'ZYX', 'forearm', 'YZX']);
  assert.deepEqual([...forearm.world.slice(12, 15)], [12, 40, 0]);
  assert.deepEqual(meshes.map(({ name, positions }) => [name, positions.length / 3]),
    [['upper_arm_mesh', 4]]);
  assert.deepEqual([...materials.keys()], ['skin']);
});

test('every message of the pages stands in the sources', () => {
  const folders = ['libs/src/Ba', 'libs/src/Bt', 'libs/include/Ba', 'libs/include/Bt', 'main'];
  const sources = folders.flatMap((folder) =>
    readdirSync(join(root, folder)).map((file) => readFileSync(join(root, folder, file), 'utf8')));
  // Values may be put in by a conversion or by joining texts: both leave the words between them.
  const words = sources.join('\n').replace(/"\s*\n\s*"/g, '').replaceAll('\\"', '"');
  const missing = pages.flatMap((name) =>
    [...page(name).split(/^## (?:Messages|Warnings)$/m)[1].matchAll(/^\| `([^`]+)` \|/gm)]
      .map(([, message]) => message)
      .filter((message) => !message.split(/%[.\d]*[a-z]/).every((part) => words.includes(part))));
  assert.deepEqual(missing, []);
});
