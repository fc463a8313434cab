// What ending and disabling share: the list is read anew before anything is asked, and again after all is done.
import { readAll } from '../api/connections.js';
import { ApiFailure } from '../model/failure.js';
import { patiently, wait } from '../model/patience.js';
import { element } from './element.js';
import { failureText } from './list_state.js';
import { say } from './texts.js';

const kTries = 3;
const kPause = 2000;

export class AskingDialog {
  // `onSessionEnd()` is called where the server no longer knows who is asking.
  constructor(dialog, { onSessionEnd }) {
    this.dialog = dialog;
    this.onSessionEnd = onSessionEnd;
  }

  // Reads all connections and hands them to `ask`. Resolves when the dialog is closed; true where something was done,
  // which sets `wasAsked`.
  async open(ask) {
    this.wasAsked = false;
    // By the time of the answer the dialog may be open again, for something else.
    let isClosed = false;
    const closed = this.dialog.open().then(() => (isClosed = true));
    this.dialog.checking();
    try {
      const { items } = await patiently(readAll);
      if (!isClosed) ask(items);
    } catch (failure) {
      if (!isClosed) this.#showUnread(failure);
    }
    await closed;
    return this.wasAsked;
  }

  // The failure of a call, or null.
  async failureOf(call) {
    try {
      await call();
      return null;
    } catch (failure) {
      if (!(failure instanceof ApiFailure)) throw failure;
      if (failure.isSessionEnd) this.leave();
      return failure;
    }
  }

  // All connections and what may be missing of them, or null where they could not be read in several tries.
  async readAgain() {
    for (let left = kTries; left > 0; left -= 1) {
      let all = null;
      const failure = await this.failureOf(async () => (all = await patiently(readAll)));
      if (failure === null || !failure.isTemporary) return all;
      if (left > 1) await wait(kPause);
    }
    return null;
  }

  leave() {
    if (!this.dialog.isOpen) return;
    this.dialog.close();
    this.onSessionEnd();
  }

  #showUnread(failure) {
    if (!(failure instanceof ApiFailure)) throw failure;
    if (failure.isSessionEnd) {
      this.leave();
      return;
    }
    this.dialog.step({
      title: [say('trouble.title')],
      body: [element('p', { className: 'lead', textContent: failureText(failure) })],
      buttons: [this.dialog.closeButton('dialog.close', true)],
    });
  }
}
