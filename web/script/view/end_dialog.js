// Ends connections: says whom it hits, shows how far the server is, then what happened to each.
import { kick } from '../api/connections.js';
import { callsFor, outcomeOf, planEnding } from '../model/ending.js';
import { ApiFailure } from '../model/failure.js';
import { patiently } from '../model/patience.js';
import { runSideBySide } from '../model/pool.js';
import { AskingDialog } from './asking_dialog.js';
import { dialogButton, progressBar } from './dialog.js';
import { element } from './element.js';
import { failureText } from './list_state.js';
import { targetList } from './target_list.js';
import { say, sayNodes } from './texts.js';

const kMostAtOnce = 64;

const kMarks = {
  ended: 'good',
  back: 'again',
  still: 'trouble',
  skipped: 'left',
  unclear: 'trouble',
};

export class EndDialog extends AskingDialog {
  #isStopped = false;

  run(connections, account) {
    this.#isStopped = false;
    return this.open((present) => this.#ask(planEnding(connections, present, account), present, account));
  }

  #ask(plan, present, account) {
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
      onClick: () => this.#end(targets, present, account),
    });
    this.dialog.step({
      title: [say('end.title', { count })],
      body: [element('p', { className: 'lead', textContent: say('end.lead') }), targetList(targets).node, ...remarks],
      buttons: [this.dialog.closeButton('dialog.cancel', true), submit],
    });
  }

  async #end(targets, before, account) {
    this.wasAsked = true;
    const rounds = callsFor(targets, account);
    const list = targetList(targets, false);
    for (const target of targets) list.mark(target, 'waiting', say('end.waiting'));
    const progress = this.#showRunning(targets, list, rounds.flat().length > kMostAtOnce);
    const answers = new Map(targets.map((target) => [target, 'skipped']));
    const work = (call) => this.#call(call, answers, list, progress);
    for (const calls of rounds) await runSideBySide(calls, kMostAtOnce, work, () => !this.#isStopped);
    if (!this.dialog.isOpen) return;
    progress.say(say('end.reading'));
    const after = await this.readAgain();
    if (this.dialog.isOpen) this.#showResult(targets, answers, before, after);
  }

  async #call(targets, answers, list, progress) {
    for (const target of targets) list.mark(target, 'working', say('end.working'));
    const answer = (await this.failureOf(() => patiently(() => kick(targets)))) ?? 'done';
    if (answer.isSessionEnd) this.#isStopped = true;
    for (const target of targets) {
      answers.set(target, answer);
      list.mark(target, 'waiting', say('end.answered'));
    }
    progress.add(targets.length);
  }

  #showRunning(targets, list, canStop) {
    const count = targets.length;
    const bar = progressBar(0, count);
    const words = element('p', {
      className: 'lead',
      role: 'status',
      textContent: say('end.progress', { done: 0, count }),
    });
    const stop = dialogButton(say('dialog.stop'), { onClick: () => this.#stop(stop) });
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
    const list = targetList(targets, false);
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
}

function reasonFor(outcome, answer) {
  if (outcome === 'ended' || outcome === 'back') return '';
  if (answer instanceof ApiFailure) return failureText(answer);
  return outcome === 'still' ? say('outcome.still_more') : '';
}

function remark(content) {
  return element('p', { className: 'remark' }, ...content);
}
