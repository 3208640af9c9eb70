// The skeleton over the picture: bones, joints that can be pointed at, axes of what is moved.
import {
  BufferAttribute, BufferGeometry, CanvasTexture, Color, DynamicDrawUsage, LineBasicMaterial,
  LineSegments, Points, PointsMaterial, Vector3,
} from 'three';
import { axisOf } from './data.js';
import { transformAxis } from './pose.js';

const kReach = 14;     // pixels from a joint within which it is meant
const kRing = 32;      // pieces of the circle that stands for a rotation
const kColors = {
  joint: new Color(0x2f9cff), moved: new Color(0xff9d00), hovered: new Color(0xffffff),
  chosen: new Color(0xff3b6b), bone: new Color(0x2f7fd0),
};
const kAxisColors = [new Color(0xff4040), new Color(0x35c035), new Color(0x4c7dff)];

/** Points in arrays that grow when they must: positions and colours of a line or point cloud. */
function fill(geometry, points, colors) {
  const needed = points.length;
  if ((geometry.attributes.position?.count ?? 0) < needed) {
    for (const name of ['position', 'color']) {
      const attribute = new BufferAttribute(new Float32Array(3 * needed), 3);
      geometry.setAttribute(name, attribute.setUsage(DynamicDrawUsage));
    }
  }
  const { position, color } = geometry.attributes;
  points.forEach((point, i) => {
    position.setXYZ(i, point.x, point.y, point.z);
    color.setXYZ(i, colors[i].r, colors[i].g, colors[i].b);
  });
  if (position) position.needsUpdate = color.needsUpdate = true;
  geometry.setDrawRange(0, needed);
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
    const onTop = { depthTest: false, depthWrite: false, transparent: true, vertexColors: true };
    this.bones = new LineSegments(new BufferGeometry(),
      new LineBasicMaterial({ ...onTop, opacity: 0.75 }));
    this.points = new Points(new BufferGeometry(), new PointsMaterial({
      ...onTop, size: 9, sizeAttenuation: false, map: discTexture(), alphaTest: 0.3,
    }));
    this.axes = new LineSegments(new BufferGeometry(), new LineBasicMaterial(onTop));
    [this.bones, this.points, this.axes].forEach((object, i) => {
      object.frustumCulled = false;
      object.renderOrder = 10 + i;
      stage.scene.add(object);
    });
    this.places = character.joints.map(() => new Vector3());
  }

  setVisible(visible) {
    this.bones.visible = this.points.visible = visible;
    this.stage.invalidate();
  }

  /** Puts everything where the pose has it. */
  update() {
    const { joints } = this.character;
    const { state } = this;
    joints.forEach(({ node }, i) => this.places[i].setFromMatrixPosition(node.matrixWorld));
    const indexOf = new Map(joints.map(({ body }, i) => [body.id, i]));
    const moved = new Set(this._movedUses().map(({ body }) => body.id));

    const ends = [];
    joints.forEach(({ body }, i) => {
      const parent = indexOf.get(body.parent);
      if (parent !== undefined) ends.push(this.places[parent], this.places[i]);
    });
    fill(this.bones.geometry, ends, ends.map(() => kColors.bone));
    fill(this.points.geometry, this.places, joints.map(({ body: { id } }) =>
      (id === state.hovered ? kColors.hovered : moved.has(id) ? kColors.moved :
        id === state.body ? kColors.chosen : kColors.joint)));
    this._drawAxes();
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
    fill(this.axes.geometry, points, colors);
  }

  /** The body whose joint is meant by a place in the canvas, null for none. */
  pick(x, y) {
    if (!this.points.visible) return null;
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
