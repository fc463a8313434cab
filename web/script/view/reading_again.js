// What the dialogs share: reading the whole list, patiently, and saying that it could not be read.
import { readAll } from '../api/connections.js';
import { ApiFailure } from '../model/failure.js';
import { wait } from '../model/patience.js';
import { element } from './element.js';
import { failureText } from './list_state.js';
import { say } from './texts.js';

const kTries = 3;
const kPause = 2000;

// All connections, or null where they could not be read in several tries. Calls `onSessionEnd` where nobody is logged in
// any longer.
export async function readAllAgain(onSessionEnd) {
  for (let left = kTries; left > 0; left -= 1) {
    try {
      return await readAll();
    } catch (failure) {
      if (!(failure instanceof ApiFailure)) throw failure;
      if (failure.isSessionEnd) onSessionEnd();
      if (!failure.isTemporary) return null;
    }
    if (left > 1) await wait(kPause);
  }
  return null;
}

// The list could not be read before anything was done.
export function showFailedStep(dialog, failure, onSessionEnd) {
  if (!(failure instanceof ApiFailure)) throw failure;
  if (!dialog.isOpen) return;
  if (failure.isSessionEnd) {
    dialog.close();
    onSessionEnd();
    return;
  }
  dialog.step({
    title: [say('trouble.title')],
    body: [element('p', { className: 'lead', textContent: failureText(failure) })],
    buttons: [dialog.closeButton('dialog.close', true)],
  });
}
