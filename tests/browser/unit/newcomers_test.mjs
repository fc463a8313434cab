import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Newcomers } from '../../../web/script/model/newcomers.js';
import { connection } from '../stand_in/world.mjs';

const reading = (number, facts = {}) => ({
  view: '',
  isWhole: true,
  clock: `2026-11-20 21:40:${String(5 * number).padStart(2, '0')}`,
  now: 5000 * number,
  ...facts,
});
const old = connection({ pid: 1, time: '2026-11-20 09:00:00' });
const other = connection({ pid: 2, time: '2026-11-20 10:00:00' });

test('what the first reading shows is not new', () => {
  const newcomers = new Newcomers();
  newcomers.take([old], reading(0));
  assert.equal(newcomers.isNew(old), false);
});

test('what a later reading of the whole list shows for the first time is new', () => {
  const newcomers = new Newcomers();
  newcomers.take([old], reading(0));
  newcomers.take([old, other], reading(1));
  assert.deepEqual(
    [old, other].map((row) => newcomers.isNew(row)),
    [false, true],
  );
});

test('a row is new for half a minute', () => {
  const newcomers = new Newcomers();
  newcomers.take([old], reading(0));
  newcomers.take([old, other], reading(1));
  newcomers.take([old, other], reading(6));
  assert.equal(newcomers.isNew(other), true);
  newcomers.take([old, other], reading(7));
  assert.equal(newcomers.isNew(other), false);
});

test('another filter makes nothing new', () => {
  const newcomers = new Newcomers();
  newcomers.take([old], reading(0, { view: 'cifs' }));
  newcomers.take([old, other], reading(1));
  assert.equal(newcomers.isNew(other), false);
});

test('on a page of a longer list a row that moved in from the next page is not new', () => {
  const newcomers = new Newcomers();
  newcomers.take([old], reading(0, { isWhole: false }));
  newcomers.take([other], reading(1, { isWhole: false }));
  assert.equal(newcomers.isNew(other), false);
});

test('on a page of a longer list a row that began since the last reading is new', () => {
  const newcomers = new Newcomers();
  const fresh = connection({ pid: 3, time: '2026-11-20 21:40:00' });
  newcomers.take([old], reading(0, { isWhole: false }));
  newcomers.take([fresh, old], reading(1, { isWhole: false }));
  assert.equal(newcomers.isNew(fresh), true);
});

test('a row without a start is not new on a page of a longer list', () => {
  const newcomers = new Newcomers();
  const timeless = { ...connection({ pid: 3 }), time: '' };
  newcomers.take([old], reading(0, { isWhole: false }));
  newcomers.take([timeless], reading(1, { isWhole: false }));
  assert.equal(newcomers.isNew(timeless), false);
});
