// The types of the page's modules, as their comments state them.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

const here = fileURLToPath(new URL('.', import.meta.url));

test('the modules of the page agree on their types', () => {
  const { status, stdout } =
    spawnSync('node_modules/.bin/tsc', ['-p', '.'], { cwd: here, encoding: 'utf8' });
  assert.equal(status, 0, stdout);
});
