// Sentences above the list. Each has a name, and a new one of a name takes the place of the old one.
import { element, icon, byId } from './element.js';
import { say } from './texts.js';

// `kind` is "info", "good" or "trouble"; `actions` are buttons. One without `isLasting` can be closed by hand.
export function showNotice(name, { kind, content, actions = [], isLasting = false }) {
  const symbols = { info: 'info', good: 'check', trouble: 'warning' };
  const text = element('div', { className: 'notice-text' }, ...content);
  const notice = element(
    'div',
    { className: `notice ${kind}`, data: { name }, role: kind === 'trouble' ? 'alert' : 'status' },
    icon(symbols[kind]),
    text,
    ...actions,
  );
  if (!isLasting) notice.append(closeButton(() => notice.remove()));
  const old = find(name);
  if (old?.textContent === notice.textContent) return;
  if (old) old.replaceWith(notice);
  else byId('notices').append(notice);
}

export function dropNotice(name) {
  find(name)?.remove();
}

export function dropNotices() {
  byId('notices').replaceChildren();
}

function find(name) {
  return byId('notices').querySelector(`[data-name="${name}"]`);
}

function closeButton(close) {
  const button = element('button', { className: 'icon-button', aria: { label: say('dialog.close') } }, icon('cross'));
  button.addEventListener('click', close);
  return button;
}
