// Shared by ending and disabling: the server plans the action, performs it, and reports the result.
import { perform, plan } from '../api/connections.js';
import { ApiFailure } from '../model/failure.js';
import { dialogButton, progressBar } from './dialog.js';
import { element } from './element.js';
import { failureText } from './list_state.js';
import { note, warningText } from './reasons.js';
import { say } from './texts.js';

export class PlanDialog {
  // `onSessionEnd()` is called when the login has ended.
  constructor(dialog, { onSessionEnd }) {
    this.dialog = dialog;
    this.onSessionEnd = onSessionEnd;
  }

  // Passes the plan to `ask`. Resolves when the dialog is closed; `wasAsked` then says whether the server was asked to
  // perform it.
  async open(task, ask) {
    this.wasAsked = false;
    // When the answer arrives, the dialog may be open again for something else.
    let isClosed = false;
    const closed = this.dialog.open().then(() => (isClosed = true));
    this.dialog.checking();
    const { answer, failure } = await this.#answerOf(plan(task));
    if (!isClosed) {
      if (failure) this.message([say('trouble.title')], [lead(failureText(failure))]);
      else ask(answer);
    }
    await closed;
  }

  // Waits under `title`, without a way to leave, then passes the result to `show`, or the failure to `showFailure`.
  async perform(task, title, show, showFailure) {
    this.wasAsked = true;
    this.dialog.step({ title, body: [lead(say('dialog.progress')), progressBar()], buttons: [], mayClose: false });
    const { answer, failure } = await this.#answerOf(perform(task));
    if (!this.dialog.isOpen) return;
    if (failure) showFailure(failure);
    else show(answer);
  }

  // With the button that performs it.
  question(title, body, submit, onSubmit) {
    const button = dialogButton(submit, { kind: 'danger', onClick: onSubmit });
    this.dialog.step({ title, body, buttons: [this.dialog.closeButton('dialog.cancel', true), button] });
  }

  // If there is nothing to do.
  message(title, body) {
    this.dialog.step({ title, body, buttons: [this.dialog.closeButton('dialog.close', true)] });
  }

  // The result.
  result(title, body) {
    const done = dialogButton(say('dialog.done'), { kind: 'primary', isFirst: true, onClick: () => this.dialog.close() });
    this.dialog.step({ title, body, buttons: [done] });
  }

  async #answerOf(call) {
    try {
      return { answer: await call };
    } catch (failure) {
      if (!(failure instanceof ApiFailure)) throw failure;
      if (failure.isSessionEnd) this.#leave();
      return { failure };
    }
  }

  #leave() {
    if (!this.dialog.isOpen) return;
    this.dialog.close();
    this.onSessionEnd();
  }
}

// Whether the server refused before doing anything.
export function isRefusal(failure) {
  return failure.isBusy || failure.status === 403;
}

export function lead(text) {
  return element('p', { className: 'lead', textContent: text });
}

export function warningNotes(warnings = []) {
  return warnings.length === 0 ? [] : [note('warning', [warningText(warnings)])];
}
