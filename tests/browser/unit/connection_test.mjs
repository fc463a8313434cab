import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { identityOf, whyNotDisable, whyNotEnd } from '../../../web/script/model/connection.js';
import { connection, webLogin } from '../stand_in/world.mjs';

const olga = { name: 'olga', address: '10.20.0.2' };

test('a connection is not ended for the reason that plans give', () => {
  const file = new URL('../../calls/enforce/not_ended.json', import.meta.url);
  for (const { row, reason } of JSON.parse(readFileSync(file, 'utf8'))) {
    const found = whyNotEnd({ ...connection({ pid: 7, ...row }), ...row }, olga);
    assert.equal(found, reason && `reason.${reason}`, JSON.stringify(row));
  }
});

test('the page ends what the table of services says can be ended', () => {
  const table = readFileSync(new URL('../../../platform/host/service_table.h', import.meta.url), 'utf8');
  const rows = [...table.matchAll(/^ +\{ZEVO_CURCONN_\w+, "([^"]+)".*, (?:nullptr|"(\w+)")\},$/gm)];
  assert.equal(rows.length, Number(/array<ListedService, (\d+)>/.exec(table)[1]));
  for (const [, type, reason] of rows) {
    assert.equal(whyNotEnd(connection({ pid: 7, type }), olga), reason ? `reason.${reason}` : null, type);
  }
});

test("one's own login at this address cannot be ended, at another address it can", () => {
  assert.equal(whyNotEnd(webLogin({ pid: 1, who: 'olga', from: '10.20.0.2' }), olga), 'cannot_end.own_login');
  assert.equal(whyNotEnd(webLogin({ pid: 1, who: 'olga', from: '10.20.0.3' }), olga), null);
  assert.equal(whyNotEnd(webLogin({ pid: 1, who: 'alice', from: '10.20.0.2' }), olga), null);
});

test('local accounts other than oneself can be disabled', () => {
  assert.equal(whyNotDisable(connection({ pid: 7, who: 'alice' }), olga), null);
});

test('a reason is given for each user that cannot be disabled', () => {
  const reasons = [
    ['', 'cannot_disable.no_user'],
    ['unknown', 'reason.unknown_user'],
    ['olga', 'reason.own_account'],
    ['EXAMPLE\\dave', 'reason.directory_account'],
    ['dave@example.org', 'reason.directory_account'],
  ];
  for (const [who, reason] of reasons) assert.equal(whyNotDisable(connection({ pid: 7, who }), olga), reason, who);
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
