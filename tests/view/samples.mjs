// What the samples are, and where frames of variables put their bodies and corners.
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import {
  readBodies, readCorners, readMapping, readSliderVariables,
} from '../readers/inputs.mjs';
import { bodiesOf, worldMatrices } from '../readers/pose.mjs';
import { generator } from '../readers/random.mjs';
import { blend } from '../readers/skin.mjs';
import { samples } from './browser.mjs';

const keyOf = (point) => point.map((value) => value.toFixed(3)).join();

/** Slider -> where its points are at rest, in their body's space -> how far it moves them. */
function readShapes(model) {
  const shapes = new Map();
  for (const [, coordinates, effects] of readFileSync(model, 'utf8')
    .matchAll(/COORDINATES {([^}]*)}\s+EFFECTS {(.*?)\n {2}}/gs)) {
    const rows = (text) => text.trim().split('\n').map((line) => line.trim().split(/\s+/).map(Number));
    const points = rows(coordinates);
    for (const [, name, vectors] of effects.matchAll(/SLIDER_NAME: (\S+)\s+VECTORS {([^}]*)}/g)) {
      shapes.set(name, new Map(rows(vectors).map(([x, y, z, vertex]) =>
        [keyOf(points[vertex - 1]), [x, y, z]])));
    }
  }
  return shapes;
}

/** The corners with their points moved by the shapes that a frame drives. */
function shaped(corners, shapes, sliders, frame) {
  return corners.map((corner) => {
    const moves = [...shapes].flatMap(([name, vectors]) => {
      const vector = vectors.get(keyOf(corner.point));
      const amount = frame.get(sliders.get(name)) ?? 0;
      return vector ? [vector.map((part) => part * amount)] : [];
    });
    return { ...corner, point: corner.point.map((value, axis) =>
      moves.reduce((sum, move) => sum + move[axis], value)) };
  });
}

/** Reads a sample; `posed(frame, units)` answers the matrices of its bodies, in the model's lengths. */
export function readSample(name) {
  const at = (suffix) => join(samples, `${name}${suffix}`);
  const facts = JSON.parse(readFileSync(at('.expected.json')));
  const { min, max } = facts.bounding_box;
  const bodies = bodiesOf(facts);
  const maps = readMapping(at('.dof'));
  const terms = [...maps.values()].flat().flatMap((transform) => transform.terms);
  const legacy = at('.mdl');
  const sliders = readSliderVariables(at('.dof'));
  let [corners, shapes] = [null, null];
  return {
    mapping: at('.dof'),
    models: [legacy, at('-v2.mdl')].filter(existsSync),
    bodies,
    variables: [...new Set(terms.map(([variable]) => variable))].sort((a, b) => a - b),
    size: Math.hypot(...max.map((value, axis) => value - min[axis])),
    rest: () => worldMatrices(bodies, new Map(), new Map()),
    posed: (frame, units) => worldMatrices(bodies, maps, frame, units),
    sliders,
    /** The polygons, lists of { place, values }: shaped by a frame, and where matrices carry them. */
    polygons(matrices, scale, frame = new Map()) {
      corners ??= readCorners(legacy);
      shapes ??= readShapes(at('-v2.mdl'));
      const polygons = new Map();
      const moved = shaped(corners, shapes, sliders, frame);
      blend(readBodies(legacy), moved, matrices, scale).forEach((corner, i) => {
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
  const random = generator(seed);
  return () => 2 * random() - 1;
}
