// The JSON of kestrix-tool against its schema, for good files and for broken ones.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import Ajv2020 from 'ajv/dist/2020.js';
import { convert, freshPath, root, run, samples, tool } from './program.mjs';

const schema = JSON.parse(readFileSync(join(root, 'docs/kestrix-tool.schema.json'), 'utf8'));
const validate = new Ajv2020({ allErrors: true, strict: false }).compile(schema);

/** Runs a command with --json; answers what it prints once it has been found valid. */
function answerOf(command, ...args) {
  const { status, stdout } = run(tool, [...command.split(' '), '--json', ...args]);
  const answer = JSON.parse(stdout);
  assert.ok(validate(answer), `${args}: ${JSON.stringify(validate.errors?.slice(0, 3))}`);
  return { status, answer };
}

const sample = (name) => join(samples, name);
const characters = ['fox', 'robot', 'walker', 'stage'];

test('facts about samples, mappings and converted files fit the schema', () => {
  const files = characters.flatMap((name) => {
    const model = sample(`${name}-v2.mdl`);
    const mapping = sample(`${name}.dof`);
    return [model, mapping, ...['2011', '2010'].map((release) =>
      convert(model, mapping, ['-mb_version', release]))];
  });
  const { status, answer } = answerOf('info', '--dof', sample('fox.dof'), sample('robot.mdl'), ...files);
  assert.equal(status, 0);
  assert.equal(answer.files.length, 1 + files.length);
});

test('answers about broken files fit the schema', () => {
  const fox = readFileSync(sample('fox.mdl'), 'latin1');
  const fbx = readFileSync(convert(sample('fox.mdl'), sample('fox.dof'), []));
  const broken = [
    ['.mdl', ''],
    ['.mdl', 'Zov Graphic Model File\nv1.30\n'],
    ['.mdl', fox.slice(0, 9000)],
    ['.mdl', fox.replaceAll('b_Hip_01', 'h\xFCfte\x01::')],
    ['.mdl', fox.replaceAll('1.000000', '3e38')],
    ['.dof', 'Zov Graphic Mapping File\nv1.0\n1\n1\n1\n1 1 1 1 1 1\n-1 2\n0 0 0 0 0\n'],
    ['.dof', 'Zov Graphic Mapping File\nv1.0\nx'],
    ['.fbx', fbx.subarray(0, 20000)],
    ['.fbx', 'Kaydara FBX Binary  \0\x1A\0'],
    ['.gz', 'no gzip'],
  ].map(([suffix, bytes]) => {
    const path = freshPath(suffix);
    writeFileSync(path, bytes, 'latin1');
    return path;
  });
  assert.equal(answerOf('info', ...broken, freshPath('.mdl'), root).status, 2);
  for (const path of broken) {
    answerOf('info', '--dof', path, sample('fox.mdl'));
    answerOf('check', path, sample('fox.dof'));
    answerOf('check', sample('fox.mdl'), path);
    answerOf('diff', sample('fox.mdl'), path);
    answerOf('deps', sample('fox.mdl'), path);
    answerOf('deps', path);
    answerOf('diff', path, sample('fox.dof'));
  }
});

test('findings and differences fit the schema', () => {
  for (const name of characters) {
    for (const other of characters) {
      answerOf('check', sample(`${name}-v2.mdl`), sample(`${other}.dof`));
      const { status, answer } = answerOf('diff', sample(`${name}.dof`), sample(`${other}.dof`));
      assert.equal(status, name === other ? 0 : 1);
      assert.equal(answer.same, name === other);
    }
  }
});

test('answers about folders fit the schema', () => {
  for (const [command, ...folders] of [['check', samples], ['info', samples], ['diff', samples, samples]]) {
    const { answer } = answerOf(command, ...folders);
    assert.ok(answer.runs.length >= 7);
    assert.ok(answer.runs.every((run) => run.answer?.command === command));
  }
  assert.ok(answerOf('list', samples).answer.characters.length >= 7);
});

test('what motion files hold fits the schema', () => {
  const rom = freshPath('.csv');
  const robot = [sample('robot-v2.mdl'), sample('robot.dof')];
  assert.equal(run(tool, ['motion', 'rom', ...robot, '-o', rom]).status, 0);
  const { status, answer } = answerOf('motion info', rom, '--dof', sample('walker.dof'));
  assert.equal(status, 0);
  assert.ok(answer.motion.variables.length > 10);
  answerOf('motion info', rom);
  assert.equal(answerOf('motion info', sample('fox.dof'), '--dof', rom).status, 2);
});
