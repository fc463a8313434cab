// The one dialog of the page, as steps: each has a title, a body and buttons.
import { byId, element } from './element.js';
import { say } from './texts.js';

export class Dialog {
  #node = byId('dialog');
  #mayClose = true;

  constructor() {
    this.#node.addEventListener('cancel', (event) => {
      if (!this.#mayClose) event.preventDefault();
    });
  }

  get isOpen() {
    return this.#node.open;
  }

  // Resolves when it is closed.
  open() {
    if (!this.#node.open) this.#node.showModal();
    return new Promise((resolve) => this.#node.addEventListener('close', resolve, { once: true }));
  }

  close() {
    this.#node.close();
  }

  // `body` and `buttons` are nodes; `mayClose` says whether the escape key closes the dialog. The focus moves to the
  // button with `autofocus`, or to the title.
  step({ title, body, buttons, mayClose = true }) {
    this.#mayClose = mayClose;
    const heading = element('h2', { id: 'dialog-title', tabIndex: -1 }, ...title);
    this.#node.replaceChildren(
      element('header', {}, heading),
      element('div', { className: 'dialog-body', tabIndex: 0, role: 'group', aria: { labelledby: 'dialog-title' } }, ...body),
      element('footer', {}, ...buttons),
    );
    (this.#node.querySelector('[data-first]') ?? heading).focus();
  }

  checking() {
    this.step({
      title: [say('dialog.checking')],
      body: [progressBar()],
      buttons: [this.closeButton('dialog.cancel', true)],
    });
  }

  closeButton(textKey, isFirst = false) {
    return dialogButton(say(textKey), { isFirst, onClick: () => this.close() });
  }
}

export function dialogButton(text, { kind = '', isFirst = false, onClick }) {
  const button = element('button', { className: `button ${kind}`, textContent: text, on: { click: onClick } });
  if (isFirst) button.dataset.first = '';
  return button;
}

// Work is in progress.
export function progressBar() {
  return element('progress', { aria: { label: say('page.loading') } });
}
