// Starts the page: loads the texts, identifies the user, then shows the list or the login.
import { logOut, redeem, takeLinkToken, whoAmI } from './api/login.js';
import { ApiFailure } from './model/failure.js';
import { watchActivity } from './view/activity.js';
import { ConnectionsScreen } from './view/connections_screen.js';
import { byId, setText } from './view/element.js';
import { failureText, troubleTexts } from './view/list_state.js';
import { LoginScreen } from './view/login_screen.js';
import { showNotice } from './view/notices.js';
import { placePreferences } from './view/preferences.js';
import { showScreen } from './view/screens.js';
import { loadTexts, onLanguageChange, say, sayNodes } from './view/texts.js';
import { startTips } from './view/tip.js';

const kRetry = 5000;

let account = null;
let login = null;
let connections = null;

// Before anything can fail: the token must not stay in the address.
const firstToken = takeLinkToken();

loadTexts().then(start, () => {
  byId('boot').hidden = true;
  byId('boot-failure').hidden = false;
});

function start() {
  placePreferences();
  startTips();
  watchActivity();
  for (const place of document.querySelectorAll('[data-server]')) place.textContent = location.hostname;
  login = new LoginScreen({ onLogin: (who) => enter(who) });
  connections = new ConnectionsScreen({ onSessionEnd: sessionEnded, onRightsLost: lookAgain });
  byId('log-out').addEventListener('click', leave);
  byId('away-retry').addEventListener('click', identify);
  onLanguageChange(showAccount);
  addEventListener('hashchange', () => enterByLink(takeLinkToken()));
  if (firstToken === null) identify();
  else enterByLink(firstToken);
}

async function enterByLink(token) {
  if (token === null) return;
  if (account !== null) forget();
  try {
    enter(await redeem(token));
    showNotice('link', { kind: 'good', content: sayNodes('login.by_link', { user: account.name }) });
  } catch (failure) {
    if (!(failure instanceof ApiFailure)) throw failure;
    login.enter({
      kind: 'trouble',
      text: () => (failure.status === 401 ? say('login.link_wrong') : failureText(failure)),
    });
  }
}

async function identify() {
  clearTimeout(identify.timer);
  try {
    enter(await whoAmI());
  } catch (failure) {
    if (!(failure instanceof ApiFailure)) throw failure;
    if (failure.isSessionEnd) {
      login.enter();
      return;
    }
    const [title, more] = troubleTexts(failure);
    setText(byId('away-title'), title);
    setText(byId('away-more'), more);
    showScreen('away');
    identify.timer = setTimeout(identify, Math.max(kRetry, failure.retryAfter * 1000));
  }
}

function enter(who) {
  clearTimeout(identify.timer);
  account = who;
  showAccount();
  connections.enter(account);
}

function showAccount() {
  if (account === null) return;
  setText(byId('account-name'), account.name);
  setText(byId('account-panel-name'), account.name);
  setText(byId('account-initial'), [...account.name][0].toUpperCase());
  const role = account.isView ? 'account.view' : account.isAdmin ? 'account.admin' : 'account.plain';
  setText(byId('account-role'), say(role));
  byId('log-out').hidden = account.isView;
}

// Several calls may notice this at once.
function sessionEnded() {
  if (account === null) return;
  const { isView, idleMinutes: count } = account;
  forget();
  login.enter({ kind: 'info', text: () => (isView ? say('login.view_ended') : say('login.session_ended', { count })) });
}

// The rights of an account may change while the page is open.
function lookAgain() {
  forget();
  identify();
}

// Only the server can remove the cookie: until it has answered, the user is still logged in.
async function leave() {
  byId('account-panel').hidePopover();
  try {
    await logOut();
  } catch (failure) {
    if (!(failure instanceof ApiFailure)) throw failure;
    if (!failure.isSessionEnd) {
      showNotice('log-out', { kind: 'trouble', content: [failureText(failure)] });
      return;
    }
  }
  forget();
  history.replaceState(null, '', location.pathname);
  login.enter({ kind: 'good', text: () => say('login.logged_out') });
}

function forget() {
  account = null;
  connections.leave();
}
