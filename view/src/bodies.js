// The tree of the bodies, which folds and is searched, and what drives the chosen body.
import { element, shown } from './dom.js';
import { deedOf, formulaOf, unitOf } from './text.js';
import { transformValue } from './pose.js';

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
    this.itemOf = new Map();  // by body id
    this.items = data.bodies.map((body) => this._item(body));
    this.items.forEach((item) => this._showFold(item));
    this.tree.append(...this.items.map(({ row }) => row));
    this.foldAll = element('button', { type: 'button', onclick: () => this._foldAll() }, 'Fold');
    this.none = element('p', { className: 'none', hidden: true }, 'No body has such a name.');
    this.card = element('div', { className: 'card', 'aria-live': 'polite' });
    panel.append(element('h2', {}, `Bodies (${data.bodies.length})`),
      element('div', { className: 'bar' }, this.search, this.foldAll), this.tree, this.none,
      this.card);
    state.on('body', () => this._showChosen());
    state.on('hovered', () => this._mark());
    this._showChosen();
  }

  // Parents stand before their children.
  _item(body) {
    const parent = this.itemOf.get(body.parent);
    const depth = parent ? parent.depth + 1 : 0;
    const row = element('li', {
      role: 'treeitem', 'aria-level': depth + 1, 'aria-selected': 'false', tabIndex: -1,
      title: body.name,
      onclick: () => this.state.choose('body', body.id),
      onpointerenter: () => this.state.choose('hovered', body.id),
      onpointerleave: () => this.state.choose('hovered', null),
    }, body.name);
    row.style.setProperty('--depth', Math.min(depth, 24));
    if (body.transforms.every(({ terms }) => terms.length === 0)) row.classList.add('undriven');
    const item = { body, row, parent, depth, children: [], folded: false };
    parent?.children.push(item);
    this.itemOf.set(body.id, item);
    return item;
  }

  _showFold(item) {
    if (item.children.length === 0) return;
    item.row.setAttribute('aria-expanded', 'true');
    item.row.prepend(element('i', { onclick: (event) => {
      event.stopPropagation();
      this._fold(item, !item.folded);
    } }));
  }

  _fold(item, folded) {
    this._setFolded([item], folded);
  }

  _setFolded(items, folded) {
    for (const item of items) {
      item.folded = folded;
      item.row.setAttribute('aria-expanded', String(!folded));
    }
    this._filter();
  }

  /** Folds everything below the top, or unfolds it if something is folded. */
  _foldAll() {
    const folds = this.items.filter(({ children }) => children.length > 0);
    const some = folds.some(({ folded }) => folded);
    this._setFolded(some ? folds : folds.filter(({ parent }) => parent), !some);
  }

  _seen() {
    return this.items.filter(({ row }) => !row.hidden);
  }

  /** Shows what is searched for, folded or not, or else what is not folded. */
  _filter() {
    const wanted = this.search.value.trim().toLowerCase();
    for (const item of this.items) {
      const { body, row, parent } = item;
      item.inside = parent !== undefined && (parent.folded || parent.inside);
      row.hidden = wanted === '' ? item.inside :
        !body.name.toLowerCase().includes(wanted) && String(body.id) !== wanted;
    }
    this.none.hidden = this._seen().length > 0;
    this.foldAll.textContent = this.items.some(({ folded }) => folded) ? 'Unfold' : 'Fold';
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
    const item = seen[at];
    const next = { ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: seen.length - 1 }[event.key];
    if (next !== undefined) this._focus(seen[next]);
    else if (event.key === 'ArrowLeft') this._leave(item);
    else if (event.key === 'ArrowRight') this._enter(item);
    else if (event.key === 'Enter' || event.key === ' ') this._choose(item);
    else return;
    event.preventDefault();
    event.stopPropagation();
  }

  /** Folds a branch, or goes to the one around it. */
  _leave(item) {
    if (item.children.length > 0 && !item.folded) this._fold(item, true);
    else if (!item.parent?.row.hidden) this._focus(item.parent);
  }

  /** Unfolds a branch, or goes to the first in it. */
  _enter(item) {
    if (item.folded) this._fold(item, false);
    else this._focus(item.children.find(({ row }) => !row.hidden));
  }

  /** Unfolds what is around an item. */
  _uncover(item) {
    const folded = [];
    for (let around = item?.parent; around; around = around.parent) {
      if (around.folded) folded.push(around);
    }
    if (folded.length > 0) this._setFolded(folded, false);
  }

  _mark() {
    for (const { body, row } of this.items) {
      row.classList.toggle('hovered', body.id === this.state.hovered);
    }
  }

  _showChosen() {
    const { state } = this;
    const item = this.itemOf.get(state.body);
    this._uncover(item);
    for (const { body, row } of this.items) {
      const chosen = body.id === state.body;
      row.setAttribute('aria-selected', String(chosen));
      row.tabIndex = chosen || (state.body === null && body === this.data.bodies[0]) ? 0 : -1;
    }
    this.chosen = item?.body;
    this._fillCard();  // which leaves less room for the tree
    if (item && !item.row.hidden) item.row.scrollIntoView({ block: 'nearest' });
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
