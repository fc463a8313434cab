// Ending connections: what will be asked of the server, whom it hits, and what came of it.
import { clientOf, identityOf, isWeb, usersOf, whyNotEnd } from './connection.js';

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

// The calls that end the targets: each service row in one of its own, since the server checks only the first of a call
// against its process; all web logins together.
export function callsFor(targets) {
  const services = targets.filter(({ row }) => !isWeb(row)).map((target) => [target]);
  const logins = targets.filter(({ row }) => isWeb(row));
  return logins.length > 0 ? [...services, logins] : services;
}

// The parameters of one such call.
export function kickParameters(targets) {
  if (isWeb(targets[0].row)) {
    return { http_conn: targets.map(({ row: { who, from } }) => ({ who, from })) };
  }
  return { service_conn: targets.map(({ row: { pid, who, from, type } }) => ({ pid, who, from, type })) };
}

// What came of one target: "ended", "back" (ended, and its client is connected again), "still" (it is there as before),
// "failed" (the same, and the server said why), "skipped" (never asked for), "unclear" (the list could not be read).
// `answer` is "done", "skipped" or an ApiFailure; `before` and `after` are whole readings, `after` null where it failed.
export function outcomeOf(row, answer, before, after) {
  if (answer === 'skipped') return 'skipped';
  if (after === null) return 'unclear';
  const identity = identityOf(row);
  if (after.some((other) => identityOf(other) === identity)) return answer === 'done' ? 'still' : 'failed';
  const known = new Set(before.map(identityOf));
  const client = clientOf(row);
  const isBack = after.some((other) => clientOf(other) === client && !known.has(identityOf(other)));
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
