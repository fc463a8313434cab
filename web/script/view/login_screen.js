// The login form, and the reason for it.
import { logIn } from '../api/login.js';
import { ApiFailure } from '../model/failure.js';
import { byId, element, icon } from './element.js';
import { failureText } from './list_state.js';
import { showScreen } from './screens.js';
import { fillTexts, onLanguageChange, say } from './texts.js';

export class LoginScreen {
  #name = byId('login-name');
  #password = byId('login-password');
  #submit = byId('login-submit');
  #notice = null;

  // `onLogin(account)`.
  constructor({ onLogin }) {
    this.onLogin = onLogin;
    byId('login-form').addEventListener('submit', (event) => {
      event.preventDefault();
      this.#send();
    });
    byId('login-reveal').addEventListener(
      'change',
      ({ target }) => (this.#password.type = target.checked ? 'text' : 'password'),
    );
    onLanguageChange(() => this.#showNotice());
  }

  // `notice` is {kind, text}, with a function that returns the text, or null.
  enter(notice = null) {
    this.#notice = notice;
    this.#password.value = '';
    byId('login-reveal').checked = false;
    this.#password.type = 'password';
    showScreen('login');
    this.#showNotice();
    (this.#name.value === '' ? this.#name : this.#password).focus();
  }

  async #send() {
    const empty = [this.#name, this.#password].find((field) => field.value === '');
    if (empty) {
      this.#refuse(() => say('login.incomplete'), empty);
      return;
    }
    this.#setBusy(true);
    try {
      const account = await logIn(this.#name.value, this.#password.value);
      this.#password.value = '';
      this.onLogin(account);
    } catch (failure) {
      if (!(failure instanceof ApiFailure)) throw failure;
      this.#refuse(() => (failure.status === 401 ? say('login.wrong') : failureText(failure)), this.#password);
    } finally {
      this.#setBusy(false);
    }
  }

  #refuse(text, field) {
    this.#notice = { kind: 'trouble', text };
    this.#showNotice();
    field.focus();
    field.select();
  }

  #setBusy(isBusy) {
    this.#submit.setAttribute('aria-disabled', String(isBusy));
    this.#submit.firstElementChild.dataset.text = isBusy ? 'login.busy' : 'login.submit';
    fillTexts(this.#submit);
  }

  #showNotice() {
    if (this.#notice === null) {
      byId('login-notice').replaceChildren();
      return;
    }
    const { kind, text } = this.#notice;
    const symbol = { info: 'info', trouble: 'warning', good: 'check' }[kind];
    byId('login-notice').replaceChildren(
      element(
        'div',
        { className: `notice ${kind}` },
        icon(symbol),
        element('p', { className: 'notice-text', textContent: text() }),
      ),
    );
  }
}
