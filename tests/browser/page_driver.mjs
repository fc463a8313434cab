// Drives the page like a user, for tests against any server; `base` is its address.
import { fileURLToPath } from 'node:url';
import { connection, webLogin } from './stand_in/world.mjs';

export { connection, webLogin };

// The directory of the screenshots.
const kPictures =
  process.env.CURRENTCONN_PICTURES ?? fileURLToPath(new URL('../../build/browser/pictures', import.meta.url));

export class PageDriver {
  #faults = [];

  // `options` are those of a browser context: viewport, locale, colorScheme.
  static async open(browser, base, options = {}) {
    const context = await browser.newContext({ viewport: { width: 1280, height: 800 }, locale: 'en-US', ...options });
    const driver = new PageDriver(context, await context.newPage(), base);
    return driver;
  }

  constructor(context, page, base) {
    this.context = context;
    this.page = page;
    this.base = base;
    page.setDefaultTimeout(30_000);
    page.on('pageerror', (error) => this.#faults.push(String(error.stack)));
    page.on('console', (message) => this.#takeMessage(message));
  }

  // Errors in the page itself: exceptions, and violations of the Content-Security-Policy.
  get faults() {
    return this.#faults;
  }

  async close() {
    await this.context.close();
  }

  async visit(path = '/') {
    await this.page.goto(new URL(path, this.base).href);
  }

  async logIn(name, password) {
    await this.page.fill('#login-name', name);
    await this.page.fill('#login-password', password);
    await this.page.click('#login-submit');
  }

  async enter(name = 'olga', password = 'correct horse', path = '/') {
    await this.visit(path);
    await this.logIn(name, password);
    await this.page.waitForSelector('#live-text:not(:empty)');
  }

  // `what` is the page, or a part of it.
  take(name, what = this.page) {
    return what.screenshot({ path: `${kPictures}/${name}.png`, animations: 'disabled' });
  }

  row(text) {
    return this.page.locator('#rows tr', { hasText: text });
  }

  // The texts of the rows, one array of cells each: user, service, from, resource.
  rows() {
    const cells = ['.user-text', '.service', '.cell-from', '.cell-resource'];
    return this.page.$$eval(
      '#rows tr',
      (rows, names) => rows.map((row) => names.map((name) => row.querySelector(name).textContent)),
      cells,
    );
  }

  async select(text) {
    await this.row(text).locator('input').check();
  }

  async openPanel(text) {
    await this.row(text).locator('[data-control="more"]').click();
    await this.page.waitForSelector('#row-panel:popover-open');
  }

  choose(text) {
    return this.page.click(`#row-panel .choice:has-text("${text}")`);
  }

  async dialogTitle(text) {
    await this.page.locator('#dialog-title', { hasText: text }).waitFor();
  }

  press(text) {
    return this.page.click(`#dialog button:has-text("${text}")`);
  }

  dialogText() {
    return this.page.innerText('#dialog');
  }

  text(selector) {
    return this.page.innerText(selector);
  }

  // The browser writes a refused call to the console; that is not an error of the page.
  #takeMessage(message) {
    if (message.type() !== 'error' || message.text().startsWith('Failed to load resource')) return;
    this.#faults.push(message.text());
  }
}
