// The skeleton over the picture: bones, joints that can be pointed at, axes of what is moved.
import {
  BufferAttribute, BufferGeometry, CanvasTexture, Color, DynamicDrawUsage, Group, Points,
  PointsMaterial, Vector3,
} from 'three';
import { LineMaterial } from 'three/examples/jsm/lines/LineMaterial.js';
import { LineSegments2 } from 'three/examples/jsm/lines/LineSegments2.js';
import { LineSegmentsGeometry } from 'three/examples/jsm/lines/LineSegmentsGeometry.js';
import { axisOf } from './data.js';
import { transformAxis } from './pose.js';

const kReach = 14;     // pixels from a joint within which it is meant
const kRing = 32;      // pieces of the circle that stands for a rotation
const kColors = {
  joint: new Color(0x2f9cff), moved: new Color(0xffd400), hovered: new Color(0xffffff),
  chosen: new Color(0xff3b6b), bone: new Color(0x2f7fd0),
};
const kAxisColors = [new Color(0xff4040), new Color(0x35c035), new Color(0x4c7dff)];

const kOnTop = { depthTest: false, depthWrite: false, transparent: true, vertexColors: true };

/** Writes points and colours into arrays that grow when they must; `make` makes larger ones. */
function fill(arrays, points, colors, make) {
  if (arrays === null || arrays.position.array.length < 3 * points.length) {
    arrays = make(3 * points.length);
  }
  points.forEach((point, i) => {
    point.toArray(arrays.position.array, 3 * i);
    colors[i].toArray(arrays.color.array, 3 * i);
  });
  arrays.position.needsUpdate = arrays.color.needsUpdate = true;
  return arrays;
}

/** Discs, so many pixels wide. */
class Discs {
  constructor(width) {
    this.object = new Points(new BufferGeometry(), new PointsMaterial({
      ...kOnTop, size: width, sizeAttenuation: false, map: discTexture(), alphaTest: 0.3 }));
    this.arrays = null;
  }

  set(points, colors) {
    const { geometry } = this.object;
    this.arrays = fill(this.arrays, points, colors, (size) => {
      for (const name of ['position', 'color']) {
        const attribute = new BufferAttribute(new Float32Array(size), 3);
        geometry.setAttribute(name, attribute.setUsage(DynamicDrawUsage));
      }
      return geometry.attributes;
    });
    geometry.setDrawRange(0, points.length);
  }
}

/** Lines from every other point to the next, so many pixels wide, which lines of WebGL cannot be. */
class Lines {
  constructor(width, opacity) {
    this.object = new LineSegments2(new LineSegmentsGeometry(),
      new LineMaterial({ ...kOnTop, linewidth: width, opacity }));
    this.arrays = null;
  }

  set(points, colors) {
    this.object.visible = points.length > 0;
    if (points.length === 0) return;
    this.arrays = fill(this.arrays, points, colors, (size) => {
      this.object.geometry.dispose();
      const geometry = new LineSegmentsGeometry();
      geometry.setPositions(new Float32Array(size));
      geometry.setColors(new Float32Array(size));
      this.object.geometry = geometry;
      const { instanceStart, instanceColorStart } = /** @type {any} */ (geometry.attributes);
      return { position: instanceStart.data, color: instanceColorStart.data };
    });
    this.object.geometry.instanceCount = points.length / 2;
  }
}

/** A disc with an edge, the mark of a joint. */
function discTexture() {
  const canvas = Object.assign(document.createElement('canvas'), { width: 32, height: 32 });
  const context = canvas.getContext('2d');
  context.beginPath();
  context.arc(16, 16, 13, 0, 2 * Math.PI);
  context.fillStyle = '#fff';
  context.fill();
  context.lineWidth = 4;
  context.strokeStyle = '#333';
  context.stroke();
  return new CanvasTexture(canvas);
}

export class SkeletonOverlay {
  constructor(character, stage, state) {
    this.character = character;
    this.stage = stage;
    this.state = state;
    this.bones = new Lines(2, 0.7);
    this.discs = new Discs(9);
    this.marks = new Discs(15);  // joints that stand out
    this.axes = new Lines(3.5, 1);
    this.group = new Group();
    this.group.add(...[this.bones, this.discs, this.axes, this.marks].map(({ object }, i) =>
      Object.assign(object, { frustumCulled: false, renderOrder: 10 + i })));
    stage.scene.add(this.group);
    this.places = character.joints.map(() => new Vector3());
    this.parents = parentsOf(character.joints);
  }

  setVisible(visible) {
    this.group.visible = visible;
    this.stage.invalidate();
  }

  /** Puts everything where the pose has it. */
  update() {
    const { joints } = this.character;
    joints.forEach(({ node }, i) => this.places[i].setFromMatrixPosition(node.matrixWorld));
    const ends = this.parents.flatMap((parent, i) =>
      (parent === undefined ? [] : [this.places[parent], this.places[i]]));
    this.bones.set(ends, ends.map(() => kColors.bone));

    const moved = new Set(this._movedUses().map(({ body }) => body.id));
    const colors = joints.map(({ body: { id } }) => this._markOf(id, moved));
    const [plain, marked] = [[], []];
    colors.forEach((color, i) => (color ? marked : plain).push(i));
    this.discs.set(plain.map((i) => this.places[i]), plain.map(() => kColors.joint));
    this.marks.set(marked.map((i) => this.places[i]), marked.map((i) => colors[i]));
    this._drawAxes();
  }

  /** The colour of a joint that stands out, null for the others. */
  _markOf(id, moved) {
    const { state } = this;
    if (id === state.hovered) return kColors.hovered;
    if (moved.has(id)) return kColors.moved;
    return id === state.body ? kColors.chosen : null;
  }

  /** What the control used last does to bodies. */
  _movedUses() {
    const uses = this.state.control?.uses ?? [];
    return uses.filter(({ kind }) => kind === 'transform');
  }

  _drawAxes() {
    const length = 0.12 * this.character.size;
    const points = [];
    const colors = [];
    for (const { body, transform } of this._movedUses()) {
      const joint = this.character.jointOf.get(body.id);
      const { index, turns } = axisOf(transform.id);
      const { origin, direction } = transformAxis(this.character.parentWorld(joint), joint.rest, body,
        transform, this.state.rest ? () => 0 : this.state.valueOf, this.character.measures);
      const at = (along) => origin.clone().addScaledVector(direction, along * length);
      points.push(at(-1), at(1));
      points.push(...(turns ? ringOf(origin, direction, length / 2) : tipOf(at, direction, length)));
      while (colors.length < points.length) colors.push(kAxisColors[index]);
    }
    this.axes.set(points, colors);
  }

  /** The body whose joint is meant by a place in the canvas, null for none. */
  pick(x, y) {
    if (!this.group.visible) return null;
    const near = [];
    this.places.forEach((place, i) => {
      const seen = this.stage.project(place);
      const distance = seen && Math.hypot(seen.x - x, seen.y - y);
      if (seen && distance <= kReach) near.push({ distance, id: this.character.joints[i].body.id });
    });
    if (near.length === 0) return null;
    const least = Math.min(...near.map(({ distance }) => distance));
    // Joints in one place take turns: the one behind the chosen one comes next.
    const stacked = near.filter(({ distance }) => distance < least + 2).map(({ id }) => id);
    return stacked[(stacked.indexOf(this.state.body) + 1) % stacked.length];
  }
}

/** For each joint the place of its parent among them. */
function parentsOf(joints) {
  const placeOf = new Map(joints.map(({ body }, i) => [body.id, i]));
  return joints.map(({ body }) => placeOf.get(body.parent));
}

/** Two directions across this one. */
function across(direction) {
  const helper = Math.abs(direction.y) < 0.9 ? new Vector3(0, 1, 0) : new Vector3(1, 0, 0);
  const first = helper.cross(direction).normalize();
  return [first, new Vector3().crossVectors(direction, first)];
}

function ringOf(origin, direction, radius) {
  const [first, second] = across(direction);
  const at = (i) => {
    const angle = 2 * Math.PI * i / kRing;
    return origin.clone().addScaledVector(first, radius * Math.cos(angle))
      .addScaledVector(second, radius * Math.sin(angle));
  };
  return Array.from({ length: kRing }, (_, i) => [at(i), at(i + 1)]).flat();
}

function tipOf(at, direction, length) {
  const [first] = across(direction);
  return [1, -1].flatMap((side) =>
    [at(1), at(0.8).addScaledVector(first, side * 0.12 * length)]);
}
