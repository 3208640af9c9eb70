// The tree of the bodies, with search, and what drives the chosen body.
import { element, shown } from './dom.js';
import { deedOf, formulaOf, unitOf } from './text.js';
import { transformValue } from './pose.js';

/** Depth of each body, parents standing before their children. */
function depthsOf(bodies) {
  const depths = new Map();
  for (const { id, parent } of bodies) depths.set(id, (depths.get(parent) ?? -1) + 1);
  return depths;
}

export class BodyTree {
  /** @param {(id: number) => void} showControl what to do for a click on a variable */
  constructor(panel, data, state, showControl) {
    this.data = data;
    this.state = state;
    this.showControl = showControl;
    this.search = element('input', {
      type: 'search', placeholder: 'Search bodies', 'aria-label': 'Search bodies',
      oninput: () => this._filter(),
      onkeydown: (event) => {
        if (event.key === 'Enter') this._choose(this._seen()[0]);
        if (event.key === 'ArrowDown') this._focus(this._seen()[0]);
      },
    });
    this.tree = element('ul', { role: 'tree', 'aria-label': 'Bodies', className: 'tree',
      onkeydown: (event) => this._key(event) });
    const depths = depthsOf(data.bodies);
    this.items = data.bodies.map((body) => this._item(body, depths.get(body.id)));
    this.tree.append(...this.items.map(({ row }) => row));
    this.none = element('p', { className: 'none', hidden: true }, 'No body has such a name.');
    this.card = element('div', { className: 'card', 'aria-live': 'polite' });
    panel.append(element('h2', {}, `Bodies (${data.bodies.length})`), this.search, this.tree,
      this.none, this.card);
    state.on('body', () => this._showChosen());
    state.on('hovered', () => this._mark());
    this._showChosen();
  }

  _item(body, depth) {
    const row = element('li', {
      role: 'treeitem', 'aria-level': depth + 1, 'aria-selected': 'false', tabIndex: -1,
      onclick: () => this.state.choose('body', body.id),
      onpointerenter: () => this.state.choose('hovered', body.id),
      onpointerleave: () => this.state.choose('hovered', null),
    }, body.name);
    row.style.setProperty('--depth', Math.min(depth, 24));
    if (body.transforms.every(({ terms }) => terms.length === 0)) row.classList.add('undriven');
    return { body, row };
  }

  _seen() {
    return this.items.filter(({ row }) => !row.hidden);
  }

  _filter() {
    const wanted = this.search.value.trim().toLowerCase();
    for (const { body, row } of this.items) {
      row.hidden = !body.name.toLowerCase().includes(wanted) && String(body.id) !== wanted;
    }
    this.none.hidden = this._seen().length > 0;
  }

  _focus(item) {
    item?.row.focus();
    item?.row.scrollIntoView({ block: 'nearest' });
  }

  _choose(item) {
    if (item) this.state.choose('body', item.body.id);
    this._focus(item);
  }

  _key(event) {
    const seen = this._seen();
    const at = seen.findIndex(({ row }) => row === event.target);
    const parent = seen.findIndex(({ body }) => body.id === seen[at]?.body.parent);
    const child = seen.findIndex(({ body }) => body.parent === seen[at]?.body.id);
    const next = { ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: seen.length - 1,
      ArrowLeft: parent, ArrowRight: child }[event.key];
    if (next !== undefined) this._focus(seen[next]);
    else if (event.key === 'Enter' || event.key === ' ') this._choose(seen[at]);
    else return;
    event.preventDefault();
    event.stopPropagation();
  }

  _mark() {
    for (const { body, row } of this.items) {
      row.classList.toggle('hovered', body.id === this.state.hovered);
    }
  }

  _showChosen() {
    const { state } = this;
    for (const { body, row } of this.items) {
      const chosen = body.id === state.body;
      row.setAttribute('aria-selected', String(chosen));
      row.tabIndex = chosen || (state.body === null && body === this.data.bodies[0]) ? 0 : -1;
      if (chosen && !row.hidden) row.scrollIntoView({ block: 'nearest' });
    }
    this.chosen = this.data.bodies.find(({ id }) => id === state.body);
    this._fillCard();
  }

  _fillCard() {
    const { chosen: body, data } = this;
    this.card.replaceChildren();
    this.values = [];
    this.card.hidden = body === undefined;
    if (body === undefined) return;
    const parent = data.bodies.find(({ id }) => id === body.parent);
    this.card.append(
      element('h3', {}, body.name),
      element('p', {}, `id ${body.id}, ${parent ? `under ${parent.name}` : 'at the top'}`));
    if (body.transforms.length === 0) {
      this.card.append(element('p', { className: 'none' }, 'The mapping does not drive this body.'));
      return;
    }
    this.card.append(element('p', {}, 'In the order in which they are applied:'),
      element('ol', {}, ...body.transforms.map((transform) => this._line(transform))));
    this.update();
  }

  _line(transform) {
    const value = element('output');
    this.values.push({ transform, value });
    const line = element('li', {}, `${deedOf(transform)}: `);
    if (transform.terms.length === 0) line.append(formulaOf(transform));
    else {
      line.append(element('button', { type: 'button', className: 'link',
        onclick: () => this.showControl(transform.terms[0][0]) }, formulaOf(transform)), value);
    }
    return line;
  }

  /** Shows the present values. */
  update() {
    for (const { transform, value } of this.values) {
      const number = transformValue(transform, this.state.valueOf);
      const text = ` = ${shown(number)}${unitOf(transform, this.data)}`;
      if (value.textContent !== text) value.textContent = text;
    }
  }
}
