// Linear blending of a model's own weights.
import { Matrix4, Vector3 } from 'three';

/** The transforms of the bodies at rest, by id. */
function restMatrices(bodies) {
  const world = new Map([[0, new Matrix4()]]);
  const find = ({ id, parentId, rows: [x, y, z], origin }) => {
    if (!world.has(parentId)) find(bodies.find((body) => body.id === parentId));
    const matrix = new Matrix4().makeBasis(new Vector3(...x), new Vector3(...y), new Vector3(...z));
    matrix.setPosition(...origin).premultiply(world.get(parentId));
    world.set(id, matrix);
  };
  bodies.forEach(find);
  return world;
}

/** Body id -> weight, all of them together 1. */
function weightsOf({ body, flexes }, parents) {
  const weights = new Map();
  const total = flexes.reduce((sum, [weight]) => sum + weight, 0);
  const add = (id, weight) => weight > 0 && weights.set(id, (weights.get(id) ?? 0) + weight);
  add(body, 1 - total);
  flexes.forEach(([weight, id]) => add(id ?? parents.get(body), weight / Math.max(total, 1)));
  return weights;
}

/** Of each corner of the model: its place at rest, and its values where the bodies are `posed`. */
export function blend(bodies, corners, posed, scale) {
  const rest = restMatrices(bodies);
  const moves = new Map([...rest].map(([id, matrix]) =>
    [id, posed.get(id).clone().multiply(matrix.clone().invert())]));
  const parents = new Map(bodies.map(({ id, parentId }) => [id, parentId]));
  return corners.map((corner) => {
    const start = new Vector3(...corner.point).applyMatrix4(rest.get(corner.body));
    const weights = weightsOf(corner, parents);
    const end = new Vector3();
    weights.forEach((weight, id) =>
      end.addScaledVector(start.clone().applyMatrix4(moves.get(id)), weight));
    const [place, values] = [start, end].map((point) => point.multiplyScalar(scale).toArray());
    return { place, values };
  });
}
