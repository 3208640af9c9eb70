// A slider for each control: what it drives, its value by hand or by figure, and a swing to and fro.
import { axisOf } from './data.js';
import { element, shown } from './dom.js';
import { deedOf, partOf } from './text.js';

const kSwingSeconds = 2.4;

/** How far the slider of a control goes: turns half round, else the size, shapes 0 to 1. */
function limitsOf({ uses }, half, length) {
  const kinds = uses.filter(({ kind }) => kind === 'transform').map(({ transform }) => transform);
  if (kinds.some(({ id }) => axisOf(id).turns)) return { least: -half, most: half, swing: half / 4 };
  if (kinds.length > 0) return { least: -length, most: length, swing: length / 6 };
  if (uses.some(({ kind }) => kind === 'shape')) return { least: 0, most: 1, swing: 1 };
  return { least: 0, most: 10, swing: 0 };
}

export class Variables {
  /**
   * @param {number} half half a turn, in the unit of variables
   * @param {number} length the size of the model, in the unit of variables
   * @param {() => void} moving called when something begins to swing
   */
  constructor(panel, data, controls, state, half, length, moving) {
    this.data = data;
    this.state = state;
    this.moving = moving;
    this.swings = new Map();  // by control id: { start, middle }
    this.rows = new Map();    // by control id
    const names = new Map(data.bodies.map(({ id, name }) => [id, name]));
    this.search = element('input', { type: 'search', placeholder: 'Search number, body, shape',
      'aria-label': 'Search variables', oninput: () => this._filter() });
    this.list = element('ul', { className: 'variables' });
    this.watcher = new IntersectionObserver((entries) => {
      for (const { target, isIntersecting } of entries) {
        const { control } = /** @type {HTMLElement} */ (target).dataset;
        const row = this.rows.get(Number(control));
        row.visible = isIntersecting;
        if (isIntersecting) this._refresh(row);
      }
    });
    for (const control of controls) {
      const row = this._row(control, limitsOf(control, half, length), names);
      this.rows.set(control.id, row);
      this.list.append(row.item);
      this.watcher.observe(row.item);
    }
    this.none = element('p', { className: 'none', hidden: controls.length > 0 },
      controls.length > 0 ? 'No variable fits.' : 'Without a mapping, no variable drives anything.');
    panel.append(
      element('h2', {}, `Variables (${controls.length})`),
      element('div', { className: 'bar' }, this.search,
        element('button', { type: 'button', onclick: () => this.reset() }, 'Reset all')),
      this.none, this.list);
    state.on('control', () => this._markUsed());
  }

  _row(control, limits, names) {
    const row = { control, limits, visible: false, shown: NaN };
    const set = (text) => {
      const value = Number(text);
      if (text.trim() === '' || !Number.isFinite(value)) return;
      this.swings.delete(control.id);
      this._press(row);
      this.use(control);
      this.state.setValue(control.id, value);
    };
    const label = control.id > 0 ? `variable ${control.id}` : `shape ${control.label}`;
    row.slider = element('input', { type: 'range', min: limits.least, max: limits.most, step: 'any',
      'aria-label': label, title: 'Click twice for 0', oninput: () => set(row.slider.value),
      ondblclick: () => set('0'), onfocus: () => this.use(control) });
    row.number = element('input', { type: 'number', step: 'any', 'aria-label': `value of ${label}`,
      oninput: () => set(row.number.value), onfocus: () => this.use(control),
      onblur: () => { row.shown = NaN; this._refresh(row); } });
    row.swing = element('button', { type: 'button', 'aria-pressed': 'false', title: 'Move to and fro',
      'aria-label': `swing ${label}`, hidden: limits.swing === 0,
      onclick: () => this.toggleSwing(control) }, 'swing');
    row.item = element('li', {},
      element('b', { title: control.label }, control.label), row.slider, row.number, row.swing,
      element('ul', {}, ...control.uses.map((use) => this._use(use, names))));
    row.item.dataset.control = String(control.id);
    row.words = row.item.textContent.toLowerCase();
    return row;
  }

  _use(use, names) {
    if (use.kind === 'shape') {
      return element('li', {}, `shape ${use.slider.name} of ${use.slider.group}, 1 is 100 %`);
    }
    if (use.kind === 'texture') {
      return element('li', {}, `chooses the texture of ${use.texture.material}, which an FBX cannot tell`);
    }
    return element('li', {},
      element('button', { type: 'button', className: 'link',
        onclick: () => this.state.choose('body', use.body.id) }, names.get(use.body.id)),
      ` ${deedOf(use.transform)}${partOf(use, this.data)}`);
  }

  /** Lights what a control moves. */
  use(control) {
    this.state.choose('control', control);
  }

  /** Scrolls to a control and takes it in hand. */
  show(id) {
    const row = this.rows.get(id);
    if (!row) return;
    this.search.value = '';
    this._filter();
    row.item.scrollIntoView({ block: 'center' });
    row.slider.focus({ preventScroll: true });
  }

  toggleSwing(control) {
    const row = this.rows.get(control.id);
    if (this.swings.delete(control.id)) return this._press(row);
    const middle = this.state.valueOf(control.id);
    this.swings.set(control.id, { start: null, middle });
    this._press(row);
    this.use(control);
    this.moving();
  }

  stopSwings() {
    const ids = [...this.swings.keys()];
    this.swings.clear();
    ids.forEach((id) => this._press(this.rows.get(id)));
  }

  reset() {
    this.stopSwings();
    this.state.reset();
  }

  _press(row) {
    row.swing.setAttribute('aria-pressed', String(this.swings.has(row.control.id)));
  }

  /** Moves what swings; true while something does. */
  tick(time) {
    for (const [id, swing] of this.swings) {
      swing.start ??= time;
      const { limits } = this.rows.get(id);
      const turn = 2 * Math.PI * (time - swing.start) / kSwingSeconds;
      const part = limits.least < 0 ? Math.sin(turn) : (1 - Math.cos(turn)) / 2;
      const middle = limits.least < 0 ? swing.middle : 0;
      this.state.values.set(id, middle + limits.swing * part);
    }
    if (this.swings.size > 0) {
      this.state.rest = false;
      this.state.emit('values');
    }
    return this.swings.size > 0;
  }

  _refresh(row) {
    const value = this.state.valueOf(row.control.id);
    if (value === row.shown) return;
    row.shown = value;
    row.slider.value = String(value);
    if (document.activeElement !== row.number) row.number.value = shown(value);
  }

  /** Shows the present values of the rows that are seen. */
  update() {
    for (const row of this.rows.values()) if (row.visible) this._refresh(row);
  }

  _markUsed() {
    const used = this.state.control?.id;
    for (const { control, item } of this.rows.values()) {
      item.classList.toggle('used', control.id === used);
    }
  }

  _filter() {
    const wanted = this.search.value.trim().toLowerCase();
    let any = false;
    for (const { control, item, words } of this.rows.values()) {
      item.hidden = wanted !== '' && !words.includes(wanted) && String(control.id) !== wanted;
      any ||= !item.hidden;
    }
    this.none.hidden = any;
  }
}
