// What the page remembers in this browser: language and appearance, nothing else. Storage may be forbidden.

export function recall(key) {
  try {
    return localStorage.getItem(key);
  } catch {
    return null;
  }
}

// `value` null forgets it.
export function remember(key, value) {
  try {
    if (value === null) localStorage.removeItem(key);
    else localStorage.setItem(key, value);
  } catch {
    // It serves until the page is closed.
  }
}
