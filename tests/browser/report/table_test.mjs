// The report of the built module, opened as the file that it is. CURRENTCONN_PRINT_REPORT names the program that prints
// it.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdtemp, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { pathToFileURL } from 'node:url';
import { startBrowser } from '../browser.mjs';

const kSsh = 10;
// The newest row comes first, so the comment that would hide the others comes last.
const kHostile = [
  '<!-- <a href="javascript:window.ran = true">',
  '<script>window.ran = true</script>',
  '"><img src=x onerror="window.ran = true">',
  "' onmouseover='window.ran = true' '",
  '</td></tr></table><svg onload="window.ran = true">',
  '&lt;b&gt; &amp; &#39; &notanentity;',
  '\u202Egnp.exe \u05D0\u05D1 \u0627\u0628',
  '日本語 Ünïcode 😀',
  '%s%n%d {0} ${1}',
];

let browser;
let folder;

before(async () => {
  browser = await startBrowser();
  folder = await mkdtemp(join(tmpdir(), 'currentconn-'));
});

after(async () => {
  await browser?.close();
  await rm(folder, { recursive: true, force: true });
});

// What the module prints, by the locale of a server.
function printed(connections, locale) {
  const run = spawnSync(process.env.CURRENTCONN_PRINT_REPORT, {
    input: JSON.stringify(connections),
    env: { ...process.env, LC_ALL: locale },
    maxBuffer: 1 << 28,
  });
  assert.equal(run.status, 0, String(run.stderr));
  return run.stdout;
}

// What a browser makes of the page behind the header lines.
async function seen(output) {
  const file = join(folder, 'currentlog.html');
  await writeFile(file, output.subarray(output.indexOf('\r\n\r\n') + 4));
  const page = await browser.newPage();
  const requests = [];
  const troubles = [];
  page.on('request', (request) => requests.push(request.url()));
  page.on('pageerror', (error) => troubles.push(String(error)));
  page.on('dialog', (dialog) => dialog.dismiss());
  const { href } = pathToFileURL(file);
  await page.goto(href);
  for (const cell of (await page.locator('td').all()).slice(0, 10)) await cell.hover();
  const found = await page.evaluate(() => ({
    title: document.title,
    heading: document.querySelector('h2').textContent.trim(),
    titles: [...document.querySelectorAll('th')].map((cell) => cell.textContent),
    rows: [...document.querySelectorAll('tr')].slice(1).map((row) => [...row.cells].map((cell) => cell.textContent)),
    strangers: [...document.querySelectorAll('body *')]
      .map(({ localName }) => localName)
      .filter((name) => !['center', 'h2', 'table', 'tbody', 'tr', 'th', 'td'].includes(name)),
    ran: window.ran ?? false,
  }));
  await page.close();
  assert.deepEqual(requests, [href]);
  assert.deepEqual(troubles, []);
  return found;
}

test('the table reads back cell by cell, and no name becomes markup or script', async () => {
  const connections = kHostile.map((text, index) => ({
    time: `${index} ${text}`,
    from: text,
    user: text,
    descr: text,
    type: kSsh,
  }));
  assert.deepEqual(await seen(printed(connections, 'C.UTF-8')), {
    title: 'Current connections',
    heading: 'Current connections',
    titles: ['Time', 'User', 'Client', 'service', 'Resource'],
    rows: connections.map(({ time, user, from, descr }) => [time, user, from, 'SSH', descr]).reverse(),
    strangers: [],
    ran: false,
  });
});

test('a thousand rows are all there', async () => {
  const connections = Array.from({ length: 1000 }, (_, index) => ({
    time: String(1000 + index),
    from: `10.0.0.${index}`,
    user: `user${index}`,
    descr: `share ${index}`,
    type: kSsh,
  }));
  const { rows } = await seen(printed(connections, 'C.UTF-8'));
  assert.deepEqual(rows, connections.map(({ time, user, from, descr }) => [time, user, from, 'SSH', descr]).reverse());
});

test('titles are in the language of the server', async () => {
  const japanese = /\p{Script=Katakana}|\p{Script=Hiragana}|\p{Script=Han}/u;
  const { title, titles } = await seen(printed([], 'ja_JP.UTF-8'));
  assert.match(title, japanese);
  assert.deepEqual(
    titles.map((one) => (japanese.test(one) ? 'japanese' : one)),
    ['japanese', 'japanese', 'japanese', 'service', 'japanese'],
  );
});
