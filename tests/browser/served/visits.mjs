// What a browser fetches for the page, calls aside: on the first visit and when it is loaded again. Requests that its
// cache answers count for nothing. Each visit ends where the login can be filled in.
export async function measureVisits(browser, origin, { locale, latency }) {
  const context = await browser.newContext({ locale });
  try {
    const page = await context.newPage();
    const network = await context.newCDPSession(page);
    await network.send('Network.enable');
    await network.send('Network.emulateNetworkConditions', {
      offline: false,
      latency,
      downloadThroughput: -1,
      uploadThroughput: -1,
    });
    const first = await measure('first visit', page, network, origin, () => page.goto(origin));
    const reload = await measure('reload', page, network, origin, () => page.reload());
    return [first, reload];
  } finally {
    await context.close();
  }
}

async function measure(name, page, network, origin, load) {
  const pending = new Map();
  const cached = new Set();
  const isCounted = (id) => isStatic(pending.get(id), origin) && !cached.has(id);
  const visit = { name, requests: [], foreign: [], bytes: 0, sent: 0, milliseconds: 0 };
  const listeners = {
    'Network.requestServedFromCache': ({ requestId }) => cached.add(requestId),
    'Network.responseReceived': ({ requestId, response }) => pending.set(requestId, response),
    'Network.dataReceived': ({ requestId, dataLength }) => {
      if (isCounted(requestId)) visit.bytes += dataLength;
    },
    'Network.loadingFinished': ({ requestId, encodedDataLength }) => {
      const response = pending.get(requestId);
      if (!response.url.startsWith(origin)) visit.foreign.push(response.url);
      if (!isCounted(requestId)) return;
      visit.requests.push(response.url);
      visit.sent += encodedDataLength;
    },
  };
  for (const [event, listener] of Object.entries(listeners)) network.on(event, listener);
  const start = performance.now();
  await load();
  await page.waitForSelector('#login-name:visible');
  visit.milliseconds = Math.round(performance.now() - start);
  await page.waitForLoadState('networkidle');
  for (const [event, listener] of Object.entries(listeners)) network.off(event, listener);
  return visit;
}

function isStatic(response, origin) {
  return response.fromDiskCache === false && !response.url.startsWith(`${origin}/api/`);
}
