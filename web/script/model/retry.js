// Repeats a call if the server was too busy to begin; it reports this before it does anything.
import { ApiFailure } from './failure.js';

const kTries = 8;

// `pause(milliseconds)` waits. Fails with the last failure if the server remains busy, with any other failure at once.
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
