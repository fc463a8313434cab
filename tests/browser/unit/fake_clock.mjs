// Timers that go off when a test says so. Node's own are an experiment whose calls change from release to release.
export class FakeClock {
  #now = 0;
  #next = 1;
  #timers = new Map();
  #real = { setTimeout: globalThis.setTimeout, clearTimeout: globalThis.clearTimeout };

  constructor() {
    globalThis.setTimeout = (call, time) => {
      this.#timers.set(this.#next, { call, due: this.#now + time });
      return this.#next++;
    };
    globalThis.clearTimeout = (timer) => this.#timers.delete(timer);
  }

  // Lets `time` milliseconds pass; what becomes due goes off in its order.
  tick(time) {
    const end = this.#now + time;
    for (let first = this.#firstUntil(end); first; first = this.#firstUntil(end)) {
      const [timer, { call, due }] = first;
      this.#timers.delete(timer);
      this.#now = due;
      call();
    }
    this.#now = end;
  }

  // Puts the real timers back.
  reset() {
    Object.assign(globalThis, this.#real);
  }

  #firstUntil(end) {
    return [...this.#timers].filter(([, { due }]) => due <= end).sort(([, a], [, b]) => a.due - b.due)[0];
  }
}
