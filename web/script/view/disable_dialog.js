// Disables an account: says what follows from it, waits, then says what came of it.
import { disableUser } from '../api/connections.js';
import { connectionsOf, targetsOf } from '../model/ending.js';
import { patiently } from '../model/patience.js';
import { stillLettingIn } from '../model/warning.js';
import { AskingDialog } from './asking_dialog.js';
import { dialogButton, progressBar } from './dialog.js';
import { element } from './element.js';
import { failureText } from './list_state.js';
import { connectionList, targetList } from './target_list.js';
import { say, sayNodes } from './texts.js';

// Answers after which the account is as it was.
const kNothingChanged = [105, 7100];

export class DisableDialog extends AskingDialog {
  run(user) {
    return this.open((present) => this.#ask(user, targetsOf(user, present)));
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
        consequence([say('disable.undo'), command(`currentconn enable ${user}`)]),
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
    let warnings = [];
    const failure = await this.failureOf(async () => (warnings = await patiently(() => disableUser(user))));
    const after = failure ? null : await this.readAgain();
    if (!this.dialog.isOpen) return;
    if (failure) this.#showFailure(user, failure);
    else this.#showDone(user, count, after, stillLettingIn(warnings));
  }

  // `services` still let the user in.
  #showDone(user, count, after, services) {
    const left = after === null ? [] : connectionsOf(user, after.items);
    const isWhole = after?.warnings.every(({ code }) => code === 'details_missing') ?? false;
    const body = [];
    if (services)
      body.push(consequence(sayNodes('disable.let_in', { services, user })), command(`currentconn disable ${user}`));
    if (!isWhole) body.push(consequence([say('outcome.unclear')]));
    else if (count > left.length) body.push(consequence([say('disable.done_ended', { count: count - left.length })]));
    if (left.length > 0)
      body.push(consequence(sayNodes('disable.done_left', { count: left.length, user })), connectionList(left));
    body.push(consequence([say('disable.undo'), command(`currentconn enable ${user}`)]));
    this.#finish(sayNodes(services ? 'disable.partly' : 'disable.done', { user }), body);
  }

  #showFailure(user, failure) {
    const isCertain = kNothingChanged.includes(failure.code) || failure.isBusy || failure.status === 403;
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
