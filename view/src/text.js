// How transforms and values are put into words.
import { axisOf } from './data.js';
import { shown } from './dom.js';

/** "turns about Y" or "moves along X". */
export function deedOf(transform) {
  const { letter, turns } = axisOf(transform.id);
  return turns ? `turns about ${letter}` : `moves along ${letter}`;
}

export function unitOf(transform, { units }) {
  if (!axisOf(transform.id).turns) return ` ${units.lengthName}`;
  return units.angle === 1 ? ' rad' : '°';
}

/** What makes the value of a transform: "v9", "0.5 × v12 + 3", "0.25" or "nothing". */
export function formulaOf({ constant, terms }) {
  const parts = terms.map(([variable, factor]) =>
    (factor === 1 ? `v${variable}` : `${shown(factor, 6)} × v${variable}`));
  if (constant !== 0) parts.push(shown(constant, 6));
  return parts.length === 0 ? 'nothing' : parts.join(' + ').replaceAll('+ -', '− ');
}

/** What a transform makes of a control, where that is more than the value itself. */
export function partOf({ transform, coefficient }, data) {
  const plain = coefficient === 1 && transform.terms.length === 1 && transform.constant === 0;
  return plain ? '' : ` by ${formulaOf(transform)}${unitOf(transform, data)}`;
}
