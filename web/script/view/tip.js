// A short explanation beside the element under the pointer or with the focus: elements with data-tip.
import { byId } from './element.js';

const kGap = 8;

export function startTips() {
  document.addEventListener('pointerover', ({ target }) => follow(target));
  document.addEventListener('focusin', ({ target }) => follow(target));
  document.addEventListener('focusout', hide);
  document.addEventListener('scroll', hide, { passive: true });
  document.addEventListener('keydown', ({ key }) => key === 'Escape' && hide());
}

export function showTip(owner) {
  const tip = byId('tip');
  tip.textContent = owner.dataset.tip;
  tip.hidden = false;
  const { left, top, bottom } = owner.getBoundingClientRect();
  const { width, height } = tip.getBoundingClientRect();
  const room = document.documentElement.clientWidth;
  const fitsAbove = top - height - kGap > 0;
  tip.style.left = `${Math.max(kGap, Math.min(left, room - width - kGap))}px`;
  tip.style.top = `${fitsAbove ? top - height - kGap : bottom + kGap}px`;
}

function follow(target) {
  const owner = target.closest?.('[data-tip]');
  if (owner) showTip(owner);
  else hide();
}

function hide() {
  byId('tip').hidden = true;
}
