// How fresh the list is, and the button that pauses it.
import { formatClock } from '../model/server_time.js';
import { byId, setText } from './element.js';
import { announce } from './announcer.js';
import { currentLocale, say } from './texts.js';

export class LiveStatus {
  #button = byId('pause');

  // `onPause(isPaused)`.
  constructor({ onPause }) {
    this.#button.addEventListener('click', () => {
      const isPaused = byId('live').dataset.state !== 'paused';
      onPause(isPaused);
      announce(byId('live-text').textContent);
    });
  }

  // `clock` is the server's time of the last read, null before the first one.
  show({ clock, isPaused, isStale }) {
    const state = isPaused ? 'paused' : isStale ? 'stale' : 'updated';
    const time = clock === null ? '' : formatClock(clock, currentLocale());
    byId('live').dataset.state = state;
    setText(byId('live-text'), clock === null ? '' : say(`live.${state}`, { time }));
    setText(this.#button.querySelector('span'), say(isPaused ? 'live.resume' : 'live.pause'));
    this.#button.querySelector('use').setAttribute('href', isPaused ? '#i-play' : '#i-pause');
  }
}
