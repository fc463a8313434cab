// Runs before the first paint, so that the page does not flash in the wrong appearance.
(() => {
  try {
    const appearance = localStorage.getItem('currentconn.appearance');
    if (appearance === 'light' || appearance === 'dark') document.documentElement.dataset.appearance = appearance;
  } catch {
    // Storage may be blocked; then the system's appearance is used.
  }
})();
