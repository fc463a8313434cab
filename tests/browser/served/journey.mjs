// One visit to a page that is really served. CURRENTCONN_LINK is its login link, CURRENTCONN_PASSWORD the password of
// the accounts alice and carol, which are not administrators, and dora, who is one. alice must be connected over CIFS,
// carol over SSH. Ends with status 0 if all went as it should.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { startBrowser } from '../browser.mjs';
import { PageDriver } from '../page_driver.mjs';
import { Description } from '../stand_in/description.mjs';
import { startRelay } from './relay.mjs';
import { measureVisits } from './visits.mjs';

const { CURRENTCONN_LINK: link, CURRENTCONN_PASSWORD: password } = process.env;
const { origin, hash, host, port } = new URL(link);
const kElsewhere = '127.0.0.2';

const browser = await startBrowser();
const relay = await startRelay(port, kElsewhere);
// Takes the same address for the same server, and comes to it by the relay.
const browserElsewhere = await startBrowser(`--host-resolver-rules=MAP ${host} 127.0.0.1:${relay.port}`);
const description = await Description.load();
const drivers = [];
const answers = []; // what is wrong with each answer of the API, once it is whole

try {
  await weigh();
  const driver = await open();
  await enterByLink(driver);
  await lookRound(driver);
  await endFromSelection(driver);
  const alice = await seeOwnConnections();
  await endWebLogin(driver, alice);
  await endOwnSecondBrowser();
  await disableCarol(driver);
  await downloadReport(driver);
  await beRefused();
  assert.deepEqual(
    drivers.flatMap(({ faults }) => faults),
    [],
  );
  // The pages continue asking; an answer that comes while the browser closes cannot be read any more.
  for (const { page } of drivers) page.removeAllListeners('response');
  assert.deepEqual((await Promise.all(answers)).flat(), []);
  assert.ok(answers.length > 20, `${answers.length} answers`);
} finally {
  await browser.close();
  await browserElsewhere.close();
  relay.close();
}

async function open(from = browser) {
  const driver = await PageDriver.open(from, origin);
  drivers.push(driver);
  driver.page.on('response', (response) => {
    if (new URL(response.url()).pathname.startsWith('/api/')) answers.push(complaintsAbout(response));
  });
  return driver;
}

async function complaintsAbout(response) {
  const type = (await response.headerValue('content-type')).split(';')[0];
  const answer = {
    verb: response.request().method(),
    path: new URL(response.url()).pathname,
    status: response.status(),
    type,
    body: type.endsWith('json') ? await response.json() : '',
  };
  return description.complaintsAboutAnswer(answer);
}

function take(driver, name) {
  console.log(`seen: ${name}`);
  return driver.take(`served-${name}`);
}

// A link of 300 ms, in the language with the longest texts.
async function weigh() {
  const visits = await measureVisits(browser, origin, { locale: 'ja-JP', latency: 300 });
  for (const { name, requests, bytes, sent, milliseconds } of visits) {
    console.log(
      `${name}: ${requests.length} static requests, ${bytes} bytes, ${sent} as sent, ${milliseconds} ms at 300 ms a round trip`,
    );
  }
  const [first, reload] = visits;
  assert.ok(first.requests.length <= 12, first.requests.join('\n'));
  assert.ok(first.bytes < 150_000, `${first.bytes} bytes`);
  assert.ok(first.sent < 60_000, `${first.sent} bytes as sent`);
  assert.ok(reload.requests.length <= 3, reload.requests.join('\n'));
  assert.deepEqual(
    visits.flatMap(({ foreign }) => foreign),
    [],
  );
}

async function enterByLink(driver) {
  await driver.visit(`/${hash}`);
  await driver.page.waitForSelector('#notices .good');
  assert.equal(await driver.text('#notices .good .notice-text'), 'You are logged in as admin, by a login link.');
  assert.equal(driver.page.url(), `${origin}/`);
  await driver.row('CIFS').waitFor();
  await take(driver, 'entered-by-link');
}

async function lookRound({ page }) {
  const types = await page.$$eval('#rows .service', (all) => all.map((one) => one.textContent).sort());
  assert.deepEqual(types, ['CIFS', 'HTTP/HTTPS', 'SSH']);
  await page.fill('#filter', 'CAROL');
  await page.waitForFunction(() => document.querySelectorAll('#rows tr').length === 1);
  assert.equal(await page.textContent('#rows .user-text'), 'carol');
  await page.press('#filter', 'Escape');
  await page.waitForFunction(() => document.querySelectorAll('#rows tr').length === 3);
}

async function endFromSelection(driver) {
  await driver.select('CIFS');
  await driver.page.click('#selection-end');
  await driver.dialogTitle('End 1 connection?');
  await take(driver, 'before-ending');
  await driver.press('End 1 connection');
  await driver.dialogTitle('1 of 1 ended');
  assert.equal(await driver.text('#dialog .target-mark'), 'Ended');
  await take(driver, 'after-ending');
  await driver.press('Done');
  await driver.row('CIFS').waitFor({ state: 'detached' });
}

async function seeOwnConnections() {
  const alice = await open();
  await alice.enter('alice', password);
  assert.deepEqual(
    (await alice.rows()).map(([user, service]) => [user, service]),
    [['alice', 'HTTP/HTTPS']],
  );
  assert.equal(await alice.page.isVisible('#report'), false);
  await take(alice, 'own-connections');
  return alice;
}

async function endWebLogin(driver, alice) {
  await driver.row('alice').waitFor();
  await driver.openPanel('alice');
  await driver.choose('End this connection…');
  await driver.press('End 1 connection');
  await driver.dialogTitle('1 of 1 ended');
  await driver.press('Done');
  await alice.page.waitForSelector('#login:not([hidden])');
  assert.match(await alice.text('#login-notice'), /^Your session has ended/);
  await take(alice, 'ended-session');
}

async function endOwnSecondBrowser() {
  const first = await open();
  const second = await open(browserElsewhere);
  await second.enter('dora', password);
  await first.enter('dora', password);
  await first.select(kElsewhere);
  await take(first, 'own-second-browser');
  await first.page.click('#selection-end');
  await first.dialogTitle('End 1 connection?');
  await first.press('End 1 connection');
  await first.dialogTitle('1 of 1 ended');
  await second.page.waitForSelector('#login:not([hidden])');
  assert.match(await second.text('#login-notice'), /^Your session has ended/);
  assert.equal(await second.page.inputValue('#login-name'), 'dora');
  await take(second, 'own-second-browser-ended');
  await first.press('Done');
  await first.row(kElsewhere).waitFor({ state: 'detached' });
  await first.row('127.0.0.1').filter({ hasText: 'dora' }).waitFor();
  await first.page.click('#account-button');
  await first.page.click('#log-out');
  await first.page.waitForSelector('#login:not([hidden])');
}

async function disableCarol(driver) {
  await driver.openPanel('carol');
  await driver.choose('Disable carol…');
  await driver.dialogTitle('Disable carol?');
  await take(driver, 'before-disabling');
  await driver.press('Disable carol');
  await driver.dialogTitle('carol is disabled');
  const text = await driver.dialogText();
  assert.match(text, /without an expiry date as before, run on the server:\s*currentconn enable carol/);
  assert.match(text, /SSH[^]*Ended/);
  await take(driver, 'after-disabling');
  await driver.press('Done');
  await driver.row('carol').waitFor({ state: 'detached' });
}

async function downloadReport({ page }) {
  const [download] = await Promise.all([page.waitForEvent('download'), page.click('#report')]);
  assert.equal(download.suggestedFilename(), 'currentlog.html');
  assert.match(await readFile(await download.path(), 'utf8'), /<table border=1[^]*HTTP\/HTTPS/);
}

async function beRefused() {
  const carol = await open();
  await carol.visit();
  await carol.logIn('carol', password);
  await carol.page.waitForSelector('#login-notice .trouble', { timeout: 20_000 });
  const late = await open();
  await late.visit(`/${hash}`);
  await late.page.waitForSelector('#login-notice .trouble', { timeout: 20_000 });
  assert.match(await late.text('#login-notice'), /^This login link has already been used/);
  await take(late, 'used-link');
}
