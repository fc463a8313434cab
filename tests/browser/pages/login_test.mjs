import assert from 'node:assert/strict';
import { connection } from '../page_driver.mjs';
import { eventually, pageTest } from './setup.mjs';

const kToken = 'T'.repeat(43);

pageTest(
  'a wrong password is said in one sentence, and the password is ready to be typed again',
  async ({ driver, page }) => {
    await driver.visit();
    await driver.logIn('olga', 'wrong');
    await eventually(
      () => driver.text('#login-notice'),
      'The user name or password is wrong, or the account may not log in.',
    );
    assert.equal(await page.inputValue('#login-name'), 'olga');
    assert.equal(await page.evaluate(() => document.activeElement.id), 'login-password');
  },
);

pageTest('an empty form is not sent', async ({ driver, page, world }) => {
  await driver.visit();
  await page.click('#login-submit');
  await eventually(() => driver.text('#login-notice'), 'Enter a user name and a password.');
  assert.deepEqual(world.callsOf('login'), []);
});

pageTest(
  'who logs in sees the list, and the password is nowhere in the page any longer',
  async ({ driver, page, world }) => {
    world.connections = [connection({ pid: 4 })];
    await driver.enter();
    assert.deepEqual(await driver.rows(), [['alice', 'CIFS', '10.20.0.7', 'photos']]);
    assert.equal(await page.inputValue('#login-password'), '');
  },
);

pageTest('a password that was made visible is hidden again at the next login', async ({ driver, page }) => {
  await driver.visit();
  await page.check('#login-reveal');
  assert.equal(await page.getAttribute('#login-password', 'type'), 'text');
  await driver.logIn('olga', 'correct horse');
  await page.waitForSelector('#live-text:not(:empty)');
  await page.click('#account-button');
  await page.click('#log-out');
  await page.waitForSelector('#login:not([hidden])');
  assert.equal(await page.getAttribute('#login-password', 'type'), 'password');
});

pageTest('who is logged in already comes to the list without a form', async ({ driver, page }) => {
  await driver.enter();
  await page.reload();
  await page.waitForSelector('#live-text:not(:empty)');
  assert.equal(await page.isVisible('#login'), false);
});

pageTest('a login link logs in, names the account and leaves the address', async ({ driver, page, world }) => {
  world.links.set(kToken, 'olga');
  await driver.visit(`/#login=${kToken}`);
  await eventually(() => page.innerText('#notices .good .notice-text'), 'You are logged in as olga, by a login link.');
  assert.equal(page.url(), `${driver.base}/`);
  assert.equal(await page.evaluate(() => history.length), 2);
  assert.deepEqual(
    world.callsOf('login').map((call) => call.parameters),
    [{ token: kToken }],
  );
});

pageTest('a login link that was used says so and leads to the form', async ({ driver, world, page }) => {
  await driver.visit(`/#login=${kToken}`);
  await page.waitForSelector('#login-notice .trouble');
  assert.match(await driver.text('#login-notice'), /^This login link has already been used or is older than five minutes\./);
  assert.equal(world.callsOf('login').length, 1);
  assert.equal(page.url(), `${driver.base}/`);
});

pageTest('a login link opened in the page that is already there is taken, too', async ({ driver, page, world }) => {
  await driver.enter('alice', 'alice pw');
  world.links.set(kToken, 'olga');
  await page.evaluate((token) => (location.hash = `login=${token}`), kToken);
  await eventually(() => page.innerText('#account-name'), 'olga');
  assert.equal(page.url(), `${driver.base}/`);
});

pageTest('a fragment that is no login link is left alone', async ({ driver, page, world }) => {
  await driver.visit('/#login=short');
  await page.waitForSelector('#login:not([hidden])');
  assert.deepEqual(world.callsOf('login'), []);
});

pageTest('logging out says so and ends the login on the server', async ({ driver, page, world }) => {
  await driver.enter('olga', 'correct horse', '/?filter=cifs');
  await page.click('#account-button');
  await page.click('#log-out');
  await eventually(() => driver.text('#login-notice'), 'You have logged out.');
  assert.equal(world.sessions.size, 0);
  assert.equal(page.url(), `${driver.base}/`);
  await driver.logIn('olga', 'correct horse');
  await page.waitForSelector('#connections:not([hidden])');
  assert.equal(await page.isVisible('#account-panel'), false);
});

pageTest('logging out that the server did not hear is not claimed', async ({ driver, page, world }) => {
  await driver.enter();
  world.fail('logout', { status: 503, code: 503 });
  await page.click('#account-button');
  await page.click('#log-out');
  await page.waitForSelector('#notices .trouble');
  assert.equal(await page.isVisible('#login'), false);
});

pageTest('a session that has ended leads back to the login with a sentence', async ({ driver, page, world }) => {
  await driver.enter();
  world.sessions.clear();
  await page.waitForSelector('#login:not([hidden])');
  assert.match(
    await driver.text('#login-notice'),
    /^Your session has ended after 15 minutes without activity, or because an administrator ended it\./,
  );
  const calls = world.calls.length;
  await page.waitForTimeout(6000);
  assert.equal(world.calls.length, calls, 'nothing is read any longer');
});

pageTest('a login that the server is too busy for says so', async ({ driver, world }) => {
  await driver.visit();
  world.fail('login', { status: 503, code: 503 });
  await driver.logIn('olga', 'correct horse');
  await eventually(() => driver.text('#login-notice'), 'The server is too busy or not ready. Try again in a moment.');
});

pageTest(
  'a server that is away when the page is opened is said, and the page goes on by itself',
  async ({ driver, page }) => {
    let isAway = true;
    await page.route(
      (url) => url.pathname.startsWith('/api/'),
      (route) => (isAway ? route.abort() : route.continue()),
    );
    await driver.visit();
    await eventually(() => driver.text('#away h1'), 'The server is not responding');
    isAway = false;
    await page.waitForSelector('#login:not([hidden])');
  },
);

pageTest(
  'an account that is no administrator sees its own connections and nothing to end them with',
  async ({ driver, page, world }) => {
    world.connections = [connection({ pid: 4, who: 'alice' }), connection({ pid: 5, who: 'bob' })];
    await driver.enter('alice', 'alice pw');
    assert.deepEqual(await driver.rows(), [['alice', 'CIFS', '10.20.0.7', 'photos']]);
    assert.equal(await driver.text('#total'), '1 connection of alice');
    for (const control of ['#rows input', '#head-row input', '#report']) {
      assert.equal(await page.isVisible(control), false, control);
    }
    await driver.openPanel('alice');
    assert.equal(await page.locator('#row-panel', { hasText: /End|Disable/ }).count(), 0);
    assert.deepEqual([...new Set(world.calls.map((call) => call.method))], ['whoami', 'login', 'list_by_user']);
  },
);

pageTest("one's own connections can be filtered, though the server does not do it", async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 4, descr: 'photos' }), connection({ pid: 5, descr: 'music' })];
  await driver.enter('alice', 'alice pw');
  await page.fill('#filter', 'MUS');
  await eventually(() => driver.rows(), [['alice', 'CIFS', '10.20.0.7', 'music']]);
});

pageTest('an administrator who is none any longer comes to see their own connections', async ({ driver, world }) => {
  world.connections = [connection({ pid: 4, who: 'olga' }), connection({ pid: 5, who: 'bob' })];
  await driver.enter();
  world.accounts.get('olga').isAdmin = false;
  await eventually(() => driver.text('#total'), '1 connection of olga');
  assert.deepEqual(await driver.rows(), [['olga', 'CIFS', '10.20.0.7', 'photos']]);
});

pageTest('a view login shows the list and nothing that changes it', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 4 })];
  Object.assign(world.accounts.get('olga'), { viewUntil: 1900000000 });
  world.links.set(kToken, 'olga');
  await driver.visit(`/#login=${kToken}`);
  await eventually(() => driver.rows(), [['alice', 'CIFS', '10.20.0.7', 'photos']]);
  assert.equal(await page.isVisible('#report'), false);
  assert.equal(await page.locator('.cell-select:visible').count(), 0);
  await page.click('[data-control="more"]');
  assert.deepEqual(await page.locator('#row-panel .choice').allInnerTexts(), [
    'Show only alice',
    'Show only 10.20.0.7',
  ]);
  await page.keyboard.press('Escape');
  await page.click('#account-button');
  assert.equal(await page.innerText('#account-role'), 'View only');
  assert.equal(await page.isVisible('#log-out'), false);
  await page.keyboard.press('Escape');
  world.sessions.clear();
  await eventually(
    () => driver.text('#login-notice'),
    'This view-only login has ended. Create a new link on the server: currentconn login-link --view',
  );
});
