// What the samples are, and where frames of variables put their bodies and corners.
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { readBodies, readCorners, readMapping } from '../readers/inputs.mjs';
import { bodiesOf, worldMatrices } from '../readers/pose.mjs';
import { blend } from '../readers/skin.mjs';
import { samples } from './browser.mjs';

/** Reads a sample; `posed(frame, units)` answers the matrices of its bodies, in the model's lengths. */
export function readSample(name) {
  const at = (suffix) => join(samples, `${name}${suffix}`);
  const facts = JSON.parse(readFileSync(at('.expected.json')));
  const { min, max } = facts.bounding_box;
  const bodies = bodiesOf(facts);
  const maps = readMapping(at('.dof'));
  const terms = [...maps.values()].flat().flatMap((transform) => transform.terms);
  const legacy = at('.mdl');
  let corners = null;
  return {
    mapping: at('.dof'),
    models: [legacy, at('-v2.mdl')].filter(existsSync),
    bodies,
    variables: [...new Set(terms.map(([variable]) => variable))].sort((a, b) => a - b),
    size: Math.hypot(...max.map((value, axis) => value - min[axis])),
    rest: () => worldMatrices(bodies, new Map(), new Map()),
    posed: (frame, units) => worldMatrices(bodies, maps, frame, units),
    /** The polygons, lists of { place, values }: at rest and where matrices carry them. */
    polygons(matrices, scale) {
      corners ??= readCorners(legacy);
      const polygons = new Map();
      blend(readBodies(legacy), corners, matrices, scale).forEach((corner, i) => {
        const { polygon } = corners[i];
        if (!polygons.has(polygon)) polygons.set(polygon, []);
        polygons.get(polygon).push(corner);
      });
      return [...polygons.values()];
    },
  };
}

/** The same numbers in every run, from -1 to 1. */
export function randomFrom(seed) {
  let state = seed;
  return () => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
    return state / 2 ** 31 - 1;
  };
}
