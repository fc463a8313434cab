// One connection as the API describes it: pid, time, who, from, descr, type, can_be_kicked, user_can_be_disabled.

const kEndableServices = new Set(['CIFS', 'AFP', 'FTP', 'SFTP', 'SSH', 'TELNET']);
const kWeb = 'HTTP/HTTPS';
// What the server writes where nothing tells it the user.
const kUnknownUser = 'unknown';

export const isWeb = (connection) => connection.type === kWeb;

// Two connections are the same where the server would take one for the other when it is asked to end it.
export function identityOf(connection) {
  return JSON.stringify([connection.pid, connection.who, connection.from, connection.type]);
}

// The same client with the same service, whichever process serves it.
export function clientOf(connection) {
  return JSON.stringify([connection.who, connection.from, connection.type]);
}

// Why this connection cannot be ended from here, as the key of a text, or null where it can. `account` is
// {name, address}; the address may be missing.
export function whyNotEnd(connection, account) {
  if (connection.type === 'NFS') return 'cannot_end.nfs';
  if (connection.type === 'LOGIN') return 'cannot_end.console';
  if (!connection.can_be_kicked) return 'cannot_end.other';
  if (!isWeb(connection) && !kEndableServices.has(connection.type)) return 'cannot_end.other';
  if (connection.who === '') return 'cannot.unknown_user';
  if (connection.from === '') return 'cannot_end.no_address';
  if (isWeb(connection)) return isOwnLogin(connection, account) ? 'cannot_end.own_login' : null;
  return connection.pid === 0 ? 'cannot_end.no_process' : null;
}

// Why the user of this connection cannot be disabled from here, as the key of a text, or null.
export function whyNotDisable(connection, account) {
  if (connection.who === '') return 'cannot_disable.no_user';
  if (connection.who === kUnknownUser) return 'cannot.unknown_user';
  if (connection.who === account.name) return 'cannot_disable.oneself';
  return connection.user_can_be_disabled ? null : 'cannot_disable.directory';
}

// The users that one process serves, the connection's own first. Where a process serves several, the server writes
// each one's name behind what is in use: "photos (bob), (alice)". Brackets that do not name the connection's own user
// belong to the name of a share.
export function usersOf({ who, type, descr }) {
  if (type === kWeb) return [who];
  const names = [...descr.matchAll(/(?:^| )\(([^()]+)\)(?=, |$)/g)].map(([, name]) => shownName(name));
  return names.includes(who) ? [...new Set([who, ...names])] : [who];
}

// As whom the list shows an account.
function shownName(name) {
  return name === 'root' ? 'admin' : name;
}

function isOwnLogin(connection, account) {
  return connection.who === account.name && connection.from === account.address;
}
