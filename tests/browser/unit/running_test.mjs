import assert from 'node:assert/strict';
import { test } from 'node:test';
import { ApiFailure, sentenceOf } from '../../../web/script/model/failure.js';
import { Refresher } from '../../../web/script/model/refresher.js';
import { retryWhenBusy } from '../../../web/script/model/retry.js';
import { coverage, Selection } from '../../../web/script/model/selection.js';
import { connection } from '../stand_in/world.mjs';
import { FakeClock } from './fake_clock.mjs';

const settle = () => new Promise((resolve) => setImmediate(resolve));

const busy = new ApiFailure('answer', { status: 503, code: 503, retryAfter: 3 });

test('a call that the server was too busy for is made again after the time it named', async () => {
  const pauses = [];
  const answers = [busy, new ApiFailure('answer', { status: 429, retryAfter: 3 })];
  const call = async () => {
    if (answers.length > 0) throw answers.pop();
    return 'done';
  };
  assert.equal(await retryWhenBusy(call, async (time) => pauses.push(time)), 'done');
  assert.deepEqual(pauses, [3000, 3000]);
});

test('where no time is named it is a second, and never more than half a minute', async () => {
  const pauses = [];
  const answers = [0, 86_400].map((retryAfter) => new ApiFailure('answer', { status: 429, retryAfter }));
  const call = async () => {
    if (answers.length > 0) throw answers.shift();
  };
  await retryWhenBusy(call, async (time) => pauses.push(time));
  assert.deepEqual(pauses, [1000, 30_000]);
});

test('a server that stays busy is not asked for ever', async () => {
  let calls = 0;
  const call = async () => {
    calls += 1;
    throw busy;
  };
  await assert.rejects(
    retryWhenBusy(call, async () => {}),
    busy,
  );
  assert.equal(calls, 8);
});

test('a call that may have begun is not made again', async () => {
  let calls = 0;
  const call = async () => {
    calls += 1;
    throw new ApiFailure('away');
  };
  await assert.rejects(retryWhenBusy(call, assert.fail), ApiFailure);
  assert.equal(calls, 1);
});

test('every failure has its sentence', () => {
  const sentences = [
    [new ApiFailure('away'), 'failure.away'],
    [new ApiFailure('slow'), 'failure.slow'],
    [new ApiFailure('answer', { status: 403, code: 105 }), 'failure.not_admin'],
    [new ApiFailure('answer', { status: 403, code: 403 }), 'failure.refused'],
    [new ApiFailure('answer', { status: 500, code: 117 }), 'failure.server_fault'],
    [new ApiFailure('answer', { status: 401, code: 401 }), 'failure.session_ended'],
    [new ApiFailure('answer', { status: 503, code: 503 }), 'failure.busy'],
    [new ApiFailure('answer', { status: 429 }), 'failure.busy'],
    [new ApiFailure('answer', { status: 504, code: 504 }), 'failure.slow'],
    [new ApiFailure('answer', { status: 502 }), 'failure.away'],
    [new ApiFailure('answer', { status: 418 }), 'failure.unexpected'],
  ];
  for (const [failure, sentence] of sentences) assert.equal(sentenceOf(failure), sentence, failure.message);
});

// A refresher whose reads end on command.
function scriptedRefresher() {
  const readings = [];
  const read = (signal, isAutomatic) =>
    new Promise((resolve) => readings.push({ signal, isAutomatic, end: (wait = 0) => resolve(wait) }));
  return { clock: new FakeClock(), readings, refresher: new Refresher(read, 5000) };
}

async function endAndWait(clock, reading, time, wait) {
  reading.end(wait);
  await settle();
  clock.tick(time);
  await settle();
}

test('the next reading begins its interval after the one before has ended', async () => {
  const { clock, readings, refresher } = scriptedRefresher();
  refresher.start();
  clock.tick(60_000);
  assert.equal(readings.length, 1);
  await endAndWait(clock, readings[0], 4999);
  assert.equal(readings.length, 1);
  clock.tick(1);
  assert.equal(readings.length, 2);
  clock.reset();
});

test('a reading that asks for more time gets it', async () => {
  const { clock, readings, refresher } = scriptedRefresher();
  refresher.start();
  await endAndWait(clock, readings[0], 29_999, 30_000);
  assert.equal(readings.length, 1);
  clock.tick(1);
  assert.equal(readings.length, 2);
  clock.reset();
});

test('reading now takes the place of a reading under way and is not automatic', async () => {
  const { clock, readings, refresher } = scriptedRefresher();
  refresher.start();
  refresher.now();
  assert.deepEqual(
    readings.map(({ signal, isAutomatic }) => [signal.aborted, isAutomatic]),
    [
      [true, true],
      [false, false],
    ],
  );
  await endAndWait(clock, readings[0], 5000);
  assert.equal(readings.length, 2);
  await endAndWait(clock, readings[1], 5000);
  assert.equal(readings.length, 3);
  clock.reset();
});

test('a paused one reads when it is asked to and pauses again', async () => {
  const { clock, readings, refresher } = scriptedRefresher();
  refresher.start();
  await endAndWait(clock, readings[0], 0);
  refresher.pause();
  clock.tick(60_000);
  assert.equal(readings.length, 1);
  refresher.now();
  await endAndWait(clock, readings[1], 60_000);
  assert.equal(readings.length, 2);
  clock.reset();
});

test('a stopped one drops the reading under way', () => {
  const { clock, readings, refresher } = scriptedRefresher();
  refresher.start();
  refresher.stop();
  assert.equal(readings[0].signal.aborted, true);
  clock.reset();
});

const [first, second] = [connection({ pid: 1 }), connection({ pid: 2 })];

test('a row stays selected when its resource changes', () => {
  const selection = new Selection();
  selection.set(first, true);
  assert.equal(selection.has({ ...first, descr: 'music', time: '' }), true);
});

test('what a whole reading no longer holds is no longer selected', () => {
  const selection = new Selection();
  selection.set(first, true);
  selection.set(second, true);
  selection.keepOnly([second]);
  assert.deepEqual(selection.rows, [second]);
});

test('none, some or all of the rows are selected', () => {
  const selection = new Selection();
  const rows = [first, second];
  assert.equal(coverage(selection, rows), 'none');
  selection.set(first, true);
  assert.equal(coverage(selection, rows), 'some');
  selection.set(second, true);
  assert.equal(coverage(selection, rows), 'all');
  assert.equal(coverage(selection, []), 'none');
});
