// Calls of the HTTP API. Every function in this directory returns a promise that fails with an ApiFailure, or with the
// AbortError of the caller's signal.
import { ApiFailure } from '../model/failure.js';

const kBase = new URL('api/', document.baseURI);
const kReadTimeout = 30_000;
// The server ends a call after 180 seconds and reports it.
const kWorkTimeout = 200_000;

// A read, with `warnings` about what is missing. `isBackground` marks an automatic one, which does not count as
// activity.
export async function read(path, { parameters = {}, signal, isBackground = false } = {}) {
  const url = new URL(path, kBase);
  for (const [name, value] of Object.entries(parameters)) {
    if (value !== '') url.searchParams.set(name, String(value));
  }
  const headers = isBackground ? { 'Currentconn-Background': '1' } : {};
  return dataOf(await send(url, { headers }, kReadTimeout, signal));
}

// A call with a body; the result has `warnings` too.
export async function post(path, body) {
  const headers = { 'Content-Type': 'application/json' };
  const options = { method: 'POST', headers, body: JSON.stringify(body) };
  return dataOf(await send(new URL(path, kBase), options, kWorkTimeout));
}

// A file, as a Blob.
export async function fetchFile(path, parameters) {
  const url = new URL(path, kBase);
  for (const [name, value] of Object.entries(parameters)) url.searchParams.set(name, String(value));
  const response = await send(url, {}, kReadTimeout);
  return interrupted(() => response.blob());
}

async function send(url, options, timeout, signal) {
  const timer = AbortSignal.timeout(timeout);
  const signals = signal ? [signal, timer] : [timer];
  let response;
  try {
    response = await fetch(url, {
      ...options,
      signal: AbortSignal.any(signals),
      cache: 'no-store',
      credentials: 'same-origin',
      redirect: 'error',
    });
  } catch (error) {
    throw failureOf(error);
  }
  if (!response.ok) throw await problemOf(response);
  return response;
}

async function dataOf(response) {
  const answer = await interrupted(() => response.json());
  if (answer === null || typeof answer !== 'object' || !('data' in answer)) {
    throw new ApiFailure('answer', { status: response.status });
  }
  const { data, warnings } = answer;
  return Array.isArray(warnings) ? { ...data, warnings } : data;
}

// A proxy may answer with its own page.
async function problemOf(response) {
  const problem = await response.json().catch(() => null);
  return new ApiFailure('answer', {
    status: response.status,
    code: Number.isInteger(problem?.code) ? problem.code : 0,
    causes: Array.isArray(problem?.causes) ? problem.causes.map(String) : [],
    retryAfter: Number(response.headers.get('Retry-After')) || 0,
  });
}

// A connection may also break in the middle of an answer.
async function interrupted(readBody) {
  try {
    return await readBody();
  } catch (error) {
    throw failureOf(error);
  }
}

function failureOf(error) {
  if (error.name === 'AbortError') return error;
  return new ApiFailure(error.name === 'TimeoutError' ? 'slow' : 'away');
}
