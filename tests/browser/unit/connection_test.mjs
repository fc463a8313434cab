import assert from 'node:assert/strict';
import { test } from 'node:test';
import { identityOf, usersOf, whyNotDisable, whyNotEnd } from '../../../web/script/model/connection.js';
import { connection, webLogin } from '../stand_in/world.mjs';

const olga = { name: 'olga', address: '10.20.0.2' };

test('services with a process of their own can be ended', () => {
  for (const type of ['CIFS', 'AFP', 'FTP', 'SFTP', 'SSH', 'TELNET']) {
    assert.equal(whyNotEnd(connection({ pid: 7, type }), olga), null, type);
  }
});

test('a reason is given for each kind of connection that cannot be ended', () => {
  const reasons = [
    [{ type: 'NFS', who: '' }, 'cannot_end.nfs'],
    [{ type: 'LOGIN', from: '' }, 'cannot_end.console'],
    [{ type: 'UNKNOWN' }, 'cannot_end.other'],
    [{ type: 'CIFS', who: '' }, 'cannot.unknown_user'],
    [{ type: 'CIFS', from: '' }, 'cannot_end.no_address'],
    [{ type: 'CIFS', pid: 0 }, 'cannot_end.no_process'],
  ];
  for (const [facts, reason] of reasons) {
    assert.equal(whyNotEnd(connection({ pid: 7, ...facts }), olga), reason, JSON.stringify(facts));
  }
});

test('a connection that the server calls unendable cannot be ended, whatever its type', () => {
  assert.equal(whyNotEnd({ ...connection({ pid: 7 }), can_be_kicked: false }, olga), 'cannot_end.other');
});

test("one's own login at this address cannot be ended, at another address it can", () => {
  assert.equal(whyNotEnd(webLogin({ pid: 1, who: 'olga', from: '10.20.0.2' }), olga), 'cannot_end.own_login');
  assert.equal(whyNotEnd(webLogin({ pid: 1, who: 'olga', from: '10.20.0.3' }), olga), null);
  assert.equal(whyNotEnd(webLogin({ pid: 1, who: 'alice', from: '10.20.0.2' }), olga), null);
});

test('a web login needs no process', () => {
  assert.equal(whyNotEnd(webLogin({ pid: 0 }), olga), null);
});

test('local accounts other than oneself can be disabled', () => {
  assert.equal(whyNotDisable(connection({ pid: 7, who: 'alice' }), olga), null);
});

test('a reason is given for each user that cannot be disabled', () => {
  const reasons = [
    ['', 'cannot_disable.no_user'],
    ['unknown', 'cannot.unknown_user'],
    ['olga', 'cannot_disable.oneself'],
    ['EXAMPLE\\dave', 'cannot_disable.directory'],
    ['dave@example.org', 'cannot_disable.directory'],
  ];
  for (const [who, reason] of reasons) assert.equal(whyNotDisable(connection({ pid: 7, who }), olga), reason, who);
});

test('a process that serves several users is theirs all', () => {
  const shared = connection({ pid: 7, who: 'bob', descr: 'photos (bob), music (alice), homes (alice)' });
  assert.deepEqual(usersOf(shared), ['bob', 'alice']);
});

test('a process is also theirs who use no share of it', () => {
  assert.deepEqual(usersOf(connection({ pid: 7, who: 'bob', descr: 'a, b (bob), (alice)' })), ['bob', 'alice']);
});

test('root is named as the list names it', () => {
  assert.deepEqual(usersOf(connection({ pid: 7, who: 'admin', descr: 'a (root), b (bob)' })), ['admin', 'bob']);
});

test('words in brackets at the end of a share are not taken for a user', () => {
  assert.deepEqual(usersOf(connection({ pid: 7, who: 'bob', descr: 'backup (old)' })), ['bob']);
  assert.deepEqual(usersOf(connection({ pid: 7, who: 'bob', descr: 'photos (bob), backup' })), ['bob']);
});

test('the same user with another process is another connection', () => {
  assert.notEqual(identityOf(connection({ pid: 7 })), identityOf(connection({ pid: 8 })));
  const moved = connection({ pid: 7, descr: 'music', time: '2026-11-20 22:00:00' });
  assert.equal(identityOf(connection({ pid: 7 })), identityOf(moved));
});

test('texts of users cannot make two connections look the same', () => {
  const one = connection({ pid: 7, who: 'a","b', from: 'c' });
  const other = connection({ pid: 7, who: 'a', from: 'b","c' });
  assert.notEqual(identityOf(one), identityOf(other));
});
