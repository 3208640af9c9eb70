// Names that clash or that hold characters of special meaning stay apart and readable.
import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { test } from 'node:test';
import { convert, freshPath } from './program.mjs';
import { readersOf } from './readers.mjs';

const long = 'n'.repeat(299);

// As bytes in the model, each character one byte, and as readers show them.
const bodies = [
  ['a', 'a'],
  ['a_mesh', 'a_mesh'],  // as the mesh of the first is called
  ['ns::arm', 'ns:_arm'],
  ['ns:arm', 'ns:arm'],
  ['c\x01d', 'c_d'],
  ['m\xfcller', 'müller'],
  ['m\xc3\xbcller', 'müller'],
  [`${long}o`, `${long}o`],
  [`${long}p`, `${long}p`],
];
const materials = [
  ['skin::a', 'skin:_a'],
  ['skin:_a', 'skin:_a'],
  ['skin\x01x', 'skin_x'],
  ['skin\x02x', 'skin_x'],
  ['gr\xfcn', 'grün'],
  ['gr\xc3\xbcn', 'grün'],
  [`${long}o`, `${long}o`],
  [`${long}p`, `${long}p`],
];

/** A chain of bodies, each with a triangle; materials differ in the red of their colour. */
function write() {
  const axes = '1 0 0 0 1 0 0 0 1';
  const text = [
    'Zov Graphic Model File\nv1.30',
    ...bodies.map(([name], i) => `X\n${name}\n${i + 1}\nparent\n${i}\n${axes} 0 1 0`),
    ...materials.map(([name], i) => `M ${i + 1} ${name}\n3 0.${i + 1} 0 0\n0`),
    ...bodies.map((_, i) =>
      `F ${i + 1} ${(i % materials.length) + 1} 3 0 0 0 -1 1 0 0 -1 0 ${i + 1} 0 -1`),
  ].join('\n');
  const [model, mapping] = [freshPath('.mdl'), freshPath('.dof')];
  writeFileSync(model, `${text}\n`, 'latin1');
  writeFileSync(mapping, 'Zov Graphic Mapping File\nv1.0\n0\n0\n');
  return [model, mapping];
}

// What is put behind a name that would clash; readers of the older family take it off again.
const suffix = /_ncl1_\d+$/;
const plain = (name) => name?.replace(suffix, '') ?? null;

function checkNames(read, fbx, keepsSuffix) {
  const { warnings, bones, meshes, materials: coats } = read(fbx);
  assert.deepEqual(warnings, []);
  const shown = bodies.map(([, name]) => name);
  assert.deepEqual(bones.map(({ name, parent }) => [plain(name), plain(parent)]),
    shown.map((name, i) => [name, shown[i - 1] ?? null]));
  assert.deepEqual(meshes.map(({ name, parent }) => [plain(name), plain(parent)]).sort(),
    shown.map((name) => [`${name}_mesh`, name]).sort());
  assert.deepEqual(coats.map(({ name, diffuse }) => [diffuse.r.toFixed(3), plain(name)]).sort(),
    materials.map(([, name], i) => [((i + 1) / 10).toFixed(3), name]).sort());
  if (!keepsSuffix) return;
  for (const named of [[...bones, ...meshes], coats]) {
    assert.equal(new Set(named.map(({ name }) => name)).size, named.length, 'each name once');
  }
}

test('names stay apart', async (t) => {
  const [model, mapping] = write();
  for (const [version, readers] of Object.entries(readersOf)) {
    const fbx = convert(model, mapping, ['-mesh_per_body', '-mb_version', version]);
    for (const read of readers) {
      await t.test(`${version}, ${read.name}`, () => checkNames(read, fbx, version === '2011'));
    }
  }
});
