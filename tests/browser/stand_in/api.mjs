// The HTTP API of the stand-in: identity, request, answer. An answer is {status, data} or {status, code, causes,
// retryAfter} or {status, file}, with `cookie` where one is set.
import { randomBytes } from 'node:crypto';
import { perform, plan } from './enforcement.mjs';
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
  const caller = callerOf(world, request);
  if (caller === null) return { status: 401, code: 401 };
  if (method === 'whoami') return { status: 200, data: identity(world, caller.name, request) };
  if (method === 'logout') return logOut(world, request);
  return callMethod(world, method, caller, request);
}

async function callMethod(world, method, caller, { parameters }) {
  const { isAdmin } = world.accounts.get(caller.name);
  if (method === 'list_by_user') return given(world, listByUser(world, caller.name, parameters));
  if (!['list', 'get', 'download', 'plan', 'perform'].includes(method)) return { status: 404, code: 404 };
  if (!isAdmin) return { status: 403, code: 105 };
  if (method === 'list' || method === 'get') return given(world, list(world, parameters));
  if (method === 'download') return { status: 200, file: report(world, parameters) };
  if (method === 'plan') return given(world, plan(world, caller, parameters));
  return given(world, await perform(world, caller, parameters));
}

const given = (world, data) => ({ status: 200, data, warnings: world.warnings });

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
  const caller = world.sessions.get(cookies.get(kCookie)) ?? null;
  return caller !== null && world.accounts.get(caller.name)?.isDisabled ? null : caller;
}

function identity(world, user, { address }) {
  const { isAdmin, viewUntil } = world.accounts.get(user);
  const who = { user, isAdmin, via: 'web', address, idleMinutes: world.idleMinutes };
  return viewUntil === undefined ? who : { ...who, viewUntil };
}
