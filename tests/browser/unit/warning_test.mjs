import assert from 'node:assert/strict';
import { test } from 'node:test';
import { explainWarnings } from '../../../web/script/model/warning.js';

test('each service is named once, in the order of the warnings', () => {
  const warnings = [
    { code: 'connections_missing', service: 'FTP', detail: 'vsftpd: a' },
    { code: 'connections_missing', service: 'SSH', detail: 'OpenSSH: b' },
    { code: 'connections_missing', service: 'FTP', detail: 'ProFTPD: c' },
    { code: 'details_missing', service: 'CIFS' },
  ];
  assert.deepEqual(explainWarnings(warnings), {
    sentences: [
      ['warning.missing', { services: 'FTP, SSH' }],
      ['warning.details', { services: 'CIFS' }],
    ],
    causes: ['vsftpd: a', 'OpenSSH: b', 'ProFTPD: c'],
  });
});

test('where any service may be concerned none is named', () => {
  const warnings = [{ code: 'connections_missing', service: 'SSH' }, { code: 'connections_missing' }];
  assert.deepEqual(explainWarnings(warnings), { sentences: [['warning.any', {}]], causes: [] });
});

test('what a newer server may warn of counts as something that may be missing', () => {
  assert.deepEqual(explainWarnings([{ code: 'news' }]).sentences, [['warning.any', {}]]);
});

test('a service that still lets an account in, or hides open files, hides no connection', () => {
  const warnings = [
    { code: 'still_let_in', service: 'CIFS' },
    { code: 'open_files_missing', service: 'CIFS' },
  ];
  assert.deepEqual(explainWarnings(warnings).sentences, [
    ['warning.let_in', { services: 'CIFS' }],
    ['warning.open_files', {}],
  ]);
});

test('without warnings there is nothing to say', () => {
  assert.deepEqual(explainWarnings([]), { sentences: [], causes: [] });
});
