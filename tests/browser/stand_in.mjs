// A server that stands in for the daemon and the web server before it: serves web/ with the strictest headers that the
// page must support, and answers the API from a World that the tests define.
import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';
import { extname, join, normalize } from 'node:path';
import { fileURLToPath } from 'node:url';
import { answer } from './stand_in/api.mjs';
import { Description } from './stand_in/description.mjs';
import { World } from './stand_in/world.mjs';

// CURRENTCONN_PAGE names the page as installed, in few files; by default it is that of the checkout.
const kWeb = process.env.CURRENTCONN_PAGE ?? fileURLToPath(new URL('../../web/', import.meta.url));
const kTypes = {
  '.html': 'text/html; charset=utf-8',
  '.js': 'text/javascript',
  '.css': 'text/css',
  '.json': 'application/json',
  '.svg': 'image/svg+xml',
};

const kHeaders = {
  'Content-Security-Policy':
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; form-action 'self'; " +
    "base-uri 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'",
  'X-Content-Type-Options': 'nosniff',
  'Referrer-Policy': 'no-referrer',
  'Cache-Control': 'no-cache',
};

// Returns {url, world, complaints, reset(), close()}; `complaints` are calls and answers that violate the description.
export async function startStandIn({ port = 0 } = {}) {
  const description = await Description.load();
  const standIn = { world: new World(), complaints: [] };
  const listener = (request, response) => {
    const isApi = request.url.startsWith('/api/');
    if (standIn.world.isAway) request.socket.destroy();
    else if (isApi) serveCall(standIn, description, request, response);
    else serveFile(request, response);
  };
  const server = createServer(listener);
  await new Promise((resolve) => server.listen(port, '127.0.0.1', resolve));
  standIn.url = `http://127.0.0.1:${server.address().port}`;
  standIn.reset = () => (standIn.world = new World());
  standIn.close = () => {
    server.closeAllConnections();
    return new Promise((resolve) => server.close(resolve));
  };
  return standIn;
}

async function serveFile(request, response) {
  const path = normalize(decodeURIComponent(new URL(request.url, 'http://stand-in').pathname));
  const file = join(kWeb, path === '/' ? 'index.html' : path);
  try {
    const content = await readFile(file);
    response.writeHead(200, { ...kHeaders, 'Content-Type': kTypes[extname(file)] ?? 'application/octet-stream' });
    response.end(content);
  } catch {
    response.writeHead(404, kHeaders).end();
  }
}

async function serveCall(standIn, description, request, response) {
  const { world, complaints } = standIn;
  const url = new URL(request.url, 'http://stand-in');
  const body = await readBody(request);
  const call = { verb: request.method, path: url.pathname, query: url.searchParams, headers: request.headers, body };
  complaints.push(...description.complaintsAboutCall(call));
  const given = await answer(world, {
    ...call,
    parameters: { ...Object.fromEntries(url.searchParams), ...body },
    cookies: cookiesOf(request),
    isSameOrigin: isSameOrigin(request.headers),
    isBackground: request.headers['currentconn-background'] === '1',
    address: request.headers['x-stand-in-address'] ?? '10.20.0.2',
  });
  if (standIn.world.isAway) {
    request.socket.destroy();
    return;
  }
  const { status, type, text, headers } = written(given);
  const content = type === 'application/xxx' ? text : JSON.parse(text);
  complaints.push(
    ...description.complaintsAboutAnswer({ verb: call.verb, path: call.path, status, type, body: content }),
  );
  response.writeHead(status, { ...kHeaders, ...headers, 'Content-Type': type });
  response.end(text);
}

function isSameOrigin({ origin, host }) {
  return origin !== undefined && new URL(origin).host === host;
}

function written({ status, data, warnings, code, causes, retryAfter, file, cookie }) {
  const headers = {};
  if (cookie) headers['Set-Cookie'] = cookie;
  if (retryAfter) headers['Retry-After'] = String(retryAfter);
  if (file !== undefined) {
    headers['Content-Disposition'] = 'attachment; filename="currentlog.html"';
    return { status, type: 'application/xxx', text: file, headers };
  }
  if (status === 200) return { status, type: 'application/json', text: JSON.stringify({ data, warnings }), headers };
  const problem = { type: 'about:blank', title: 'Problem', status, detail: 'Something happened.', code };
  if (causes) problem.causes = causes;
  return { status, type: 'application/problem+json', text: JSON.stringify(problem), headers };
}

async function readBody(request) {
  let text = '';
  for await (const piece of request) text += piece;
  return text === '' ? undefined : JSON.parse(text);
}

function cookiesOf(request) {
  const pairs = (request.headers.cookie ?? '').split('; ').map((pair) => pair.split('='));
  return new Map(pairs);
}
