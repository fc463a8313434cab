// The stand-in's answers to plan and perform, from its connections and what the tests have scripted.
import { whyNotEnd } from '../../../web/script/model/connection.js';
import { endConnection, endLogins } from './world.mjs';

const kNobody = { name: null }; // the page alone refuses to end one's own login
const kNothingLeft = { processes: 0, apart: [], crontab: false, at_jobs: 0 };

export function plan(world, caller, { action, connections, users }) {
  if (action === 'kick') {
    const found = connections.map((named) => [named, find(world, named)]);
    const rows = found.map(([, row]) => row).filter(Boolean);
    const gone = found.filter(([, row]) => !row).map(([{ who, from, type, pid }]) => ({ who, from, type, pid }));
    return { ...judged(world, caller, rows), gone };
  }
  const rows = world.connections.filter(({ who }) => users.includes(who));
  const refusal = refusalOf(world, users, caller);
  return { ...judged(world, caller, rows), accounts: users.map((user) => planned(world, user)), ...refusal };
}

export async function perform(world, caller, { action, connections, users }) {
  const refusal = action === 'disable' ? refusalOf(world, users, caller) : {};
  if (refusal.refusal) {
    const accounts = users.map((user) => ({ user, disabled: false, reason: refusal.refusal }));
    return { accounts, connections: [], ...refusal };
  }
  await new Promise((resolve) => setTimeout(resolve, world.performDelay));
  if (action === 'kick') return { connections: connections.map((named) => endOne(world, named)) };
  for (const user of users) world.accounts.get(user).isDisabled = true;
  const rows = world.connections.filter(({ who }) => users.includes(who));
  return { accounts: users.map((user) => disabled(world, user)), connections: rows.map((row) => endOne(world, row)) };
}

function find(world, { who, from, type, pid }) {
  return world.connections.find(
    (row) => row.who === who && row.from === from && row.type === type && (type === 'HTTP/HTTPS' || row.pid === pid),
  );
}

function judged(world, caller, rows) {
  const ends = [];
  const stays = [];
  for (const row of rows) {
    const reason = whyNotEnd(row, kNobody)?.replace('reason.', '');
    if (reason) stays.push({ ...row, reason: { reason } });
    else ends.push({ ...row, effects: effectsOf(world, caller, row), ...filesOf(world, row) });
  }
  return { ends, stays };
}

function effectsOf(world, caller, row) {
  const isOwn = row.type === 'HTTP/HTTPS' && row.who === caller.name && row.from === caller.address;
  return [...(world.effects.get(row.pid) ?? []), ...(isOwn ? [{ reason: 'own_connection' }] : [])];
}

function filesOf(world, { pid, type }) {
  const names = type === 'CIFS' ? world.openFiles.get(pid) : undefined;
  return names ? { open_files: { total: names.length, names: names.slice(0, 20) } } : {};
}

function refusalOf(world, [user], caller) {
  const reason = world.accounts.has(user) ? user === caller.name && 'own_account' : 'unknown_account';
  const refusal = world.refusals.get(user) ?? (reason ? { reason, user } : null);
  return refusal ? { refusal } : {};
}

function planned(world, user) {
  const account = world.accounts.get(user);
  const { access, leftRunning: left_running = kNothingLeft } = world;
  return { user, exists: Boolean(account), disabled: Boolean(account?.isDisabled), access, left_running };
}

function disabled(world, user) {
  const { access, leftRunning: left_running = kNothingLeft, logins, undo } = world;
  return { user, disabled: true, access, left_running, ...logins, ...(undo ? { undo } : {}) };
}

// Ends a row, unless another result is scripted.
function endOne(world, named) {
  const row = find(world, named);
  const { who, from, type, pid } = named;
  if (!row) return { who, from, type, pid, fate: 'gone_before' };
  const scripted = world.fates.get(row.pid) ?? { fate: 'ended' };
  if (scripted.fate === 'ended' || scripted.fate === 'connected_again') {
    if (row.type === 'HTTP/HTTPS') endLogins(world, row);
    else endConnection(world, row);
  }
  if (scripted.fate !== 'connected_again') return { ...row, ...scripted };
  const now = { ...row, pid: row.pid + 1_000_000 };
  world.connections.push(now);
  return { ...row, ...scripted, now };
}
