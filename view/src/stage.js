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

/** Lines of 1, 10, 100 ... cm: the largest of these that leaves some ten lines across the size. */
export const gridStep = (size) => 10 ** Math.floor(Math.log10(size / 4));

export class Stage {
  /** @param {HTMLCanvasElement} canvas */
  constructor(canvas) {
    this.canvas = canvas;
    const plain = drawsInSoftware();
    this.finest = plain ? 1 : 2;  // pixels drawn for each of the page
    this.renderer = new WebGLRenderer({ canvas, antialias: !plain });
    this.scene = new Scene();
    this.camera = new PerspectiveCamera(35, 1, 0.1, 1000);
    const light = new DirectionalLight(0xffffff, 2.0);
    light.position.set(0.6, 1, 0.8);
    this.camera.add(light);
    this.scene.add(new AmbientLight(0xffffff, 1.0), this.camera);
    this.controls = new OrbitControls(this.camera, canvas);
    this.controls.addEventListener('change', () => this.invalidate());
    this.beforeDraw = [];   // called with the time in seconds; true keeps the stage drawing
    this.frames = 0;
    this.box = new Box3();
    new ResizeObserver(() => this._resize()).observe(canvas.parentElement);
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this._recolor());
  }

  /** Makes room for something of this size about this box. */
  furnish(box, size) {
    this.box.copy(box);
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
    this.boxHelper = new Box3Helper(this.box.clone(), new Color(0xffa500));
    this.boxHelper.visible = false;
    this.scene.add(this.grid, this.boxHelper);
    this._recolor();
    this._resize();
    this.look('fit');
  }

  /** Looks from one of the views, or from where the camera is, such that the whole box is seen. */
  look(view) {
    const offset = new Spherical();
    if (view) offset.set(1, kViews[view][1], kViews[view][0]);
    else offset.setFromVector3(this.camera.position.clone().sub(this.controls.target));
    this.box.getCenter(this.controls.target);
    offset.radius = 1;
    this._place(offset);
    offset.radius = 1.08 * this._distanceToSee();
    this._place(offset);
  }

  /** How far from the target the camera must be, looking as it does, to see all corners. */
  _distanceToSee() {
    const tall = Math.tan(this.camera.fov * Math.PI / 360);
    const wide = tall * this.camera.aspect;
    const [right, up, back] = [0, 1, 2].map((i) =>
      new Vector3().setFromMatrixColumn(this.camera.matrixWorld, i));
    const corner = new Vector3();
    let distance = this.size / 10;
    for (let i = 0; i < 8; ++i) {
      ['x', 'y', 'z'].forEach((axis, bit) => {
        corner[axis] = this.box[i >> bit & 1 ? 'max' : 'min'][axis];
      });
      corner.sub(this.controls.target);
      const [x, y] = [Math.abs(corner.dot(right)) / wide, Math.abs(corner.dot(up)) / tall];
      distance = Math.max(distance, Math.max(x, y) + corner.dot(back));
    }
    return distance;
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
    this.renderer.setPixelRatio(Math.min(devicePixelRatio, this.finest));
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
    this.renderer.render(this.scene, this.camera);
    ++this.frames;
    if (goOn) this.invalidate();
  }

  /** Where a point of the world stands in the canvas, in pixels; null behind the camera. */
  project(point) {
    const seen = point.clone().project(this.camera);
    if (seen.z > 1) return null;
    const { clientWidth, clientHeight } = this.canvas;
    return { x: (seen.x + 1) / 2 * clientWidth, y: (1 - seen.y) / 2 * clientHeight };
  }
}
