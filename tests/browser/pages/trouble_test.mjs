import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { connection } from '../page_driver.mjs';
import { eventually, pageTest } from './setup.mjs';

pageTest(
  'when the server goes away the list stays, says how old it is, and goes on by itself',
  async ({ driver, page, world }) => {
    world.connections = [connection({ pid: 1 })];
    await driver.enter();
    world.isAway = true;
    await eventually(
      () => page.innerText('#notices .trouble .notice-text').catch(() => ''),
      'The server is not responding. The list below is as of 21:40:00. The page keeps retrying.',
    );
    assert.equal(await driver.text('#live-text'), 'As of 21:40:00');
    assert.equal((await driver.rows()).length, 1);
    world.isAway = false;
    await eventually(() => page.isVisible('#notices .trouble'), false);
    assert.equal(await driver.text('#live-text'), 'Updated 21:40:00');
  },
);

pageTest('trying again is one click', async ({ driver, page, world }) => {
  await driver.enter();
  world.isAway = true;
  await page.waitForSelector('#notices .trouble');
  world.isAway = false;
  const calls = world.callsOf('list').length;
  await page.click('#notices .trouble .button');
  await eventually(() => page.isVisible('#notices .trouble'), false, 2000);
  assert.equal(world.callsOf('list').length, calls + 1);
});

pageTest(
  'a list that the server cannot read is said with the causes that it gives',
  async ({ driver, page, world }) => {
    world.fail('list', { status: 500, code: 117, causes: ['smbstatus did not end within 10 s'] });
    await driver.visit();
    await driver.logIn('olga', 'correct horse');
    await eventually(() => page.innerText('#state h2').catch(() => ''), 'The connections could not be read');
    assert.match(
      await driver.text('#state'),
      /See its system log for the reason\. The server reports: smbstatus did not end within 10 s/,
    );
    world.failures.clear();
    await page.click('#state button');
    await eventually(() => page.innerText('#state h2').catch(() => ''), 'Nobody is connected right now');
  },
);

const kBrokenUtmp = { code: 'connections_missing', service: 'LOGIN', detail: 'cannot read /run/utmp: Is a directory' };
const kSilentSamba = { code: 'details_missing', service: 'CIFS', detail: 'smbstatus did not answer' };

pageTest('what may be missing from the list is said above it as long as it may', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 })];
  world.warnings = [kBrokenUtmp, kSilentSamba];
  await driver.enter();
  await eventually(
    () => page.innerText('#notices .notice-text').catch(() => ''),
    'Connections may be missing from the list: LOGIN. Some details of these connections are not known: CIFS. ' +
      'The server reports: cannot read /run/utmp: Is a directory; smbstatus did not answer',
  );
  assert.equal((await driver.rows()).length, 1);
  const notices = await page.locator('#notices').boundingBox();
  const list = await page.locator('#list').boundingBox();
  assert.ok(notices.y + notices.height <= list.y);
  world.warnings = undefined;
  await eventually(() => page.isVisible('#notices .notice'), false);
});

pageTest('a user is told that rows may be missing, without the causes', async ({ driver, page, world }) => {
  world.warnings = [{ code: 'connections_missing', service: 'LOGIN' }];
  await driver.visit();
  await driver.logIn('alice', 'alice pw');
  await eventually(
    () => page.innerText('#notices .notice-text').catch(() => ''),
    'Connections may be missing from the list: LOGIN.',
  );
});

// A web server that counts requests refuses with a page of its own.
const kRefusals = [
  { status: 429, contentType: 'text/html', body: '<html><h1>429 Too Many Requests</h1></html>' },
  { status: 503, contentType: 'text/html', headers: { 'retry-after': '1' }, body: '<html><h1>503</h1></html>' },
];

for (const refusal of kRefusals) {
  pageTest(
    `a web server that refuses with ${refusal.status} is called busy, and the page goes on by itself`,
    async ({ driver, page, world }) => {
      const isCall = (url) => url.pathname.startsWith('/api/');
      world.connections = [connection({ pid: 1 })];
      await driver.enter();
      await page.route(isCall, (route) => route.fulfill(refusal));
      await eventually(
        () => page.innerText('#notices .trouble .notice-text').catch(() => ''),
        'The server is too busy or not ready. Try again in a moment. ' +
          'The list below is as of 21:40:00. The page keeps retrying.',
      );
      assert.equal((await driver.rows()).length, 1);
      await page.reload();
      await eventually(
        () => page.innerText('#away').catch(() => ''),
        'The connections could not be read\n\n' +
          'The server is too busy or not ready. Try again in a moment.\n\nRetry now',
      );
      await page.unroute(isCall);
      await driver.row('alice').waitFor();
    },
  );

  pageTest(
    `what a web server refuses with ${refusal.status} is asked for again before and while ending`,
    async ({ driver, page, world }) => {
      world.connections = [connection({ pid: 1 })];
      await driver.enter();
      await page.click('#pause');
      await driver.select('alice');
      let calls = 0;
      await page.route(
        (url) => url.pathname.startsWith('/api/'),
        (route) => ((calls += 1) % 3 === 0 ? route.continue() : route.fulfill(refusal)),
      );
      await page.click('#selection-end');
      await page.waitForSelector('#dialog .danger');
      await driver.press('End 1 connection');
      await driver.dialogTitle('1 of 1 ended');
      assert.equal(calls, 6);
    },
  );
}

pageTest('an answer that is none of the server is no list', async ({ driver, page }) => {
  await driver.enter();
  await page.route('**/list?*', (route) =>
    route.fulfill({ status: 200, contentType: 'text/html', body: '<h1>Portal</h1>' }),
  );
  await page.waitForSelector('#notices .trouble');
  assert.match(await driver.text('#notices'), /The server is not responding\.|does not understand/);
});

pageTest('loading is shown as such', async ({ driver, page, world }) => {
  world.delays.set('list', 1500);
  await driver.visit();
  await driver.logIn('olga', 'correct horse');
  await page.waitForSelector('.skeleton-row');
  assert.match(await page.textContent('#state'), /Loading…/);
  await page.waitForSelector('#live-text:not(:empty)');
  assert.equal(await page.isVisible('.skeleton-row'), false);
});

pageTest('the report is downloaded for what one sees, after the list was asked', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1, who: 'alice' }), connection({ pid: 2, who: 'bob' })];
  await driver.enter('olga', 'correct horse', '/?filter=bob&sort=who&order=asc');
  const [download] = await Promise.all([page.waitForEvent('download'), page.click('#report')]);
  assert.equal(download.suggestedFilename(), 'currentlog.html');
  assert.equal(
    await readFile(await download.path(), 'utf8'),
    '<html><body><table border=1><tr><td>bob</td><td>CIFS</td></tr></table></body></html>',
  );
  const methods = world.calls.map((call) => call.method).filter((method) => method !== 'whoami' && method !== 'login');
  assert.equal(methods[methods.indexOf('download') - 1], 'list');
  assert.deepEqual(world.callsOf('download')[0].parameters, { filter: 'bob', sort_by: 'who', sort_direction: 'ASC' });
});

pageTest('a report that would be incomplete is not downloaded', async ({ driver, page, world }) => {
  await driver.enter();
  await page.click('#pause');
  world.fail('list', { status: 500, code: 117 });
  await page.click('#report');
  await eventually(
    () => page.innerText('#notices .trouble .notice-text').catch(() => ''),
    'The report could not be created. The server could not complete the request. See its system log for the reason.',
  );
  assert.deepEqual(world.callsOf('download'), []);
  await page.click('#notices [aria-label="Close"]');
  assert.equal(await page.isVisible('#notices .trouble'), false);
});

pageTest('a page whose texts cannot be loaded says so', async ({ driver, page }) => {
  await page.route('**/texts/*.json', (route) => route.abort());
  await driver.visit();
  await eventually(
    () => page.innerText('#boot-failure'),
    'The page could not be loaded from the server. Reload it to try again.',
  );
});
