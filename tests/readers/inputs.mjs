// What a legacy model and a mapping say, read here without the converter's help.
import { readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';

/**
 * Body id -> its transforms in the order in which they are applied: kind, 1 to 6, constant, and
 * terms, pairs of a variable and a factor.
 */
export function readMapping(file) {
  const text = readFileSync(file, 'utf8');
  const [, , ...words] = text.split('\n').slice(1).join(' ').split(/\s+/);
  const next = () => Number(words.shift());
  const maps = new Map();
  for (let left = next(); left > 0; --left) {
    const id = next();
    const kinds = Array.from({ length: 6 }, next);
    const drivers = kinds.map(() => {
      const count = next();  // a negative number announces a constant and pairs
      if (count >= 0) return { constant: 0, terms: count > 0 ? [[count, 1]] : [] };
      const constant = next();
      return { constant, terms: Array.from({ length: -count - 1 }, () => [next(), next()]) };
    });
    maps.set(id, kinds.map((kind) => ({ kind, ...drivers[kind - 1] })));
  }
  const include =
    /INCLUDE \{\s+FILE_NAME: (\S+)\s+BODY_ID_OFFSET: (\d+)\s+SYSTEM_VARIABLE_ID_OFFSET: (\d+)/g;
  for (const [, name, offset, variables] of text.matchAll(include)) {
    readMapping(join(dirname(file), name)).forEach((map, id) =>
      maps.set(id + Number(offset), map.map(({ terms, ...others }) =>
        ({ ...others, terms: terms.map(([v, factor]) => [v + Number(variables), factor]) }))));
  }
  return maps;
}

/** Body id -> its rotations in the order in which they are applied, such as "ZXY". */
export const readRotationOrders = (file) => new Map([...readMapping(file)].map(([id, map]) =>
  [id, map.filter(({ kind }) => kind > 3).map(({ kind }) => 'XYZ'[kind - 4]).join('')]));

/** Slider -> the variable that drives it. */
export const readSliderVariables = (file) => new Map(
  [...readFileSync(file, 'utf8').matchAll(/SLIDERS \{([^}]*)\}/g)].flatMap(([, lines]) =>
    [...lines.matchAll(/(\S+) +(\d+)/g)].map(([, name, variable]) => [name, Number(variable)])));

/** The bodies of a legacy model: id, name, parentId; rows and origin: the place in the parent. */
export function readBodies(file) {
  const record = /^ *X.*\n(.*)\n *(\d+).*\n.*\n *(\d+)\s+((?:[-+.\deE]+\s+){11}[-+.\deE]+)/gm;
  return [...readFileSync(file, 'utf8').matchAll(record)].map(([, name, id, parent, numbers]) => {
    const n = numbers.trim().split(/\s+/).map(Number);
    const rows = [n.slice(0, 3), n.slice(3, 6), n.slice(6, 9)];
    const cleaned = name.trim().replaceAll(' ', '_');
    const origin = n.slice(9);
    return { id: Number(id), name: cleaned, parentId: Number(parent), rows, origin };
  });
}

/**
 * All corners of the polygons, textured or not: body id, uv where textured, point in the body's
 * space, and flexes, pairs of a weight and the id of the body followed (null for the parent).
 */
export function readCorners(file) {
  const words = readFileSync(file, 'utf8').split(/\s+/);
  const valuesOfEffect = [9, 6, 1, 2];
  const [flexToParent, flexToBody] = [2, 3];
  let at = 0;
  const take = (count) => words.slice(at, at += count).map(Number);
  const corners = [];
  let polygon = 0;
  while (at < words.length) {
    const letter = words[at++];
    if (letter !== 'F' && letter !== 'P') continue;
    const [body, , count] = take(3);
    ++polygon;
    for (let i = 0; i < count; ++i) {
      const uv = letter === 'P' ? take(2) : null;
      const point = take(3);
      const flexes = [];
      for (let [effect] = take(1); effect >= 0; [effect] = take(1)) {
        const values = take(valuesOfEffect[effect]);
        if (effect === flexToParent) flexes.push([values[0], null]);
        if (effect === flexToBody) flexes.push(values);
      }
      corners.push({ body, polygon, uv, point, flexes });
    }
  }
  return corners;
}

/** Texture coordinates of all corners of the textured polygons, [u, v] each. */
export const readTextureCoordinates = (file) =>
  readCorners(file).flatMap(({ uv }) => (uv ? [uv] : []));
