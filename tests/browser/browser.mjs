// Chromium of the system, without a window. CURRENTCONN_CHROMIUM names another one.
import { requirePackage } from './packages.mjs';

const { chromium } = requirePackage('playwright-core');

// playwright-core gives it a fresh profile directory of its own and removes that at the end. `more` are further
// arguments.
export function startBrowser(...more) {
  return chromium.launch({
    executablePath: process.env.CURRENTCONN_CHROMIUM ?? '/usr/bin/chromium',
    chromiumSandbox: false,
    args: [
      '--disable-gpu',
      '--disable-quic',
      '--no-first-run',
      '--disable-background-networking',
      '--disable-component-update',
      '--disable-sync',
      ...more,
    ],
  });
}
