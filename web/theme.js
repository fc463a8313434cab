// Runs before the first paint, so that the page does not flash in the other appearance.
(() => {
  try {
    const appearance = localStorage.getItem('currentconn.appearance');
    if (appearance === 'light' || appearance === 'dark') document.documentElement.dataset.appearance = appearance;
  } catch {
    // Storage may be forbidden; the system's appearance serves.
  }
})();
