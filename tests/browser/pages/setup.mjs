// One stand-in server and one browser for each file of tests; each test starts with a new world and a new profile.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { startBrowser } from '../browser.mjs';
import { PageDriver } from '../page_driver.mjs';
import { startStandIn } from '../stand_in.mjs';

let browser;
let standIn;

before(async () => {
  [browser, standIn] = await Promise.all([startBrowser(), startStandIn()]);
});

after(async () => {
  await browser?.close();
  await standIn?.close();
});

// `run` is given {driver, page, world, open}; `open(options)` is another browser profile. Afterwards no page may have
// thrown or violated the Content-Security-Policy, and no call or answer may have violated the description of the API.
export function pageTest(name, run, options = {}) {
  test(name, { timeout: 180_000 }, async () => {
    const world = standIn.reset();
    standIn.complaints.length = 0;
    const drivers = [];
    const open = async (wanted) => {
      drivers.push(await PageDriver.open(browser, standIn.url, wanted));
      return drivers.at(-1);
    };
    const driver = await open(options);
    try {
      await run({ driver, page: driver.page, world, open });
      assert.deepEqual(
        drivers.flatMap(({ faults }) => faults),
        [],
      );
      assert.deepEqual([...standIn.complaints], []);
    } finally {
      for (const one of drivers) await one.close();
    }
  });
}

// Waits until `look` returns the expected value, and compares at the end, so that a failure shows the actual value.
export async function eventually(look, wanted, milliseconds = 20_000) {
  const end = Date.now() + milliseconds;
  let seen = await look();
  while (Date.now() < end && !isSame(seen, wanted)) {
    await new Promise((resolve) => setTimeout(resolve, 50));
    seen = await look();
  }
  assert.deepEqual(seen, wanted);
}

function isSame(one, other) {
  try {
    assert.deepEqual(one, other);
    return true;
  } catch {
    return false;
  }
}
