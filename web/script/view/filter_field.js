// The free-text filter: applied when typing pauses.
import { byId } from './element.js';

const kPause = 200;

export class FilterField {
  #input = byId('filter');
  #clear = byId('filter-clear');
  #timer = 0;

  // `onFilter(text)`.
  constructor({ onFilter }) {
    this.onFilter = onFilter;
    this.#input.addEventListener('input', () => this.#typed());
    this.#input.addEventListener('keydown', ({ key }) => {
      if (key === 'Enter') this.#send();
      if (key === 'Escape') this.put('');
    });
    this.#clear.addEventListener('click', () => this.put(''));
  }

  // Sets the text without applying it.
  set(text) {
    clearTimeout(this.#timer);
    this.#input.value = text;
    this.show();
  }

  // Sets the text and applies it.
  put(text) {
    this.set(text);
    this.#input.focus();
    this.#send();
  }

  show() {
    this.#clear.hidden = this.#input.value === '';
  }

  #typed() {
    this.show();
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => this.#send(), kPause);
  }

  #send() {
    clearTimeout(this.#timer);
    this.onFilter(this.#input.value);
  }
}
