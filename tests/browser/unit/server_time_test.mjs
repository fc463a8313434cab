import assert from 'node:assert/strict';
import { test } from 'node:test';
import {
  formatSpan,
  formatStart,
  parseClock,
  parseStart,
  splitSpan,
  startText,
} from '../../../web/script/model/server_time.js';

const kMinute = 60_000;

test('start and clock of the server meet on one scale', () => {
  assert.equal(parseClock('Fri Nov 20 21:26:24 2026\n'), parseStart('2026-11-20 21:26:24'));
  assert.equal(parseClock('Sun Nov  1 01:02:03 2026\n'), parseStart('2026-11-01 01:02:03'));
});

test('a clock can be written as a start', () => {
  assert.equal(startText(parseClock('Fri Nov 20 21:26:24 2026\n')), '2026-11-20 21:26:24');
});

test('what is no time is none', () => {
  for (const text of ['', 'yesterday', '2026-11-20', '2026-11-20T21:26:24']) assert.equal(parseStart(text), null, text);
  for (const text of ['', 'Fri Foo 20 21:26:24 2026']) assert.equal(parseClock(text), null, text);
});

test('a span is said in its two greatest units', () => {
  assert.deepEqual(splitSpan(0), [[0, 'second']]);
  assert.deepEqual(splitSpan(59_000), [[59, 'second']]);
  assert.deepEqual(splitSpan(61_000), [[1, 'minute']]);
  assert.deepEqual(splitSpan(134 * kMinute), [
    [2, 'hour'],
    [14, 'minute'],
  ]);
  assert.deepEqual(splitSpan(2 * 1440 * kMinute), [[2, 'day']]);
  assert.deepEqual(splitSpan(-1), []);
});

test('spans are written as each language writes them', () => {
  assert.equal(formatSpan(134 * kMinute, 'en'), '2 hr 14 min');
  assert.equal(formatSpan(134 * kMinute, 'ja'), '2 時間 14 分');
});

test('a start of today has no date, one of another day has', () => {
  const now = parseStart('2026-11-20 21:40:00');
  assert.equal(formatStart(parseStart('2026-11-20 00:00:01'), now, 'en'), '00:00:01');
  assert.equal(formatStart(parseStart('2026-11-19 23:59:59'), now, 'en'), 'Nov 19, 23:59');
});
