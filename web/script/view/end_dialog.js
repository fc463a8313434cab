// Ends connections: shows what ends with them, waits, then shows the result for each.
import { kickTask } from '../api/connections.js';
import { whyNotDisable } from '../model/connection.js';
import { connectionList, fateList, stayingList } from './connection_list.js';
import { dialogButton } from './dialog.js';
import { element } from './element.js';
import { failureText } from './list_state.js';
import { isRefusal, lead, PlanDialog, warningNotes } from './plan_dialog.js';
import { effectNotes } from './reasons.js';
import { say, sayNodes } from './texts.js';

export class EndDialog extends PlanDialog {
  #userToDisable = null;

  // Resolves with {wasAsked, userToDisable} when the dialog is closed.
  async run(connections, account) {
    this.account = account;
    this.#userToDisable = null;
    await this.open(kickTask(connections), (plan) => this.#ask(plan));
    return { wasAsked: this.wasAsked, userToDisable: this.#userToDisable };
  }

  #ask({ ends, stays, gone, warnings }) {
    const count = ends.length;
    const rest = [
      ...section('end.stays', stays, stayingList),
      ...section('end.gone', gone, connectionList),
      ...warningNotes(warnings),
    ];
    if (count === 0) {
      this.message([say('end.title_none')], rest);
      return;
    }
    const list = connectionList(ends, (row) => ({ below: effectNotes(row) }));
    const body = [lead(say('end.lead')), list, ...rest];
    this.question([say('end.title', { count })], body, say('end.submit', { count }), () => this.#end(ends));
  }

  #end(rows) {
    const showFailure = (failure) =>
      this.result([say(isRefusal(failure) ? 'end.failed' : 'end.unclear')], [lead(failureText(failure))]);
    const title = [say('end.running', { count: rows.length })];
    this.perform(kickTask(rows), title, (result) => this.#showResult(result), showFailure);
  }

  #showResult({ connections, warnings }) {
    const done = connections.filter(({ fate }) => fate === 'ended' || fate === 'connected_again').length;
    const list = fateList(connections, (fate) => this.#actionsFor(fate));
    this.result(sayNodes('end.result', { done, count: connections.length }), [list, ...warningNotes(warnings)]);
  }

  // A user who reconnects at once can only be kept out by disabling the account.
  #actionsFor(row) {
    if (row.fate !== 'connected_again' || whyNotDisable(row, this.account) !== null) return [];
    const disable = () => {
      this.#userToDisable = row.who;
      this.dialog.close();
    };
    return [dialogButton(say('menu.disable', { user: row.who }), { kind: 'small', onClick: disable })];
  }
}

function section(key, rows, listOf) {
  if (rows.length === 0) return [];
  return [element('p', { className: 'remark', textContent: say(key, { count: rows.length }) }), listOf(rows)];
}
