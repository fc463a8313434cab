// The rows that are selected, by identity. A row stays selected when it leaves the screen, since the list moves under
// one's hands; whether it still exists is asked when it is to be ended.
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

  // Drops the selected rows that are not in a reading that holds every connection of the server.
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
