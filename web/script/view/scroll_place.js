// Keeps the visible rows in place while rows above them appear and disappear.

// Runs `change` on the rows of `body`; the topmost visible row that remains keeps its position. At the very top of the
// page new rows push the others down, so that they are visible.
export function keepPlace(body, change) {
  const before = scrollY > 0 ? visibleRows(body) : [];
  change();
  const anchor = before.find(({ node }) => node.isConnected);
  if (!anchor) return;
  const moved = anchor.node.getBoundingClientRect().top - anchor.top;
  if (Math.abs(moved) >= 1) scrollBy({ top: moved, behavior: 'instant' });
}

function visibleRows(body) {
  const bottom = document.documentElement.clientHeight;
  const covered = document.querySelector('#head-row').getBoundingClientRect().bottom;
  const rows = [];
  for (const node of body.children) {
    const { top, bottom: end } = node.getBoundingClientRect();
    if (top > bottom) break;
    if (end > covered) rows.push({ node, top });
  }
  return rows;
}
