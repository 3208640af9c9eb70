// What check found, and what the reader of this page had to remark.
import { element } from './dom.js';

const kOrder = ['error', 'warning', 'note'];

/** "body hand (id 7)". */
const aboutOf = ({ kind, name, id }) =>
  [kind, name, id === null ? null : `(id ${id})`].filter((word) => word !== null).join(' ');

/** "fox.mdl, line 33". */
const spotOf = ({ file, line }) => (line === null ? null : `${file}, line ${line}`);

export class Findings {
  /**
   * @param {(finding: any) => (() => void) | null} showOf what shows what a finding is about, null
   *   where there is nothing to be seen
   */
  constructor(panel, data, remarks, showOf) {
    const all = [...data.findings].sort((a, b) =>
      kOrder.indexOf(a.severity) - kOrder.indexOf(b.severity));
    const items = all.map((finding) => this._item(finding, showOf(finding)));
    panel.append(element('h2', {}, `Findings (${all.length})`));
    if (items.length === 0) panel.append(element('p', { className: 'none' }, 'Nothing to complain of.'));
    panel.append(element('ul', { className: 'findings' }, ...items));
    if (remarks.length > 0) {
      panel.append(element('h3', {}, 'The reader of this page remarks'),
        element('ul', {}, ...remarks.map((remark) => element('li', {}, remark))));
    }
  }

  _item(finding, show) {
    const { code, severity, summary, place, text, count, advice, detail } = finding;
    const lines = [text ? `${code}: ${text}` : code, advice, spotOf(finding)].filter(Boolean);
    return element('li', { className: severity },
      element(show ? 'button' : 'div', show ? { type: 'button', onclick: show } : {},
        element('b', {}, severity), ' ', aboutOf(place), element('br'),
        `${summary}${count > 1 ? ` (${count} times)` : ''}`,
        ...lines.map((line) => element('small', {}, line)),
        detail ? element('pre', {}, detail) : null));
  }
}
