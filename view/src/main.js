// Puts the page together.
import { Vector3 } from 'three';
import { BodyTree } from './bodies.js';
import { Character } from './character.js';
import { controlsOf, readEmbedded } from './data.js';
import { byId, element, shown } from './dom.js';
import { Findings } from './findings.js';
import { listenToKeys } from './keys.js';
import { Looks } from './looks.js';
import { Player } from './player.js';
import { Show } from './show.js';
import { SkeletonOverlay } from './skeleton.js';
import { Stage } from './stage.js';
import { State } from './state.js';
import { Tabs } from './tabs.js';
import { Variables } from './variables.js';

// In centimetres. Graphics calculate with squares, in numbers that end at 3e38.
const kLargest = 1e15;

/** A length with as many digits as say something. */
const shownLength = (value) => (value < 10 ? String(+value.toPrecision(3)) : shown(value, 1));

/** "height 172.4 cm, width 60 cm, depth 30 cm with -scale_factor 2.54". */
function measureOf(data, box) {
  const size = box.getSize(new Vector3());
  const [width, height, depth] = size.toArray().map(shownLength);
  return [`height ${height} cm, width ${width} cm, depth ${depth} cm with `,
    element('span', {}, `-scale_factor ${shown(data.scaleFactor, 6)}`)];
}

/** Hovering and clicking of joints in the picture. */
function listenToPointer(canvas, overlay, state, chosen) {
  const tip = byId('tip');
  let down = null;
  const placeOf = (event) => [event.offsetX, event.offsetY];
  canvas.addEventListener('pointerdown', (event) => { down = placeOf(event); });
  canvas.addEventListener('pointerup', (event) => {
    const [x, y] = placeOf(event);
    if (down === null || Math.hypot(x - down[0], y - down[1]) > 4) return;
    const body = overlay.pick(x, y);
    if (body !== null) chosen(body);
  });
  canvas.addEventListener('pointermove', (event) => {
    if (event.buttons === 0) state.choose('hovered', overlay.pick(...placeOf(event)));
    tip.style.left = `${event.offsetX + 14}px`;
    tip.style.top = `${event.offsetY + 14}px`;
  });
  canvas.addEventListener('pointerleave', () => state.choose('hovered', null));
  state.on('values', () => state.choose('hovered', null));  // what moves is no longer there
  state.on('hovered', () => {
    const joint = overlay.character.jointOf.get(state.hovered);
    tip.hidden = !joint || !canvas.matches(':hover');
    tip.textContent = joint?.body.name ?? '';
    canvas.classList.toggle('pointing', Boolean(joint));
  });
}

/** Answers what shows what a finding is about, or null where there is nothing to be seen. */
function showerOf({ data, state, stage, character, controlOf }, showControl) {
  const materials = new Set([...character.materials].map(({ name }) => name));
  const idOf = new Map(data.bodies.map(({ id, name }) => [name, id]));
  const showBody = (id) => {
    state.choose('body', id);
    stage.reveal(new Vector3().setFromMatrixPosition(character.jointOf.get(id).node.matrixWorld));
  };
  return ({ place: { kind, name, id }, ...finding }) => {
    const slider = kind === 'slider' && data.sliders.find((one) => one.name === name);
    const control = slider ? slider.control : kind === 'variable' && controlOf.has(id) ? id : null;
    const body = kind === 'body' && character.jointOf.has(id) ? id : idOf.get(finding.body);
    const material = materials.has(finding.material) ? finding.material : null;
    if (control === null && body === undefined && material === null) return null;
    return () => {
      state.choose('material', material);
      if (body !== undefined) showBody(body);
      if (control !== null) showControl(control);
    };
  };
}

/** Tells what the grid and the colours in the picture mean. */
function showLegend({ state, stage, character, looks }) {
  const body = character.jointOf.get(state.body)?.body;
  const grid = element('span', {}, `grid ${stage.step} cm`);
  const weights = element('span', {}, body ? `weights of ${body.name}: 0 ` :
    'choose a body to see its weights: 0 ', looks.scale(), ' 1');
  byId('legend').replaceChildren(...stage.grid.visible ? [grid] : [],
    ...looks.settings.weights ? [weights] : []);
}

/** What can be drawn or not. */
function switchesOf({ state, stage, looks, overlay }, legend) {
  const look = (id, label, checked = false) =>
    ({ id, label, checked, set: (on) => { looks.set(id, on); legend(); } });
  return [
    look('materials', 'Materials', true), look('textures', 'Textures', true),
    look('wireframe', 'Wireframe'), look('normals', 'Normals'),
    look('weights', 'Weights of the chosen body'), look('box', 'Bounding box'),
    { id: 'skeleton', label: 'Skeleton', checked: true, set: (on) => overlay.setVisible(on) },
    { id: 'grid', label: 'Grid', checked: true, set: (on) => {
      stage.grid.visible = on;
      legend();
      stage.invalidate();
    } },
    { id: 'rest', label: 'Rest pose', checked: false, set: (on) => state.setRest(on) },
  ];
}

const kViews = [['fit', 'f'], ['front', '1'], ['side', '2'], ['top', '3']];
const kTurns =
  { ArrowLeft: [-0.1, 0], ArrowRight: [0.1, 0], ArrowUp: [0, -0.1], ArrowDown: [0, 0.1] };

/** What keys do. */
function keysOf({ data, state, stage, player, variables, show, tabs, tree }, chooseBody) {
  const stop = () => {
    player.pause();
    variables.stopSwings();
    for (const event of ['material', 'body', 'control']) state.choose(event, null);
  };
  const step = (by) => {
    const at = data.bodies.findIndex(({ id }) => id === state.body);
    const count = data.bodies.length;
    chooseBody(data.bodies[((at < 0 && by < 0 ? 0 : at) + by + count) % count].id);
  };
  return [
    ...kViews.map(([view, key]) => ({ keys: [key], text: view, run: () => stage.look(view) })),
    { keys: Object.keys(kTurns), text: 'turn', canvas: true,
      run: (key) => stage.orbit(...kTurns[key]) },
    { keys: ['+', '='], text: 'nearer', run: () => stage.orbit(0, 0, 0.85) },
    { keys: ['-'], text: 'farther', run: () => stage.orbit(0, 0, 1 / 0.85) },
    { keys: [' '], text: 'play or pause', run: () => player.toggle() },
    { keys: [','], text: 'frame before', run: () => player.step(-1) },
    { keys: ['.'], text: 'next frame', run: () => player.step(1) },
    { keys: ['r'], text: 'reset all variables', run: () => { player.pause(); variables.reset(); } },
    { keys: ['s'], text: 'swing the variable used last', run: () =>
      state.control && variables.toggleSwing(state.control) },
    { keys: ['p'], text: 'rest pose', run: () => show.toggle('rest') },
    { keys: ['k'], text: 'skeleton', run: () => show.toggle('skeleton') },
    { keys: ['w'], text: 'weights of the chosen body', run: () => show.toggle('weights') },
    { keys: ['t'], text: 'textures', run: () => show.toggle('textures') },
    { keys: ['['], text: 'body before', run: () => step(-1) },
    { keys: [']'], text: 'next body', run: () => step(1) },
    { keys: ['/'], text: 'search bodies', run: () => { tabs.reveal('bodies'); tree.search.focus(); } },
    { keys: ['Escape'], text: 'stop, choose nothing', run: stop },
    { keys: ['?'], text: 'these keys', run: () => byId('help').showModal() },
  ];
}

function start() {
  const { data, fbx } = readEmbedded();
  document.title = `${data.title} - kestrix view`;
  byId('title').textContent = data.title;
  const canvas = byId('canvas');
  const controls = controlsOf(data);
  const controlOf = new Map(controls.map((control) => [control.id, control]));
  const state = new State();
  if (data.bodies.length === 0) throw new Error('it has no bodies.');
  const stage = new Stage(canvas);
  let looks = null;
  const character = new Character(data, fbx, () => {
    if (looks && character.takePictures()) looks.apply();
  });
  if (!(character.size < kLargest)) throw new Error('it is too large to be drawn.');
  stage.scene.add(character.root);
  byId('measure').append(...measureOf(data, character.restBox));
  character.pose(state.valueOf, false);
  stage.furnish(character.size, () => character.points());
  looks = new Looks(character, stage, state);
  const overlay = new SkeletonOverlay(character, stage, state);

  const tabs = new Tabs(byId('tabs'), [
    { id: 'bodies', label: 'Bodies' }, { id: 'variables', label: 'Variables' },
    { id: 'findings', label: `Findings (${data.findings.length})` }, { id: 'show', label: 'Show' }]);
  const draw = () => stage.invalidate();
  const { measures } = character;
  const half = +(Math.PI / measures.angle).toFixed(9);
  const variables = new Variables(byId('variables'), data, controls, state, half,
    character.size / measures.length, () => {
      player.pause();
      draw();
    });
  const player = new Player(byId('player'), data, controls, state, () => {
    variables.stopSwings();
    draw();
  });
  const showControl = (id) => {
    tabs.reveal('variables');
    variables.show(id);
  };
  const tree = new BodyTree(byId('bodies'), data, state, showControl);
  const chooseBody = (id) => {
    tabs.reveal('bodies');
    state.choose('body', id);
  };
  new Findings(byId('findings'), data, character.remarks, showerOf({ data, state, stage, character,
    controlOf }, showControl));

  const legend = () => showLegend({ state, stage, character, looks });
  const show = new Show(byId('show'), switchesOf({ state, stage, looks, overlay }, legend));

  byId('views').append(
    ...kViews.map(([view, key]) => element('button', { type: 'button', title: `key ${key}`,
      onclick: () => stage.look(view) }, view)),
    element('button', { type: 'button', title: 'Keys', onclick: () => byId('help').showModal() }, '?'));
  listenToKeys(keysOf({ data, state, stage, player, variables, show, tabs, tree }, chooseBody), canvas);
  listenToPointer(canvas, overlay, state, chooseBody);

  let posed = false;
  const pose = () => character.pose(state.valueOf, state.rest);
  state.on('values', () => { posed = false; draw(); });
  for (const event of ['body', 'hovered', 'control']) state.on(event, draw);
  state.on('material', () => looks.apply());
  state.on('body', () => {
    if (looks.settings.weights) looks.apply();
    legend();
  });
  legend();
  const bringUpToDate = () => {
    if (!posed) {
      pose();
      posed = true;
      looks.follow();
      variables.update();
      tree.update();
      show.boxes.get('rest').checked = state.rest;
    }
    overlay.update();
  };
  stage.beforeDraw.push((time) => variables.tick(time), (time) => player.tick(time), bringUpToDate);
  character.takePictures();
  looks.apply();
  publish({ data, state, stage, character, controls, player, pose });
}

/** What scripts may ask of the page; docs/view.md describes it. */
function publish({ data, state, stage, character, controls, player, pose }) {
  globalThis.kestrixView = Object.freeze({
    variables: () => controls.map(({ id }) => id),
    value: (id) => state.valueOf(id),
    set: (id, value) => state.setValue(id, value),
    rest: (on) => state.setRest(on),
    reset: () => state.reset(),
    choose: (id) => state.choose('body', id),
    chosen: () => state.body,
    seek: (take, time) => { player.setTake(data.takes[take]); player.seek(time); },
    joints: () => {
      pose();
      return character.joints.map(({ body, node }) =>
        ({ id: body.id, name: body.name, world: [...node.matrixWorld.elements] }));
    },
    place: (id) => stage.project(
      new Vector3().setFromMatrixPosition(character.jointOf.get(id).node.matrixWorld)),
    camera: () => ({ projection: [...stage.camera.projectionMatrix.elements],
      view: [...stage.camera.matrixWorldInverse.elements] }),
    frames: () => stage.frames,
  });
}

try {
  start();
} catch (error) {
  const trouble = byId('trouble');
  trouble.textContent = `The character cannot be shown: ${error.message}`;
  trouble.hidden = false;
  console.error(error);
}
