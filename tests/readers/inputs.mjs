// What a legacy model and a mapping say, read here without the converter's help.
import { readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';

/** Body id -> its rotations in the order in which they are applied, such as "ZXY". */
export function readRotationOrders(file) {
  const text = readFileSync(file, 'utf8');
  const [, , ...words] = text.split('\n').slice(1).join(' ').split(/\s+/);
  const next = () => Number(words.shift());
  const orders = new Map();
  for (let left = next(); left > 0; --left) {
    const id = next();
    const kinds = Array.from({ length: 6 }, next);
    orders.set(id, kinds.filter((kind) => kind > 3).map((kind) => 'XYZ'[kind - 4]).join(''));
    for (let transform = 0; transform < 6; ++transform) {
      const terms = -next() - 1;  // a negative number announces a constant and pairs
      if (terms >= 0) words.splice(0, 1 + 2 * terms);
    }
  }
  const include = /INCLUDE \{\s+FILE_NAME: (\S+)\s+BODY_ID_OFFSET: (\d+)/g;
  for (const [, name, offset] of text.matchAll(include)) {
    readRotationOrders(join(dirname(file), name)).forEach((order, id) =>
      orders.set(id + Number(offset), order));
  }
  return orders;
}

/** The bodies of a legacy model: id, name, parentId, and rows, the rotation in the parent. */
export function readBodies(file) {
  const record = /^ *X.*\n(.*)\n *(\d+).*\n.*\n *(\d+)\s+((?:[-+.\deE]+\s+){9})/gm;
  return [...readFileSync(file, 'utf8').matchAll(record)].map(([, name, id, parent, numbers]) => {
    const n = numbers.trim().split(/\s+/).map(Number);
    const rows = [n.slice(0, 3), n.slice(3, 6), n.slice(6, 9)];
    const cleaned = name.trim().replaceAll(' ', '_');
    return { id: Number(id), name: cleaned, parentId: Number(parent), rows };
  });
}

/** Texture coordinates of all corners of the textured polygons, [u, v] each. */
export function readTextureCoordinates(file) {
  const words = readFileSync(file, 'utf8').split(/\s+/);
  const valuesOfEffect = [9, 6, 1, 2];
  const coordinates = [];
  for (let at = words.indexOf('P'); at >= 0; at = words.indexOf('P', at)) {
    let corners = Number(words[at + 3]);
    at += 4;
    for (; corners > 0; --corners) {
      coordinates.push([Number(words[at]), Number(words[at + 1])]);
      for (at += 5; words[at] !== '-1'; at += 1 + valuesOfEffect[words[at]]);
      ++at;
    }
  }
  return coordinates;
}
