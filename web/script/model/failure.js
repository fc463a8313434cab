// Why a call of the API did not succeed.

// A longer Retry-After, in seconds, is not meant for a waiting user.
const kMostRetryAfter = 30;

export class ApiFailure extends Error {
  // `kind` is "away" (no answer), "slow" (none in time) or "answer"; an answer has `status`, and `code` if the server
  // sent one; `causes` are the server's messages for administrators; `retryAfter` is in seconds, 0 if the server sent
  // none.
  constructor(kind, { status = 0, code = 0, causes = [], retryAfter = 0 } = {}) {
    super(`${kind} ${status} ${code}`);
    this.kind = kind;
    this.status = status;
    this.code = code;
    this.causes = causes;
    this.retryAfter = Math.min(kMostRetryAfter, retryAfter);
  }

  get isSessionEnd() {
    return this.status === 401;
  }

  // The server or a proxy is overloaded or not ready: nothing was done.
  get isBusy() {
    return [429, 503].includes(this.status);
  }

  // The server or a proxy will respond again without intervention.
  get isTemporary() {
    return this.kind !== 'answer' || this.isBusy || [502, 504].includes(this.status);
  }
}

const kByCode = new Map([
  [105, 'failure.not_admin'],
  [117, 'failure.server_fault'],
]);

const kByStatus = new Map([
  [401, 'failure.session_ended'],
  [403, 'failure.refused'],
  [502, 'failure.away'],
  [504, 'failure.slow'],
]);

// The key of its text.
export function sentenceOf(failure) {
  if (failure.kind === 'away') return 'failure.away';
  if (failure.kind === 'slow') return 'failure.slow';
  if (failure.isBusy) return 'failure.busy';
  return kByCode.get(failure.code) ?? kByStatus.get(failure.status) ?? 'failure.unexpected';
}
