// What the stand-in server knows: connections, web logins, accounts, and what is scripted to go wrong.

// A connection as the API gives it; whether it can be kicked or its user disabled follows from type and user.
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
    this.kickDelay = 30; // milliseconds that a kick or a disabling takes
    this.delays = new Map(); // method → milliseconds
    this.failures = new Map(); // method → function(request) → {status, code, causes, retryAfter} or null
    this.whenKicked = new Map(); // pid → "stays" or "comes back"
    this.lastAdmins = new Set(); // names whose disabling is refused with 7100
    this.disablingWarnings = undefined; // beside the answer to disable_user
    this.warnings = undefined; // beside the lists: [{code, service, detail}]
    this.isAway = false; // takes connections and breaks them off
    this.calls = []; // {method, parameters, isBackground, at: milliseconds}
    this.kicksAtOnce = 0;
    this.mostKicksAtOnce = 0;
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

  async kick({ service_conn = [], http_conn = [] }) {
    this.kicksAtOnce += 1;
    this.mostKicksAtOnce = Math.max(this.mostKicksAtOnce, this.kicksAtOnce);
    await new Promise((resolve) => setTimeout(resolve, this.kickDelay));
    for (const wanted of service_conn) this.#endService(wanted);
    for (const wanted of http_conn) this.#endLogins((row) => row.who === wanted.who && row.from === wanted.from);
    this.kicksAtOnce -= 1;
  }

  async disable(users, caller) {
    const names = users.filter((name) => name !== caller && !/[\\@]/.test(name));
    if (names.some((name) => this.lastAdmins.has(name))) return { status: 409, code: 7100 };
    if (names.some((name) => !this.accounts.has(name))) return { status: 500, code: 117 };
    for (const name of names) this.accounts.get(name).isDisabled = true;
    await new Promise((resolve) => setTimeout(resolve, this.kickDelay));
    for (const row of this.connections.filter(({ who }) => names.includes(who))) this.#endService(row);
    this.#endLogins((row) => names.includes(row.who));
    return null;
  }

  // Only what is there exactly as named, as the module has it.
  #endService({ pid, who, from, type }) {
    const index = this.connections.findIndex(
      (row) => row.pid === pid && row.who === who && row.from === from && row.type === type,
    );
    if (index < 0 || ['NFS', 'LOGIN', 'HTTP/HTTPS', 'UNKNOWN'].includes(type)) return;
    const reaction = this.whenKicked.get(pid);
    if (reaction === 'stays') return;
    const [ended] = this.connections.splice(index, 1);
    if (reaction === 'comes back') this.connections.push({ ...ended, pid: pid + 1_000_000 });
  }

  #endLogins(isMeant) {
    const meant = this.connections.filter((row) => row.type === 'HTTP/HTTPS' && isMeant(row));
    this.connections = this.connections.filter((row) => !meant.includes(row));
    for (const { who, from } of meant) {
      for (const [cookie, { name, address }] of this.sessions) {
        if (name === who && address === from) this.sessions.delete(cookie);
      }
    }
  }
}
