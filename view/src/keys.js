// The keyboard: one table, which is also the help.
import { byId, element, takesText } from './dom.js';

const kNames = { ' ': 'space', ArrowLeft: '\u2190', ArrowRight: '\u2192', ArrowUp: '\u2191',
  ArrowDown: '\u2193' };

/** @param {{ keys: string[], text: string, run: (key: string) => void, canvas?: boolean }[]} table */
export function listenToKeys(table, canvas) {
  const help = byId('help');
  help.append(element('h2', {}, 'Keys'),
    element('dl', {}, ...table.flatMap(({ keys, text }) => [
      element('dt', {}, keys.map((key) => kNames[key] ?? key).join(' ')),
      element('dd', {}, text)])),
    element('form', { method: 'dialog' }, element('button', {}, 'Close')));
  document.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey || help.open) return;
    const entry = table.find(({ keys }) => keys.includes(event.key));
    if (!entry) return;
    const { target } = event;
    if (event.key !== 'Escape' && takesText(target)) return;
    if (entry.canvas && target !== canvas && target !== document.body) return;
    // A button takes the space bar for itself.
    if (event.key === ' ' && target !== canvas && target !== document.body) return;
    event.preventDefault();
    entry.run(event.key);
  });
}
