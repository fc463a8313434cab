import assert from 'node:assert/strict';
import { test } from 'node:test';
import {
  filterLocally,
  kDefaultQuery,
  listParameters,
  pageCount,
  queryFromSearch,
  searchFromQuery,
  sortedBy,
} from '../../../web/script/model/query.js';
import { pagesToOffer } from '../../../web/script/model/pages.js';
import { connection } from '../stand_in/world.mjs';

test('a query survives being written into the address', () => {
  const query = { filter: 'a&b=c ü', sortBy: 'who', ascending: true, page: 3, pageSize: 250 };
  assert.deepEqual(queryFromSearch(searchFromQuery(query)), query);
});

test('the usual query leaves no trace in the address', () => {
  assert.equal(searchFromQuery(kDefaultQuery), '');
  assert.deepEqual(queryFromSearch(''), { ...kDefaultQuery });
});

test('an address that makes no sense gives the usual query', () => {
  const search = '?sort=password&order=up&page=-4&rows=7000000';
  assert.deepEqual(queryFromSearch(search), { ...kDefaultQuery });
});

test('sorting by the same column turns the order round', () => {
  const once = sortedBy({ ...kDefaultQuery, page: 4 }, 'who');
  assert.deepEqual([once.sortBy, once.ascending, once.page], ['who', true, 0]);
  assert.equal(sortedBy(once, 'who').ascending, false);
});

test('times start with the latest, also when another column was sorted by before', () => {
  assert.equal(sortedBy({ ...kDefaultQuery, sortBy: 'who', ascending: true }, 'time').ascending, false);
});

test('the parameters of the API follow from the query', () => {
  assert.deepEqual(listParameters({ filter: 'x', sortBy: 'from', ascending: true, page: 2, pageSize: 50 }), {
    filter: 'x',
    sort_by: 'from',
    sort_direction: 'ASC',
    start: 100,
    limit: 50,
  });
});

test('an empty list has one page', () => {
  assert.deepEqual(
    [0, 1, 100, 101].map((total) => pageCount(total, 100)),
    [1, 1, 1, 2],
  );
});

test('one filters as the server does: any letter case, any of the five texts, never the process', () => {
  const row = connection({ pid: 4711, who: 'Alice', from: '10.20.0.7', descr: 'Größe', time: '2026-11-20 21:26:24' });
  const isFound = (filter) => filterLocally([row], filter).length === 1;
  assert.deepEqual(['aLICE', '0.7', 'cifs', 'GRÖSSE', '21:26', ''].map(isFound), Array(6).fill(true));
  assert.deepEqual(['4711', 'bob'].map(isFound), [false, false]);
});

test('few pages are all offered, of many the ends and the neighbours', () => {
  assert.deepEqual(pagesToOffer(0, 1), [0]);
  assert.deepEqual(pagesToOffer(1, 4), [0, 1, 2, 3]);
  assert.deepEqual(pagesToOffer(0, 9), [0, 1, null, 8]);
  assert.deepEqual(pagesToOffer(3, 9), [0, 1, 2, 3, 4, null, 8]);
  assert.deepEqual(pagesToOffer(50, 100), [0, null, 49, 50, 51, null, 99]);
});
