// Who is logged in. An account is {name, isAdmin, isView, address, idleMinutes}; a view login may only list.
import { post, read } from './call.js';

const kLoginLink = /^#login=([A-Za-z0-9_-]{43})$/;

export async function whoAmI() {
  return accountOf(await read('whoami'));
}

export async function logIn(name, password) {
  return accountOf(await post('login', { name, password }));
}

// With the token of a single-use login link.
export async function redeem(token) {
  return accountOf(await post('login', { token }));
}

export function logOut() {
  return post('logout', {});
}

// The token of the login link that led here, or null. It is removed from the address, so that neither the history nor a
// bookmark contains it.
export function takeLinkToken() {
  const match = kLoginLink.exec(location.hash);
  if (!match) return null;
  history.replaceState(null, '', location.pathname + location.search);
  return match[1];
}

function accountOf({ user, isAdmin, viewUntil, address = '', idleMinutes }) {
  return { name: user, isAdmin, isView: viewUntil !== undefined, address, idleMinutes };
}
