// Where a frame of variables puts the bodies of a legacy model, worked out from the two files alone:
// rest x M for each body below its parent, M the product of its transforms in order of application.
import { readFileSync } from 'node:fs';
import { readBodies } from '../readers/inputs.mjs';

/** Body id -> its transforms in order: { id, constant, terms: [[variable, coefficient]] }. */
export function readTransforms(file) {
  const numbers = readFileSync(file, 'utf8').split('\n').slice(2).join(' ').split(/\s+/)
    .filter((word) => word !== '').map(Number);
  let at = 1;
  const next = () => numbers[at++];
  const maps = new Map();
  for (let left = next(); left > 0; --left) {
    const id = next();
    const order = Array.from({ length: 6 }, next);
    // The transforms stand by their ids, 1 to 6, whatever the order of application.
    const transforms = order.map((_, i) => {
      const first = next();
      if (first >= 0) return { id: i + 1, constant: 0, terms: first > 0 ? [[first, 1]] : [] };
      const constant = next();
      const terms = Array.from({ length: -1 - first }, () => [next(), next()]);
      return { id: i + 1, constant, terms };
    });
    maps.set(id, order.map((transform) => transforms[transform - 1]));
  }
  return maps;
}

// Matrices for column vectors, a list of rows.
const product = (a, b) => a.map((row) =>
  b[0].map((_, column) => row.reduce((sum, value, i) => sum + value * b[i][column], 0)));
const identity = () => [0, 1, 2, 3].map((row) => [0, 1, 2, 3].map((column) => +(row === column)));

function stepOf(transform, frame, { scale, angle = Math.PI / 180, length = 1 }) {
  const value = transform.terms.reduce((sum, [variable, coefficient]) =>
    sum + coefficient * (frame.get(variable) ?? 0), transform.constant);
  const matrix = identity();
  const axis = (transform.id - 1) % 3;
  if (transform.id <= 3) {
    matrix[axis][3] = value * length * scale;
    return matrix;
  }
  const [a, b] = [(axis + 1) % 3, (axis + 2) % 3];
  matrix[a][a] = matrix[b][b] = Math.cos(value * angle);
  matrix[b][a] = Math.sin(value * angle);
  matrix[a][b] = -matrix[b][a];
  return matrix;
}

/**
 * Body id -> its place in the world as a list of rows. `frame` maps variables to values; measures are
 * the scale factor and what one unit of a variable is.
 */
export function poseOf(model, mapping, frame, measures) {
  const bodies = new Map(readBodies(model).map((body) => [body.id, body]));
  const transforms = readTransforms(mapping);
  const worlds = new Map([[0, identity()]]);
  const find = (id) => {
    if (!worlds.has(id)) {
      const { rows, origin, parentId } = bodies.get(id);
      const rest = [0, 1, 2].map((i) => [rows[0][i], rows[1][i], rows[2][i], origin[i] * measures.scale]);
      const steps = (transforms.get(id) ?? []).map((transform) => stepOf(transform, frame, measures));
      worlds.set(id, [...steps].reduce(product, product(find(parentId), [...rest, [0, 0, 0, 1]])));
    }
    return worlds.get(id);
  };
  [...bodies.keys()].forEach(find);
  worlds.delete(0);
  return worlds;
}
