// The details of a row, and its actions.
import { isWeb, whyNotDisable, whyNotEnd } from '../model/connection.js';
import { byId, element, icon } from './element.js';
import { namesOf } from './row.js';
import { say } from './texts.js';

const kGap = 4;

export class RowPanel {
  #panel = byId('row-panel');

  // `onFilter(text)`, `onEnd(connection)`, `onDisable(connection)`.
  constructor(actions) {
    this.actions = actions;
    this.#panel.addEventListener('keydown', (event) => this.#pressed(event));
    for (const type of ['wheel', 'touchmove']) {
      document.addEventListener(type, ({ target }) => !this.#panel.contains(target) && this.close(), { passive: true });
    }
  }

  open(connection, button, account) {
    this.#panel.setAttribute('aria-label', say('menu.label', namesOf(connection)));
    this.#panel.replaceChildren(details(connection), ...this.#choices(connection, account));
    this.#panel.showPopover({ source: button });
    this.#placeBeside(button);
    this.#panel.querySelector('button')?.focus();
  }

  close() {
    this.#panel.hidePopover();
  }

  #choices(connection, account) {
    const { who, from } = connection;
    const filters = [
      who && ['menu.only_user', { user: who }, who],
      from && ['menu.only_address', { address: from }, from],
    ];
    const choices = filters
      .filter(Boolean)
      .map(([key, values, text]) => this.#choice('filter', say(key, values), () => this.actions.onFilter(text)));
    if (!account.isAdmin || account.isView) return choices;
    const disable = who ? say('menu.disable', { user: who }) : say('menu.disable_nobody');
    return [
      ...choices,
      element('hr'),
      this.#choice('plug', say('menu.end'), () => this.actions.onEnd(connection), whyNotEnd(connection, account)),
      this.#choice('ban', disable, () => this.actions.onDisable(connection), whyNotDisable(connection, account)),
    ];
  }

  // If there is a reason against it, the choice remains in place and shows the reason.
  #choice(symbol, text, act, reason = null) {
    const words = element('span', {}, element('span', { className: 'choice-text', textContent: text }));
    const button = element('button', { className: 'choice' }, icon(symbol), words);
    if (reason !== null) {
      words.append(element('span', { className: 'choice-reason', textContent: say(reason) }));
      button.setAttribute('aria-disabled', 'true');
      return button;
    }
    button.addEventListener('click', () => {
      this.close();
      act();
    });
    return button;
  }

  // Below the button; if there is no room, to the left of it and as high as necessary.
  #placeBeside(button) {
    const { left, right, bottom } = button.getBoundingClientRect();
    const { width, height } = this.#panel.getBoundingClientRect();
    const lowest = document.documentElement.clientHeight - height - kGap;
    const fitsBelow = bottom + kGap <= lowest;
    const x = fitsBelow ? right - width : left - width - kGap;
    this.#panel.style.setProperty('--x', `${Math.max(kGap, x)}px`);
    this.#panel.style.setProperty('--y', `${Math.max(kGap, Math.min(bottom + kGap, lowest))}px`);
  }

  #pressed(event) {
    const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
    if (!step) return;
    event.preventDefault();
    const buttons = [...this.#panel.querySelectorAll('button')];
    const next = buttons.indexOf(document.activeElement) + step;
    buttons[(next + buttons.length) % buttons.length].focus();
  }
}

function details(connection) {
  const { who, type, from, time, descr, pid } = connection;
  const facts = [
    ['list.user', who],
    ['list.service', type],
    ['list.from', from],
    ['list.since', time],
    ['list.resource', descr],
    ['menu.process', pid === 0 || isWeb(connection) ? '' : String(pid)],
  ].filter(([, value]) => value !== '');
  const entries = facts.map(([key, value]) =>
    element('div', {}, element('dt', { textContent: say(key) }), element('dd', { textContent: value })),
  );
  return element('dl', { className: 'facts' }, ...entries);
}
