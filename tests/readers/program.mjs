// Runs the converter and the SDK based reader in folders of their own, which are removed at exit.
import { spawnSync } from 'node:child_process';
import { chmodSync, existsSync, mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';

const here = dirname(fileURLToPath(import.meta.url));
export const root = resolve(here, '../..');
export const samples = join(root, 'samples');

const program = process.env.KESTRIX ?? join(root, 'build/release/kestrix');
// The same with text FBX, which the program itself does not write.
const asciiProgram = process.env.KESTRIX_ASCII ?? join(root, 'build/release/tests/kestrix_ascii');
export const tool = process.env.KESTRIX_TOOL ?? join(root, 'build/release/kestrix-tool');
const fbx2gltf = join(here, 'node_modules/fbx2gltf/bin/Linux/FBX2glTF');

const folder = mkdtempSync(join(tmpdir(), 'kestrix-readers-'));
process.on('exit', () => rmSync(folder, { recursive: true, force: true }));

let count = 0;
export const freshPath = (suffix) => join(folder, `${++count}${suffix}`);

/** Runs a program; answers its exit status and its two outputs. */
export function run(file, args, options = {}) {
  const result = spawnSync(file, args, { encoding: 'utf8', maxBuffer: 1 << 28, ...options });
  if (result.error) throw result.error;
  return result;
}

/** Converts a model and answers the path of the FBX; anything on standard error is a failure. */
export function convert(model, mapping, options, ascii = false) {
  const fbx = freshPath('.fbx');
  const { status, stderr } = run(ascii ? asciiProgram : program, [...options, model, mapping, fbx]);
  if (status !== 0 || stderr !== '' || !existsSync(fbx)) {
    throw new Error(`kestrix ${options.join(' ')} ${model}: status ${status}\n${stderr}`);
  }
  return fbx;
}

/** Puts motion on a model and answers the path of the FBX; warnings about textures are fine. */
export function animate(model, mapping, motions, options) {
  const fbx = freshPath('.fbx');
  const { status, stderr } =
    run(tool, ['animate', ...options, model, mapping, ...motions, '-o', fbx]);
  if (status !== 0 || !/^(.* warning: variables that choose textures .*\n)?$/.test(stderr)) {
    throw new Error(`animate ${options.join(' ')} ${model}: status ${status}\n${stderr}`);
  }
  return fbx;
}

/**
 * Converts an FBX to a binary glTF file; answers its path and the warnings that were printed. The
 * reader leaves the pictures of the file in a folder beside it, of its name with ".fbm" in the end.
 */
export function toGltf(fbx, options = []) {
  chmodSync(fbx2gltf, 0o755);  // the package leaves the run bit unset
  const glb = freshPath('.glb');
  const args = ['--binary', '--input', fbx, '--output', glb, ...options];
  const { status, stdout, stderr } = run(fbx2gltf, args);
  if (status !== 0) throw new Error(`FBX2glTF ${fbx}: status ${status}\n${stdout}${stderr}`);
  const warnings = (stdout + stderr)
    .split('\n')
    .filter((line) => line !== '' && !/^(Wrote \d+ bytes of binary glTF to |Animation )/.test(line));
  return { glb, warnings };
}
