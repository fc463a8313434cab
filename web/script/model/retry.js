// Calls again where the server was too busy to begin: it says so before it has done anything.
import { ApiFailure } from './failure.js';

const kTries = 8;

// `pause(milliseconds)` waits. Fails with the last failure where the server stays busy, with any other at once.
export async function retryWhenBusy(call, pause = wait) {
  for (let left = kTries; ; left -= 1) {
    try {
      return await call();
    } catch (error) {
      if (!(error instanceof ApiFailure) || !error.isBusy || left <= 1) throw error;
      await pause(1000 * Math.max(1, error.retryAfter));
    }
  }
}

function wait(milliseconds) {
  return new Promise((resolve) => setTimeout(resolve, milliseconds));
}
