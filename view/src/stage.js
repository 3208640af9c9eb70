// The stage: renderer, camera, lights, grid. It draws when something has changed, and not otherwise.
import {
  AmbientLight, Box3, Box3Helper, Color, DirectionalLight, GridHelper, PerspectiveCamera, Scene,
  Spherical, Vector3, WebGLRenderer,
} from 'three';
import { OrbitControls } from 'three/examples/jsm/controls/OrbitControls.js';

// From where each view looks: angle about the vertical, angle from above, in radians.
const kViews = {
  fit: [Math.PI / 5, Math.PI / 2.4], front: [0, Math.PI / 2], side: [Math.PI / 2, Math.PI / 2],
  top: [0, 0],
};

/** A colour of the style sheet, so that the picture is dark or light as the page is. */
const styleColor = (name) =>
  new Color(getComputedStyle(document.documentElement).getPropertyValue(name).trim());

/** True where no graphics processor draws: then smooth edges and fine pixels cost too much. */
function drawsInSoftware() {
  const probe = document.createElement('canvas').getContext('webgl2');
  const names = probe?.getExtension('WEBGL_debug_renderer_info');
  const name = names ? probe.getParameter(names.UNMASKED_RENDERER_WEBGL) : '';
  probe?.getExtension('WEBGL_lose_context')?.loseContext();
  return /swiftshader|llvmpipe|softpipe|basic render/i.test(name);
}

// A picture that takes longer than kSlow seconds while something moves is drawn with fewer pixels, down
// to kCoarsest for each of the page; once nothing has changed for kRest seconds it is drawn in full.
const kSlow = 1 / 30;
const kRest = 0.15;
const kCoarsest = 0.5;

/** Lines of 1, 10, 100 ... cm: the largest of these that leaves some ten lines across the size. */
export const gridStep = (size) => 10 ** Math.floor(Math.log10(size / 4));

export class Stage {
  /** @param {HTMLCanvasElement} canvas */
  constructor(canvas) {
    this.canvas = canvas;
    const plain = drawsInSoftware();
    // Pixels along each of the page, while things move and when they stand still. Where edges are not
    // smoothed, twice as many do it.
    const fine = Math.min(devicePixelRatio, 2);
    this.finest = plain ? 1 : fine;
    this.still = plain ? 2 : fine;
    this.moving = this.finest;
    this.renderer = new WebGLRenderer({ canvas, antialias: !plain });
    this.pace = { last: 0, mean: 0 };  // when the last picture was drawn, seconds from one to the next
    this.scene = new Scene();
    this.camera = new PerspectiveCamera(35, 1, 0.1, 1000);
    const light = new DirectionalLight(0xffffff, 2.0);
    light.position.set(0.5, 0.6, 1);
    this.camera.add(light, light.target);  // it comes from above the right shoulder
    this.scene.add(new AmbientLight(0xffffff, 1.0), this.camera);
    this.controls = new OrbitControls(this.camera, canvas);
    this.controls.addEventListener('change', () => this.invalidate());
    this.beforeDraw = [];   // called with the time in seconds; true keeps the stage drawing
    this.frames = 0;
    new ResizeObserver(() => this._resize()).observe(canvas.parentElement);
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this._recolor());
  }

  /**
   * Makes room for something of this size.
   * @param {() => Iterable<Vector3>} points what must be seen after `look`
   */
  furnish(size, points) {
    this.points = points;
    this.size = size;
    Object.assign(this.camera, { near: size / 500, far: size * 50 });
    this.controls.minDistance = size / 50;
    this.controls.maxDistance = size * 20;
    this.step = gridStep(size);
    const cells = 2 * Math.ceil(size / this.step);
    this.grid = new GridHelper(cells * this.step, cells);
    // Drawn first and under everything: a floor of the model may lie in the same plane.
    this.grid.renderOrder = -1;
    this.grid.material.depthWrite = false;
    this.boxHelper = new Box3Helper(new Box3(), new Color(0xffa500));
    this.boxHelper.visible = false;
    this.scene.add(this.grid, this.boxHelper);
    this._recolor();
    this._resize();
    this.look('fit');
  }

  /** Looks from one of the views, from as near as everything can be seen. */
  look(view) {
    this._place(new Spherical(1, kViews[view][1], kViews[view][0]));
    const [right, up, back] = [0, 1, 2].map((i) =>
      new Vector3().setFromMatrixColumn(this.camera.matrixWorld, i));
    const tall = 0.93 * Math.tan(this.camera.fov * Math.PI / 360);
    // For both directions how far the planes that bound the picture must stand off on either side.
    const sides = [{ direction: right, slope: tall * this.camera.aspect }, { direction: up, slope: tall }]
      .map((side) => ({ ...side, more: -Infinity, less: -Infinity }));
    let [nearest, farthest] = [-Infinity, Infinity];
    for (const point of this.points()) {
      const depth = point.dot(back);
      nearest = Math.max(nearest, depth);
      farthest = Math.min(farthest, depth);
      for (const side of sides) {
        const place = point.dot(side.direction);
        side.more = Math.max(side.more, place + side.slope * depth);
        side.less = Math.max(side.less, -place + side.slope * depth);
      }
    }
    const eye = Math.max(nearest + this.size / 50,
      ...sides.map(({ more, less, slope }) => (more + less) / (2 * slope)));
    const depth = (nearest + farthest) / 2;
    const [x, y] = sides.map(({ more, less }) => (more - less) / 2);
    this.controls.target.set(0, 0, 0).addScaledVector(right, x).addScaledVector(up, y)
      .addScaledVector(back, depth);
    this._place(new Spherical(eye - depth, kViews[view][1], kViews[view][0]));
  }

  /** Turns about the target by these angles and multiplies the distance. */
  orbit(aside, down, nearer = 1) {
    const offset = new Spherical().setFromVector3(
      this.camera.position.clone().sub(this.controls.target));
    offset.set(offset.radius * nearer, offset.phi + down, offset.theta + aside);
    this._place(offset);
  }

  _place(offset) {
    offset.makeSafe();
    this.camera.position.setFromSpherical(offset).add(this.controls.target);
    this.controls.update();
    this.camera.updateMatrixWorld();
    this.invalidate();
  }

  /** Brings a point to the middle, without turning, unless it is well in sight. */
  reveal(point) {
    const seen = point.clone().project(this.camera);
    if (Math.max(Math.abs(seen.x), Math.abs(seen.y)) < 0.9 && seen.z < 1) return;
    this.camera.position.add(point).sub(this.controls.target);
    this.controls.target.copy(point);
    this.controls.update();
    this.invalidate();
  }

  _recolor() {
    this.renderer.setClearColor(styleColor('--stage'));
    const { geometry } = this.grid;
    const [line, middle] = [styleColor('--grid'), styleColor('--grid-middle')];
    const colors = geometry.attributes.color;
    const points = geometry.attributes.position;
    for (let i = 0; i < colors.count; i += 2) {
      const isMiddle = [0, 2].some((axis) =>
        [i, i + 1].every((p) => Math.abs(points.getComponent(p, axis)) < this.step / 2));
      const { r, g, b } = isMiddle ? middle : line;
      for (const p of [i, i + 1]) colors.setXYZ(p, r, g, b);
    }
    colors.needsUpdate = true;
    this.invalidate();
  }

  _resize() {
    const { clientWidth, clientHeight } = this.canvas.parentElement;
    if (clientWidth === 0 || clientHeight === 0) return;
    this.renderer.setSize(clientWidth, clientHeight, false);
    this.camera.aspect = clientWidth / clientHeight;
    this.camera.updateProjectionMatrix();
    this.invalidate();
  }

  invalidate() {
    this.asked ??= requestAnimationFrame((time) => this._draw(time / 1000));
  }

  _draw(time) {
    this.asked = undefined;
    const goOn = this.beforeDraw.map((call) => call(time)).some(Boolean);
    this._drawWith(this._ratioAt(time));
    clearTimeout(this.resting);
    if (goOn) this.invalidate();
    else this.resting = setTimeout(() => this._drawInFull(), 1000 * kRest);
  }

  _drawWith(ratio) {
    if (this.renderer.getPixelRatio() !== ratio) this.renderer.setPixelRatio(ratio);
    this.renderer.render(this.scene, this.camera);
    ++this.frames;
  }

  /** Pixels for each of the page, as many as can be drawn in time while things move. */
  _ratioAt(time) {
    const passed = time - this.pace.last;
    this.pace.last = time;
    if (passed < kRest) this.pace.mean += 0.2 * (passed - this.pace.mean);
    if (this.pace.mean > kSlow) {
      this.moving = Math.max(this.moving * 0.8, kCoarsest);
      this.pace.mean = kSlow / 2;
    }
    return this.moving;
  }

  _drawInFull() {
    if (this.renderer.getPixelRatio() < this.still) this._drawWith(this.still);
    this.moving = Math.min(1.25 * this.moving, this.finest);  // what was slow need not be so again
  }

  /** Where a point of the world stands in the canvas, in pixels; null behind the camera. */
  project(point) {
    const seen = point.clone().project(this.camera);
    if (seen.z > 1) return null;
    const { clientWidth, clientHeight } = this.canvas;
    return { x: (seen.x + 1) / 2 * clientWidth, y: (1 - seen.y) / 2 * clientHeight };
  }
}
