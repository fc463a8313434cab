// Tells screen readers what changed elsewhere on the page.
import { byId } from './element.js';

export function announce(text) {
  byId('announcer').textContent = text;
}
