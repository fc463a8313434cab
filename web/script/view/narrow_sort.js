// Sorting on narrow screens, where the table has no head.
import { kSortFields } from '../model/query.js';
import { byId, element } from './element.js';
import { titleOf } from './table_head.js';
import { fillTexts, say } from './texts.js';

export class NarrowSort {
  #field = byId('sort-field');
  #order = byId('sort-order');

  // `onField(field)`, `onOrder()`.
  constructor({ onField, onOrder }) {
    this.#field.append(...kSortFields.map((value) => element('option', { value, data: { text: titleOf(value) } })));
    fillTexts(this.#field);
    this.#field.addEventListener('change', () => onField(this.#field.value));
    this.#order.addEventListener('click', onOrder);
  }

  show({ sortBy, ascending }) {
    this.#field.value = sortBy;
    const direction = say(ascending ? 'list.ascending' : 'list.descending');
    this.#order.setAttribute('aria-label', `${say('list.order')}: ${direction}`);
    this.#order.classList.toggle('is-descending', !ascending);
  }
}
