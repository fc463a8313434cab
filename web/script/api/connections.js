// The connections of the server, and the actions on them.
import { filterLocally, listParameters } from '../model/query.js';
import { retryWhenBusy } from '../model/retry.js';
import { fetchFile, post, read } from './call.js';

const kApi = 'ZEVO.Core.CurrentConnection/1';

// One page of the list: {items, total, systime}. Administrators see all connections, others their own.
export function readPage(query, isAdmin, options) {
  return isAdmin
    ? read(`${kApi}/list`, { ...options, parameters: listParameters(query) })
    : readOwnPage(query, options);
}

// What the server would do, and the result of doing it. A task is the result of kickTask() or disableTask().
export const plan = (task) => retryWhenBusy(() => post('plan', task));
export const perform = (task) => retryWhenBusy(() => post('perform', task));

export function kickTask(connections) {
  return { action: 'kick', connections: connections.map(({ who, from, type, pid }) => ({ who, from, type, pid })) };
}

export function disableTask(user) {
  return { action: 'disable', users: [user] };
}

// The report, as a Blob. The method itself reports no failures, so the list is read first.
export async function fetchReport(query) {
  const { filter, sort_by, sort_direction } = listParameters(query);
  await read(`${kApi}/list`, { parameters: { filter, limit: 1 } });
  return fetchFile(`${kApi}/download`, { filter, sort_by, sort_direction });
}

// "list_by_user" has no filter, but a user has few connections.
async function readOwnPage(query, options) {
  const { sort_by, sort_direction, start, limit } = listParameters(query);
  const page = await read(`${kApi}/list_by_user`, { ...options, parameters: { sort_by, sort_direction } });
  const fitting = filterLocally(page.items, query.filter);
  return { ...page, total: fitting.length, items: fitting.slice(start, start + limit) };
}
