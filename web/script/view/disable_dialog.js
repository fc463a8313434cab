// Disables an account: says what follows from it, waits, then says what came of it.
import { disableUser, readAll } from '../api/connections.js';
import { connectionsOf, targetsOf } from '../model/ending.js';
import { ApiFailure } from '../model/failure.js';
import { patiently } from '../model/patience.js';
import { dialogButton, progressBar } from './dialog.js';
import { element } from './element.js';
import { failureText } from './list_state.js';
import { readAllAgain, showFailedStep } from './reading_again.js';
import { connectionList, targetList } from './target_list.js';
import { say, sayNodes } from './texts.js';

// Answers after which the account is as it was.
const kNothingChanged = [105, 7100];

export class DisableDialog {
  // `onSessionEnd()` is called where the server no longer knows who is asking.
  constructor(dialog, { onSessionEnd }) {
    this.dialog = dialog;
    this.onSessionEnd = onSessionEnd;
  }

  // Resolves when the dialog is closed; true where the server was asked to disable the account.
  async run(user) {
    this.wasAsked = false;
    const closed = this.dialog.open();
    this.dialog.checking();
    try {
      const present = await readAll();
      if (this.dialog.isOpen) this.#ask(user, targetsOf(user, present));
    } catch (failure) {
      showFailedStep(this.dialog, failure, this.onSessionEnd);
    }
    await closed;
    return this.wasAsked;
  }

  #ask(user, targets) {
    const count = targets.length;
    const hit =
      count === 0 ? sayNodes('disable.no_connections', { user }) : sayNodes('disable.connections', { count, user });
    const submit = dialogButton(say('disable.submit', { user }), {
      kind: 'danger',
      onClick: () => this.#disable(user, count),
    });
    this.dialog.step({
      title: sayNodes('disable.title', { user }),
      body: [
        consequence(sayNodes('disable.account', { user })),
        consequence(sayNodes('disable.logins', { user })),
        consequence([say('disable.undo'), command(`chage -E -1 ${user}`)]),
        consequence(hit),
        ...(count === 0 ? [] : [targetList(targets).node]),
      ],
      buttons: [this.dialog.closeButton('dialog.cancel', true), submit],
    });
  }

  async #disable(user, count) {
    this.wasAsked = true;
    this.dialog.step({
      title: sayNodes('disable.running', { user }),
      body: [element('p', { className: 'lead', textContent: say('disable.progress') }), progressBar()],
      buttons: [],
      mayClose: false,
    });
    const failure = await this.#call(user);
    if (failure?.isSessionEnd) this.#leave();
    const after = failure ? null : await readAllAgain(() => this.#leave());
    if (!this.dialog.isOpen) return;
    if (failure) this.#showFailure(user, failure);
    else this.#showDone(user, count, after);
  }

  #leave() {
    if (!this.dialog.isOpen) return;
    this.dialog.close();
    this.onSessionEnd();
  }

  // The failure, or null.
  async #call(user) {
    try {
      await patiently(() => disableUser(user));
      return null;
    } catch (failure) {
      if (!(failure instanceof ApiFailure)) throw failure;
      return failure;
    }
  }

  #showDone(user, count, after) {
    const left = after === null ? [] : connectionsOf(user, after);
    const body = [];
    if (after === null) body.push(consequence([say('outcome.unclear')]));
    else if (count > left.length) body.push(consequence([say('disable.done_ended', { count: count - left.length })]));
    if (left.length > 0)
      body.push(consequence(sayNodes('disable.done_left', { count: left.length, user })), connectionList(left));
    body.push(consequence([say('disable.undo'), command(`chage -E -1 ${user}`)]));
    this.#finish(sayNodes('disable.done', { user }), body);
  }

  #showFailure(user, failure) {
    const isCertain = kNothingChanged.includes(failure.code) || failure.status === 503 || failure.status === 403;
    const body = [element('p', { className: 'lead', textContent: failureText(failure) })];
    if (!isCertain) body.push(consequence([say('disable.unclear_more'), command(`chage -l ${user}`)]));
    this.#finish(sayNodes(isCertain ? 'disable.failed' : 'disable.unclear', { user }), body);
  }

  #finish(title, body) {
    const done = dialogButton(say('dialog.done'), {
      kind: 'primary',
      isFirst: true,
      onClick: () => this.dialog.close(),
    });
    this.dialog.step({ title, body, buttons: [done] });
  }
}

function consequence(content) {
  return element('p', { className: 'consequence' }, ...content);
}

function command(text) {
  return element('code', { className: 'command', textContent: text });
}
