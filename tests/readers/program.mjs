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
const fbx2gltf = join(here, 'node_modules/fbx2gltf/bin/Linux/FBX2glTF');

const folder = mkdtempSync(join(tmpdir(), 'kestrix-readers-'));
process.on('exit', () => rmSync(folder, { recursive: true, force: true }));

let count = 0;
export const freshPath = (suffix) => join(folder, `${++count}${suffix}`);

/** Runs kestrix; answers its exit status and its two outputs. */
export function kestrix(...args) {
  const { status, stdout, stderr, error } = spawnSync(program, args, { encoding: 'utf8' });
  if (error) throw error;
  return { status, stdout, stderr };
}

/** Converts a model and answers the path of the FBX; anything on standard error is a failure. */
export function convert(model, mapping, options) {
  const fbx = freshPath('.fbx');
  const { status, stderr } = kestrix(...options, model, mapping, fbx);
  if (status !== 0 || stderr !== '' || !existsSync(fbx)) {
    throw new Error(`kestrix ${options.join(' ')} ${model}: status ${status}\n${stderr}`);
  }
  return fbx;
}

/** Converts an FBX to a binary glTF file; answers its path and the warnings that were printed. */
export function toGltf(fbx) {
  chmodSync(fbx2gltf, 0o755);  // the package leaves the run bit unset
  const glb = freshPath('.glb');
  const args = ['--binary', '--input', fbx, '--output', glb];
  const { status, stdout, stderr } = spawnSync(fbx2gltf, args, { encoding: 'utf8' });
  if (status !== 0) throw new Error(`FBX2glTF ${fbx}: status ${status}\n${stdout}${stderr}`);
  // Every node of default settings causes this remark, which goes on in indented lines.
  const remark = /^Warning: node .* transform inheritance type 'eInheritRrSs'\.?\n( +.*\n)*/gm;
  const warnings = (stdout + stderr)
    .replace(remark, '')
    .split('\n')
    .filter((line) => line !== '' && !/^Wrote \d+ bytes of binary glTF to /.test(line));
  return { glb, warnings };
}
