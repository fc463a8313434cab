import assert from 'node:assert/strict';
import { connection, webLogin } from '../page_driver.mjs';
import { eventually, pageTest } from './setup.mjs';

async function askToDisableCarol(driver) {
  await driver.openPanel('pts/3');
  await driver.choose('Disable carol…');
  await driver.page.waitForSelector('#dialog .danger');
}

function someConnections(world) {
  world.accounts.set('carol', { password: 'x', isAdmin: false });
  world.connections = [
    connection({ pid: 1, who: 'carol', type: 'SSH', descr: 'pts/3' }),
    webLogin({ pid: 2, who: 'carol', from: '10.0.0.8' }),
    connection({ pid: 3, who: 'bob' }),
  ];
}

async function disableCarol(driver) {
  await driver.enter();
  await askToDisableCarol(driver);
  await driver.press('Disable carol');
}

const assertSaid = (text, sentences) => {
  for (const sentence of sentences) assert.ok(text.includes(sentence), `${sentence} is missing in:\n${text}`);
};

const kSamba = {
  service: 'samba',
  access: 'let_in',
  reason: 'samba-database',
  remedy: 'disable-in-samba',
  values: { file: '/etc/samba/b.conf' },
};

pageTest('what follows is said before anything happens', async ({ driver, page, world }) => {
  someConnections(world);
  world.connections.push(connection({ pid: 4, who: 'carol', type: 'LOGIN', descr: 'tty1', from: '' }));
  world.effects.set(1, [{ reason: 'same_ssh_connection', connection: connection({ pid: 9, who: 'carol', type: 'SFTP' }) }]);
  await driver.enter();
  await askToDisableCarol(driver);
  assertSaid(await driver.dialogText(), [
    'Disable carol?',
    "carol can no longer log in to services that check this server's accounts.",
    'currentconn enable carol',
    '2 connections of carol end now; unsaved work may be lost:',
    'pts/3',
    'An SFTP session of carol over the same SSH connection ends too.',
    '1 connection of carol may stay:',
    'tty1',
    'Console logins cannot be ended from here.',
  ]);
  assert.deepEqual(
    world.callsOf('plan').map((call) => call.parameters),
    [{ action: 'disable', users: ['carol'] }],
  );
  await driver.press('Cancel');
  assert.equal(await page.isVisible('#dialog'), false);
  assert.deepEqual(world.callsOf('perform'), []);
});

pageTest('what still lets the user in, and what goes on, is said before', async ({ driver, world }) => {
  someConnections(world);
  world.access = [
    kSamba,
    { service: 'ssh', access: 'let_in', reason: 'rules-pass', remedy: 'add-account-check', values: { pam: 'sshd' } },
    { service: 'page', access: 'unknown', reason: 'not-read', remedy: 'try-login', values: { cause: 'no such file' } },
  ];
  world.leftRunning = { uid: 1003, processes: 3, apart: [4711], crontab: true, at_jobs: 1 };
  world.warnings = [{ code: 'connections_missing', service: 'FTP', detail: 'vsftpd: no reason' }];
  await driver.enter();
  await askToDisableCarol(driver);
  assertSaid(await driver.dialogText(), [
    'Samba: carol can log in even while disabled. It checks only its own database. Disable the account in Samba too:',
    'smbpasswd -c /etc/samba/b.conf -d carol',
    'SSH: carol can log in even while disabled. The account rules of its PAM service sshd accept expired accounts. ' +
      'Make “account required pam_unix.so” the first account rule in /etc/pam.d/sshd.',
    'This page: carol may be able to log in even while disabled. Its configuration could not be read: no such file. ' +
      'To be sure, try to log in as carol.',
    '3 processes of carol keep running.',
    'kill -KILL 4711; pkill -KILL -U 1003 --ns 1 --nslist pid',
    'crontab -r -u carol',
    '1 at job of carol is waiting.',
    'Connections may be missing from the list: FTP. The server reports: vsftpd: no reason',
  ]);
});

pageTest('commands take names as they are', async ({ driver, world }) => {
  const name = "o'neil $(reboot)";
  world.accounts.set(name, { password: 'x', isAdmin: false });
  world.connections = [connection({ pid: 1, who: name, type: 'SSH', descr: 'pts/3' })];
  world.access = [kSamba];
  world.leftRunning = { uid: 1003, processes: 1, apart: [], crontab: true, at_jobs: 0 };
  await driver.enter();
  await driver.openPanel('pts/3');
  await driver.choose(`Disable ${name}…`);
  await driver.page.waitForSelector('#dialog .danger');
  const word = String.raw`'o'\''neil $(reboot)'`;
  assertSaid(await driver.dialogText(), [
    `currentconn enable ${word}`,
    `smbpasswd -c /etc/samba/b.conf -d ${word}`,
    'pkill -KILL -U 1003 --ns 1 --nslist pid',
    `crontab -r -u ${word}`,
  ]);
});

pageTest('an account that is disabled already is said to be', async ({ driver, world }) => {
  someConnections(world);
  world.accounts.get('carol').isDisabled = true;
  await driver.enter();
  await askToDisableCarol(driver);
  assertSaid(await driver.dialogText(), ['carol is already disabled. Disabling again ends the remaining connections.']);
});

const kRefusals = [
  [{ reason: 'unknown_account', user: 'carol' }, 'There is no such account on this server.'],
  [{ reason: 'not_local', user: 'carol' }, 'This is not a local account of this server, so it cannot be disabled here.'],
  [
    { reason: 'too_few_administrators', causes: ['1 is required'] },
    'Too few administrators who can log in would remain. The server reports: 1 is required',
  ],
  [{ reason: 'failed', causes: ['no shadow file'] }, 'The server cannot disable the account. The server reports: no shadow file'],
];

for (const [refusal, sentence] of kRefusals) {
  pageTest(`what the server refuses as ${refusal.reason} cannot be submitted`, async ({ driver, page, world }) => {
    someConnections(world);
    world.refusals.set('carol', refusal);
    await driver.enter();
    await driver.openPanel('pts/3');
    await driver.choose('Disable carol…');
    await driver.dialogTitle('carol cannot be disabled');
    assertSaid(await driver.dialogText(), [sentence]);
    assert.deepEqual(await page.$$eval('#dialog button', (all) => all.map((one) => one.textContent)), ['Close']);
  });
}

pageTest('a disabled user is said with what became of each connection', async ({ driver, page, world }) => {
  someConnections(world);
  world.fates.set(2, { fate: 'still_there', reason: { reason: 'still_recorded' } });
  await disableCarol(driver);
  await driver.dialogTitle('carol is disabled');
  assert.deepEqual(await page.$$eval('#dialog .target-mark', (marks) => marks.map((mark) => mark.innerText)), [
    'Ended',
    'Still connected\nThe login is still recorded.',
  ]);
  assert.deepEqual(
    world.callsOf('perform').map((call) => call.parameters),
    [{ action: 'disable', users: ['carol'] }],
  );
  assert.equal(world.accounts.get('carol').isDisabled, true);
  world.connections = world.connections.filter(({ who }) => who !== 'carol');
  await driver.press('Done');
  await eventually(async () => (await driver.rows()).map(([user]) => user), ['bob']);
});

const kUndos = [
  [{ expiry_before: null }, 'without an expiry date as before, run on the server:', 'currentconn enable carol'],
  [{ expiry_before: '2027-01-31' }, 'with its earlier expiry date 2027-01-31, run on', 'currentconn enable carol'],
  [undefined, "The account's earlier expiry is not recorded.", 'chage -E -1 carol'],
];

for (const [undo, sentence, command] of kUndos) {
  pageTest(`the way back after ${JSON.stringify(undo) ?? 'nothing'} is the true one`, async ({ driver, page, world }) => {
    someConnections(world);
    world.undo = undo;
    await disableCarol(driver);
    await driver.dialogTitle('carol is disabled');
    assertSaid(await driver.dialogText(), [sentence]);
    assert.deepEqual(await page.$$eval('#dialog .command', (all) => all.map((one) => one.textContent)), [command]);
  });
}

pageTest('a service that still lets the disabled user in is named, with the cause', async ({ driver, world }) => {
  someConnections(world);
  world.access = [kSamba];
  world.leftRunning = { uid: 1003, processes: 1, apart: [], crontab: false, at_jobs: 0 };
  world.warnings = [{ code: 'still_let_in', service: 'CIFS', detail: 'pdbedit: no reason' }];
  await disableCarol(driver);
  await driver.dialogTitle('carol is disabled, but can still log in to some services');
  assertSaid(await driver.dialogText(), [
    'Samba: carol can log in even while disabled.',
    '1 process of carol keeps running.',
    'Disabled accounts can still log in: CIFS. The server reports: pdbedit: no reason',
  ]);
});

pageTest('SSH logins that were under way are told', async ({ driver, world }) => {
  someConnections(world);
  world.logins = { logins_ended: 2, logins_left: [] };
  await disableCarol(driver);
  await driver.dialogTitle('carol is disabled');
  assertSaid(await driver.dialogText(), ['2 SSH logins of carol that were under way were ended.']);
});

pageTest('SSH logins that go on are named', async ({ driver, world }) => {
  someConnections(world);
  world.logins = { logins_ended: 0, logins_left: [71, 72] };
  await disableCarol(driver);
  await driver.dialogTitle('carol is disabled, but can still log in to some services');
  assertSaid(await driver.dialogText(), [
    '2 SSH logins of carol are still under way and may succeed. To end them, run on the server:',
    'kill -KILL 71 72',
  ]);
});

// An answer of perform, of which no connection is left.
const answered = (account, more = {}) => ({
  status: 200,
  data: { accounts: [{ user: 'carol', ...account }], connections: [], ...more },
});
const kBroken = { reason: 'call_failed', causes: ['cannot write the shadow file'] };
const kOutcomes = [
  [
    'the guard that refuses',
    answered({ disabled: false }, { refusal: { reason: 'too_few_administrators' } }),
    'carol was not disabled',
    'Too few administrators who can log in would remain.',
  ],
  [
    'a failure before the account was disabled',
    answered({ disabled: false, reason: kBroken }, { failure: kBroken }),
    'carol was not disabled',
    'The server reports: cannot write the shadow file',
  ],
  [
    'a failure after the account was disabled',
    answered({ disabled: true }, { failure: kBroken }),
    'carol is disabled',
    'The server reports: cannot write the shadow file',
  ],
  [
    'users who cannot be told',
    answered({ disabled: true }, { services_without_users: ['CIFS', 'FTP'] }),
    'carol is disabled',
    'Some users of these services are not known, so carol may still be connected: CIFS, FTP.',
  ],
];

for (const [what, answer, title, sentence] of kOutcomes) {
  pageTest(`${what} is said as the server says it`, async ({ driver, world }) => {
    someConnections(world);
    world.failures.set('perform', () => answer);
    await disableCarol(driver);
    await driver.dialogTitle(title);
    assertSaid(await driver.dialogText(), [sentence]);
  });
}

pageTest('while the server waits the dialog stays and says so', async ({ driver, page, world }) => {
  someConnections(world);
  world.performDelay = 2000;
  await disableCarol(driver);
  await driver.dialogTitle('Disabling carol');
  await page.keyboard.press('Escape');
  assert.match(await driver.dialogText(), /Each process is given up to five seconds to exit\./);
  await driver.dialogTitle('carol is disabled');
});

const kFailures = [
  [{ status: 403, code: 105 }, 'carol was not disabled', /Administrator rights are required/],
  [{ status: 500, code: 117 }, 'It is unclear whether carol is disabled', /could not complete the request[^]*chage -l carol/],
  [{ status: 504, code: 504 }, 'It is unclear whether carol is disabled', /did not respond in time[^]*chage -l carol/],
];

for (const [problem, title, sentence] of kFailures) {
  pageTest(`a disabling that fails with ${problem.code} is said in a sentence`, async ({ driver, world }) => {
    someConnections(world);
    world.fail('perform', problem);
    await disableCarol(driver);
    await driver.dialogTitle(title);
    assert.match(await driver.dialogText(), sentence);
  });
}

pageTest('a connection that breaks off in between leaves it open', async ({ driver, page, world }) => {
  someConnections(world);
  await driver.enter();
  await askToDisableCarol(driver);
  await page.route('**/api/perform', (route) => route.abort());
  await driver.press('Disable carol');
  await driver.dialogTitle('It is unclear whether carol is disabled');
});

const kGreyed = [
  [connection({ pid: 1, who: 'EXAMPLE\\dave' }), 'This account belongs to a directory. Disable it there.'],
  [connection({ pid: 1, who: 'dave@example.org' }), 'This account belongs to a directory. Disable it there.'],
  [connection({ pid: 1, who: 'olga' }), 'You cannot disable the account you are logged in with.'],
  [connection({ pid: 1, who: 'unknown' }), 'The server does not know the user of this connection.'],
];

for (const [row, reason] of kGreyed) {
  pageTest(`${row.who} cannot be disabled, and the reason stands there`, async ({ driver, page, world }) => {
    world.connections = [row];
    await driver.enter();
    await driver.openPanel('CIFS');
    const choice = page.locator('#row-panel [aria-disabled]', { hasText: 'Disable' });
    assert.equal(await choice.innerText(), `Disable ${row.who}…\n${reason}`);
    await choice.click({ force: true });
    assert.equal(await page.isVisible('#dialog'), false);
  });
}
