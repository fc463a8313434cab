// The HTTP API of the stand-in: who is asking, what is asked, one answer. An answer is {status, data} or
// {status, code, causes, retryAfter} or {status, file}, with `cookie` where one is set.
import { randomBytes } from 'node:crypto';
import { list, listByUser, report } from './listing.mjs';

const kPrefix = '/api/ZEVO.Core.CurrentConnection/1/';
const kCookie = 'currentconn';

// `request` is {verb, path, parameters, cookies, isSameOrigin, isBackground, address}.
export async function answer(world, request) {
  const method = request.path.startsWith(kPrefix)
    ? request.path.slice(kPrefix.length)
    : request.path.replace('/api/', '');
  world.calls.push({ method, parameters: request.parameters, isBackground: request.isBackground, at: performance.now() });
  await new Promise((resolve) => setTimeout(resolve, world.delays.get(method) ?? 0));
  const scripted = world.failures.get(method)?.(request) ?? null;
  if (scripted) return scripted;
  if (request.verb === 'POST' && !request.isSameOrigin) return { status: 403, code: 403 };
  if (method === 'login') return logIn(world, request);
  const name = callerOf(world, request);
  if (name === null) return { status: 401, code: 401 };
  if (method === 'whoami') return { status: 200, data: identity(world, name, request) };
  if (method === 'logout') return logOut(world, request);
  return callMethod(world, method, name, request);
}

async function callMethod(world, method, name, { verb, parameters }) {
  const isAdmin = world.accounts.get(name).isAdmin;
  const { warnings } = world;
  if (method === 'list_by_user') return { status: 200, data: listByUser(world, name, parameters), warnings };
  if (!['list', 'get', 'download', 'kick_connection', 'disable_user'].includes(method))
    return { status: 404, code: 404 };
  if (['kick_connection', 'disable_user'].includes(method) && verb !== 'POST') return { status: 405, code: 405 };
  if (!isAdmin) return { status: 403, code: 105 };
  if (method === 'list' || method === 'get') return { status: 200, data: list(world, parameters), warnings };
  if (method === 'download') return { status: 200, file: report(world, parameters) };
  if (method === 'kick_connection') {
    await world.kick(parameters);
    return { status: 200, data: null };
  }
  return (await world.disable(parameters.users, name)) ?? { status: 200, data: null, warnings: world.disablingWarnings };
}

function logIn(world, request) {
  const { name, password, token } = request.parameters;
  const user = token === undefined ? name : world.links.get(token);
  world.links.delete(token);
  const account = world.accounts.get(user);
  const isRight = account && !account.isDisabled && (token !== undefined || account.password === password);
  if (!isRight) return { status: 401, code: 401 };
  const cookie = randomBytes(32).toString('base64url');
  world.sessions.set(cookie, { name: user, address: request.address });
  return {
    status: 200,
    data: identity(world, user, request),
    cookie: `${kCookie}=${cookie}; HttpOnly; SameSite=Strict; Path=/`,
  };
}

function logOut(world, { cookies }) {
  world.sessions.delete(cookies.get(kCookie));
  return { status: 200, data: null, cookie: `${kCookie}=; Max-Age=0; Path=/` };
}

function callerOf(world, { cookies }) {
  const name = world.sessions.get(cookies.get(kCookie))?.name ?? null;
  return name !== null && world.accounts.get(name)?.isDisabled ? null : name;
}

function identity(world, user, { address }) {
  const { isAdmin, viewUntil } = world.accounts.get(user);
  const who = { user, isAdmin, via: 'web', address, idleMinutes: world.idleMinutes };
  return viewUntil === undefined ? who : { ...who, viewUntil };
}
