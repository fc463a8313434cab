// Runs `work` on each item, at most `width` at the same time, in order. `mayStart` is asked before each item; once it
// says no, the rest is not begun. Returns, when all that was begun has ended, how many were begun. `work` must not throw.
export async function runSideBySide(items, width, work, mayStart = () => true) {
  let next = 0;
  const lane = async () => {
    while (next < items.length && mayStart()) {
      const item = items[next];
      next += 1;
      await work(item);
    }
  };
  await Promise.all(Array.from({ length: Math.min(width, items.length) }, lane));
  return next;
}
