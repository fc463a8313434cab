// Which rows are new: those that appeared after the page was opened and have not been visible for long.
import { identityOf } from './connection.js';

const kMarkedFor = 30_000;
// A page may stay open for weeks; beyond this number it forgets the rows it has seen.
const kMostKnown = 100_000;

export class Newcomers {
  #known = new Set();
  #markedUntil = new Map();
  #previousClock = null;
  #previousView = null;

  // Processes one read. `view` names the requested filter and page, `isWhole` means that the read has all connections
  // that match the filter, `clock` is the server's time as "2026-11-20 21:26:24". On a page of a longer list a row may
  // only have moved here from an adjacent page, so it counts as new only if it began after the previous read.
  take(connections, { view, isWhole, clock, now }) {
    const isComparable = isWhole && view === this.#previousView;
    const isFirst = this.#previousClock === null;
    for (const connection of connections) {
      const identity = identityOf(connection);
      if (this.#known.has(identity)) continue;
      this.#known.add(identity);
      const beganSince = connection.time !== '' && connection.time >= this.#previousClock;
      if (!isFirst && (isComparable || beganSince)) this.#markedUntil.set(identity, now + kMarkedFor);
    }
    this.#previousClock = clock;
    this.#previousView = isWhole ? view : null;
    this.#forget(connections, now);
  }

  isNew(connection) {
    return this.#markedUntil.has(identityOf(connection));
  }

  #forget(connections, now) {
    if (this.#known.size > kMostKnown) this.#known = new Set(connections.map(identityOf));
    for (const [identity, until] of this.#markedUntil) {
      if (until <= now) this.#markedUntil.delete(identity);
    }
  }
}
