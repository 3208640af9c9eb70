// The one place of the mathematics: how variables move a body.
//
// A body's transforms X1 X2 ... stand in the order in which they are applied, about axes that move
// with the body: M = X1 X2 ... for column vectors, and the body's place in its parent is rest x M.
import { Matrix4, Vector3 } from 'three';
import { axisOf } from './data.js';

/** Constant plus coefficient times variable, in the unit of the variables. */
export function transformValue({ constant, terms }, valueOf) {
  return terms.reduce((sum, [variable, coefficient]) => sum + coefficient * valueOf(variable),
    constant);
}

const step = new Matrix4();

/** What one unit of a variable is in the scene: { angle (radians), length (centimetres) }. */
export const measuresOf = ({ units, scaleFactor }) =>
  ({ angle: units.angle, length: units.length * scaleFactor });

/** Multiplies `matrix` by one transform. */
function apply(matrix, transform, valueOf, measures) {
  const { index, turns } = axisOf(transform.id);
  const value = transformValue(transform, valueOf);
  if (value === 0) return;
  if (turns) {
    const angle = value * measures.angle;
    [step.makeRotationX, step.makeRotationY, step.makeRotationZ][index].call(step, angle);
  } else {
    const along = [0, 0, 0];
    along[index] = value * measures.length;
    step.makeTranslation(along[0], along[1], along[2]);
  }
  matrix.multiply(step);
}

/** The place of a body in its parent: rest x M. */
export function localMatrix(target, rest, body, valueOf, measures) {
  target.copy(rest);
  for (const transform of body.transforms) apply(target, transform, valueOf, measures);
  return target;
}

/**
 * Where a transform of a body works: { origin, direction } in the world, given the parent's place.
 * The axis is moved by the transforms applied before it.
 */
export function transformAxis(parentWorld, rest, body, transform, valueOf, measures) {
  const frame = parentWorld.clone().multiply(rest);
  for (const earlier of body.transforms) {
    if (earlier === transform) break;
    apply(frame, earlier, valueOf, measures);
  }
  const origin = new Vector3().setFromMatrixPosition(frame);
  const direction = new Vector3().setFromMatrixColumn(frame, axisOf(transform.id).index);
  return { origin, direction: direction.normalize() };
}
