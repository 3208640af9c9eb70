// The loader gives every corner of every triangle a point of its own. Equal ones are joined here,
// bit by bit, so that the picture stays the same and is drawn several times faster; triangles are
// put together by material.
import { BufferAttribute, BufferGeometry } from 'three';

const kEmpty = -1;

/** The words of all attributes, a row for each corner. */
function rowsOf(attributes, count) {
  const views = attributes.map(({ array }) => {
    const perCorner = array.byteLength / 4 / count;
    return { words: new Uint32Array(array.buffer, array.byteOffset, perCorner * count), perCorner };
  });
  return {
    hash(corner) {
      let hash = 2166136261;
      for (const { words, perCorner } of views) {
        for (let i = corner * perCorner, end = i + perCorner; i < end; ++i) {
          hash = Math.imul(hash ^ words[i], 16777619);
          hash ^= hash >>> 15;
        }
      }
      return hash >>> 0;
    },
    equal(a, b) {
      return views.every(({ words, perCorner }) => {
        for (let i = 0; i < perCorner; ++i) {
          if (words[a * perCorner + i] !== words[b * perCorner + i]) return false;
        }
        return true;
      });
    },
  };
}

/** For each corner its point, and for each point its first corner. */
function joinCorners(attributes, count) {
  const rows = rowsOf(attributes, count);
  let size = 16;
  while (size < 2 * count) size *= 2;
  const table = new Int32Array(size).fill(kEmpty);
  const points = new Uint32Array(count);
  const firsts = [];
  for (let corner = 0; corner < count; ++corner) {
    let slot = rows.hash(corner) & (size - 1);
    while (table[slot] !== kEmpty && !rows.equal(firsts[table[slot]], corner)) {
      slot = (slot + 1) & (size - 1);
    }
    if (table[slot] === kEmpty) table[slot] = firsts.push(corner) - 1;
    points[corner] = table[slot];
  }
  return { points, firsts };
}

function picked(attribute, firsts) {
  const { array, itemSize, normalized } = attribute;
  const values = new array.constructor(firsts.length * itemSize);
  firsts.forEach((corner, point) => {
    for (let i = 0; i < itemSize; ++i) {
      values[point * itemSize + i] = array[corner * itemSize + i];
    }
  });
  const made = new BufferAttribute(values, itemSize, normalized);
  made.name = attribute.name;
  return made;
}

/** @param {BufferGeometry} geometry without an index @returns {BufferGeometry} */
export function weld(geometry) {
  const { count } = geometry.attributes.position;
  if (geometry.index || count === 0) return geometry;
  const morphs = geometry.morphAttributes.position ?? [];
  const { points, firsts } = joinCorners([...Object.values(geometry.attributes), ...morphs], count);

  const welded = new BufferGeometry();
  welded.name = geometry.name;
  for (const [name, attribute] of Object.entries(geometry.attributes)) {
    welded.setAttribute(name, picked(attribute, firsts));
  }
  if (morphs.length > 0) {
    welded.morphAttributes.position = morphs.map((morph) => picked(morph, firsts));
    welded.morphTargetsRelative = geometry.morphTargetsRelative;
  }
  const byMaterial = new Map();
  for (const group of geometry.groups) {
    if (!byMaterial.has(group.materialIndex)) byMaterial.set(group.materialIndex, []);
    byMaterial.get(group.materialIndex).push(group);
  }
  if (byMaterial.size === 0) {
    welded.setIndex(new BufferAttribute(points, 1));
    return welded;
  }
  const index = new Uint32Array(count);
  let end = 0;
  for (const [material, groups] of byMaterial) {
    const start = end;
    for (const group of groups) {
      index.set(points.subarray(group.start, group.start + group.count), end);
      end += group.count;
    }
    welded.addGroup(start, end - start, material);
  }
  welded.setIndex(new BufferAttribute(index.slice(0, end), 1));
  return welded;
}
