// Sentences above the list. Each has a name; a new one replaces the old one of the same name.
import { element, icon, byId } from './element.js';
import { say } from './texts.js';

// `kind` is "info", "good" or "trouble"; `actions` are buttons. Notices without `isLasting` can be closed.
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
