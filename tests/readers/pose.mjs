// The formula by which variables move bodies, written once more.
import { MathUtils, Matrix4, Vector3 } from 'three';

function transform(kind, value, { angle = MathUtils.DEG2RAD, length = 1 }) {
  const axis = (kind - 1) % 3;
  if (kind > 3) return new Matrix4()[`makeRotation${'XYZ'[axis]}`](angle * value);
  const way = [0, 0, 0];
  way[axis] = length * value;
  return new Matrix4().makeTranslation(...way);
}

/**
 * Where a row of variables puts bodies, by their ids: global = parent's global x rest x M, M the
 * transforms one after the other. Units are what one of a variable is.
 */
export function worldMatrices(bodies, maps, row, units = {}) {
  const world = new Map([[0, new Matrix4()]]);
  const byId = new Map(bodies.map((body) => [body.id, body]));
  const find = ({ id, parentId, rest }) => {
    if (!world.has(parentId)) find(byId.get(parentId));
    const matrix = world.get(parentId).clone().multiply(rest);
    for (const { kind, constant, terms } of maps.get(id) ?? []) {
      const value = terms.reduce((sum, [v, factor]) => sum + factor * (row.get(v) ?? 0), constant);
      matrix.multiply(transform(kind, value, units));
    }
    world.set(id, matrix);
  };
  bodies.forEach((body) => world.has(body.id) || find(body));
  return world;
}

/** The bodies of a sample's facts with their rest transforms in their parents. */
export function bodiesOf({ bodies }) {
  const globals = new Map([[0, new Matrix4()]]);
  bodies.forEach(({ id, global_rest_position: place, global_rest_axes: axes }) =>
    globals.set(id, new Matrix4().makeBasis(...axes.map((axis) => new Vector3(...axis)))
      .setPosition(...place)));
  return bodies.map(({ id, name, parent_id: parentId }) => ({
    id, name, parentId: parentId ?? 0,
    rest: globals.get(parentId ?? 0).clone().invert().multiply(globals.get(id)),
  }));
}
