// The examples and the messages of the documentation, against the program and its sources.
import assert from 'node:assert/strict';
import { existsSync, mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { convert, freshPath, root, run, tool } from './program.mjs';
import { readWithThree } from './threereader.mjs';

const page = (name) => readFileSync(join(root, 'docs', name), 'utf8');
const pages = ['legacy-model.md', 'document-model.md', 'mapping.md', 'motion.md', 'fbx-output.md'];

/** Converts an example; answers what three.js reads of it, with numbers of few decimals. */
function convertExample(folder, model) {
  const fbx = convert(join(folder, model), join(folder, 'arm.dof'), ['-scale_factor', '1']);
  const { bones, meshes, materials } = readWithThree(fbx);
  const rounded = (list) => list.map((value) => +value.toFixed(3) + 0);
  return {
    bones: bones.map(({ name, parent, eulerOrder, world }) =>
      ({ name, parent, eulerOrder, world: rounded([...world]) })),
    meshes: meshes.map(({ name, positions }) => ({ name, positions: positions.map(rounded) })),
    targets: meshes.map(({ targets }) => targets.map(({ name, offsets }) =>
      ({ name, moved: offsets.filter((offset) => offset.some((value) => value !== 0)) }))),
    materials: materials.map(({ name }) => name),
  };
}

test('the arms of the examples convert, and are the same arm', () => {
  const folder = freshPath('.docs');
  mkdirSync(folder);
  for (const name of pages) {
    for (const [, file, text] of page(name).matchAll(/^```text (\S+)\n([^]*?)^```$/gm)) {
      writeFileSync(join(folder, file), text);
    }
  }
  const legacy = convertExample(folder, 'arm.mdl');
  const [arm, forearm] = legacy.bones;
  assert.deepEqual([arm.name, arm.eulerOrder, forearm.name, forearm.eulerOrder],
    ['upper_arm', 'ZYX', 'forearm', 'YZX']);
  assert.deepEqual(forearm.world.slice(12, 15), [12, 40, 0]);
  assert.deepEqual(legacy.meshes.map(({ name, positions }) => [name, positions.length / 3]),
    [['upper_arm_mesh', 4]]);
  assert.deepEqual(legacy.materials, ['skin']);

  const { bones, meshes, targets, materials } = convertExample(folder, 'arm-v2.mdl');
  const [grip] = bones.splice(2);
  const [gripMesh] = meshes.splice(1);
  assert.deepEqual({ bones, meshes }, { bones: legacy.bones, meshes: legacy.meshes });
  assert.deepEqual([grip.name, grip.parent, ...grip.world.slice(12, 15)],
    ['grip_left', null, 24, 30, 0]);
  assert.deepEqual([gripMesh.name, gripMesh.positions.length], ['grip_left_mesh', 3]);
  assert.deepEqual(targets, [[{ name: 'biceps', moved: [[0, 0.5, 0]] }], []]);
  assert.deepEqual(materials, ['skin', 'steel']);
});

test('the example of motion files is told, cut and resampled as its page shows', () => {
  const folder = freshPath('.motion');
  mkdirSync(folder);
  const files = pages.flatMap((name) => [...page(name).matchAll(/^```text (\S+)\n([^]*?)^```$/gm)]);
  for (const [, file, text] of files.filter(([, file]) => file !== 'fine.csv')) {
    writeFileSync(join(folder, file), text);
  }
  const shown = [...page('motion.md').matchAll(/^```console\n([^]*?)^```$/gm)].map(([, text]) => text);
  assert.equal(shown.length, 2);
  const calls = shown.flatMap((text) => [...text.matchAll(/^\$ kestrix-tool (.*)\n([^$]*)/gm)]);
  for (const [, words, output] of calls) {
    const { status, stdout, stderr } = run(tool, words.split(' '), { cwd: folder });
    assert.deepEqual([status, stdout.trimEnd(), stderr], [0, output.trimEnd(), ''], words);
  }
  const [, , fine] = files.find(([, file]) => file === 'fine.csv');
  assert.equal(readFileSync(join(folder, 'fine.csv'), 'utf8'), fine);
  const rom = run(tool, 'motion rom arm.mdl arm.dof -o rom.csv'.split(' '), { cwd: folder });
  assert.deepEqual([rom.status, rom.stderr], [0, '']);
});

// Values may be put in by a conversion or by joining texts: both leave the words between them.
const value = /%[.\d]*l*[a-z]/;
const joined = (text) => text.replace(/"\s*\n\s*"/g, '');
const plain = (text) => text.replaceAll('\\"', '"');
const sourcesIn = (folder, isWanted = () => true) =>
  readdirSync(join(root, folder), { recursive: true })
    .filter((file) => /\.(cpp|h)$/.test(file) && isWanted(file))
    .map((file) => readFileSync(join(root, folder, file), 'utf8'))
    .join('\n');
const messagesOf = (name) => {
  const [, ...parts] = page(name).split(/^## Messages$/m);
  return [...parts.join('\n').matchAll(/^\| `([^`]+)` \|/gm)].map(([, message]) => message);
};

test('every message of the pages stands in the sources', () => {
  const folders = ['libs/src/Ba', 'libs/src/Bt', 'libs/src/Fbx', 'libs/include/Ba',
    'libs/include/Bt', 'main'];
  const words = plain(joined(folders.map((folder) => sourcesIn(folder)).join('\n')));
  for (const name of pages) {
    const messages = messagesOf(name);
    assert.notEqual(messages.length, 0, name);
    assert.deepEqual(
      messages.filter((message) => !message.split(value).every((part) => words.includes(part))),
      [], name);
  }
});

test('every message of documents stands on their page', () => {
  const sources = sourcesIn('libs/src', (file) =>
    /^Ba\/(document|convert)\/|bamodelcombine|btincludechain/.test(file));
  const texts = [...joined(sources).matchAll(/"((?:[^"\\\n]|\\.)*)"/g)]
    .map(([, text]) => plain(text))
    .filter((text) => /[a-z]{2,} [a-z]/.test(text));
  assert.ok(texts.length > 100);
  const messages = messagesOf('document-model.md');
  const words = messages.join('\n');
  // A row may stand for several texts that differ in a word.
  const pattern = (message) =>
    message.split(value).map((part) => part.replace(/\W/g, '\\$&')).join('\\w+');
  const rows = messages.filter((message) => value.test(message))
    .map((message) => new RegExp(`^${pattern(message)}$`));
  const missing = texts.filter((text) => !rows.some((row) => row.test(text)) &&
    !text.split(value).every((part) => words.includes(part)));
  assert.deepEqual(missing, []);
});

test('every finding and every difference stands on the page of kestrix-tool', () => {
  const text = page('kestrix-tool.md');
  const table = joined(readFileSync(join(root, 'tool/findingkinds.h'), 'utf8'));
  const findings = [...table.matchAll(/\{"([a-z-]+)",\s*Severity::(\w+),\s*"([^"]*)",\s*"([^"]*)"\}/g)];
  assert.ok(findings.length > 40);
  const rows = findings.map(([, code, severity, meaning, advice]) =>
    `| \`${code}\` | ${severity.toLowerCase()} | ${meaning} | ${advice && `${advice} `}|\n`);
  assert.deepEqual(rows.filter((row) => !text.includes(row)), []);
  const severities = new Map(findings.map(([, code, severity]) => [code, severity]));
  const raised = [...joined(sourcesIn('libs/src', (file) => file.endsWith('.cpp')) +
    sourcesIn('main', (file) => file.endsWith('.cpp')))
    .matchAll(/\b(\w+)\(\s*BtCode\("([^"]*)"\)/g)];
  assert.ok(raised.length > 50);
  assert.deepEqual(raised.filter(([, by, code]) =>
    severities.get(code) !== (by === 'BtWarn' ? 'Warning' : 'Error')).map(([call]) => call), []);
  const sources = sourcesIn('tool', (file) => /differences\.cpp$/.test(file));
  const codes = [...sources.matchAll(/"([a-z]+(?:-[a-z]+)+)"/g)];
  assert.ok(codes.length > 50);
  assert.deepEqual(codes.filter(([, code]) => !text.includes(`\`${code}\``)).map(([, c]) => c), []);
});

test('the pages refer to files and headings that exist', () => {
  const anchor = (heading) => heading.toLowerCase().replace(/[^\w\- ]/g, '').replaceAll(' ', '-');
  const texts = ['README.md', 'CHANGELOG.md', 'CONTRIBUTING.md', 'samples/README.md',
    ...readdirSync(join(root, 'docs')).filter((name) => name.endsWith('.md'))
      .map((name) => `docs/${name}`)];
  const dead = texts
    .flatMap((from) =>
      [...readFileSync(join(root, from), 'utf8').matchAll(/\]\((?!\w+:)([^)#]*)#?([^)]*)\)/g)]
        .filter(([, file, heading]) => {
          const target = join(root, file === '' ? from : join(dirname(from), file));
          if (!existsSync(target)) return true;
          if (heading === '') return false;
          const headings = readFileSync(target, 'utf8').matchAll(/^#+ (.*)$/gm);
          return ![...headings].some(([, text]) => anchor(text) === heading);
        })
        .map(([link]) => `${from}: ${link}`));
  assert.deepEqual(dead, []);
});
