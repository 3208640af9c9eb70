// Text files say the same as binary ones, and a small difference of two scenes is a small one of
// their files.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { convert, freshPath, samples } from './program.mjs';
import { assertSameScene, readScene } from './scenes.mjs';
import { readWithThree } from './threereader.mjs';

const characters = [
  ['fox.mdl', 'fox'],  // with a picture
  ['robot-v2.mdl', 'robot'],  // with sliders
];
const versions = [['2011', [readScene, readThree]], ['2010', [readScene]]];

/** All but the pictures, which the loader leaves out of text files. */
function readThree(fbx) {
  const facts = readWithThree(fbx);
  facts.materials.forEach((material) => { material.picture = null; });
  return facts;
}

const assertSame = {
  readScene: assertSameScene,
  readThree: (found, wanted) => assert.deepEqual(found, wanted),
};

for (const [model, name] of characters) {
  for (const [version, readers] of versions) {
    test(`${model} as text for ${version}`, async (t) => {
      const mapping = join(samples, `${name}.dof`);
      const [text, binary] = [true, false].map((ascii) =>
        convert(join(samples, model), mapping, ['-mb_version', version], ascii));
      for (const read of readers) {
        await t.test(read.name, () => assertSame[read.name](read(text), read(binary)));
      }
    });
  }
}

test('one point that moves changes few lines', () => {
  const original = readFileSync(join(samples, 'fox-v2.mdl'), 'utf8');
  const moved = original.replace(/(COORDINATES \{\n +\S+ \S+ )\S+/, '$199.5');
  assert.notEqual(moved, original);
  const mapping = join(samples, 'fox.dof');
  for (const [version] of versions) {
    const [before, after] = [original, moved].map((text) => {
      const model = freshPath('.mdl');
      writeFileSync(model, text.replaceAll('fox_fox_material.png', join(samples, '$&')));
      return readFileSync(convert(model, mapping, ['-mb_version', version], true), 'utf8')
        .replaceAll(/Converted from \S+/g, '').split('\n');
    });
    assert.equal(after.length, before.length);
    const changed = before.filter((line, i) => line !== after[i]);
    // The point itself, and the normals of the points around it.
    assert.ok(changed.length > 1 && changed.length < 20, `${changed.length} lines in ${version}`);
    assert.ok(changed.every((line) => line.length < 100));
  }
});
