// Takes a picture of the README. `page`: of a page that is really served, to which CURRENTCONN_LINK is the login link.
// `terminal`: of a terminal that was sent CURRENTCONN_SCREEN.
import { readFile } from 'node:fs/promises';
import { startBrowser } from '../browser.mjs';
import { requirePackage } from '../packages.mjs';
import { PageDriver } from '../page_driver.mjs';

const { CURRENTCONN_LINK: link, CURRENTCONN_SCREEN: screen } = process.env;
// Twice the dots of an ordinary screen: the README shrinks them.
const kSharp = { deviceScaleFactor: 2 };
const kColumns = 80;

const browser = await startBrowser();
try {
  await { page: takePage, terminal: takeTerminal }[process.argv[2]]();
} finally {
  await browser.close();
}

async function takePage() {
  const { origin, hash } = new URL(link);
  const driver = await PageDriver.open(browser, origin, { viewport: { width: 1000, height: 860 }, ...kSharp });
  await driver.visit(`/${hash}`);
  await driver.row('CIFS').waitFor();
  await driver.page.click('#notices button');
  await driver.select('10.20.0.2');
  await driver.take('readme-page');
}

async function takeTerminal() {
  const driver = await PageDriver.open(browser, 'about:blank', kSharp);
  const folder = requirePackage.resolve('@xterm/xterm').replace(/lib\/[^/]*$/, '');
  await driver.page.setContent(
    '<body style="margin: 0"><div id="screen" style="display: inline-block; padding: 12px; background: #1d1f21"></div>',
  );
  await driver.page.addStyleTag({ content: await readFile(`${folder}css/xterm.css`, 'utf8') });
  await driver.page.addScriptTag({ content: await readFile(`${folder}lib/xterm.js`, 'utf8') });
  await driver.page.evaluate(
    ([text, cols]) => {
      const rows = text.split('\n').length;
      const terminal = new window.Terminal({ cols, rows, fontSize: 14, theme: { background: '#1d1f21' }, cursorStyle: 'bar' });
      terminal.open(document.getElementById('screen'));
      return new Promise((done) => terminal.write(text + '\x1b[?25l', () => requestAnimationFrame(() => requestAnimationFrame(done))));
    },
    [screen.trimEnd(), kColumns],
  );
  await driver.take('readme-terminal', driver.page.locator('#screen'));
}
