// Transparency, and pictures of the surroundings beside those of the surface.
import assert from 'node:assert/strict';
import { mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { convert, freshPath, samples } from './program.mjs';
import { readersOf, readWithThree } from './readers.mjs';

const picture = readFileSync(join(samples, 'fox_fox_material.png'));
// Pictures differ behind their end, which readers do not look at.
const pictures = {
  'skin.png': picture,
  'sky.png': Buffer.concat([picture, Buffer.from('sky')]),
  'room.png': Buffer.concat([picture, Buffer.from('room')]),
};

const materials = [
  { name: 'plain', alpha: 1 },
  { name: 'glass', alpha: 0.25, surroundings: ['CUBE_ENV', 'sky.png'] },
  { name: 'paint', alpha: 0.5, skin: 'skin.png', surroundings: ['2D_ENV', 'room.png'] },
  { name: 'clear', alpha: 0 },
];

const textureText = (type, name) => `TEXTURE {\nNAME: ${name}\nTYPE: ${type}\n}\n`;

/** A document of one body with a triangle of each material. */
function write() {
  const folder = freshPath('');
  mkdirSync(folder);
  for (const [name, bytes] of Object.entries(pictures)) writeFileSync(join(folder, name), bytes);
  const materialTexts = materials.map(({ name, alpha, skin, surroundings }) =>
    `MATERIAL {\nNAME: ${name}\nDIFFUSE: 0.2 0.4 0.6\nALPHA: ${alpha}\n` +
    `${skin ? textureText('2D_DECAL', skin) : ''}` +
    `${surroundings ? textureText(...surroundings) : ''}}\n`);
  const groups = materials.map(({ name }, i) =>
    `MATERIAL_GROUP {\nMATERIAL: ${name}\nTEXTURED_POLYGONS {\n1/1 2/2 ${i + 3}/3\n}\n}\n`);
  const points = materials.map((_, i) => `0 1 ${i}\n`);
  const [model, mapping] = [join(folder, 'model.mdl'), join(folder, 'empty.dof')];
  writeFileSync(model, [
    'Zov Graphic Model File\nv2.00\nBODY {\nNAME: a\nCOORDINATE_SYSTEM {\nTRANSLATION: 0 0 0\n',
    'ROTATION: 0 0 0 X Y Z\n}\nPARENT_NAME: GLOBAL\n}\n', ...materialTexts,
    'VERTICES {\nNAME: v\nCOORDINATES {\n0 0 0\n1 0 0\n', ...points, '}\n}\n',
    'GEOMETRY {\nBODY: a\nVERTICES: v\nTEXTURE_COORDINATES {\n0 0\n1 0\n1 1\n}\n', ...groups, '}\n',
  ].join(''));
  writeFileSync(mapping, 'Zov Graphic Mapping File\nv1.0\n0\n0\n');
  return [model, mapping];
}

function checkMaterials(read, fbx) {
  const { materials: found, warnings } = read(fbx);
  assert.deepEqual(warnings, []);
  const bytesOf = (name) => pictures[name] ?? null;
  // FBX2glTF has no place for reflections, but must not take them for the colour of the surface.
  const hasReflections = read === readWithThree;
  assert.deepEqual(
    found.map(({ name, opacity, picture: surface, reflected, reflectivity }) =>
      ({ name, opacity, surface, reflected, reflectivity })),
    materials.map(({ name, alpha, skin, surroundings }) => ({
      name, opacity: alpha, surface: bytesOf(skin),
      reflected: hasReflections ? bytesOf(surroundings?.[1]) : undefined,
      // Whatever reflects is metal to programs such as Blender.
      reflectivity: hasReflections ? Number(surroundings !== undefined) : undefined,
    })));
  if (hasReflections) return;
  const unpacked = fbx.replace(/\.fbx$/, '.fbm');
  assert.deepEqual(readdirSync(unpacked).sort(), Object.keys(pictures).sort());
  for (const [name, bytes] of Object.entries(pictures)) {
    assert.ok(readFileSync(join(unpacked, name)).equals(bytes), name);
  }
}

test('transparency and reflections', async (t) => {
  const [model, mapping] = write();
  for (const [version, readers] of Object.entries(readersOf)) {
    for (const ascii of [false, true]) {
      const fbx = convert(model, mapping, ['-mb_version', version], ascii);
      for (const read of readers) {
        if (ascii && read === readWithThree) continue;  // it takes no pictures from text
        await t.test(`${version}, ${ascii ? 'text' : 'binary'}, ${read.name}`, () =>
          checkMaterials(read, fbx));
      }
    }
  }
});
