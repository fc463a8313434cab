// The table of connections. Each read is applied row by row; focus, scroll position and the row under the pointer are
// kept.
import { identityOf, whyNotEnd } from '../model/connection.js';
import { coverage } from '../model/selection.js';
import { byId } from './element.js';
import { GridKeys } from './grid_keys.js';
import { Row } from './row.js';
import { keepPlace } from './scroll_place.js';
import { TableHead } from './table_head.js';
import { showTip } from './tip.js';

export class Table {
  #body = byId('rows');
  #rows = new Map();
  #lastChecked = null;

  // `onSort(field)`, `onSelect(connections, isSelected)`, `onMore(connection, button)`.
  constructor({ onSort, onSelect, onMore }) {
    this.onSelect = onSelect;
    this.onMore = onMore;
    this.keys = new GridKeys(this.#body);
    this.head = new TableHead(byId('head-row'), {
      onSort,
      onSelectPage: (isSelected) => onSelect(this.#endable, isSelected),
    });
    this.#body.addEventListener('click', (event) => this.#clicked(event));
  }

  // `view` is {connections, first, total, query, account, selection, newcomers, now}; `first` is the number of the
  // first row in the whole list.
  show(view) {
    this.view = view;
    keepPlace(this.#body, () => this.#place(view));
    const endable = this.#endable;
    this.head.show(view.query, coverage(view.selection, endable), endable.length === 0);
    byId('table').setAttribute('aria-rowcount', String(view.total + 1));
  }

  get #endable() {
    return this.view.connections.filter((connection) => whyNotEnd(connection, this.view.account) === null);
  }

  #place({ connections, first, account, selection, newcomers, now }) {
    const focus = this.keys.focus();
    const present = new Map();
    connections.forEach((connection, index) => {
      const key = uniqueKey(identityOf(connection), present);
      const row = this.#rows.get(key) ?? new Row(connection);
      const facts = { isSelected: selection.has(connection), isNew: newcomers.isNew(connection) };
      row.update(connection, { account, now, index: first + index + 1, ...facts });
      present.set(key, row);
    });
    for (const [key, row] of this.#rows) if (!present.has(key)) row.node.remove();
    this.#rows = present;
    order(
      this.#body,
      [...present.values()].map((row) => row.node),
    );
    this.keys.restore(focus);
  }

  #clicked(event) {
    const node = event.target.closest('tr');
    const row = [...this.#rows.values()].find((candidate) => candidate.node === node);
    if (!row) return;
    if (event.target === row.check) this.#checked(row, event);
    else if (event.target.closest('[data-control="more"]')) this.onMore(row.connection, row.more);
  }

  // With the shift key, all rows from the previous one to this one.
  #checked(row, event) {
    if (whyNotEnd(row.connection, this.view.account) !== null) {
      event.preventDefault();
      showTip(row.check);
      return;
    }
    const connections = event.shiftKey ? this.#between(this.#lastChecked, row) : [row.connection];
    this.#lastChecked = row;
    this.onSelect(connections, row.check.checked);
  }

  #between(start, end) {
    const rows = [...this.#rows.values()];
    const from = rows.indexOf(start);
    const to = rows.indexOf(end);
    if (from < 0) return [end.connection];
    const run = rows.slice(Math.min(from, to), Math.max(from, to) + 1).map((row) => row.connection);
    return run.filter((connection) => whyNotEnd(connection, this.view.account) === null);
  }
}

// No two rows should have the same identity; if the server sends such rows, both are shown.
function uniqueKey(identity, taken) {
  let key = identity;
  while (taken.has(key)) key += ' ';
  return key;
}

// Puts the children into this order, moving few of them in the usual case of new or removed rows.
function order(parent, nodes) {
  let place = parent.firstElementChild;
  for (const node of nodes) {
    if (node === place) place = place.nextElementSibling;
    else parent.insertBefore(node, place);
  }
}
