// Reads again and again: the next reading begins `interval` milliseconds after the one before has ended.
export class Refresher {
  #read;
  #interval;
  #timer = 0;
  #controller = null;
  #isPaused = true;

  // `read(signal, isAutomatic)` returns a promise of the milliseconds to wait at least before the next reading, and
  // must not throw. A reading whose signal is aborted is to leave no trace.
  constructor(read, interval) {
    this.#read = read;
    this.#interval = interval;
  }

  get isPaused() {
    return this.#isPaused;
  }

  // Reads at once and goes on by itself from there.
  start() {
    this.#isPaused = false;
    return this.#run(true);
  }

  pause() {
    this.#isPaused = true;
    clearTimeout(this.#timer);
  }

  // Ends the reading that is under way, too.
  stop() {
    this.pause();
    this.#controller?.abort();
  }

  // Reads at once, instead of a reading that is under way; a paused one stays paused afterwards.
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
