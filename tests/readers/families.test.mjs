// A character is the same scene in both file families, down to every corner of every triangle.
import { join } from 'node:path';
import { test } from 'node:test';
import { convert, samples } from './program.mjs';
import { assertSameScene, readScene } from './scenes.mjs';

const characters = [
  ['fox.mdl', 'fox'],
  ['robot.mdl', 'robot'],
  ['robot-v2.mdl', 'robot'],
  ['walker-v2.mdl', 'walker'],
  ['stage-v2.mdl', 'stage'],
];

for (const [model, mapping] of characters) {
  for (const options of [[], ['-mesh_per_body', '-scale_factor', '10']]) {
    test(`${model} ${options.join(' ')} in both families`, () => {
      const [newer, older] = ['2011', '2010'].map((version) =>
        readScene(convert(join(samples, model), join(samples, `${mapping}.dof`),
          [...options, '-mb_version', version])));
      assertSameScene(older, newer);
    });
  }
}
