// The requested part of the list: filter, order and page, and its form in the address of the page.

export const kSortFields = ['who', 'type', 'from', 'time', 'descr'];
export const kPageSizes = [50, 100, 250];

export const kDefaultQuery = Object.freeze({ filter: '', sortBy: 'time', ascending: false, page: 0, pageSize: 100 });

// From "?filter=cifs&sort=who&order=asc&page=2&rows=50"; invalid values take their defaults.
export function queryFromSearch(search) {
  const values = new URLSearchParams(search);
  const sortBy = values.get('sort');
  const pageSize = Number(values.get('rows'));
  const page = Number(values.get('page'));
  return {
    filter: values.get('filter') ?? kDefaultQuery.filter,
    sortBy: kSortFields.includes(sortBy) ? sortBy : kDefaultQuery.sortBy,
    ascending: values.get('order') === 'asc',
    page: Number.isInteger(page) && page > 1 ? page - 1 : 0,
    pageSize: kPageSizes.includes(pageSize) ? pageSize : kDefaultQuery.pageSize,
  };
}

export function searchFromQuery(query) {
  const values = new URLSearchParams();
  if (query.filter !== '') values.set('filter', query.filter);
  if (query.sortBy !== kDefaultQuery.sortBy) values.set('sort', query.sortBy);
  if (query.ascending) values.set('order', 'asc');
  if (query.page > 0) values.set('page', String(query.page + 1));
  if (query.pageSize !== kDefaultQuery.pageSize) values.set('rows', String(query.pageSize));
  const search = values.toString();
  return search === '' ? '' : `?${search}`;
}

// The same column reverses the order; a new one starts with A, or with the latest time.
export function sortedBy(query, field) {
  const ascending = query.sortBy === field ? !query.ascending : field !== 'time';
  return { ...query, sortBy: field, ascending, page: 0 };
}

// The parameters of the API's listing methods.
export function listParameters(query) {
  return {
    filter: query.filter,
    sort_by: query.sortBy,
    sort_direction: query.ascending ? 'ASC' : 'DESC',
    start: query.page * query.pageSize,
    limit: query.pageSize,
  };
}

export function pageCount(total, pageSize) {
  return Math.max(1, Math.ceil(total / pageSize));
}

// The server's "filter", for lists that it does not filter itself.
export function filterLocally(connections, filter) {
  const needle = filter.toUpperCase();
  return connections.filter(({ who, from, type, descr, time }) =>
    [who, from, type, descr, time].some((text) => text.toUpperCase().includes(needle)),
  );
}
