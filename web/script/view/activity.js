// Whether the page was used since the last query: the next refresh then counts as activity.

let hasActed = false;

export function watchActivity() {
  for (const type of ['pointerdown', 'keydown', 'wheel', 'touchmove']) {
    document.addEventListener(type, () => (hasActed = true), { passive: true, capture: true });
  }
}

export function takeActivity() {
  const acted = hasActed;
  hasActed = false;
  return acted;
}
