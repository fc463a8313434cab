// axe-core on every state of the page, with a screenshot of each, and the page by keyboard only.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { connection, webLogin } from '../page_driver.mjs';
import { requirePackage } from '../packages.mjs';
import { eventually, pageTest } from './setup.mjs';

const axe = readFileSync(requirePackage.resolve('axe-core/axe.min.js'), 'utf8');

// Brings colours and panels that are on their way to where they go; what turns for ever continues.
function settle() {
  for (const animation of document.getAnimations()) {
    if (animation.effect.getTiming().iterations !== Infinity) animation.finish();
  }
}

// Serious or critical violations, as "rule: location".
async function findings(page) {
  await page.evaluate(settle);
  await page.evaluate(axe);
  const { violations } = await page.evaluate(() => window.axe.run(document, { resultTypes: ['violations'] }));
  return violations
    .filter(({ impact }) => impact === 'serious' || impact === 'critical')
    .flatMap(({ id, nodes }) =>
      nodes.map(({ target, failureSummary }) => `${id}: ${target.join(' ')}: ${failureSummary}`),
    );
}

function someConnections(world) {
  world.accounts.set('carol', { password: 'x', isAdmin: false });
  world.connections = [
    connection({ pid: 1, who: 'bob', descr: 'photos (bob), music (alice)' }),
    connection({ pid: 2, who: 'carol', type: 'SSH', descr: 'pts/3' }),
    webLogin({ pid: 3, who: 'olga', from: '10.20.0.2' }),
    connection({ pid: 0, who: '', type: 'NFS' }),
    ...Array.from({ length: 120 }, (_, index) => connection({ pid: 100 + index, who: `user${index}` })),
  ];
  world.effects.set(1, [{ reason: 'same_process', user: 'alice' }]);
  world.openFiles.set(1, ['/srv/photos/a.jpg']);
  const values = { pam: 'sshd' };
  world.access = [{ service: 'ssh', access: 'let_in', reason: 'rules-pass', remedy: 'add-account-check', values }];
  world.leftRunning = { uid: 1003, processes: 2, apart: [], crontab: true, at_jobs: 1 };
}

async function askToDisable({ driver, page }) {
  await driver.enter();
  await driver.openPanel('carol');
  await driver.choose('Disable carol…');
  await page.waitForSelector('#dialog .danger');
}

async function askToEnd({ driver, page }) {
  await driver.enter();
  await driver.select('bob');
  await driver.select('carol');
  await page.click('#selection-end');
  await page.waitForSelector('#dialog .danger');
}

const kStates = {
  'the login': async ({ driver, page }) => {
    await driver.visit();
    await page.click('#login-submit');
    await page.waitForSelector('#login-notice .notice');
  },
  'the ended session': async ({ driver, page, world }) => {
    await driver.enter();
    world.sessions.clear();
    await page.waitForSelector('#login:not([hidden])');
  },
  'the absent server': async ({ driver, page }) => {
    await page.route(
      (url) => url.pathname.startsWith('/api/'),
      (route) => route.abort(),
    );
    await driver.visit();
    await page.waitForSelector('#away:not([hidden])');
  },
  'the busy server': async ({ driver, page }) => {
    await page.route(
      (url) => url.pathname.startsWith('/api/'),
      (route) => route.fulfill({ status: 503, contentType: 'text/html', body: '<h1>503</h1>' }),
    );
    await driver.visit();
    await page.waitForSelector('#away:not([hidden])');
  },
  'the loading list': async ({ driver, page, world }) => {
    world.delays.set('list', 4000);
    await driver.visit();
    await driver.logIn('olga', 'correct horse');
    await page.waitForSelector('.skeleton-row');
  },
  'the full list with selected, new and greyed rows': async ({ driver, page, world }) => {
    someConnections(world);
    await driver.enter();
    await driver.select('bob');
    world.clock += 5000;
    world.connections.push(connection({ pid: 9999, who: 'newcomer', time: '2026-11-20 21:40:02' }));
    await page.waitForSelector('.is-new');
    await driver.row('NFS').locator('input').focus();
  },
  'the paused list': async ({ driver, page, world }) => {
    someConnections(world);
    await driver.enter();
    await page.click('#pause');
    await page.waitForSelector('#live[data-state="paused"]');
  },
  'the empty list': ({ driver }) => driver.enter(),
  'the list filtered to nothing': ({ driver }) => driver.enter('olga', 'correct horse', '/?filter=zebra'),
  'the stale list': async ({ driver, page, world }) => {
    someConnections(world);
    await driver.enter();
    world.isAway = true;
    await page.waitForSelector('#notices .trouble');
  },
  'the list that cannot be read': async ({ driver, page, world }) => {
    world.fail('list', { status: 500, code: 117, causes: ['smbstatus failed'] });
    await driver.visit();
    await driver.logIn('olga', 'correct horse');
    await page.waitForSelector('#state[data-kind="failed"]');
  },
  'the own connections': async ({ driver, world }) => {
    world.connections = [connection({ pid: 4 })];
    await driver.enter('alice', 'alice pw');
  },
  'the panel of the account': async ({ driver, page }) => {
    await driver.enter();
    await page.click('#account-button');
  },
  'the panel of a row': async ({ driver, world }) => {
    someConnections(world);
    await driver.enter();
    await driver.openPanel('NFS');
  },
  'the question before ending': async (given) => {
    someConnections(given.world);
    await askToEnd(given);
  },
  'the progress of ending': async (given) => {
    someConnections(given.world);
    given.world.performDelay = 12_000;
    await askToEnd(given);
    await given.driver.press('End 2 connections');
    await given.driver.dialogTitle('Ending');
  },
  'the result of ending': async (given) => {
    someConnections(given.world);
    given.world.fates.set(1, { fate: 'still_there', reason: { reason: 'not_in_time' } });
    given.world.fates.set(2, { fate: 'connected_again' });
    await askToEnd(given);
    await given.driver.press('End 2 connections');
    await given.driver.dialogTitle('1 of 2 ended');
  },
  'the question before disabling': async (given) => {
    someConnections(given.world);
    await askToDisable(given);
  },
  'the progress of disabling': async (given) => {
    someConnections(given.world);
    given.world.performDelay = 12_000;
    await askToDisable(given);
    await given.driver.press('Disable carol');
    await given.driver.dialogTitle('Disabling carol');
  },
  'the result of disabling': async (given) => {
    someConnections(given.world);
    given.world.fates.set(2, { fate: 'still_there', reason: { reason: 'not_in_time' } });
    await askToDisable(given);
    await given.driver.press('Disable carol');
    await given.driver.dialogTitle('carol is disabled');
  },
};

const nameOf = (state) => state.replaceAll(/\W+/g, '-');

for (const [state, reach] of Object.entries(kStates)) {
  pageTest(`${state} has no serious barrier, light, dark or on a telephone`, async (given) => {
    const { driver, page } = given;
    const look = async (appearance) => {
      assert.deepEqual(await findings(page), []);
      await driver.take(`${nameOf(state)}-${appearance}`);
    };
    await reach(given);
    await look('light');
    await page.emulateMedia({ colorScheme: 'dark' });
    await look('dark');
    await page.setViewportSize({ width: 375, height: 700 });
    await look('dark-telephone');
    await page.emulateMedia({ colorScheme: 'light' });
    await driver.take(`${nameOf(state)}-light-telephone`);
  });
}

const focused = (page) =>
  page.evaluate(() => {
    const { id, dataset, textContent, ariaLabel } = document.activeElement;
    return id || ariaLabel || dataset.sort || textContent;
  });

pageTest('everything can be reached and done by keyboard alone', async ({ driver, page, world }) => {
  world.connections = [
    connection({ pid: 1, who: 'alice' }),
    connection({ pid: 2, who: 'bob' }),
    connection({ pid: 3, who: 'carol' }),
  ];
  await driver.visit('/?sort=who&order=asc');
  await page.waitForSelector('#login:not([hidden])');
  await page.keyboard.type('olga');
  await page.keyboard.press('Tab');
  await page.keyboard.type('correct horse');
  await page.keyboard.press('Enter');
  await page.waitForSelector('#live-text:not(:empty)');
  const stops = [];
  for (let count = 0; count < 12; count += 1) {
    await page.keyboard.press('Tab');
    stops.push(await focused(page));
  }
  assert.deepEqual(stops, [
    'Skip to the list',
    'account-button',
    'pause',
    'report',
    'filter',
    'Select all rows of this page',
    'who',
    'type',
    'from',
    'time',
    'descr',
    'Select alice, CIFS, 10.20.0.7',
  ]);
});

pageTest(
  'arrow keys move in the table, the space key selects, and the dialog gives the focus back',
  async ({ driver, page, world }) => {
    world.connections = [
      connection({ pid: 1, who: 'alice' }),
      connection({ pid: 2, who: 'bob' }),
      connection({ pid: 3, who: 'carol' }),
    ];
    await driver.enter('olga', 'correct horse', '/?sort=who&order=asc');
    await driver.row('alice').locator('input').focus();
    await page.keyboard.press('ArrowDown');
    await page.keyboard.press('Space');
    await page.keyboard.press('End');
    assert.equal(await focused(page), 'Actions for bob, CIFS, 10.20.0.7');
    await page.keyboard.press('Control+End');
    assert.equal(await focused(page), 'Actions for carol, CIFS, 10.20.0.7');
    await page.keyboard.press('ArrowUp');
    await page.keyboard.press('Enter');
    await eventually(() => focused(page), 'Show only bob');
    await page.keyboard.press('ArrowDown');
    assert.equal(await focused(page), 'Show only 10.20.0.7');
    await page.keyboard.press('Escape');
    assert.equal(await focused(page), 'Actions for bob, CIFS, 10.20.0.7');
    await page.locator('#selection-end').focus();
    await page.keyboard.press('Enter');
    await page.waitForSelector('#dialog .danger');
    await eventually(() => focused(page), 'Cancel');
    await page.keyboard.press('Tab');
    await page.keyboard.press('Enter');
    await driver.dialogTitle('1 of 1 ended');
    await eventually(() => focused(page), 'Done');
    await page.keyboard.press('Enter');
    await eventually(async () => (await driver.rows()).length, 2);
    assert.equal(await focused(page), 'list');
  },
);

pageTest('the focus is always to be seen', async ({ driver, page, world }) => {
  world.connections = [connection({ pid: 1 })];
  await driver.enter();
  for (let count = 0; count < 14; count += 1) {
    await page.keyboard.press('Tab');
    const outline = await page.evaluate(() => {
      const element = document.activeElement;
      if (element === document.body) return 'body';
      const { outlineStyle, outlineWidth } = getComputedStyle(element);
      return outlineStyle !== 'none' && parseFloat(outlineWidth) >= 2 ? 'seen' : element.outerHTML;
    });
    assert.ok(['seen', 'body'].includes(outline), outline);
  }
});
