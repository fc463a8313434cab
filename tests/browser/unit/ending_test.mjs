import assert from 'node:assert/strict';
import { test } from 'node:test';
import {
  callsFor,
  connectionsOf,
  kickParameters,
  outcomeOf,
  planEnding,
  targetsOf,
} from '../../../web/script/model/ending.js';
import { ApiFailure } from '../../../web/script/model/failure.js';
import { connection, webLogin } from '../stand_in/world.mjs';

const olga = { name: 'olga', address: '10.20.0.2' };
const failure = new ApiFailure('answer', { status: 500, code: 117 });

test('what has ended meanwhile and what cannot be ended is no target', () => {
  const there = connection({ pid: 1 });
  const gone = connection({ pid: 2 });
  const nfs = connection({ pid: 0, type: 'NFS', who: '' });
  const plan = planEnding([there, gone, nfs], [there, nfs], olga);
  assert.deepEqual(plan, {
    targets: [{ row: there, alsoRows: [], alsoUsers: [] }],
    gone: [gone],
    refused: [{ row: nfs, reason: 'cannot_end.nfs' }],
  });
});

test('a target is shown as it is now, not as it was when it was selected', () => {
  const before = connection({ pid: 1, descr: 'photos' });
  const now = connection({ pid: 1, descr: 'photos, music' });
  assert.equal(planEnding([before], [now], olga).targets[0].row, now);
});

test('other rows and users of the same process are named', () => {
  const row = connection({ pid: 1, who: 'bob', descr: 'photos (bob), music (alice)' });
  const beside = connection({ pid: 1, who: 'carol', type: 'SFTP', descr: '/home/carol' });
  const login = webLogin({ pid: 1, who: 'erik' });
  const [target] = planEnding([row], [row, beside, login], olga).targets;
  assert.deepEqual(target, { row, alsoRows: [beside], alsoUsers: ['alice', 'carol'] });
});

test('connections without a process of their own belong to no common process', () => {
  const login = webLogin({ pid: 0 });
  const [target] = planEnding([login], [login, connection({ pid: 0, type: 'NFS', who: '' })], olga).targets;
  assert.deepEqual(target.alsoRows, []);
});

test('each row is a call of its own, services and web logins alike', () => {
  const [a, b] = [{ row: connection({ pid: 1 }) }, { row: connection({ pid: 2, type: 'SSH' }) }];
  const [c, d] = [{ row: webLogin({ pid: 1 }) }, { row: webLogin({ pid: 2, who: 'bob' }) }];
  assert.deepEqual(callsFor([c, a, d, b], olga), [[[c], [a], [d], [b]], []]);
});

test('two service connections of one user at one address are two calls', () => {
  const [a, b] = [{ row: connection({ pid: 1 }) }, { row: connection({ pid: 2 }) }];
  assert.deepEqual(callsFor([a, b], olga), [[[a], [b]], []]);
});

test('logins of one user at one address are asked for once, since they end together', () => {
  const [a, b] = [{ row: webLogin({ pid: 1 }) }, { row: webLogin({ pid: 2 }) }];
  const elsewhere = { row: webLogin({ pid: 3, from: '10.0.0.2' }) };
  assert.deepEqual(callsFor([a, elsewhere, b], olga), [[[a, b], [elsewhere]], []]);
});

test("the caller's own logins wait until everything else is done", () => {
  const own = { row: webLogin({ pid: 1, who: 'olga', from: '10.0.0.1' }) };
  const [a, b] = [{ row: connection({ pid: 2, who: 'olga' }) }, { row: webLogin({ pid: 3 }) }];
  assert.deepEqual(callsFor([own, a, b], olga), [[[a], [b]], [[own]]]);
});

test('a call names a service connection by all its keys and a login by user and address', () => {
  assert.deepEqual(kickParameters([{ row: connection({ pid: 5, who: 'alice', from: '10.20.0.7', type: 'CIFS' }) }]), {
    service_conn: [{ pid: 5, who: 'alice', from: '10.20.0.7', type: 'CIFS' }],
  });
  assert.deepEqual(kickParameters([{ row: webLogin({ pid: 1, who: 'bob', from: '10.0.0.1' }) }]), {
    http_conn: [{ who: 'bob', from: '10.0.0.1' }],
  });
});

const row = connection({ pid: 1 });
const whole = (items) => ({ items, warnings: [] });

test('a row that is no longer there has ended, whatever the call said', () => {
  assert.equal(outcomeOf(row, 'done', [row], whole([])), 'ended');
  assert.equal(outcomeOf(row, failure, [row], whole([])), 'ended');
});

test('a row that is still there has not ended, whatever the call said', () => {
  assert.equal(outcomeOf(row, 'done', [row], whole([row])), 'still');
  assert.equal(outcomeOf(row, failure, [row], whole([row])), 'still');
});

test('the same client with a new process has come back', () => {
  assert.equal(outcomeOf(row, 'done', [row], whole([connection({ pid: 2 })])), 'back');
});

test('another connection of the client that was there before is no return', () => {
  const second = connection({ pid: 2 });
  assert.equal(outcomeOf(row, 'done', [row, second], whole([second])), 'ended');
});

test('without a new reading nothing is claimed', () => {
  assert.equal(outcomeOf(row, 'done', [row], null), 'unclear');
});

test('nothing is claimed of a row that the new reading may lack', () => {
  const after = (code, service) => ({ items: [], warnings: [{ code, service }] });
  assert.equal(outcomeOf(row, 'done', [row], after('connections_missing', 'CIFS')), 'unclear');
  assert.equal(outcomeOf(row, 'done', [row], after('connections_missing')), 'unclear');
  assert.equal(outcomeOf(row, 'done', [row], after('connections_missing', 'SSH')), 'ended');
  assert.equal(outcomeOf(row, 'done', [row], after('details_missing', 'CIFS')), 'ended');
  const login = webLogin({ pid: 3 });
  assert.equal(outcomeOf(login, 'done', [login], after('connections_missing')), 'ended');
  const sftp = connection({ pid: 4, type: 'SFTP' });
  assert.equal(outcomeOf(sftp, 'done', [sftp], after('connections_missing', 'SSH')), 'unclear');
});

test('what was never asked for was left alone', () => {
  assert.equal(outcomeOf(row, 'skipped', [row], whole([row])), 'skipped');
});

test('disabling hits the connections of exactly that user', () => {
  const alice = connection({ pid: 1, who: 'alice' });
  const other = connection({ pid: 2, who: 'Alice' });
  const login = webLogin({ pid: 3, who: 'alice' });
  assert.deepEqual(
    targetsOf('alice', [alice, other, login]).map((target) => target.row),
    [alice, login],
  );
});

test('a user who is served by the process of another one is found there', () => {
  const shared = connection({ pid: 1, who: 'bob', descr: 'photos (bob), music (alice)' });
  assert.deepEqual(connectionsOf('alice', [shared, connection({ pid: 2, who: 'carol' })]), [shared]);
});
