import assert from 'node:assert/strict';
import { connection, webLogin } from '../page_driver.mjs';
import { eventually, pageTest } from './setup.mjs';

// Each target of the dialog as what it says and what came of it.
const targets = (page) =>
  page.$$eval('#dialog .target', (items) =>
    items.map((item) => [
      item.querySelector('.target-who .name').textContent,
      item.querySelector('.target-mark').innerText,
    ]),
  );
const kicks = (world) => world.callsOf('kick_connection').map((call) => call.parameters);

async function endSelected(driver) {
  await driver.page.click('#selection-end');
  await driver.page.waitForSelector('#dialog .danger');
}

// Asks for the end of 100 connections, each of which takes `delay` milliseconds.
async function endAHundred(driver, page, world, delay) {
  world.connections = Array.from({ length: 100 }, (_, index) => connection({ pid: 100 + index, who: `user${index}` }));
  world.kickDelay = delay;
  await driver.enter();
  await page.check('#head-row input');
  await endSelected(driver);
  await driver.press('End 100 connections');
}

pageTest('the dialog names everybody who is hit', async ({ driver, world }) => {
  world.connections = [
    connection({ pid: 1, who: 'bob', descr: 'photos (bob), music (alice)' }),
    webLogin({ pid: 2, who: 'carol', from: '10.0.0.8', descr: 'Firefox, Chrome' }),
  ];
  await driver.enter();
  await driver.select('bob');
  await driver.select('carol');
  await endSelected(driver);
  const text = await driver.dialogText();
  assert.match(text, /^End 2 connections\?/);
  assert.match(text, /The same process also serves alice, who will be disconnected too\./);
  assert.match(text, /Ends all logins of carol at 10\.0\.0\.8\./);
  assert.match(text, /Firefox, Chrome/);
  assert.deepEqual(kicks(world), [], 'nothing is ended before it is confirmed');
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
  assert.deepEqual(kicks(world), []);
  assert.equal(await driver.text('#selection-count'), '1 selected');
  assert.equal(await page.evaluate(() => document.activeElement.id), 'selection-end');
});

pageTest(
  'each row is a call of its own: a service with all its keys, a web login with user and address',
  async ({ driver, page, world }) => {
    world.connections = [
      connection({ pid: 11, who: 'alice', from: '10.0.0.1', type: 'CIFS' }),
      connection({ pid: 12, who: 'bob', from: '10.0.0.2', type: 'SSH' }),
      webLogin({ pid: 13, who: 'carol', from: '10.0.0.3' }),
      webLogin({ pid: 14, who: 'dave', from: '10.0.0.4' }),
      webLogin({ pid: 15, who: 'dave', from: '10.0.0.4', descr: 'Chrome' }),
    ];
    world.kickDelay = 500;
    await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
    await page.check('#head-row input');
    await endSelected(driver);
    await driver.press('End 5 connections');
    await driver.dialogTitle('5 of 5 ended');
    assert.equal(world.mostKicksAtOnce, 4);
    assert.deepEqual(kicks(world), [
      { service_conn: [{ pid: 11, who: 'alice', from: '10.0.0.1', type: 'CIFS' }] },
      { service_conn: [{ pid: 12, who: 'bob', from: '10.0.0.2', type: 'SSH' }] },
      { http_conn: [{ who: 'carol', from: '10.0.0.3' }] },
      { http_conn: [{ who: 'dave', from: '10.0.0.4' }] },
    ]);
  },
);

pageTest(
  'at most sixty-four calls run side by side, and sixty-four do',
  async ({ driver, page, world }) => {
    await endAHundred(driver, page, world, 5000);
    await driver.dialogTitle('100 of 100 ended');
    assert.equal(world.mostKicksAtOnce, 64);
    assert.equal(kicks(world).length, 100);
  },
  { isSecure: true },
);

pageTest(
  'while the server waits the dialog shows how far it is, and cannot be lost',
  async ({ driver, page, world }) => {
    world.connections = [connection({ pid: 1 }), connection({ pid: 2, who: 'bob' })];
    world.kickDelay = 2500;
    await driver.enter();
    await page.check('#head-row input');
    await endSelected(driver);
    await driver.press('End 2 connections');
    await driver.dialogTitle('Ending 2 connections');
    await eventually(async () => (await targets(page)).map(([, mark]) => mark), ['Ending…', 'Ending…']);
    assert.match(await driver.dialogText(), /0 of 2 answered\. Each process has up to five seconds to end\./);
    await page.keyboard.press('Escape');
    assert.equal(await page.isVisible('#dialog'), true);
    await driver.dialogTitle('2 of 2 ended');
  },
);

pageTest('the result says of each row what happened to it', async ({ driver, page, world }) => {
  world.connections = [
    connection({ pid: 1, who: 'ended' }),
    connection({ pid: 2, who: 'returned' }),
    connection({ pid: 3, who: 'stubborn' }),
  ];
  world.whenKicked.set(2, 'comes back').set(3, 'stays');
  await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
  await page.check('#head-row input');
  await endSelected(driver);
  await driver.press('End 3 connections');
  await driver.dialogTitle('2 of 3 ended');
  assert.deepEqual(await targets(page), [
    ['ended', 'Ended'],
    ['returned', 'Ended, then connected again'],
    ['stubborn', 'Still connected\nThere was nothing to end, or the process did not end in time.'],
  ]);
  await driver.press('Done');
  await eventually(async () => (await driver.rows()).map(([user]) => user), ['returned', 'stubborn']);
  assert.equal(await page.isVisible('#selection'), false);
});

const kRefusals = [
  [
    { status: 500, code: 117, causes: ['cannot lock the session file'] },
    /could not complete the request.*The server reports: cannot lock the session file/s,
  ],
  [{ status: 403, code: 105 }, /Administrator rights are required/],
  [{ status: 504, code: 504 }, /did not answer in time/],
  [{ status: 500, code: 500 }, /Unexpected answer from the server \(500\)/],
];

for (const [problem, sentence] of kRefusals) {
  pageTest(`a kick that fails with ${problem.code} is said in a sentence`, async ({ driver, page, world }) => {
    world.connections = [connection({ pid: 1 })];
    world.fail('kick_connection', problem);
    await driver.enter();
    await driver.select('alice');
    await endSelected(driver);
    await driver.press('End 1 connection');
    await driver.dialogTitle('0 of 1 ended');
    const [[, mark]] = await targets(page);
    assert.match(mark, /^Still connected\n/);
    assert.match(mark, sentence);
  });
}

pageTest(
  'a question that was given up does not come back in the place of the next one',
  async ({ driver, page, world }) => {
    world.connections = [connection({ pid: 1 }), connection({ pid: 2, who: 'bob' })];
    await driver.enter();
    await page.click('#pause');
    world.delays.set('list', 1500);
    await driver.openPanel('alice');
    await driver.choose('End this connection…');
    await page.keyboard.press('Escape');
    world.delays.set('list', 4000);
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
  world.fail('kick_connection', { status: 503, code: 503, retryAfter: 1 }, 2);
  await driver.enter();
  await driver.select('alice');
  await endSelected(driver);
  await driver.press('End 1 connection');
  await driver.dialogTitle('1 of 1 ended');
  assert.equal(kicks(world).length, 3);
});

pageTest('what has ended before it was confirmed is said and not asked for', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 }), connection({ pid: 2, who: 'bob' })];
  await driver.enter();
  await page.click('#pause');
  await page.check('#head-row input');
  world.connections = world.connections.slice(1);
  await endSelected(driver);
  assert.match(await driver.dialogText(), /^End 1 connection\?[^]*1 selected connection has already ended\./);
  await driver.press('End 1 connection');
  await driver.dialogTitle('1 of 1 ended');
  assert.equal(kicks(world).length, 1);
});

pageTest('where everything has ended already there is nothing to confirm', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 })];
  await driver.enter();
  await page.click('#pause');
  await driver.select('alice');
  world.connections = [];
  await page.click('#selection-end');
  await driver.dialogTitle('Nothing to end');
  await driver.press('Close');
  assert.deepEqual(kicks(world), []);
});

pageTest('a list that cannot be read before ending is said, and nothing is ended', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 })];
  await driver.enter();
  await page.click('#pause');
  await driver.select('alice');
  world.fail('list', { status: 500, code: 117 });
  await page.click('#selection-end');
  await driver.dialogTitle('The connections could not be read');
  assert.deepEqual(kicks(world), []);
});

pageTest('a list that may lack the row afterwards leaves open what happened', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 })];
  await driver.enter();
  await page.click('#pause');
  await driver.select('alice');
  await endSelected(driver);
  world.warnings = [{ code: 'connections_missing', service: 'CIFS', detail: 'Samba: no reason' }];
  await driver.press('End 1 connection');
  await driver.dialogTitle('0 of 1 ended');
  assert.deepEqual(await targets(page), [['alice', 'Not known: the list could not be read in full']]);
});

pageTest('a list that cannot be read afterwards leaves open what happened', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 })];
  await driver.enter();
  await page.click('#pause');
  await driver.select('alice');
  await endSelected(driver);
  world.fail('list', { status: 500, code: 117 });
  await driver.press('End 1 connection');
  await driver.dialogTitle('0 of 1 ended');
  assert.deepEqual(await targets(page), [['alice', 'Not known: the list could not be read in full']]);
});

pageTest(
  'stopping lets the calls under way finish and leaves the rest alone',
  async ({ driver, page, world }) => {
    await endAHundred(driver, page, world, 10_000);
    await driver.dialogTitle('Ending 100 connections');
    await driver.press('Stop');
    await driver.dialogTitle('64 of 100 ended');
    assert.equal(kicks(world).length, 64);
    assert.match(await driver.dialogText(), /Stopped\. The remaining connections were left alone\./);
    const marks = (await targets(page)).map(([, mark]) => mark);
    assert.equal(marks.filter((mark) => mark === 'Left alone').length, 36);
  },
  { isSecure: true },
);

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

pageTest(
  'whoever came from another address when logging in and ends that login, too, ends everything else before',
  async ({ driver, page, world }) => {
    await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
    for (const session of world.sessions.values()) session.address = '10.20.0.99';
    world.connections = [
      webLogin({ pid: 1, who: 'olga', from: '10.20.0.99' }),
      ...Array.from({ length: 20 }, (_, index) => connection({ pid: 100 + index, who: `user${index}` })),
    ];
    await driver.row('10.20.0.99').waitFor();
    await page.check('#head-row input');
    await endSelected(driver);
    await driver.press('End 21 connections');
    await page.waitForSelector('#login:not([hidden])');
    assert.deepEqual(world.connections, []);
    assert.deepEqual(kicks(world).at(-1), { http_conn: [{ who: 'olga', from: '10.20.0.99' }] });
  },
);

pageTest('a session that ends while connections are ended leads to the login', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 })];
  await driver.enter();
  await driver.select('alice');
  await endSelected(driver);
  world.sessions.clear();
  await driver.press('End 1 connection');
  await page.waitForSelector('#login:not([hidden])');
  assert.equal(await page.isVisible('#dialog'), false);
});
