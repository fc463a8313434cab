// Keeps what one looks at under one's eyes while rows come and go above it.

// Runs `change` on the rows of `body`; the topmost visible row that is still there afterwards stays where it was. At the
// very top of the page new rows push the others down, since there one looks for them.
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
