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

pageTest('what follows is said before anything happens', async ({ driver, world }) => {
  someConnections(world);
  await driver.enter();
  await askToDisableCarol(driver);
  const text = await driver.dialogText();
  for (const sentence of [
    'Disable carol?',
    "carol can no longer log in to services that check this server's accounts.",
    'All logins of carol to this page end, at any address.',
    'currentconn enable carol',
    '2 connections of carol end now; unsaved work can be lost:',
    'pts/3',
  ]) {
    assert.ok(text.includes(sentence), sentence);
  }
  await driver.press('Cancel');
  assert.deepEqual(world.callsOf('disable_user'), []);
});

pageTest('a disabled user is said with what became of the connections', async ({ driver, world }) => {
  someConnections(world);
  await driver.enter();
  await askToDisableCarol(driver);
  await driver.press('Disable carol');
  await driver.dialogTitle('carol is disabled');
  assert.match(await driver.dialogText(), /2 connections have ended\./);
  assert.deepEqual(
    world.callsOf('disable_user').map((call) => call.parameters),
    [{ users: ['carol'] }],
  );
  assert.equal(world.accounts.get('carol').isDisabled, true);
  await driver.press('Done');
  await eventually(async () => (await driver.rows()).map(([user]) => user), ['bob']);
});

pageTest('a service that still lets the disabled user in is named', async ({ driver, world }) => {
  someConnections(world);
  world.disablingWarnings = [{ code: 'still_let_in', service: 'CIFS', detail: 'pdbedit: no reason' }];
  await driver.enter();
  await askToDisableCarol(driver);
  await driver.press('Disable carol');
  await driver.dialogTitle('carol is disabled only in part');
  assert.match(await driver.dialogText(), /CIFS still lets carol in\.[^]*currentconn disable carol/);
  await driver.press('Done');
});

pageTest('connections that the list may lack are not called ended', async ({ driver, world }) => {
  someConnections(world);
  await driver.enter();
  await askToDisableCarol(driver);
  world.warnings = [{ code: 'connections_missing', service: 'SSH', detail: 'OpenSSH: no reason' }];
  await driver.press('Disable carol');
  await driver.dialogTitle('carol is disabled');
  const text = await driver.dialogText();
  assert.match(text, /Not known: the list could not be read in full/);
  assert.doesNotMatch(text, /ended/);
});

pageTest('connections that outlive the disabling are named', async ({ driver, world }) => {
  someConnections(world);
  world.whenKicked.set(1, 'stays');
  await driver.enter();
  await askToDisableCarol(driver);
  await driver.press('Disable carol');
  await driver.dialogTitle('carol is disabled');
  assert.match(await driver.dialogText(), /1 connection has ended\.[^]*1 connection of carol is still there:[^]*SSH/);
});

pageTest('while the server waits the dialog stays and says so', async ({ driver, page, world }) => {
  someConnections(world);
  world.kickDelay = 2000;
  await driver.enter();
  await askToDisableCarol(driver);
  await driver.press('Disable carol');
  await driver.dialogTitle('Disabling carol');
  await page.keyboard.press('Escape');
  assert.match(await driver.dialogText(), /The account is being disabled\./);
  await driver.dialogTitle('carol is disabled');
});

const kFailures = [
  [
    { status: 409, code: 7100 },
    'carol was not disabled',
    /Too few administrators who can log in would remain[^]*Nothing was changed\./,
  ],
  [{ status: 403, code: 105 }, 'carol was not disabled', /Administrator rights are required/],
  [{ status: 500, code: 117 }, 'It is not certain that carol is disabled', /could not complete the request[^]*chage -l carol/],
  [{ status: 504, code: 504 }, 'It is not certain that carol is disabled', /did not answer in time[^]*chage -l carol/],
];

for (const [problem, title, sentence] of kFailures) {
  pageTest(`a disabling that fails with ${problem.code} is said in a sentence`, async ({ driver, world }) => {
    someConnections(world);
    world.fail('disable_user', problem);
    await driver.enter();
    await askToDisableCarol(driver);
    await driver.press('Disable carol');
    await driver.dialogTitle(title);
    assert.match(await driver.dialogText(), sentence);
  });
}

pageTest('a connection that breaks off in between leaves it open', async ({ driver, page, world }) => {
  someConnections(world);
  await driver.enter();
  await askToDisableCarol(driver);
  await page.route('**/disable_user', (route) => route.abort());
  await driver.press('Disable carol');
  await driver.dialogTitle('It is not certain that carol is disabled');
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
