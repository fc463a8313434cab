// What the page stores in this browser: only language and appearance. Storage may be blocked.

export function recall(key) {
  try {
    return localStorage.getItem(key);
  } catch {
    return null;
  }
}

// `value` null removes it.
export function remember(key, value) {
  try {
    if (value === null) localStorage.removeItem(key);
    else localStorage.setItem(key, value);
  } catch {
    // It is kept until the page is closed.
  }
}
