// Below the table: the part of the list that is shown, the other pages, and the rows per page.
import { pagesToOffer } from '../model/pages.js';
import { kPageSizes, pageCount } from '../model/query.js';
import { byId, element, icon, setText } from './element.js';
import { currentLocale, say } from './texts.js';

export class Pager {
  #size = byId('pager-size');
  #pages = byId('pager-pages');

  // `onPage(page)` with the page from 0, `onSize(rows)`.
  constructor({ onPage, onSize }) {
    this.onPage = onPage;
    this.#size.append(
      ...kPageSizes.map((size) => element('option', { value: String(size), textContent: String(size) })),
    );
    this.#size.addEventListener('change', () => onSize(Number(this.#size.value)));
  }

  show({ page, pageSize }, total, shown) {
    byId('pager').hidden = total <= kPageSizes[0];
    const first = shown === 0 ? 0 : page * pageSize + 1;
    setText(byId('pager-range'), say('pager.range', { first, last: page * pageSize + shown, total }));
    this.#size.value = String(pageSize);
    this.#showPages(page, pageCount(total, pageSize));
  }

  // Rebuilt only when it changes, or every read would lose the focus.
  #showPages(page, count) {
    const wanted = [`${page}/${count}`, document.documentElement.lang].join(' ');
    if (this.#pages.dataset.shown === wanted) return;
    this.#pages.dataset.shown = wanted;
    const focused = this.#pages.contains(document.activeElement) ? document.activeElement.dataset.go : null;
    const numbers = pagesToOffer(page, count).map((number) => (number === null ? gap() : this.#number(number, page)));
    const previous = this.#step('left', 'pager.previous', page - 1, page > 0);
    const next = this.#step('right', 'pager.next', page + 1, page + 1 < count);
    this.#pages.replaceChildren(previous, ...numbers, next);
    if (focused !== null) this.#focusAgain(focused);
  }

  #number(number, page) {
    const button = this.#button(String(number), number, say('pager.page', { page: number + 1 }));
    button.textContent = new Intl.NumberFormat(currentLocale()).format(number + 1);
    if (number === page) button.setAttribute('aria-current', 'page');
    return button;
  }

  #step(symbol, textKey, page, isPossible) {
    const button = this.#button(symbol, page, say(textKey));
    button.append(icon(symbol));
    button.disabled = !isPossible;
    return button;
  }

  #button(name, page, label) {
    const button = element('button', { className: 'page', data: { go: name }, aria: { label } });
    button.addEventListener('click', () => this.onPage(page));
    return button;
  }

  #focusAgain(name) {
    const same = this.#pages.querySelector(`[data-go="${name}"]:enabled`);
    (same ?? this.#pages.querySelector('[aria-current]')).focus();
  }
}

function gap() {
  return element('span', { className: 'page-gap', textContent: '…' });
}
