// The rows that are selected, by identity. A row remains selected when it leaves the screen, since the list changes
// while it is used; whether it still exists is checked before it is ended. Which rows can be selected at all:
// whyNotEnd in connection.js.
import { identityOf } from './connection.js';

export class Selection {
  #rows = new Map();

  get size() {
    return this.#rows.size;
  }

  get rows() {
    return [...this.#rows.values()];
  }

  has(connection) {
    return this.#rows.has(identityOf(connection));
  }

  set(connection, isSelected) {
    if (isSelected) this.#rows.set(identityOf(connection), connection);
    else this.#rows.delete(identityOf(connection));
  }

  clear() {
    this.#rows.clear();
  }

  // Removes the selected rows that are not in a read of all connections.
  keepOnly(connections) {
    const present = new Set(connections.map(identityOf));
    for (const identity of this.#rows.keys()) {
      if (!present.has(identity)) this.#rows.delete(identity);
    }
  }
}

// "all", "some" or "none" of these rows.
export function coverage(selection, connections) {
  const selected = connections.filter((connection) => selection.has(connection)).length;
  if (selected === 0) return 'none';
  return selected === connections.length ? 'all' : 'some';
}
