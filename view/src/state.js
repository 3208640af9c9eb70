// What the person at the page has set, and who wants to know of it.

export class State {
  constructor() {
    /** @type {Map<number, number>} by control id; what is not there is 0 */
    this.values = new Map();
    this.rest = false;       // show the rest pose, whatever the values
    this.body = null;        // the chosen body
    this.hovered = null;     // the body under the pointer
    this.control = null;     // the control used last
    this.material = null;    // the name of the material to show
    this.listeners = {};
    this.valueOf = (id) => this.values.get(id) ?? 0;
  }

  /** Events: values, body, hovered, control, material. */
  on(event, listener) {
    (this.listeners[event] ??= []).push(listener);
  }

  emit(event) {
    for (const listener of this.listeners[event] ?? []) listener();
  }

  setValue(id, value) {
    if (!Number.isFinite(value)) return;
    this.values.set(id, value);
    this.rest = false;
    this.emit('values');
  }

  /** Sets many values at once; `others` are 0 if they are not among them. */
  setValues(entries, others) {
    for (const id of others) this.values.set(id, 0);
    for (const [id, value] of entries) this.values.set(id, value);
    this.rest = false;
    this.emit('values');
  }

  reset() {
    this.values.clear();
    this.rest = false;
    this.emit('values');
  }

  setRest(rest) {
    this.rest = rest;
    this.emit('values');
  }

  choose(event, value) {
    if (this[event] === value) return;
    this[event] = value;
    this.emit(event);
  }
}
