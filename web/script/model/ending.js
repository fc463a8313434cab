// Ending connections: what will be asked of the server, whom it hits, and what came of it.
import { clientOf, identityOf, isWeb, usersOf, whyNotEnd } from './connection.js';
import { mayLack } from './warning.js';

// `wanted` are the selected rows, `present` all connections as just read. Returns
//   targets  what will be ended: {row, alsoRows, alsoUsers}; alsoRows are other rows that the same process serves,
//            alsoUsers other users of it
//   gone     wanted rows that are no longer there
//   refused  wanted rows that cannot be ended: {row, reason}
export function planEnding(wanted, present, account) {
  const current = new Map(present.map((row) => [identityOf(row), row]));
  const plan = { targets: [], gone: [], refused: [] };
  for (const row of wanted) {
    const found = current.get(identityOf(row));
    const reason = found && whyNotEnd(found, account);
    if (!found) plan.gone.push(row);
    else if (reason) plan.refused.push({ row: found, reason });
    else plan.targets.push({ row: found, ...othersHit(found, present) });
  }
  return plan;
}

// The calls that end the targets, in two rounds: a call is the targets that it ends. Each row has one of its own, since
// the server checks only the first of a call against its process; logins of one user at one address end together.
// The caller's other logins come in the second round: were one the one in use, it would cut off no call to come.
export function callsFor(targets, account) {
  const byKey = new Map();
  for (const target of targets) {
    const key = isWeb(target.row) ? clientOf(target.row) : identityOf(target.row);
    byKey.set(key, [...(byKey.get(key) ?? []), target]);
  }
  const calls = [...byKey.values()];
  const isOwn = ([{ row }]) => isWeb(row) && row.who === account.name;
  return [calls.filter((call) => !isOwn(call)), calls.filter(isOwn)];
}

// What such a call asks for.
export function kickParameters([{ row }]) {
  const { pid, who, from, type } = row;
  return isWeb(row) ? { http_conn: [{ who, from }] } : { service_conn: [{ pid, who, from, type }] };
}

// What came of one target: "ended", "back" (ended, and its client is connected again), "still" (it is there as before),
// "skipped" (never asked for), "unclear" (the list could not be read, or may lack it).
// `answer` is "done", "skipped" or an ApiFailure; `before` are the rows of a whole reading, `after` is one with its
// warnings, or null where it failed.
export function outcomeOf(row, answer, before, after) {
  if (answer === 'skipped') return 'skipped';
  if (after === null) return 'unclear';
  const identity = identityOf(row);
  if (after.items.some((other) => identityOf(other) === identity)) return 'still';
  const known = new Set(before.map(identityOf));
  const client = clientOf(row);
  const isBack = after.items.some((other) => clientOf(other) === client && !known.has(identityOf(other)));
  if (mayLack(after.warnings, row)) return 'unclear';
  return isBack ? 'back' : 'ended';
}

// What disabling `name` ends: the connections of exactly that user, as targets.
export function targetsOf(name, present) {
  return present.filter((row) => row.who === name).map((row) => ({ row, ...othersHit(row, present) }));
}

// The connections that serve `name`, also those that stand in the list under another user of the same process.
export function connectionsOf(name, present) {
  return present.filter((row) => usersOf(row).includes(name));
}

function othersHit(row, present) {
  if (isWeb(row)) return { alsoRows: [], alsoUsers: [] };
  const identity = identityOf(row);
  const alsoRows = present.filter(
    (other) => other.pid === row.pid && !isWeb(other) && other.pid !== 0 && identityOf(other) !== identity,
  );
  const users = new Set([row, ...alsoRows].flatMap(usersOf));
  users.delete(row.who);
  return { alsoRows, alsoUsers: [...users] };
}
