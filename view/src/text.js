// How transforms and values are put into words.
import { axisOf } from './data.js';
import { shown } from './dom.js';

/** "turns about Y" or "moves along X". */
export function deedOf(transform) {
  const { letter, turns } = axisOf(transform.id);
  return turns ? `turns about ${letter}` : `moves along ${letter}`;
}

export const unitOf = (transform, data) => (axisOf(transform.id).turns ? '°' : ` ${data.unit}`);

/** What makes the value of a transform: "v9", "0.5 × v12 + 3", "0.25" or "nothing". */
export function formulaOf({ constant, terms }) {
  const parts = terms.map(([variable, factor]) =>
    (factor === 1 ? `v${variable}` : `${shown(factor, 6)} × v${variable}`));
  if (constant !== 0) parts.push(shown(constant, 6));
  return parts.length === 0 ? 'nothing' : parts.join(' + ').replaceAll('+ -', '− ');
}

/** The part of a control in a transform: factor and constant where there are any. */
export function partOf({ transform, coefficient }, data) {
  const words = [];
  if (coefficient !== 1) words.push(`× ${shown(coefficient, 6)}`);
  if (transform.terms.length > 1) words.push(`of ${formulaOf(transform)}`);
  else if (transform.constant !== 0) {
    const sign = transform.constant < 0 ? '−' : '+';
    words.push(`${sign} ${shown(Math.abs(transform.constant), 6)}${unitOf(transform, data)}`);
  }
  return words.length === 0 ? '' : ` (${words.join(' ')})`;
}
