import assert from 'node:assert/strict';
import { connection, webLogin } from '../page_driver.mjs';
import { eventually, pageTest } from './setup.mjs';

// Each connection of the dialog: its text and its result.
const targets = (page) =>
  page.$$eval('#dialog .target', (items) =>
    items.map((item) => [
      item.querySelector('.target-who .name').textContent,
      item.querySelector('.target-mark')?.innerText ?? '',
    ]),
  );
const tasks = (world, resource) => world.callsOf(resource).map((call) => call.parameters);

async function endSelected(driver) {
  await driver.page.click('#selection-end');
  await driver.page.waitForSelector('#dialog .danger');
}

async function endAlice(driver) {
  await driver.enter();
  await driver.select('alice');
  await endSelected(driver);
  await driver.press('End 1 connection');
}

pageTest('the dialog names all that ends, and why', async ({ driver, world }) => {
  const sftp = connection({ pid: 4, who: 'dave', type: 'SFTP', descr: '/home/dave' });
  world.connections = [
    connection({ pid: 1, who: 'bob', descr: 'photos (bob), music (alice)' }),
    webLogin({ pid: 2, who: 'carol', from: '10.0.0.8', descr: 'Firefox, Chrome' }),
    connection({ pid: 3, who: 'dave', type: 'SSH', descr: 'pts/1' }),
    sftp,
  ];
  world.effects
    .set(1, [{ reason: 'same_process', user: 'alice' }])
    .set(2, [{ reason: 'further_web_logins', count: 1 }])
    .set(3, [{ reason: 'same_ssh_connection', connection: sftp }]);
  world.openFiles.set(1, ['/srv/photos/a.jpg', '/srv/photos/b.jpg', '/srv/photos/c.jpg', '/srv/photos/d.jpg']);
  await driver.enter();
  for (const row of ['bob', 'carol', 'pts/1']) await driver.select(row);
  await endSelected(driver);
  const text = await driver.dialogText();
  assert.match(text, /^End 3 connections\?/);
  for (const sentence of [
    'The same process also serves alice, who will be disconnected too.',
    '4 files are open: /srv/photos/a.jpg, /srv/photos/b.jpg, /srv/photos/c.jpg, …',
    '1 more login of carol from 10.0.0.8 ends too.',
    'An SFTP session of dave over the same SSH connection ends too.',
    'Firefox, Chrome',
  ]) {
    assert.ok(text.includes(sentence), sentence);
  }
  assert.deepEqual(tasks(world, 'perform'), [], 'nothing is ended before it is confirmed');
});

pageTest('what the plan may lack is said in the dialog', async ({ driver, world }) => {
  world.connections = [connection({ pid: 1 })];
  world.warnings = [{ code: 'open_files_missing', service: 'CIFS', detail: 'smbstatus did not answer' }];
  await driver.enter();
  await driver.select('alice');
  await endSelected(driver);
  assert.match(
    await driver.dialogText(),
    /Samba does not report which files are open\. The server reports: smbstatus did not answer/,
  );
});

pageTest('nothing is ended when the dialog is cancelled, by button or by key', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 })];
  await driver.enter();
  await driver.select('alice');
  await endSelected(driver);
  await driver.press('Cancel');
  await endSelected(driver);
  await page.keyboard.press('Escape');
  assert.equal(await page.isVisible('#dialog'), false);
  assert.deepEqual(tasks(world, 'perform'), []);
  assert.equal(await driver.text('#selection-count'), '1 selected');
  assert.equal(await page.evaluate(() => document.activeElement.id), 'selection-end');
});

pageTest('all rows are one call, each named by its four keys', async ({ driver, page, world }) => {
  world.connections = [
    connection({ pid: 11, who: 'alice', from: '10.0.0.1', type: 'CIFS' }),
    connection({ pid: 12, who: 'bob', from: '10.0.0.2', type: 'SSH' }),
    webLogin({ pid: 13, who: 'carol', from: '10.0.0.3' }),
  ];
  await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
  await page.check('#head-row input');
  await endSelected(driver);
  await driver.press('End 3 connections');
  await driver.dialogTitle('3 of 3 ended');
  const connections = [
    { who: 'alice', from: '10.0.0.1', type: 'CIFS', pid: 11 },
    { who: 'bob', from: '10.0.0.2', type: 'SSH', pid: 12 },
    { who: 'carol', from: '10.0.0.3', type: 'HTTP/HTTPS', pid: 13 },
  ];
  assert.deepEqual(tasks(world, 'plan'), [{ action: 'kick', connections }]);
  assert.deepEqual(tasks(world, 'perform'), [{ action: 'kick', connections }]);
});

pageTest('while the server works the dialog says so and cannot be lost', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 }), connection({ pid: 2, who: 'bob' })];
  world.performDelay = 2500;
  await driver.enter();
  await page.check('#head-row input');
  await endSelected(driver);
  await driver.press('End 2 connections');
  await driver.dialogTitle('Ending 2 connections');
  assert.match(await driver.dialogText(), /Each process is given up to five seconds to exit\./);
  assert.equal(await page.locator('#dialog button').count(), 0);
  await page.keyboard.press('Escape');
  assert.equal(await page.isVisible('#dialog'), true);
  await driver.dialogTitle('2 of 2 ended');
});

const stays = (reason, more = {}) => ({ fate: 'still_there', reason: { reason, ...more } });

pageTest('the result says of each row what became of it', async ({ driver, page, world }) => {
  const users = ['ended', 'failed', 'gone', 'moved', 'other', 'returned', 'stubborn', 'unclear'];
  world.connections = users.map((who, index) => connection({ pid: index + 1, who }));
  const at = (who) => users.indexOf(who) + 1;
  world.fates
    .set(at('failed'), stays('call_failed', { causes: ['cannot lock the session file'] }))
    .set(at('moved'), { ...stays('goes_on'), now: connection({ pid: 4711, who: 'moved' }) })
    .set(at('other'), { ...stays('serves_other'), now: connection({ pid: at('other'), who: 'zoe' }) })
    .set(at('returned'), { fate: 'connected_again' })
    .set(at('stubborn'), stays('not_in_time'))
    .set(at('unclear'), { fate: 'not_known', reason: { reason: 'list_failed', causes: ['no /proc'] } });
  await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
  await page.click('#pause');
  await page.check('#head-row input');
  await endSelected(driver);
  world.connections = world.connections.filter(({ who }) => who !== 'gone');
  await driver.press('End 8 connections');
  await driver.dialogTitle('2 of 8 ended');
  assert.deepEqual(await targets(page), [
    ['ended', 'Ended'],
    ['failed', 'Still connected\nThe server could not complete the request. The server reports: cannot lock the session file'],
    ['gone', 'Had already ended'],
    ['moved', 'Still connected\nIt continues in process 4711.'],
    ['other', 'Still connected\nIts process now serves zoe.'],
    ['returned', 'Ended, then reconnected'],
    ['stubborn', 'Still connected\nIts process did not end in time.'],
    [
      'unclear',
      'Unknown: the list could not be read in full\nThe list could not be read again. The server reports: no /proc',
    ],
  ]);
  await driver.press('Done');
  await eventually(() => page.isVisible('#selection'), false);
});

pageTest('from who is connected again one comes to disabling the account', async ({ driver, page, world }) => {
  world.accounts.set('bob', { password: 'x', isAdmin: false });
  world.connections = [connection({ pid: 1, who: 'bob' }), connection({ pid: 2, who: 'EXAMPLE\\dave' })];
  world.fates.set(1, { fate: 'connected_again' }).set(2, { fate: 'connected_again' });
  await driver.enter();
  await page.check('#head-row input');
  await endSelected(driver);
  await driver.press('End 2 connections');
  await driver.dialogTitle('2 of 2 ended');
  assert.deepEqual(
    await page.$$eval('#dialog .target button', (all) => all.map((one) => one.textContent)),
    ['Disable bob…'],
    'a directory account cannot be disabled here',
  );
  await driver.press('Disable bob…');
  await driver.dialogTitle('Disable bob?');
  await driver.press('Disable bob');
  await driver.dialogTitle('bob is disabled');
  await driver.press('Done');
  await eventually(async () => (await driver.rows()).map(([user]) => user), ['EXAMPLE\\dave']);
});

const kFailures = [
  [
    { status: 500, code: 117, causes: ['cannot read /proc'] },
    'It is unclear whether the connections have ended',
    /could not complete the request.*The server reports: cannot read \/proc/s,
  ],
  [{ status: 403, code: 105 }, 'Nothing was ended', /Administrator rights are required/],
  [{ status: 504, code: 504 }, 'It is unclear whether the connections have ended', /did not respond in time/],
  [{ status: 500, code: 500 }, 'It is unclear whether the connections have ended', /Unexpected response from the server \(500\)/],
];

for (const [problem, title, sentence] of kFailures) {
  pageTest(`an ending that fails with ${problem.code} is said in a sentence`, async ({ driver, world }) => {
    world.connections = [connection({ pid: 1 })];
    world.fail('perform', problem);
    await endAlice(driver);
    await driver.dialogTitle(title);
    assert.match(await driver.dialogText(), sentence);
  });
}

pageTest('a reason, effect or fate that a newer server gives leaves no gap', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 })];
  const row = world.connections[0];
  const answer = (data) => (route) => route.fulfill({ json: { data } });
  await page.route('**/api/plan', answer({ ends: [{ ...row, effects: [{ reason: 'news' }] }], stays: [], gone: [] }));
  await page.route('**/api/perform', answer({ connections: [{ ...row, fate: 'news', reason: { reason: 'news' } }] }));
  await driver.enter();
  await driver.select('alice');
  await endSelected(driver);
  assert.match(await driver.dialogText(), /The server gives the reason “news”\./);
  await driver.press('End 1 connection');
  await driver.dialogTitle('0 of 1 ended');
  assert.deepEqual(await targets(page), [
    ['alice', 'Unknown: the list could not be read in full\nThe server gives the reason “news”.'],
  ]);
});

pageTest(
  'a question that was given up does not come back in the place of the next one',
  async ({ driver, page, world }) => {
    world.connections = [connection({ pid: 1 }), connection({ pid: 2, who: 'bob' })];
    await driver.enter();
    world.delays.set('plan', 1500);
    await driver.openPanel('alice');
    await driver.choose('End this connection…');
    await page.keyboard.press('Escape');
    world.delays.set('plan', 4000);
    await driver.openPanel('bob');
    await driver.choose('End this connection…');
    await page.waitForTimeout(2500);
    await driver.dialogTitle('Checking current connections');
    await driver.dialogTitle('End 1 connection?');
    assert.deepEqual(await targets(page), [['bob', '']]);
  },
);

pageTest('a server that is too busy is asked again', async ({ driver, world }) => {
  world.connections = [connection({ pid: 1 })];
  world.fail('perform', { status: 503, code: 503, retryAfter: 1 }, 2);
  await endAlice(driver);
  await driver.dialogTitle('1 of 1 ended');
  assert.equal(tasks(world, 'perform').length, 3);
});

pageTest('what has ended or cannot be ended is said and not asked for', async ({ driver, page, world }) => {
  world.connections = [
    connection({ pid: 1 }),
    connection({ pid: 2, who: 'bob' }),
    connection({ pid: 3, who: 'carol' }),
  ];
  await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
  await page.click('#pause');
  await page.check('#head-row input');
  const [, bob, carol] = world.connections;
  const answer = { ends: [{ ...bob, effects: [] }], stays: [{ ...carol, reason: { reason: 'unknown_process' } }] };
  const gone = [{ who: 'alice', from: '10.20.0.7', type: 'CIFS', pid: 1 }];
  world.failures.set('plan', () => ({ status: 200, data: { ...answer, gone } }));
  await endSelected(driver);
  assert.match(
    await driver.dialogText(),
    new RegExp(
      '^End 1 connection\\?[^]*bob[^]*' +
        '1 connection cannot be ended:[^]*carol[^]*The server does not know the process of this connection\\.[^]*' +
        '1 selected connection has already ended:[^]*alice',
    ),
  );
  await driver.press('End 1 connection');
  await driver.dialogTitle('1 of 1 ended');
  assert.deepEqual(
    tasks(world, 'perform').map(({ connections }) => connections.map(({ who }) => who)),
    [['bob']],
  );
});

pageTest('where everything has ended already there is nothing to confirm', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 })];
  await driver.enter();
  await page.click('#pause');
  await driver.select('alice');
  world.connections = [];
  await page.click('#selection-end');
  await driver.dialogTitle('Nothing to end');
  assert.match(await driver.dialogText(), /1 selected connection has already ended:[^]*alice/);
  await driver.press('Close');
  assert.deepEqual(tasks(world, 'perform'), []);
});

pageTest('a plan that the server cannot make is said, and nothing is ended', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 })];
  await driver.enter();
  await driver.select('alice');
  world.fail('plan', { status: 500, code: 117 });
  await page.click('#selection-end');
  await driver.dialogTitle('The connections could not be read');
  assert.deepEqual(tasks(world, 'perform'), []);
});

pageTest('one connection is ended from its row, without selecting it', async ({ driver, world }) => {
  world.connections = [connection({ pid: 1 }), connection({ pid: 2, who: 'bob' })];
  await driver.enter();
  await driver.openPanel('bob');
  await driver.choose('End this connection…');
  await driver.dialogTitle('End 1 connection?');
  await driver.press('End 1 connection');
  await driver.dialogTitle('1 of 1 ended');
  await driver.press('Done');
  await eventually(async () => (await driver.rows()).length, 1);
});

pageTest(
  "one's own login at this address cannot be ended, and the page says what to do instead",
  async ({ driver, page, world }) => {
    world.connections = [webLogin({ pid: 1, who: 'olga', from: '10.20.0.2' })];
    await driver.enter();
    await driver.openPanel('olga');
    const choices = await page.$$eval('#row-panel [aria-disabled]', (all) => all.map((one) => one.innerText));
    assert.deepEqual(choices, [
      'End this connection…\nYou are using this login. Log out instead.',
      'Disable olga…\nYou cannot disable the account you are logged in with.',
    ]);
  },
);

pageTest(
  "one's own second browser at another address is ended and falls back to its login",
  async ({ driver, world, open }) => {
    world.connections = [webLogin({ pid: 2, who: 'olga', from: '10.20.0.55', descr: 'Chrome' })];
    const second = await open({ extraHTTPHeaders: { 'x-stand-in-address': '10.20.0.55' } });
    await second.enter();
    await driver.enter();
    await driver.select('10.20.0.55');
    await endSelected(driver);
    await driver.press('End 1 connection');
    await driver.dialogTitle('1 of 1 ended');
    await second.page.waitForSelector('#login:not([hidden])');
    assert.match(await second.text('#login-notice'), /^Your session has ended/);
    await driver.press('Done');
    assert.equal(await driver.page.isVisible('#login'), false);
  },
);

pageTest('who ends the login in use is told so before, and has to log in again', async ({ driver, page, world }) => {
  await driver.enter();
  for (const session of world.sessions.values()) session.address = '10.20.0.99';
  world.connections = [webLogin({ pid: 1, who: 'olga', from: '10.20.0.99' })];
  await driver.row('10.20.0.99').waitFor();
  await page.check('#head-row input');
  await endSelected(driver);
  assert.match(await driver.dialogText(), /This is your own connection\. It ends last, and you will have to log in again\./);
  await driver.press('End 1 connection');
  await page.waitForSelector('#login:not([hidden])');
  assert.equal(await page.isVisible('#dialog'), false);
  assert.deepEqual(world.connections, []);
});

pageTest('a session that ends before the confirmation leads to the login', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 })];
  await driver.enter();
  await driver.select('alice');
  await endSelected(driver);
  world.sessions.clear();
  await driver.press('End 1 connection');
  await page.waitForSelector('#login:not([hidden])');
  assert.equal(await page.isVisible('#dialog'), false);
});
