// One connection as the API describes it: pid, time, who, from, descr, type, can_be_kicked, user_can_be_disabled.

const kWeb = 'HTTP/HTTPS';
// What the server writes if the user is not known.
const kUnknownUser = 'unknown';

export const isWeb = (connection) => connection.type === kWeb;

// Two connections are the same if the server could not distinguish them when asked to end one.
export function identityOf(connection) {
  return JSON.stringify([connection.pid, connection.who, connection.from, connection.type]);
}

// Why this connection cannot be ended, as the key of a text, or null if it can: the reason that a plan would give,
// besides one's own login, which the page ends by logging out. `account` is {name, address}; the address may be missing.
export function whyNotEnd(connection, account) {
  if (!connection.can_be_kicked) return 'reason.no_process';
  if (connection.type === 'LOGIN') return 'reason.console';
  if (connection.type === 'UNKNOWN') return 'reason.unknown_service';
  if (connection.pid === 0 && !isWeb(connection)) return 'reason.unknown_process';
  if (connection.who === '') return 'reason.unknown_user';
  if (connection.from === '') return 'reason.unknown_address';
  return isWeb(connection) && isOwnLogin(connection, account) ? 'cannot_end.own_login' : null;
}

// Why the user of this connection cannot be disabled, as the key of a text, or null.
export function whyNotDisable(connection, account) {
  if (connection.who === '') return 'cannot_disable.no_user';
  if (connection.who === kUnknownUser) return 'reason.unknown_user';
  if (connection.who === account.name) return 'reason.own_account';
  return connection.user_can_be_disabled ? null : 'reason.directory_account';
}

function isOwnLogin(connection, account) {
  return connection.who === account.name && connection.from === account.address;
}
