// Why a call of the API did not succeed.

// A web server that names more, in seconds, does not expect somebody who sits and waits.
const kMostRetryAfter = 30;

export class ApiFailure extends Error {
  // `kind` is "away" (no answer), "slow" (none in time) or "answer"; an answer has `status`, and `code` where the
  // server gave one; `causes` are the server's own words, for administrators; `retryAfter` is in seconds, 0 where the
  // server named none.
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

  // The server, or what stands before it, has too much to do or cannot begin yet: nothing was done.
  get isBusy() {
    return [429, 503].includes(this.status);
  }

  // The server, or what stands before it, will answer again by itself.
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

// The key of the sentence that says it.
export function sentenceOf(failure) {
  if (failure.kind === 'away') return 'failure.away';
  if (failure.kind === 'slow') return 'failure.slow';
  if (failure.isBusy) return 'failure.busy';
  return kByCode.get(failure.code) ?? kByStatus.get(failure.status) ?? 'failure.unexpected';
}
