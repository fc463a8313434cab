// Disables an account: shows the consequences, waits, then shows the result.
import { disableTask } from '../api/connections.js';
import { connectionList, fateList, stayingList } from './connection_list.js';
import { element } from './element.js';
import { failureText } from './list_state.js';
import { isRefusal, lead, PlanDialog, warningNotes } from './plan_dialog.js';
import { accessNotes, command, effectNotes, leftRunningNotes, reasonText } from './reasons.js';
import { shell } from './shell.js';
import { say, sayNodes } from './texts.js';

export class DisableDialog extends PlanDialog {
  // When the dialog is closed, resolves with whether the server was asked to do it.
  async run(user) {
    await this.open(disableTask(user), (plan) => this.#ask(user, plan));
    return this.wasAsked;
  }

  #ask(user, { accounts: [account], ends, stays, refusal, warnings }) {
    if (refusal) {
      this.message(sayNodes('disable.refused', { user }), [lead(reasonText(refusal))]);
      return;
    }
    const body = [
      consequence(sayNodes(account.disabled ? 'disable.already' : 'disable.account', { user })),
      consequence([say('disable.undo')], command(shell`currentconn enable ${user}`)),
      ...endingParts(user, ends, stays),
      ...accessNotes(user, account.access),
      ...leftRunningNotes(user, account.left_running),
      ...warningNotes(warnings),
    ];
    this.question(sayNodes('disable.title', { user }), body, say('disable.submit', { user }), () => this.#disable(user));
  }

  #disable(user) {
    const show = (result) => this.#showResult(user, result);
    const showFailure = (failure) => this.#showFailure(user, failure);
    this.perform(disableTask(user), sayNodes('disable.running', { user }), show, showFailure);
  }

  #showFailure(user, failure) {
    const isCertain = isRefusal(failure);
    const check = [consequence([say('disable.unclear_more')], command(shell`chage -l ${user}`))];
    const title = sayNodes(isCertain ? 'disable.failed' : 'disable.unclear', { user });
    this.result(title, [lead(failureText(failure)), ...(isCertain ? [] : check)]);
  }

  #showResult(user, result) {
    const [account] = result.accounts;
    const { access = [], left_running: left, logins_left: logins = [] } = account;
    const why = result.refusal ?? result.failure ?? account.reason;
    const isOpen = access.some((service) => service.access === 'let_in') || logins.length > 0;
    const title = !account.disabled ? 'disable.failed' : isOpen ? 'disable.partly' : 'disable.done';
    this.result(sayNodes(title, { user }), [
      ...(why ? [lead(reasonText(why))] : []),
      ...(account.disabled ? undoParts(user, account.undo) : []),
      ...fateParts(user, result),
      ...loginParts(user, account.logins_ended ?? 0, logins),
      ...accessNotes(user, access),
      ...(left ? leftRunningNotes(user, left) : []),
      ...warningNotes(result.warnings),
    ]);
  }
}

function endingParts(user, ends, stays) {
  const parts = [];
  if (ends.length + stays.length === 0) parts.push(consequence(sayNodes('disable.no_connections', { user })));
  if (ends.length > 0) {
    parts.push(consequence(sayNodes('disable.connections', { count: ends.length, user })));
    parts.push(connectionList(ends, (row) => ({ below: effectNotes(row) })));
  }
  if (stays.length > 0) {
    parts.push(consequence(sayNodes('disable.stays', { count: stays.length, user })), stayingList(stays));
  }
  return parts;
}

function fateParts(user, { connections, services_without_users: unknown = [] }) {
  const services = unknown.join(', ');
  return [
    ...(connections.length === 0 ? [] : [fateList(connections)]),
    ...(services === '' ? [] : [consequence(sayNodes('disable.unknown_users', { services, user }))]),
  ];
}

// What became of SSH logins under way; `left`: processes of sshd.
function loginParts(user, ended, left) {
  const kill = () => command(`kill -KILL ${left.join(' ')}`);
  return [
    ...(ended === 0 ? [] : [consequence(sayNodes('disable.logins_ended', { count: ended, user }))]),
    ...(left.length === 0 ? [] : [consequence(sayNodes('disable.logins_left', { count: left.length, user }), kill())]),
  ];
}

// How to undo it; an expiry that was not recorded can only be set again.
function undoParts(user, undo) {
  if (!undo) return [consequence([say('disable.undo_unknown')], command(shell`chage -E -1 ${user}`))];
  const { expiry_before: date } = undo;
  const text = date === null ? [say('disable.undo_never')] : sayNodes('disable.undo_date', { date });
  return [consequence(text, command(shell`currentconn enable ${user}`))];
}

function consequence(content, ...more) {
  return element('p', { className: 'consequence' }, ...content, ...more);
}
