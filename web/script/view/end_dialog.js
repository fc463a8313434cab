// Ends connections: says whom it hits, shows how far the server is, then what happened to each.
import { kick, readAll } from '../api/connections.js';
import { callsFor, outcomeOf, planEnding } from '../model/ending.js';
import { ApiFailure } from '../model/failure.js';
import { patiently } from '../model/patience.js';
import { runSideBySide } from '../model/pool.js';
import { dialogButton, progressBar } from './dialog.js';
import { element } from './element.js';
import { failureText } from './list_state.js';
import { readAllAgain, showFailedStep } from './reading_again.js';
import { targetList } from './target_list.js';
import { say, sayNodes } from './texts.js';

const kMostAtOnce = 16;

const kMarks = {
  ended: 'good',
  back: 'again',
  still: 'trouble',
  failed: 'trouble',
  skipped: 'left',
  unclear: 'trouble',
};

export class EndDialog {
  #isStopped = false;

  // `onSessionEnd()` is called where the server no longer knows who is asking.
  constructor(dialog, { onSessionEnd }) {
    this.dialog = dialog;
    this.onSessionEnd = onSessionEnd;
  }

  // Resolves when the dialog is closed; true where the server was asked to end something.
  async run(connections, account) {
    this.#isStopped = false;
    this.wasAsked = false;
    const closed = this.dialog.open();
    this.dialog.checking();
    try {
      const present = await readAll();
      if (this.dialog.isOpen) this.#ask(planEnding(connections, present, account), present);
    } catch (failure) {
      showFailedStep(this.dialog, failure, this.onSessionEnd);
    }
    await closed;
    return this.wasAsked;
  }

  #ask(plan, present) {
    const { targets, gone, refused } = plan;
    const count = targets.length;
    const remarks = [];
    if (gone.length > 0) remarks.push(remark([say('end.gone', { count: gone.length })]));
    for (const { reason } of refused) remarks.push(remark([say('end.refused', { reason: say(reason) })]));
    if (count === 0) {
      this.dialog.step({
        title: [say('end.title_none')],
        body: remarks,
        buttons: [this.dialog.closeButton('dialog.close', true)],
      });
      return;
    }
    const submit = dialogButton(say('end.submit', { count }), {
      kind: 'danger',
      onClick: () => this.#end(targets, present),
    });
    this.dialog.step({
      title: [say('end.title', { count })],
      body: [element('p', { className: 'lead', textContent: say('end.lead') }), targetList(targets).node, ...remarks],
      buttons: [this.dialog.closeButton('dialog.cancel', true), submit],
    });
  }

  async #end(targets, before) {
    this.wasAsked = true;
    const list = targetList(targets);
    for (const target of targets) list.mark(target, 'waiting', say('end.waiting'));
    const progress = this.#showRunning(targets, list);
    const answers = new Map(targets.map((target) => [target, 'skipped']));
    await runSideBySide(
      callsFor(targets),
      kMostAtOnce,
      (call) => this.#call(call, answers, list, progress),
      () => !this.#isStopped,
    );
    if (!this.dialog.isOpen) return;
    progress.say(say('end.reading'));
    const after = await readAllAgain(() => this.#leave());
    if (this.dialog.isOpen) this.#showResult(targets, answers, before, after);
  }

  async #call(targets, answers, list, progress) {
    for (const target of targets) list.mark(target, 'working', say('end.working'));
    let answer = 'done';
    try {
      await patiently(() => kick(targets));
    } catch (failure) {
      if (!(failure instanceof ApiFailure)) throw failure;
      answer = failure;
    }
    for (const target of targets) {
      answers.set(target, answer);
      list.mark(target, 'waiting', say('end.answered'));
    }
    progress.add(targets.length);
    if (answer.isSessionEnd) this.#leave();
  }

  #showRunning(targets, list) {
    const count = targets.length;
    const bar = progressBar(0, count);
    const words = element('p', {
      className: 'lead',
      role: 'status',
      textContent: say('end.progress', { done: 0, count }),
    });
    const stop = dialogButton(say('dialog.stop'), { onClick: () => this.#stop(stop) });
    const canStop = callsFor(targets).length > kMostAtOnce;
    this.dialog.step({
      title: [say('end.running', { count })],
      body: [words, bar, list.node],
      buttons: canStop ? [stop] : [],
      mayClose: false,
    });
    const add = (done) => {
      bar.value += done;
      words.textContent = say('end.progress', { done: bar.value, count });
    };
    return { add, say: (text) => (words.textContent = text) };
  }

  #showResult(targets, answers, before, after) {
    const list = targetList(targets);
    let done = 0;
    for (const target of targets) {
      const answer = answers.get(target);
      const outcome = outcomeOf(target.row, answer, before, after);
      if (outcome === 'ended' || outcome === 'back') done += 1;
      list.mark(target, kMarks[outcome], say(`outcome.${outcome}`), reasonFor(outcome, answer));
    }
    const stopped = this.#isStopped ? [remark([say('end.stopped')])] : [];
    this.dialog.step({
      title: sayNodes('end.result', { done, count: targets.length }),
      body: [...stopped, list.node],
      buttons: [
        dialogButton(say('dialog.done'), { kind: 'primary', isFirst: true, onClick: () => this.dialog.close() }),
      ],
    });
  }

  #stop(button) {
    this.#isStopped = true;
    button.disabled = true;
  }

  #leave() {
    this.#isStopped = true;
    if (!this.dialog.isOpen) return;
    this.dialog.close();
    this.onSessionEnd();
  }
}

function reasonFor(outcome, answer) {
  if (outcome === 'still') return say('outcome.still_more');
  return answer instanceof ApiFailure && outcome !== 'ended' && outcome !== 'back' ? failureText(answer) : '';
}

function remark(content) {
  return element('p', { className: 'remark' }, ...content);
}
