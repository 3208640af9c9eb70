// What is drawn: boxes to tick.
import { element } from './dom.js';

/** @param {{ label: string, checked: boolean, set: (on: boolean) => void, id: string }[]} switches */
export class Show {
  constructor(panel, switches) {
    this.boxes = new Map();
    panel.append(element('h2', {}, 'Show'));
    for (const { id, label, checked, set } of switches) {
      const box = element('input', { type: 'checkbox', checked, onchange: () => set(box.checked) });
      this.boxes.set(id, box);
      panel.append(element('label', { className: 'switch' }, box, ` ${label}`));
    }
  }

  toggle(id) {
    this.boxes.get(id).click();
  }

  set(id, checked) {
    const box = this.boxes.get(id);
    if (box.checked !== checked) box.click();
  }
}
