// Whether somebody has used the page since it was last asked: a refresh in between then counts as their activity.

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
