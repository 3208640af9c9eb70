// What check found, and what the reader of this page had to remark.
import { element } from './dom.js';

const kOrder = ['error', 'warning', 'note'];

export class Findings {
  /** @param {(place: { kind: string, name: string, id: number }) => void} show */
  constructor(panel, data, remarks, show) {
    const all = [...data.findings].sort((a, b) =>
      kOrder.indexOf(a.severity) - kOrder.indexOf(b.severity));
    this.count = all.length;
    const items = all.map(({ code, severity, summary, place, text, count }) => {
      const about = [place.kind, place.name, place.id === null ? null : `(id ${place.id})`]
        .filter((word) => word !== null && word !== '').join(' ');
      return element('li', { className: severity },
        element('button', { type: 'button', onclick: () => show(place) },
          element('b', {}, severity), ' ', element('span', {}, about), element('br'),
          `${summary}${count > 1 ? ` (${count} times)` : ''}`,
          element('small', {}, `${code}: ${text}`)));
    });
    panel.append(element('h2', {}, `Findings (${all.length})`));
    if (items.length === 0) panel.append(element('p', { className: 'none' }, 'Nothing to complain of.'));
    panel.append(element('ul', { className: 'findings' }, ...items));
    if (remarks.length > 0) {
      panel.append(element('h3', {}, 'The reader of this page remarks'),
        element('ul', {}, ...remarks.map((remark) => element('li', {}, remark))));
    }
  }
}
