// Takes of captured motion: play, pause, scrub, loop, speed.
import { element, shown } from './dom.js';

/** The two keys around a time and how far it is between them. */
export function keysAround(times, time) {
  let [low, high] = [0, times.length - 1];
  while (low + 1 < high) {
    const middle = (low + high) >> 1;
    if (times[middle] <= time) low = middle;
    else high = middle;
  }
  const span = times[high] - times[low];
  const part = span > 0 ? Math.min(Math.max((time - times[low]) / span, 0), 1) : 0;
  return { low, high, part };
}

/** The variables of a take at a time, linear between its keys: pairs of id and value. */
export function valuesAt({ times, variables, values }, time) {
  const { low, high, part } = keysAround(times, time);
  const wide = variables.length;
  return variables.map((id, i) => {
    const [a, b] = [values[low * wide + i], values[high * wide + i]];
    return [id, a + (b - a) * part];
  });
}

export class Player {
  /** @param {() => void} moving called when motion begins */
  constructor(panel, data, controls, state, moving) {
    this.data = data;
    this.state = state;
    this.moving = moving;
    this.playing = false;
    this.time = 0;  // in seconds, of the take
    this.last = null;  // the clock when the picture before was drawn
    if (data.takes.length === 0) return;
    panel.hidden = false;
    this.ids = controls.map(({ id }) => id);
    this.take = data.takes[0];
    const choose = element('select', { 'aria-label': 'Take',
      onchange: () => this.setTake(data.takes[choose.selectedIndex]) },
    ...data.takes.map(({ name }) => element('option', {}, name)));
    this.button = element('button', { type: 'button', onclick: () => this.toggle() });
    this.scrub = element('input', { type: 'range', step: 'any', 'aria-label': 'Time',
      oninput: () => { this.pause(); this.seek(Number(this.scrub.value)); } });
    this.label = element('output');
    this.loop = element('input', { type: 'checkbox', checked: true });
    this.speed = element('select', { 'aria-label': 'Speed' },
      ...[0.1, 0.25, 0.5, 1, 2, 4].map((speed) =>
        element('option', { value: String(speed), selected: speed === 1 }, `${speed}×`)));
    panel.append(this.scrub, this.button, choose, this.speed, element('label', {}, this.loop, ' loop'),
      this.label);
    this._showButton();
    this.time = this.take.times[0];
    this._showTime();
  }

  setTake(take) {
    this.take = take;
    this.seek(take.times[0]);
  }

  get end() {
    return this.take.times[this.take.times.length - 1];
  }

  /** Goes to a time in seconds; variables that the take does not hold are 0. */
  seek(time) {
    this.time = time;
    this.state.setValues(valuesAt(this.take, time), this.ids);
    this._showTime();
  }

  /** Goes by so many frames. */
  step(by) {
    if (!this.take) return;
    this.pause();
    const { times } = this.take;
    const at = this._frame() + by;
    this.seek(times[Math.min(Math.max(at, 0), times.length - 1)]);
  }

  /** The place of the frame nearest to the present time. */
  _frame() {
    const { low, high, part } = keysAround(this.take.times, this.time);
    return part >= 0.5 ? high : low;
  }

  toggle() {
    if (!this.take) return;
    if (this.playing) return this.pause();
    this.playing = true;
    this.last = null;
    if (this.time >= this.end) this.time = this.take.times[0];
    this._showButton();
    this.moving();
  }

  pause() {
    this.playing = false;
    if (this.take) this._showButton();
  }

  /** Goes on to a moment of the clock; true while it plays. */
  tick(now) {
    if (!this.playing) return false;
    const passed = this.last === null ? 0 : now - this.last;
    this.last = now;
    let time = this.time + passed * Number(this.speed.value);
    if (time > this.end) {
      const [start, length] = [this.take.times[0], this.end - this.take.times[0]];
      if (this.loop.checked && length > 0) time = start + (time - start) % length;
      else {
        time = this.end;
        this.pause();
      }
    }
    this.seek(time);
    return this.playing;
  }

  _showButton() {
    this.button.textContent = this.playing ? 'Pause' : 'Play';
  }

  _showTime() {
    const { times } = this.take;
    this.scrub.min = String(times[0]);
    this.scrub.max = String(this.end);
    this.scrub.value = String(this.time);
    this.label.textContent =
      `${shown(this.time, 2)} s, frame ${this._frame() + 1} of ${times.length}`;
  }
}
