// The screen with the list: has the request and the last read, and shows them.
import { readPage } from '../api/connections.js';
import { ApiFailure } from '../model/failure.js';
import { Newcomers } from '../model/newcomers.js';
import { pageCount, queryFromSearch, searchFromQuery } from '../model/query.js';
import { Refresher } from '../model/refresher.js';
import { Selection } from '../model/selection.js';
import { parseClock, startText } from '../model/server_time.js';
import { takeActivity } from './activity.js';
import { ListView } from './list_view.js';
import { showScreen } from './screens.js';

const kInterval = 5000;

export class ConnectionsScreen {
  #refresher = new Refresher((signal, isAutomatic) => this.#read(signal, isAutomatic), kInterval);

  // `onSessionEnd()`; `onRightsLost()` when the account is no longer an administrator.
  constructor({ onSessionEnd, onRightsLost }) {
    this.onSessionEnd = onSessionEnd;
    this.onRightsLost = onRightsLost;
    this.view = new ListView(this);
    document.addEventListener('visibilitychange', () => this.#visibilityChanged());
  }

  enter(account) {
    this.account = account;
    this.query = queryFromSearch(location.search);
    this.page = null;
    this.clock = null;
    this.failure = null;
    this.selection = new Selection();
    this.newcomers = new Newcomers();
    this.isPaused = false;
    this.isEntered = true;
    showScreen('connections');
    this.view.enter();
    this.#refresher.start();
  }

  leave() {
    this.isEntered = false;
    this.#refresher.stop();
    this.view.leave();
  }

  // Shows another part of the list at once.
  ask(query) {
    this.query = query;
    history.replaceState(null, '', `${location.pathname}${searchFromQuery(query)}`);
    return this.readNow();
  }

  readNow() {
    this.view.show();
    return this.#refresher.now();
  }

  pause(isPaused) {
    this.isPaused = isPaused;
    if (isPaused) this.#refresher.pause();
    else this.#refresher.start();
    this.view.show();
  }

  select(connections, isSelected) {
    for (const connection of connections) this.selection.set(connection, isSelected);
    this.view.show();
  }

  clearSelection() {
    this.selection.clear();
    this.view.show();
  }

  // Returns the least number of milliseconds to wait before the next read.
  async #read(signal, isAutomatic) {
    const isBackground = isAutomatic && !takeActivity();
    try {
      const page = await readPage(this.query, this.account.isAdmin, { signal, isBackground });
      if (!signal.aborted) this.#accept(page);
      return 0;
    } catch (failure) {
      if (signal.aborted) return 0;
      if (!(failure instanceof ApiFailure)) throw failure;
      this.#refuse(failure);
      return failure.retryAfter * 1000;
    }
  }

  #accept(page) {
    const lastPage = pageCount(page.total, this.query.pageSize) - 1;
    if (this.query.page > lastPage) {
      this.ask({ ...this.query, page: lastPage });
      return;
    }
    const isFirst = this.page === null;
    this.page = { ...page, filter: this.query.filter };
    this.failure = null;
    this.clock = parseClock(page.systime);
    const isWhole = page.items.length === page.total;
    const clock = this.clock === null ? '' : startText(this.clock);
    this.newcomers.take(page.items, { view: this.query.filter, isWhole, clock, now: Date.now() });
    if (isWhole && this.query.filter === '') this.selection.keepOnly(page.items);
    this.view.show();
    if (isFirst) this.view.announceTotal();
  }

  #refuse(failure) {
    if (failure.isSessionEnd) this.onSessionEnd();
    else if (failure.code === 105) this.onRightsLost();
    else {
      this.failure = failure;
      this.view.show();
    }
  }

  #visibilityChanged() {
    if (!this.isEntered || this.isPaused) return;
    if (document.hidden) this.#refresher.stop();
    else this.#refresher.start();
  }
}
