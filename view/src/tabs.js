// The panels beside the picture: one at a time, except that the bodies keep a side of their own
// where there is room.
import { byId, element } from './dom.js';

export class Tabs {
  /** @param {{ id: string, label: string }[]} tabs */
  constructor(bar, tabs) {
    this.tabs = tabs.map(({ id, label }) => {
      const button = element('button', { type: 'button', role: 'tab', id: `tab-${id}`,
        'aria-controls': id, onclick: () => this.open(id) }, label);
      byId(id).setAttribute('aria-labelledby', button.id);
      return { id, button, panel: byId(id) };
    });
    bar.append(...this.tabs.map(({ button }) => button));
    bar.addEventListener('keydown', (event) => this._key(event));
    this.open('variables');
  }

  open(id) {
    for (const tab of this.tabs) {
      tab.panel.classList.toggle('open', tab.id === id);
      tab.button.setAttribute('aria-selected', String(tab.id === id));
      tab.button.tabIndex = tab.id === id ? 0 : -1;
    }
  }

  /** Opens a panel unless it is on the page already. */
  reveal(id) {
    if (byId(id).offsetParent === null) this.open(id);
  }

  _key(event) {
    const seen = this.tabs.filter(({ button }) => button.offsetParent !== null);
    const at = seen.findIndex(({ button }) => button === event.target);
    const by = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (by === undefined || at < 0) return;
    const next = seen[(at + by + seen.length) % seen.length];
    this.open(next.id);
    next.button.focus();
    event.preventDefault();
    event.stopPropagation();
  }
}
