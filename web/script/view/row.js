// One row of the table. It is created once per connection and updated in place, so that focus and pointer are kept.
import { isWeb, whyNotEnd } from '../model/connection.js';
import { formatSpan, formatStart, parseStart } from '../model/server_time.js';
import { element, setAttribute, setText } from './element.js';
import { currentLocale, say } from './texts.js';

const kFamilies = { SSH: 'shell', SFTP: 'files', TELNET: 'shell', LOGIN: 'shell', UNKNOWN: 'other' };

// The colour group of a service.
export function familyOf(connection) {
  return isWeb(connection) ? 'web' : (kFamilies[connection.type] ?? 'files');
}

// The names of a row in the labels of its controls.
export function namesOf({ who, type, from }) {
  return { user: who || say('list.none'), service: type, address: from || say('list.none') };
}

export class Row {
  constructor(connection) {
    this.connection = connection;
    this.check = element('input', { type: 'checkbox', data: { control: 'check' }, tabIndex: -1 });
    this.more = element('button', { className: 'icon-button dots', data: { control: 'more' }, tabIndex: -1 });
    this.more.setAttribute('aria-haspopup', 'dialog');
    this.user = element('span', { className: 'user-text' });
    this.mark = element('span', { className: 'new-mark', hidden: true });
    this.service = element('span', { className: 'service' });
    this.start = element('span');
    this.span = element('span', { className: 'quiet' });
    this.from = cell('from');
    this.resource = cell('resource');
    this.node = element(
      'tr',
      { role: 'row' },
      cell('select', this.check),
      cell('user', this.user, ' ', this.mark),
      cell('type', this.service),
      this.from,
      cell('since', this.start, ' ', this.span),
      this.resource,
      cell('more', this.more),
    );
  }

  // `now` is the server's clock in milliseconds; `index` is the position in the whole list, from 1.
  update(connection, { account, isSelected, isNew, now, index }) {
    this.connection = connection;
    this.#showTexts(connection);
    this.#showStart(connection, now);
    this.#showMark(isNew);
    this.#showCheck(connection, account, isSelected);
    setAttribute(this.more, 'aria-label', say('list.actions_row', namesOf(connection)));
    setAttribute(this.node, 'aria-rowindex', String(index + 1));
  }

  #showTexts({ who, from, type, descr }) {
    setText(this.user, who || '–');
    setAttribute(this.user, 'title', who || null);
    setText(this.service, type);
    setAttribute(this.service, 'data-family', familyOf(this.connection));
    setText(this.from, from || '–');
    setAttribute(this.from, 'title', from || null);
    setText(this.resource, descr || '–');
    setAttribute(this.resource, 'title', descr || null);
  }

  #showStart({ time }, now) {
    const start = parseStart(time);
    setText(this.start, start === null ? time || '–' : formatStart(start, now, currentLocale()));
    setText(this.span, start === null || now === null ? '' : formatSpan(now - start, currentLocale()));
    setAttribute(this.start, 'title', time || null);
  }

  #showMark(isNew) {
    setText(this.mark, isNew ? say('list.new') : '');
    if (this.mark.hidden !== isNew) return;
    this.mark.hidden = !isNew;
    this.node.classList.toggle('is-new', isNew);
  }

  #showCheck(connection, account, isSelected) {
    const reason = whyNotEnd(connection, account);
    this.check.checked = isSelected && reason === null;
    setAttribute(this.node, 'aria-selected', String(this.check.checked));
    setAttribute(this.check, 'aria-label', say('list.select_row', namesOf(connection)));
    setAttribute(this.check, 'aria-disabled', reason === null ? null : 'true');
    setAttribute(this.check, 'aria-description', reason === null ? null : say(reason));
    setAttribute(this.check, 'data-tip', reason === null ? null : say(reason));
  }
}

function cell(name, ...children) {
  return element('td', { role: 'gridcell', className: `cell-${name}` }, ...children);
}
