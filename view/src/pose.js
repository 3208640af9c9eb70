// The one place of the mathematics: how variables move a body.
//
// A body's transforms X1 X2 ... stand in the order in which they are applied, about axes that move
// with the body: M = X1 X2 ... for column vectors, and the body's place in its parent is rest x M.
import { Matrix4, Vector3 } from 'three';
import { axisOf } from './data.js';

/** Constant plus coefficient times variable: degrees, or the model's units of length. */
export function transformValue({ constant, terms }, valueOf) {
  return terms.reduce((sum, [variable, coefficient]) => sum + coefficient * valueOf(variable),
    constant);
}

const step = new Matrix4();

/** Multiplies `matrix` by one transform. */
function apply(matrix, transform, valueOf, scaleFactor) {
  const { index, turns } = axisOf(transform.id);
  const value = transformValue(transform, valueOf);
  if (value === 0) return;
  if (turns) {
    const angle = value * Math.PI / 180;
    [step.makeRotationX, step.makeRotationY, step.makeRotationZ][index].call(step, angle);
  } else {
    const along = [0, 0, 0];
    along[index] = value * scaleFactor;
    step.makeTranslation(along[0], along[1], along[2]);
  }
  matrix.multiply(step);
}

/** The place of a body in its parent: rest x M. */
export function localMatrix(target, rest, body, valueOf, scaleFactor) {
  target.copy(rest);
  for (const transform of body.transforms) apply(target, transform, valueOf, scaleFactor);
  return target;
}

/**
 * Where a transform of a body works: { origin, direction } in the world, given the parent's place.
 * The axis is moved by the transforms applied before it.
 */
export function transformAxis(parentWorld, rest, body, transform, valueOf, scaleFactor) {
  const frame = parentWorld.clone().multiply(rest);
  for (const earlier of body.transforms) {
    if (earlier === transform) break;
    apply(frame, earlier, valueOf, scaleFactor);
  }
  const origin = new Vector3().setFromMatrixPosition(frame);
  const direction = new Vector3().setFromMatrixColumn(frame, axisOf(transform.id).index);
  return { origin, direction: direction.normalize() };
}
