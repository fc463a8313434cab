// On a phone, and in the languages with the longest words.
import assert from 'node:assert/strict';
import { connection, webLogin } from '../page_driver.mjs';
import { eventually, pageTest } from './setup.mjs';

const kTelephone = { viewport: { width: 360, height: 720 }, isMobile: true, hasTouch: true };
const kLanguages = { 'en-US': 'en', 'de-AT': 'de', 'fr-FR': 'fr', 'es-MX': 'es', 'ja-JP': 'ja', 'zh-CN': 'zh-Hans' };

function someConnections(world) {
  world.accounts.set('carol', { password: 'x', isAdmin: false });
  world.connections = [
    connection({
      pid: 1,
      who: 'carol',
      from: '2001:db8:85a3:1234:5678:8a2e:370:7334',
      type: 'SSH',
      descr: `/srv/${'x'.repeat(90)}`,
    }),
    webLogin({ pid: 2, who: 'a-very-long-user-name-that-goes-on-and-on-and-on', time: '2026-10-01 08:00:00' }),
    ...Array.from({ length: 60 }, (_, index) => connection({ pid: 100 + index, who: `user${index}` })),
  ];
  const values = { pam: 'sshd', cause: '/'.padEnd(90, 'x') };
  world.access = ['let_in', 'unknown'].map((access) => {
    return { service: 'ssh', access, reason: 'rules-unclear', remedy: 'add-account-check', values };
  });
  world.effects.set(1, [{ reason: 'same_process', user: 'y'.repeat(90) }]);
  world.leftRunning = { uid: 1003, processes: 2, apart: [4711], crontab: true, at_jobs: 1 };
}

// How far elements extend beyond the right edge, and which ones.
const overflow = (page) =>
  page.evaluate(() => {
    const room = document.documentElement.clientWidth;
    const isOut = (element) =>
      !element.matches('td *') && element.checkVisibility() && element.getBoundingClientRect().right > room + 1;
    const out = [...document.querySelectorAll('body *')]
      .filter(isOut)
      .map((element) => element.outerHTML.slice(0, 120));
    return { scrolls: document.documentElement.scrollWidth > room, out };
  });

const kFits = { scrolls: false, out: [] };

for (const [locale, language] of Object.entries(kLanguages)) {
  pageTest(
    `everything fits a telephone's width in ${language}`,
    async ({ driver, page, world }) => {
      someConnections(world);
      await driver.visit();
      await page.waitForSelector('#login:not([hidden])');
      assert.equal(await page.getAttribute('html', 'lang'), language);
      assert.deepEqual(await overflow(page), kFits);
      await driver.logIn('olga', 'correct horse');
      await page.waitForSelector('#live-text:not(:empty)');
      assert.deepEqual(await overflow(page), kFits);
      await page.tap('#account-button');
      assert.deepEqual(await overflow(page), kFits);
      await page.keyboard.press('Escape');
      await driver.openPanel('carol');
      assert.deepEqual(await overflow(page), kFits);
      await page.tap('#row-panel .choice:last-child');
      await page.waitForSelector('#dialog .danger');
      assert.deepEqual(await overflow(page), kFits);
      await page.keyboard.press('Escape');
      await driver.row('carol').locator('input').tap();
      assert.deepEqual(await overflow(page), kFits);
    },
    { ...kTelephone, locale },
  );

  pageTest(
    `no text is missing in ${language}`,
    async ({ driver, page, world }) => {
      someConnections(world);
      await driver.enter();
      await driver.openPanel('carol');
      await page.click('#row-panel .choice:last-child');
      await page.waitForSelector('#dialog .danger');
      const shown = await page.innerText('body');
      assert.doesNotMatch(shown, /undefined|null|NaN|\{\w+\}|\b[a-z_]+\.[a-z_]+_[a-z_]+\b/);
    },
    { locale },
  );
}

pageTest(
  'on a telephone the list is sorted by a field of its own',
  async ({ driver, page, world }) => {
    world.connections = [connection({ pid: 1, who: 'bob' }), connection({ pid: 2, who: 'alice' })];
    await driver.enter();
    await page.selectOption('#sort-field', 'who');
    await page.tap('#sort-order');
    await eventually(async () => (await driver.rows()).map(([user]) => user), ['alice', 'bob']);
    assert.equal(await page.getAttribute('#sort-order', 'aria-label'), 'Order: Ascending');
  },
  kTelephone,
);

pageTest(
  'on a telephone all rows are selected by a line that says so',
  async ({ driver, page, world }) => {
    world.connections = [connection({ pid: 1, who: 'bob' }), connection({ pid: 2, who: 'alice' })];
    await driver.enter();
    const { x, y, height } = await page.locator('#head-row input').boundingBox();
    await page.touchscreen.tap(x + 120, y + height / 2);
    assert.equal(await driver.text('#selection-count'), '2 selected');
    assert.equal(await page.isVisible('#head-row .sort'), false);
  },
  kTelephone,
);

pageTest(
  'what is tapped on a telephone is large enough',
  async ({ driver, page, world }) => {
    someConnections(world);
    await driver.enter();
    await driver.row('carol').locator('input').tap();
    const small = await page.$$eval('button, select, input:not([type=checkbox])', (controls) =>
      controls
        .filter((control) => control.checkVisibility())
        .map((control) => [control.id || control.className, control.getBoundingClientRect()])
        .filter(([, { width, height }]) => width < 30 || height < 30)
        .map(([name, { width, height }]) => `${name} ${width}x${height}`),
    );
    assert.deepEqual(small, []);
  },
  kTelephone,
);

pageTest(
  'the language is changed without losing filter and selection, and is remembered',
  async ({ driver, page, world }) => {
    someConnections(world);
    await driver.enter('olga', 'correct horse', '/?filter=user1');
    await driver.select('user12');
    await page.click('#account-button');
    await page.selectOption('[data-preferences="account"] select >> nth=0', 'de');
    await eventually(() => driver.text('#selection-count'), '1 ausgewählt');
    assert.equal(await page.inputValue('#filter'), 'user1');
    assert.match(await driver.text('#total'), /Verbindungen gefunden$/);
    await page.reload();
    await eventually(() => page.getAttribute('html', 'lang'), 'de');
  },
);

pageTest(
  'the appearance is that of the system until another one is chosen, which is remembered',
  async ({ driver, page }) => {
    const ground = () => page.evaluate(() => getComputedStyle(document.documentElement).backgroundColor);
    await driver.enter();
    const dark = await ground();
    await page.click('#account-button');
    await page.selectOption('[data-preferences="account"] [data-appearance-choice]', 'light');
    const light = await ground();
    assert.notEqual(light, dark);
    await page.reload();
    await page.waitForSelector('#live-text:not(:empty)');
    assert.equal(await ground(), light);
    await page.click('#account-button');
    await page.selectOption('[data-preferences="account"] [data-appearance-choice]', 'auto');
    assert.equal(await ground(), dark);
  },
  { colorScheme: 'dark' },
);
