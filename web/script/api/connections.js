// The methods of the API "ZEVO.Core.CurrentConnection".
import { filterLocally, listParameters } from '../model/query.js';
import { kickParameters } from '../model/ending.js';
import { fetchFile, post, postForAll, read } from './call.js';

const kApi = 'ZEVO.Core.CurrentConnection/1';

// One page of the list: {items, total, systime}. Administrators see all connections, others their own.
export function readPage(query, isAdmin, options) {
  return isAdmin
    ? read(`${kApi}/list`, { ...options, parameters: listParameters(query) })
    : readOwnPage(query, options);
}

// Every connection of the server, {items, warnings}; for administrators.
export async function readAll(options) {
  const { items, warnings = [] } = await read(`${kApi}/list`, options);
  return { items, warnings };
}

// Ends what is one call to model/ending.js.
export function kick(call) {
  return post(`${kApi}/kick_connection`, kickParameters(call));
}

// What the server warns of, once it is done.
export async function disableUser(name) {
  return (await postForAll(`${kApi}/disable_user`, { users: [name] })).warnings;
}

// The report, as a Blob. The method itself reports no failure, so the list is asked first.
export async function fetchReport(query) {
  const { filter, sort_by, sort_direction } = listParameters(query);
  await read(`${kApi}/list`, { parameters: { filter, limit: 1 } });
  return fetchFile(`${kApi}/download`, { filter, sort_by, sort_direction });
}

// "list_by_user" knows no filter; one's own connections are few.
async function readOwnPage(query, options) {
  const { sort_by, sort_direction, start, limit } = listParameters(query);
  const page = await read(`${kApi}/list_by_user`, { ...options, parameters: { sort_by, sort_direction } });
  const fitting = filterLocally(page.items, query.filter);
  return { ...page, total: fitting.length, items: fitting.slice(start, start + limit) };
}
