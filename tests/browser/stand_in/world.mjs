// The data of the stand-in server: connections, web logins, accounts, and scripted failures.

// A connection of the API; whether it can be kicked or its user disabled depends on type and user.
export function connection({ pid, who = 'alice', from = '10.20.0.7', type = 'CIFS', descr = 'photos', time }) {
  const can_be_kicked = type !== 'NFS';
  const user_can_be_disabled = type !== 'NFS' && !/[\\@]/.test(who);
  return { time: time ?? '2026-11-20 21:26:24', who, from, type, descr, pid, user_can_be_disabled, can_be_kicked };
}

export const webLogin = (facts) => connection({ type: 'HTTP/HTTPS', descr: 'Firefox', ...facts });

export class World {
  constructor() {
    this.connections = [];
    // name → {password, isAdmin, isDisabled}
    this.accounts = new Map([
      ['olga', { password: 'correct horse', isAdmin: true }],
      ['alice', { password: 'alice pw', isAdmin: false }],
    ]);
    this.links = new Map(); // token → name
    this.sessions = new Map(); // cookie → {name, address}
    this.clock = Date.UTC(2026, 10, 20, 21, 40, 0);
    this.idleMinutes = 15;
    this.performDelay = 30; // milliseconds
    this.delays = new Map(); // method → milliseconds
    this.failures = new Map(); // method → function(request) → {status, code, causes, retryAfter} or null
    this.effects = new Map(); // pid → what ends besides
    this.openFiles = new Map(); // pid → names
    this.fates = new Map(); // pid → {fate, reason, now}
    this.refusals = new Map(); // name → refusal of its disabling
    this.access = []; // what lets a disabled account in
    this.leftRunning = undefined; // what a disabled account leaves running
    this.logins = { logins_ended: 0, logins_left: [] }; // of a disabled account, those under way
    this.undo = { expiry_before: null }; // of a disabling
    this.warnings = undefined; // beside lists, plans and results: [{code, service, detail}]
    this.isAway = false; // takes connections and breaks them off
    this.calls = []; // {method, parameters, isBackground, at: milliseconds}
  }

  // The clock as the C library's ctime writes it.
  get systime() {
    const [weekday, day, month, year, time] = new Date(this.clock).toUTCString().replace(',', '').split(' ');
    return `${weekday} ${month} ${String(Number(day)).padStart(2)} ${time} ${year}\n`;
  }

  fail(method, problem, times = Infinity) {
    let left = times;
    this.failures.set(method, () => (left-- > 0 ? problem : null));
  }

  callsOf(method) {
    return this.calls.filter((call) => call.method === method);
  }
}

export function endConnection(world, row) {
  world.connections = world.connections.filter((other) => other !== row);
}

// All logins of a user from an address.
export function endLogins(world, { who, from }) {
  world.connections = world.connections.filter(
    (row) => row.type !== 'HTTP/HTTPS' || row.who !== who || row.from !== from,
  );
  for (const [cookie, { name, address }] of world.sessions) {
    if (name === who && address === from) world.sessions.delete(cookie);
  }
}
