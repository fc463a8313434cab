// Ten thousand connections. How long they take depends on what else the machine does: it is printed, and bounded only
// so far that a page that hangs is noticed.
import assert from 'node:assert/strict';
import { connection } from '../page_driver.mjs';
import { eventually, pageTest } from './setup.mjs';

const kHang = 30_000; // milliseconds
const kTypes = ['CIFS', 'CIFS', 'SFTP', 'SSH', 'FTP', 'AFP'];

function tenThousand(world) {
  world.connections = Array.from({ length: 10_000 }, (_, index) =>
    connection({
      pid: 2000 + index,
      who: `user${String(index).padStart(5, '0')}`,
      from: `10.20.${index >> 8}.${index & 255}`,
      type: kTypes[index % kTypes.length],
      descr: 'photos, projects',
      time: `2026-11-20 ${String(index % 21).padStart(2, '0')}:00:00`,
    }),
  );
}

// Records how long the page was busy in one piece, from now on.
const watchTasks = (page) =>
  page.evaluate(() => {
    window.longest = 0;
    new PerformanceObserver((list) => {
      for (const { duration } of list.getEntries()) window.longest = Math.max(window.longest, duration);
    }).observe({ entryTypes: ['longtask'] });
  });

async function timed(work) {
  const start = performance.now();
  await work();
  return Math.round(performance.now() - start);
}

pageTest(
  'ten thousand connections are filtered, turned and refreshed, 250 rows at a time',
  async ({ driver, page, world }) => {
    tenThousand(world);
    await driver.enter('olga', 'correct horse', '/?sort=who&order=asc&rows=250');
    assert.equal(await driver.text('#total'), '10,000 connections');
    assert.equal((await driver.rows()).length, 250);
    await watchTasks(page);
    const first = () => page.textContent('#rows tr:first-child .user-text');
    const measured = {};
    measured.filter = await timed(async () => {
      await page.fill('#filter', 'user0777');
      await eventually(async () => (await driver.rows()).length, 10);
    });
    await page.press('#filter', 'Escape');
    await eventually(async () => (await driver.rows()).length, 250);
    measured.turn = await timed(async () => {
      await page.click('[aria-label="Next page"]');
      await eventually(first, 'user00250');
    });
    world.connections.splice(0, 3);
    await eventually(() => driver.text('#total'), '9,997 connections');
    measured.longestTask = Math.round(await page.evaluate(() => window.longest));
    console.log(`250 rows of 10,000, milliseconds: ${JSON.stringify(measured)}`);
    for (const [what, milliseconds] of Object.entries(measured)) assert.ok(milliseconds < kHang, what);
  },
);

pageTest(
  'a refresh of two hundred and fifty rows that did not change costs next to nothing',
  async ({ driver, page, world }) => {
    tenThousand(world);
    await driver.enter('olga', 'correct horse', '/?sort=who&order=asc&rows=250');
    await page.evaluate(() => {
      window.changes = 0;
      const count = (records) => (window.changes += records.length);
      new MutationObserver(count).observe(document.querySelector('#rows'), {
        childList: true,
        subtree: true,
        characterData: true,
        attributes: true,
      });
    });
    const calls = world.callsOf('list').length;
    await eventually(() => world.callsOf('list').length, calls + 1);
    await page.waitForTimeout(500);
    assert.equal(await page.evaluate(() => window.changes), 0);
  },
);
