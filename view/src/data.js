// What the program put into the page; README.md beside this folder describes it.
import { byId } from './dom.js';

const kSchema = 1;

/** @param {string} text base64 @returns {Uint8Array} */
function bytesOf(text) {
  const packed = atob(text);
  const bytes = new Uint8Array(packed.length);
  for (let i = 0; i < packed.length; ++i) bytes[i] = packed.charCodeAt(i);
  return bytes;
}

/** Reads the two data blocks of the page: { data, fbx }. */
export function readEmbedded() {
  const block = byId('kestrix-data');
  if (block === null) throw new Error('This page holds no character.');
  const data = JSON.parse(block.textContent);
  if (data.schema !== kSchema) throw new Error(`The data is of schema ${data.schema}.`);
  for (const take of data.takes) {
    take.times = new Float64Array(bytesOf(take.times).buffer);
    take.values = new Float32Array(bytesOf(take.values).buffer);
  }
  const fbx = byId('kestrix-fbx');
  const bytes = bytesOf(fbx.textContent.trim());
  fbx.remove();  // the text is large and no longer needed
  return { data, fbx: bytes.buffer };
}

/**
 * Everything that a person can move, in the order of variable numbers; shapes without a variable
 * come last, under negative numbers. Each: { id, label, uses: [{ kind, ... }] }.
 */
export function controlsOf(data) {
  const controls = new Map();
  const use = (id, what) => {
    if (!controls.has(id)) controls.set(id, { id, label: `v${id}`, uses: [] });
    controls.get(id).uses.push(what);
  };
  for (const body of data.bodies) {
    for (const transform of body.transforms) {
      for (const [variable, coefficient] of transform.terms) {
        use(variable, { kind: 'transform', body, transform, coefficient });
      }
    }
  }
  data.sliders.forEach((slider, i) => {
    slider.control = slider.variable || -(i + 1);
    use(slider.control, { kind: 'shape', slider });
    if (!slider.variable) controls.get(slider.control).label = slider.name;
  });
  data.textures.forEach((texture) => use(texture.variable, { kind: 'texture', texture }));
  const rank = (id) => (id > 0 ? id : Number.MAX_SAFE_INTEGER / 2 - id);
  return [...controls.values()].sort((a, b) => rank(a.id) - rank(b.id));
}

/** The body's axis letter and whether it turns: of a transform id, 1 to 6. */
export const axisOf = (transformId) => ({
  letter: 'XYZ'[(transformId - 1) % 3], index: (transformId - 1) % 3, turns: transformId > 3,
});
