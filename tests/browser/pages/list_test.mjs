import assert from 'node:assert/strict';
import { connection, webLogin } from '../page_driver.mjs';
import { eventually, pageTest } from './setup.mjs';

const people = (count, facts = {}) =>
  Array.from({ length: count }, (_, index) =>
    connection({
      pid: 100 + index,
      who: `user${String(index).padStart(4, '0')}`,
      time: '2026-11-20 12:00:00',
      ...facts,
    }),
  );
const users = async (driver) => (await driver.rows()).map(([user]) => user);
const lastList = (world) => world.callsOf('list').at(-1).parameters;

pageTest('a row shows user, service, address, start and resource as they are', async ({ driver, page, world }) => {
  world.connections = [
    connection({
      pid: 4,
      who: 'alice',
      from: '2001:db8::7',
      type: 'SFTP',
      descr: '/home',
      time: '2026-11-20 21:26:24',
    }),
  ];
  await driver.enter();
  assert.deepEqual(await driver.rows(), [['alice', 'SFTP', '2001:db8::7', '/home']]);
  assert.equal(await page.innerText('#rows .cell-since'), '21:26:24 13 min');
  assert.equal(await driver.text('#total'), '1 connection');
});

pageTest('what the server does not know is a dash', async ({ driver, page, world }) => {
  world.connections = [{ ...connection({ pid: 0, type: 'NFS', who: '', from: '', descr: '' }), time: '' }];
  await driver.enter();
  assert.deepEqual(await driver.rows(), [['–', 'NFS', '–', '–']]);
  assert.equal(await page.innerText('#rows .cell-since'), '–');
});

pageTest('texts of strangers are shown as text', async ({ driver, page, world }) => {
  const evil = '<img src=x onerror="document.title=1">{user}';
  world.connections = [connection({ pid: 4, who: evil, descr: evil, from: evil })];
  await driver.enter();
  assert.deepEqual(await driver.rows(), [[evil, 'CIFS', evil, evil]]);
  await driver.openPanel('onerror');
  await driver.choose('Disable');
  await driver.dialogTitle('cannot be disabled');
  assert.equal(await page.innerText('#dialog-title'), `${evil} cannot be disabled`);
  assert.equal(await page.locator('img').count(), 0);
});

pageTest('a click on a column sorts by it, a second one the other way round', async ({ driver, page, world }) => {
  world.connections = [
    connection({ pid: 1, who: 'bob', type: 'SSH', from: '10.0.0.1', descr: 'c', time: '2026-11-20 01:00:00' }),
    connection({ pid: 2, who: 'alice', type: 'FTP', from: '10.0.0.3', descr: 'a', time: '2026-11-20 02:00:00' }),
    connection({ pid: 3, who: 'carol', type: 'CIFS', from: '10.0.0.2', descr: 'b', time: '2026-11-20 03:00:00' }),
  ];
  await driver.enter();
  const orders = { who: 'alice bob carol', type: 'carol alice bob', from: 'bob carol alice', descr: 'alice carol bob' };
  for (const [field, order] of Object.entries(orders)) {
    await page.click(`[data-sort="${field}"]`);
    await eventually(() => users(driver), order.split(' '));
    assert.equal(await page.getAttribute(`th:has([data-sort="${field}"])`, 'aria-sort'), 'ascending');
    await page.click(`[data-sort="${field}"]`);
    await eventually(() => users(driver), order.split(' ').reverse());
    assert.equal(await page.getAttribute(`th:has([data-sort="${field}"])`, 'aria-sort'), 'descending');
  }
  await page.click('[data-sort="time"]');
  await eventually(() => users(driver), ['carol', 'alice', 'bob']);
  assert.equal(await page.locator('[aria-sort="ascending"], [aria-sort="descending"]').count(), 1);
});

pageTest('the list is filtered as one types, once the typing pauses', async ({ driver, page, world }) => {
  world.connections = people(30);
  await driver.enter();
  const before = world.callsOf('list').length;
  // Types faster than the pause of the page, however busy the machine is.
  await page.locator('#filter').evaluate((field, word) => {
    for (const letter of word) {
      field.value += letter;
      field.dispatchEvent(new Event('input', { bubbles: true }));
    }
  }, 'USER0007');
  await eventually(() => users(driver), ['user0007']);
  assert.equal(await driver.text('#total'), '1 connection found');
  assert.ok(world.callsOf('list').length - before <= 2, 'not a call for each letter');
  await eventually(() => page.textContent('#announcer'), '1 connection found');
  await page.press('#filter', 'Escape');
  await eventually(async () => (await users(driver)).length, 30);
  assert.equal(await driver.text('#total'), '30 connections');
});

pageTest('a filter that fits nothing says so and can be cleared from there', async ({ driver, page, world }) => {
  world.connections = people(3);
  await driver.enter();
  await page.fill('#filter', 'zebra');
  await eventually(() => page.innerText('#state h2'), 'No connection contains “zebra”');
  assert.equal(await driver.text('#total'), '0 connections found');
  await page.click('#state button');
  await eventually(async () => (await users(driver)).length, 3);
  assert.equal(await page.inputValue('#filter'), '');
});

pageTest(
  'an answer that comes late does not overwrite the answer to a later filter',
  async ({ driver, page, world }) => {
    world.connections = people(30);
    await driver.enter();
    world.failures.set('list', ({ parameters }) => {
      if (parameters.filter === 'user000') world.delays.set('list', 0);
      return null;
    });
    world.delays.set('list', 1500);
    await page.fill('#filter', 'user0001');
    await page.waitForTimeout(400);
    world.delays.set('list', 0);
    await page.fill('#filter', 'user0002');
    await eventually(() => users(driver), ['user0002']);
    await page.waitForTimeout(1500);
    assert.deepEqual(await users(driver), ['user0002']);
  },
);

pageTest('nobody connected is said as such', async ({ driver, page }) => {
  await driver.enter();
  assert.equal(await page.innerText('#state h2'), 'Nobody is connected right now');
  assert.equal(await page.isVisible('#table'), false);
});

pageTest('a long list has pages', async ({ driver, page, world }) => {
  world.connections = people(250);
  await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
  assert.equal(await driver.text('#pager-range'), '1–100 of 250');
  await page.click('[aria-label="Next page"]');
  await eventually(async () => (await users(driver))[0], 'user0100');
  assert.equal(await driver.text('#pager-range'), '101–200 of 250');
  await page.click('[aria-label="Page 3"]');
  await eventually(async () => (await users(driver)).length, 50);
  await page.selectOption('#pager-size', '250');
  await eventually(async () => (await users(driver)).length, 250);
  assert.deepEqual(lastList(world), { sort_by: 'who', sort_direction: 'ASC', start: '0', limit: '250' });
});

pageTest('when the page that one looks at no longer exists, the last one is shown', async ({ driver, world }) => {
  world.connections = people(250);
  await driver.enter('olga', 'correct horse', '/?sort=who&order=asc&page=3');
  world.connections = people(120);
  await eventually(() => driver.text('#pager-range'), '101–120 of 120');
});

pageTest('filter, order and page stand in the address and survive a reload', async ({ driver, page, world }) => {
  world.connections = people(250);
  await driver.enter();
  await page.fill('#filter', 'user');
  await page.waitForURL('**/?filter=user');
  await page.click('[data-sort="who"]');
  await page.click('[aria-label="Next page"]');
  await eventually(async () => (await users(driver))[0], 'user0100');
  await page.reload();
  await eventually(async () => (await users(driver))[0], 'user0100');
  assert.equal(await page.inputValue('#filter'), 'user');
});

pageTest(
  'the list refreshes itself five seconds after it came, and rows that came are marked',
  async ({ driver, page, world }) => {
    world.connections = people(2);
    await driver.enter();
    world.clock += 5000;
    world.connections.push(connection({ pid: 999, who: 'newcomer', time: '2026-11-20 21:40:03' }));
    await page.waitForSelector('.is-new');
    const [first, second] = world.callsOf('list');
    assert.ok(second.at - first.at > 4900, `after ${second.at - first.at} ms`);
    assert.deepEqual(await page.$$eval('.is-new .user-text', (marks) => marks.map((mark) => mark.textContent)), [
      'newcomer',
    ]);
    assert.equal(await page.innerText('.new-mark:visible'), 'new');
    assert.equal(await driver.text('#live-text'), 'Updated 21:40:05');
  },
);

pageTest(
  'refreshes that nobody asked for keep no login alive, those after a key or click do',
  async ({ driver, page, world }) => {
    await driver.enter();
    const next = async (count) => {
      await eventually(() => world.callsOf('list').length >= count, true);
      return world.callsOf('list')[count - 1].isBackground;
    };
    await page.waitForTimeout(300);
    await next(2);
    assert.equal(await next(3), true);
    await page.keyboard.press('Shift');
    assert.equal(await next(4), false);
    assert.equal(await next(5), true);
  },
);

pageTest('a refresh keeps selection, focus and what one looks at where they are', async ({ driver, page, world }) => {
  world.connections = people(100);
  await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
  await driver.select('user0060');
  await driver.row('user0062').locator('[data-control="more"]').focus();
  const place = () => driver.row('user0060').evaluate((row) => Math.round(row.getBoundingClientRect().top));
  const before = await place();
  world.connections.unshift(...people(20).map((row) => ({ ...row, pid: row.pid + 5000, who: `a${row.who}` })));
  world.connections = world.connections.filter(({ who }) => who !== 'user0010');
  world.clock += 5000;
  await eventually(() => driver.text('#total'), '119 connections');
  await page.selectOption('#pager-size', '250');
  await eventually(async () => (await users(driver)).length, 119);
  await driver.row('user0062').locator('[data-control="more"]').focus();
  const settled = await place();
  world.connections.splice(0, 5);
  await eventually(() => driver.text('#total'), '114 connections');
  assert.equal(await place(), settled);
  assert.ok(before > 0);
  assert.equal(await driver.row('user0060').locator('input').isChecked(), true);
  assert.match(await page.evaluate(() => document.activeElement.getAttribute('aria-label')), /user0062/);
});

pageTest(
  'when the focused row goes, the focus goes to the row that takes its place',
  async ({ driver, page, world }) => {
    world.connections = people(10);
    await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
    await driver.row('user0004').locator('input').focus();
    world.connections = world.connections.filter(({ who }) => who !== 'user0004');
    await eventually(() => driver.text('#total'), '9 connections');
    assert.match(await page.evaluate(() => document.activeElement.getAttribute('aria-label')), /user0005/);
  },
);

pageTest('a paused list stays as it is until it is resumed', async ({ driver, page, world }) => {
  world.connections = people(2);
  await driver.enter();
  await page.click('#pause');
  assert.equal(await driver.text('#live-text'), 'Paused at 21:40:00');
  const calls = world.callsOf('list').length;
  world.connections = people(3);
  await page.waitForTimeout(6500);
  assert.equal(world.callsOf('list').length, calls);
  assert.equal(await driver.text('#total'), '2 connections');
  await page.click('#pause');
  await eventually(() => driver.text('#total'), '3 connections');
});

pageTest(
  'a page in the background reads nothing, and reads at once when it is looked at again',
  async ({ driver, page, world }) => {
    await driver.enter();
    const show = (isHidden) =>
      page.evaluate((hidden) => {
        Object.defineProperty(document, 'hidden', { value: hidden, configurable: true });
        document.dispatchEvent(new Event('visibilitychange'));
      }, isHidden);
    await show(true);
    const calls = world.callsOf('list').length;
    await page.waitForTimeout(6500);
    assert.equal(world.callsOf('list').length, calls);
    await show(false);
    await eventually(() => world.callsOf('list').length, calls + 1, 2000);
  },
);

pageTest('selected rows that have ended are no longer selected', async ({ driver, world }) => {
  world.connections = people(3);
  await driver.enter();
  await driver.select('user0001');
  await driver.select('user0002');
  assert.equal(await driver.text('#selection-count'), '2 selected');
  world.connections = people(2);
  await eventually(() => driver.text('#selection-count'), '1 selected');
});

pageTest('rows stay selected on other pages, and the bar says so', async ({ driver, page, world }) => {
  world.connections = people(120);
  await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
  await driver.select('user0001');
  await page.click('[aria-label="Next page"]');
  await eventually(() => driver.text('#selection-elsewhere'), '1 of them not on this page');
  await page.click('[aria-label="Page 1"]');
  await eventually(() => driver.text('#selection-elsewhere'), '');
  assert.equal(await driver.row('user0001').locator('input').isChecked(), true);
});

pageTest(
  'the box in the head selects what can be ended on this page, and nothing else',
  async ({ driver, page, world }) => {
    world.connections = [
      ...people(3),
      connection({ pid: 0, type: 'NFS', who: '' }),
      webLogin({ pid: 1, who: 'olga', from: '10.20.0.2' }),
    ];
    await driver.enter();
    await page.check('#head-row input');
    assert.equal(await driver.text('#selection-count'), '3 selected');
    await driver.row('user0001').locator('input').uncheck();
    assert.equal(await page.$eval('#head-row input', (box) => box.indeterminate), true);
    await page.click('#selection-clear');
    assert.equal(await page.isVisible('#selection'), false);
  },
);

pageTest('with the shift key all rows between two are selected', async ({ driver, world }) => {
  world.connections = people(10);
  await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
  await driver.select('user0002');
  await driver
    .row('user0006')
    .locator('input')
    .click({ modifiers: ['Shift'] });
  assert.equal(await driver.text('#selection-count'), '5 selected');
});

pageTest('a row that cannot be ended says why and cannot be selected', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 0, type: 'NFS', who: '', from: '10.20.0.30' })];
  await driver.enter();
  const box = driver.row('NFS').locator('input');
  await box.click({ force: true });
  assert.equal(await box.isChecked(), false);
  assert.equal(await page.isVisible('#selection'), false);
  const reason = 'This connection has no process of its own, so there is nothing to end.';
  assert.equal(await driver.text('#tip'), reason);
  assert.equal(await box.getAttribute('aria-description'), reason);
  await driver.openPanel('NFS');
  const choices = await page.$$eval('#row-panel [aria-disabled]', (all) => all.map((one) => one.innerText));
  assert.deepEqual(choices, [`End this connection…\n${reason}`, 'Disable the user…\nThis connection has no user.']);
});

pageTest('from a row one comes to all rows of its user or of its address', async ({ driver, page, world }) => {
  world.connections = [
    connection({ pid: 1, from: '10.0.0.9' }),
    connection({ pid: 2 }),
    connection({ pid: 3, who: 'bob', from: '10.0.0.9' }),
  ];
  await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
  await driver.openPanel('bob');
  await driver.choose('Show only 10.0.0.9');
  await eventually(() => users(driver), ['alice', 'bob']);
  assert.equal(await page.inputValue('#filter'), '10.0.0.9');
});
