// Reads repeatedly: the next read begins `interval` milliseconds after the previous one has ended.
export class Refresher {
  #read;
  #interval;
  #timer = 0;
  #controller = null;
  #isPaused = true;

  // `read(signal, isAutomatic)` returns a promise of the least number of milliseconds to wait before the next read, and
  // must not throw. A read whose signal is aborted must have no effect.
  constructor(read, interval) {
    this.#read = read;
    this.#interval = interval;
  }

  get isPaused() {
    return this.#isPaused;
  }

  // Reads at once and then continues automatically.
  start() {
    this.#isPaused = false;
    return this.#run(true);
  }

  pause() {
    this.#isPaused = true;
    clearTimeout(this.#timer);
  }

  // Also aborts the current read.
  stop() {
    this.pause();
    this.#controller?.abort();
  }

  // Reads at once, replacing a current read; a paused refresher remains paused.
  now() {
    return this.#run(false);
  }

  async #run(isAutomatic) {
    clearTimeout(this.#timer);
    this.#controller?.abort();
    const controller = new AbortController();
    this.#controller = controller;
    const wait = await this.#read(controller.signal, isAutomatic);
    if (controller.signal.aborted || this.#isPaused) return;
    this.#timer = setTimeout(() => this.#run(true), Math.max(wait, this.#interval));
  }
}
