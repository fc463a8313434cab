// The listing methods like the module's: filter, order, page.

const kSortFields = ['time', 'who', 'from', 'descr', 'type'];

export function list(world, { filter = '', ...page }) {
  const needle = filter.toUpperCase();
  const isFitting = ({ who, from, type, descr, time }) =>
    [who, from, type, descr, time].some((text) => text.toUpperCase().includes(needle));
  return cut(world, world.connections.filter(isFitting), page);
}

export function listByUser(world, name, page) {
  const own = world.connections.filter(({ who }) => who.toUpperCase() === name.toUpperCase());
  return cut(world, own, page);
}

export function report(world, { filter = '' }) {
  const { items } = list(world, { filter });
  const rows = items.map(({ who, type }) => `<tr><td>${who}</td><td>${type}</td></tr>`).join('');
  return `<html><body><table border=1>${rows}</table></body></html>`;
}

function cut(world, rows, { sort_by = 'time', sort_direction = 'DESC', start = 0, limit = -1 }) {
  const field = kSortFields.includes(sort_by) ? sort_by : 'time';
  const sign = sort_direction.toUpperCase() === 'ASC' ? 1 : -1;
  const sorted = [...rows].sort((a, b) => sign * (a[field] < b[field] ? -1 : a[field] > b[field] ? 1 : 0));
  const length = Number(limit) > 0 ? Number(limit) : sorted.length;
  const items = sorted.slice(Number(start), Number(start) + length);
  return { items, systime: world.systime, total: sorted.length };
}
