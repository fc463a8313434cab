// What ending and disabling share: the server says what it would do, does it, and says what came of it.
import { perform, plan } from '../api/connections.js';
import { ApiFailure } from '../model/failure.js';
import { dialogButton, progressBar } from './dialog.js';
import { element } from './element.js';
import { failureText } from './list_state.js';
import { note, warningText } from './reasons.js';
import { say } from './texts.js';

export class PlanDialog {
  // `onSessionEnd()` is called where the server no longer knows who is asking.
  constructor(dialog, { onSessionEnd }) {
    this.dialog = dialog;
    this.onSessionEnd = onSessionEnd;
  }

  // Hands what the server would do to `ask`. Resolves when the dialog is closed; `wasAsked` then tells whether it was
  // asked to do it.
  async open(task, ask) {
    this.wasAsked = false;
    // By the time of the answer the dialog may be open again, for something else.
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

  // Waits under `title`, from where nothing leads away, then hands what came of it to `show`, or the failure to
  // `showFailure`.
  async perform(task, title, show, showFailure) {
    this.wasAsked = true;
    this.dialog.step({ title, body: [lead(say('dialog.progress')), progressBar()], buttons: [], mayClose: false });
    const { answer, failure } = await this.#answerOf(perform(task));
    if (!this.dialog.isOpen) return;
    if (failure) showFailure(failure);
    else show(answer);
  }

  // With the button that does it.
  question(title, body, submit, onSubmit) {
    const button = dialogButton(submit, { kind: 'danger', onClick: onSubmit });
    this.dialog.step({ title, body, buttons: [this.dialog.closeButton('dialog.cancel', true), button] });
  }

  // Where there is nothing to do.
  message(title, body) {
    this.dialog.step({ title, body, buttons: [this.dialog.closeButton('dialog.close', true)] });
  }

  // What came of it.
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

// Whether the server refused before it did anything.
export function isRefusal(failure) {
  return failure.isBusy || failure.status === 403;
}

export function lead(text) {
  return element('p', { className: 'lead', textContent: text });
}

export function warningNotes(warnings = []) {
  return warnings.length === 0 ? [] : [note('warning', [warningText(warnings)])];
}
