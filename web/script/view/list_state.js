// What is shown if there are no rows: loading, nobody connected, no match, no answer.
import { sentenceOf } from '../model/failure.js';
import { byId, element, icon, setAttribute } from './element.js';
import { say, withCauses } from './texts.js';

const kSkeletonRows = 8;

export class ListState {
  #place = byId('state');

  // `onClearFilter()`, `onRetry()`.
  constructor({ onClearFilter, onRetry }) {
    this.onClearFilter = onClearFilter;
    this.onRetry = onRetry;
  }

  // `page` is null before the first read; `failure` is that of the last one, or null.
  show({ page, failure, query, account }) {
    const kind = kindOf(page, failure, query);
    const shown = [kind, query.filter, failure && sentenceOf(failure), document.documentElement.lang].join('|');
    setAttribute(byId('table'), 'hidden', kind === 'rows' || kind === 'loading' ? null : '');
    this.#place.hidden = kind === 'rows';
    if (this.#place.dataset.shown === shown) return;
    this.#place.dataset.shown = shown;
    this.#place.dataset.kind = kind;
    this.#place.replaceChildren(...this.#content(kind, failure, query, account));
  }

  #content(kind, failure, query, account) {
    if (kind === 'loading') return skeleton();
    if (kind === 'empty')
      return picture('quiet', say(account.isAdmin ? 'list.empty' : 'list.empty_own'), say('list.empty_more'));
    if (kind === 'filtered') {
      const clear = button('list.filter_clear', this.onClearFilter);
      return [
        ...picture('quiet', say('list.nothing_fits', { filter: query.filter }), say('list.nothing_fits_more')),
        clear,
      ];
    }
    if (kind === 'rows') return [];
    const retry = button('away.retry', this.onRetry);
    return [...picture('lost', ...troubleTexts(failure)), retry];
  }
}

// What is shown if nothing could be read: a title and details.
export function troubleTexts(failure) {
  return failure.isTemporary && !failure.isBusy
    ? [say('away.title'), say('away.more')]
    : [say('trouble.title'), failureText(failure)];
}

// The sentence for a failure, with the server's message about it.
export function failureText(failure) {
  return withCauses(say(sentenceOf(failure), { status: failure.status }), failure.causes);
}

function kindOf(page, failure, query) {
  if (page === null) return failure === null ? 'loading' : 'failed';
  if (page.items.length > 0) return 'rows';
  return query.filter === '' ? 'empty' : 'filtered';
}

function picture(symbol, title, more) {
  return [icon(symbol, 'picture'), element('h2', { textContent: title }), element('p', { textContent: more })];
}

function button(textKey, onClick) {
  return element('button', { className: 'button', textContent: say(textKey), on: { click: onClick } });
}

function skeleton() {
  const row = () => element('div', { className: 'skeleton-row' }, ...Array.from({ length: 5 }, () => element('span')));
  return [
    element('p', { className: 'unseen', textContent: say('page.loading') }),
    ...Array.from({ length: kSkeletonRows }, row),
  ];
}
