// The selection, and its actions.
import { identityOf } from '../model/connection.js';
import { byId, setText } from './element.js';
import { say } from './texts.js';

export class SelectionBar {
  #bar = byId('selection');

  // `onClear()`, `onEnd()`.
  constructor({ onClear, onEnd }) {
    byId('selection-clear').addEventListener('click', onClear);
    byId('selection-end').addEventListener('click', onEnd);
  }

  show(selection, connections) {
    // A focused button in the bar disappears with the bar.
    if (selection.size === 0 && this.#bar.contains(document.activeElement)) byId('list').focus({ preventScroll: true });
    this.#bar.hidden = selection.size === 0;
    document.body.classList.toggle('has-selection', selection.size > 0);
    if (selection.size === 0) return;
    const present = new Set(connections.map(identityOf));
    const elsewhere = selection.rows.filter((row) => !present.has(identityOf(row))).length;
    setText(byId('selection-count'), say('selection.count', { count: selection.size }));
    setText(byId('selection-elsewhere'), elsewhere === 0 ? '' : say('selection.elsewhere', { count: elsewhere }));
  }
}
