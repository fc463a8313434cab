// Shows the state of the connections screen on the page, and reports the user's actions to it.
import { fetchReport } from '../api/connections.js';
import { ApiFailure } from '../model/failure.js';
import { sortedBy } from '../model/query.js';
import { formatClock } from '../model/server_time.js';
import { announce } from './announcer.js';
import { Dialog } from './dialog.js';
import { DisableDialog } from './disable_dialog.js';
import { byId, element, setText } from './element.js';
import { EndDialog } from './end_dialog.js';
import { FilterField } from './filter_field.js';
import { failureText, ListState } from './list_state.js';
import { LiveStatus } from './live_status.js';
import { NarrowSort } from './narrow_sort.js';
import { dropNotice, dropNotices, showNotice } from './notices.js';
import { Pager } from './pager.js';
import { warningText } from './reasons.js';
import { RowPanel } from './row_panel.js';
import { SelectionBar } from './selection_bar.js';
import { Table } from './table.js';
import { currentLocale, onLanguageChange, say, sayNodes } from './texts.js';

export class ListView {
  constructor(screen) {
    this.screen = screen;
    const ask = (changes) => screen.ask({ ...screen.query, ...changes });
    const sort = (field) => screen.ask(sortedBy(screen.query, field));
    const end = (connections) => this.#end(connections);
    this.table = new Table({
      onSort: sort,
      onSelect: (connections, isSelected) => screen.select(connections, isSelected),
      onMore: (connection, button) => this.panel.open(connection, button, screen.account),
    });
    this.filter = new FilterField({ onFilter: (filter) => this.#filter(filter) });
    this.narrowSort = new NarrowSort({
      onField: (sortBy) => ask({ sortBy, page: 0 }),
      onOrder: () => sort(screen.query.sortBy),
    });
    this.pager = new Pager({ onPage: (page) => this.#turn(page), onSize: (pageSize) => ask({ pageSize, page: 0 }) });
    this.live = new LiveStatus({ onPause: (isPaused) => screen.pause(isPaused) });
    this.state = new ListState({ onClearFilter: () => this.filter.put(''), onRetry: () => screen.readNow() });
    this.bar = new SelectionBar({ onClear: () => screen.clearSelection(), onEnd: () => end(screen.selection.rows) });
    this.panel = new RowPanel({
      onFilter: (text) => this.filter.put(text),
      onEnd: (connection) => end([connection]),
      onDisable: (connection) => this.#disable(connection.who),
    });
    this.dialog = new Dialog();
    const onSessionEnd = () => screen.onSessionEnd();
    this.endDialog = new EndDialog(this.dialog, { onSessionEnd });
    this.disableDialog = new DisableDialog(this.dialog, { onSessionEnd });
    byId('report').addEventListener('click', () => this.#download());
    onLanguageChange(() => screen.isEntered && this.show());
  }

  enter() {
    const { account, query } = this.screen;
    const onlyLooks = !account.isAdmin || account.isView;
    byId('connections').classList.toggle('is-plain', onlyLooks);
    byId('report').hidden = onlyLooks;
    dropNotices();
    this.filter.set(query.filter);
    this.show();
  }

  leave() {
    if (this.dialog.isOpen) this.dialog.close();
    this.panel.close();
    byId('account-panel').hidePopover();
  }

  show() {
    const { page, failure, query, account, selection, newcomers, clock, isPaused } = this.screen;
    const connections = page?.items ?? [];
    const total = page?.total ?? 0;
    this.#showTotal(page);
    this.filter.show();
    this.narrowSort.show(query);
    this.state.show({ page, failure, query, account });
    this.table.show({
      connections,
      first: query.page * query.pageSize,
      total,
      query,
      account,
      selection,
      newcomers,
      now: clock,
    });
    this.pager.show(query, total, connections.length);
    this.live.show({ clock, isPaused, isStale: failure !== null });
    this.bar.show(selection, connections);
    this.#showTrouble();
    this.#showWarnings(page?.warnings ?? []);
  }

  // What may be missing from the list.
  #showWarnings(warnings) {
    const text = warningText(warnings);
    if (text === '') dropNotice('warnings');
    else showNotice('warnings', { kind: 'trouble', content: [text], isLasting: true });
  }

  #showTotal(page) {
    const { account } = this.screen;
    const values = { count: page?.total ?? 0, user: account.name };
    const key = page?.filter ? 'list.found' : account.isAdmin ? 'list.total' : 'list.total_own';
    if (page === null) setText(byId('total'), say('page.title'));
    else byId('total').replaceChildren(...sayNodes(key, values));
    const server = location.hostname;
    document.title = page === null ? `${say('page.title')} · ${server}` : `${say(key, values)} · ${server}`;
  }

  // The list remains, with a sentence above it, while there is no newer one.
  #showTrouble() {
    const { page, failure, clock } = this.screen;
    const isStale = page !== null && failure !== null;
    byId('list').classList.toggle('is-stale', isStale);
    if (!isStale) {
      dropNotice('trouble');
      return;
    }
    const time = clock === null ? '' : formatClock(clock, currentLocale());
    showNotice('trouble', {
      kind: 'trouble',
      content: [`${failureText(failure)} ${say('away.stale', { time })}`],
      actions: [retryButton(() => this.screen.readNow())],
      isLasting: true,
    });
  }

  async #filter(filter) {
    await this.screen.ask({ ...this.screen.query, filter, page: 0 });
    if (this.screen.query.filter === filter && this.screen.page) this.announceTotal();
  }

  // For users who cannot see the list appear.
  announceTotal() {
    announce(say('list.found', { count: this.screen.page.total }));
  }

  async #turn(page) {
    await this.screen.ask({ ...this.screen.query, page });
    const top = byId('list').getBoundingClientRect().top;
    if (top < 0) byId('list').scrollIntoView({ block: 'start' });
  }

  async #end(connections) {
    const { wasAsked, userToDisable } = await this.endDialog.run(connections, this.screen.account);
    if (!this.screen.isEntered || !wasAsked) return;
    for (const connection of connections) this.screen.selection.set(connection, false);
    this.screen.readNow();
    if (userToDisable !== null) this.#disable(userToDisable);
  }

  async #disable(user) {
    const wasAsked = await this.disableDialog.run(user);
    if (this.screen.isEntered && wasAsked) this.screen.readNow();
  }

  async #download() {
    const button = byId('report');
    if (button.getAttribute('aria-disabled') === 'true') return;
    button.setAttribute('aria-disabled', 'true');
    try {
      saveAs(await fetchReport(this.screen.query), 'currentlog.html');
      dropNotice('report');
    } catch (failure) {
      this.#reportFailed(failure);
    } finally {
      button.removeAttribute('aria-disabled');
    }
  }

  #reportFailed(failure) {
    if (!(failure instanceof ApiFailure)) throw failure;
    if (failure.isSessionEnd) this.screen.onSessionEnd();
    else showNotice('report', { kind: 'trouble', content: [say('report.failed', { reason: failureText(failure) })] });
  }
}

function retryButton(onClick) {
  return element('button', { className: 'button small', textContent: say('away.retry'), on: { click: onClick } });
}

function saveAs(blob, name) {
  const address = URL.createObjectURL(blob);
  element('a', { href: address, download: name }).click();
  // The browser reads the blob after the click.
  setTimeout(() => URL.revokeObjectURL(address), 60_000);
}
