// Compares what a reader found in a converted file with the facts known about its sample.
import assert from 'node:assert/strict';
import { Euler, MathUtils, Matrix4 } from 'three';

const tolerance = 1e-4;

const boxOf = (points) => [Math.min, Math.max].map((choose) =>
  [0, 1, 2].map((axis) => points.reduce((found, point) => choose(found, point[axis]),
    choose === Math.min ? Infinity : -Infinity)));

const namesOf = (list) => list.map(({ name }) => name).sort();
const byName = (list) => new Map(list.map((entry) => [entry.name, entry]));
const scaled = (vector, scale) => vector.map((value) => value * scale);

function near(actual, wanted, limit, what) {
  [...wanted].forEach((value, i) => {
    const message = `${what}: ${[...actual]} is not ${[...wanted]}`;
    assert.ok(Math.abs(actual[i] - value) <= limit, message);
  });
}

function counted(list) {
  const counts = new Map();
  list.forEach((entry) => counts.set(entry, (counts.get(entry) ?? 0) + 1));
  return counts;
}

export function compareBones(facts, { bodies }, scale, size) {
  assert.deepEqual(namesOf(facts.bones), namesOf(bodies));
  const bones = byName(facts.bones);
  for (const { name, parent, global_rest_position: place, global_rest_axes: axes } of bodies) {
    const bone = bones.get(name);
    assert.equal(bone.parent, parent, `parent of ${name}`);
    near(bone.world.slice(12, 15), scaled(place, scale), size * tolerance, `place of ${name}`);
    axes.forEach((axis, i) =>
      near(bone.world.slice(4 * i, 4 * i + 3), axis, tolerance, `axis ${i} of ${name}`));
  }
}

/** Rotation orders against the mapping and pre-rotations against the model's own text. */
export function compareRotations(facts, modelBodies, orders) {
  const bones = byName(facts.bones);
  for (const { id, name, rows } of modelBodies) {
    const { eulerOrder, preRotation } = bones.get(name);
    // A mapping names the first rotation first, as the order of moving axes does that three.js
    // keeps; a body without a map has the file format's XYZ, whose axes stand still.
    assert.equal(eulerOrder, orders.get(id) ?? 'ZYX', `rotation order of ${name}`);
    const angles = preRotation.map(MathUtils.degToRad);
    const { elements } = new Matrix4().makeRotationFromEuler(new Euler(...angles, 'ZYX'));
    rows?.forEach((row, i) =>
      near(elements.slice(4 * i, 4 * i + 3), row, tolerance, `pre-rotation of ${name}`));
  }
}

export function compareMeshes(facts, expected, scale, size, meshPerBody) {
  const { bodies } = expected;
  const all = facts.meshes.flatMap(({ positions }) => positions);
  assert.equal(all.length, 3 * expected.triangles_when_fanned, 'corners');
  const { min, max } = expected.bounding_box;
  near(boxOf(all).flat(), scaled([...min, ...max], scale), size * tolerance, 'bounding box');

  const wanted = meshPerBody ? bodies.filter(({ polygons }) => polygons) :
    bodies.filter(({ name }) => expected.root_bodies.includes(name));
  const parents = facts.meshes.map(({ name, parent }) => `${parent}/${name}`);
  assert.deepEqual(parents.sort(), wanted.map(({ name }) => `${name}/${name}_mesh`).sort());
  if (!meshPerBody) return;
  for (const { name, bounding_box: box } of wanted) {
    const { positions } = facts.meshes.find((mesh) => mesh.parent === name);
    near(boxOf(positions).flat(), scaled([...box.min, ...box.max], scale), size * tolerance,
      `bounding box of ${name}`);
  }
}

export function compareNormals(facts) {
  for (const { name, positions, normals } of facts.meshes) {
    assert.equal(normals.length, positions.length, `normals of ${name}`);
    normals.forEach((normal) =>
      near([Math.hypot(...normal)], [1], 1e-3, `length of a normal of ${name}`));
  }
}

export function compareMaterials(facts, expected, pictureOf) {
  const used = expected.materials.filter(({ polygons }) => polygons);
  const triangles = counted(facts.meshes.flatMap(({ materialOf }) => materialOf));
  const materials = byName(facts.materials);  // readers may split them
  assert.deepEqual([...materials.keys()].sort(), namesOf(used));
  for (const { name, diffuse, texture, polygons } of used) {
    const { diffuse: { r, g, b }, picture } = materials.get(name);
    near([r, g, b], diffuse, tolerance, `diffuse colour of ${name}`);
    if (expected.polygons === expected.triangles_when_fanned) {
      assert.equal(triangles.get(name), polygons, `triangles of ${name}`);
    }
    if (texture) assert.ok(pictureOf(texture).equals(picture), `picture of ${name}`);
    else assert.equal(picture, null, `picture of ${name}`);
  }
}

/** The corners under textured materials have the same coordinates, in whatever order. */
export function compareTextureCoordinates(facts, wanted) {
  // The text has six decimals: cells whose borders lie between its values are safe from rounding.
  const cell = (pair) => pair.map((value) => Math.floor(value * 1e4 + 0.005)).join(' ');
  const materials = byName(facts.materials);
  const found = facts.meshes.flatMap(({ coordinates, materialOf }) => (coordinates ?? []).filter(
    (_, corner) => materials.get(materialOf[Math.floor(corner / 3)]).picture));
  assert.deepEqual(counted(found.map(cell)), counted(wanted.map(cell)));
}

/** How many positions each slider moves and how far; only documents of version 2.0 have sliders. */
export function compareSliders(facts, sliders, scale, size) {
  const moved = sliders.map(() => ({ places: new Set(), largest: 0 }));
  for (const { name: mesh, positions, targets } of facts.meshes) {
    targets.forEach(({ name, offsets }, i) => {
      if (name !== null) assert.equal(name, sliders[i]?.name, `slider ${i} of ${mesh}`);
      offsets.forEach((offset, corner) => {
        const length = Math.hypot(...offset);
        if (length < size * 1e-7) return;
        moved[i].places.add(positions[corner].map((value) => (value / scale).toFixed(3)).join());
        moved[i].largest = Math.max(moved[i].largest, length);
      });
    });
  }
  sliders.forEach(({ name, moved_positions: count, largest_move: largest }, i) => {
    assert.equal(moved[i].places.size, count, `positions that ${name} moves`);
    near([moved[i].largest], [largest * scale], size * tolerance, `largest move of ${name}`);
  });
}
