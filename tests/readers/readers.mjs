// The readers of others, by the releases whose files they read.
import { readWithFbx2gltf } from './gltfreader.mjs';
import { readWithThree } from './threereader.mjs';

export { readWithFbx2gltf, readWithThree };
export const readersOf = { 2011: [readWithThree, readWithFbx2gltf], 2010: [readWithFbx2gltf] };
