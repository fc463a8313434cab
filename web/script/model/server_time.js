// Times as the server writes them, in its own local time. They are parsed and formatted as UTC, so the browser's time
// zone has no effect.

const kMonths = ['Jan', 'Feb', 'Mar', 'Apr', 'May', 'Jun', 'Jul', 'Aug', 'Sep', 'Oct', 'Nov', 'Dec'];
const kSecond = 1000;
const kMinute = 60 * kSecond;
const kHour = 60 * kMinute;
const kDay = 24 * kHour;

// "2026-11-20 21:26:24" in milliseconds, or null.
export function parseStart(text) {
  const match = /^(\d{4})-(\d\d)-(\d\d) (\d\d):(\d\d):(\d\d)$/.exec(text);
  if (!match) return null;
  const [year, month, day, hour, minute, second] = match.slice(1).map(Number);
  return Date.UTC(year, month - 1, day, hour, minute, second);
}

// "Fri Nov 20 21:26:24 2026\n" in milliseconds, or null.
export function parseClock(text) {
  const match = /^\w{3} (\w{3}) +(\d{1,2}) (\d\d):(\d\d):(\d\d) (\d{4})\s*$/.exec(text);
  if (!match) return null;
  const month = kMonths.indexOf(match[1]);
  if (month < 0) return null;
  const [day, hour, minute, second, year] = match.slice(2).map(Number);
  return Date.UTC(year, month, day, hour, minute, second);
}

// A clock in the form of a start time, so that both can be compared as strings.
export function startText(milliseconds) {
  return new Date(milliseconds).toISOString().slice(0, 19).replace('T', ' ');
}

// The two greatest units of a duration, as [[2, 'hour'], [14, 'minute']]; [] if it is negative.
export function splitSpan(milliseconds) {
  if (milliseconds < 0) return [];
  const units = [
    ['day', Math.floor(milliseconds / kDay)],
    ['hour', Math.floor(milliseconds / kHour) % 24],
    ['minute', Math.floor(milliseconds / kMinute) % 60],
    ['second', Math.floor(milliseconds / kSecond) % 60],
  ];
  const first = units.findIndex(([, count]) => count > 0);
  if (first < 0) return [[0, 'second']];
  return units
    .slice(first, first + 2)
    .filter(([unit, count], index) => index === 0 || (count > 0 && unit !== 'second'))
    .map(([unit, count]) => [count, unit]);
}

// The duration in the words of `locale`: "2 hr 14 min".
export function formatSpan(milliseconds, locale) {
  return splitSpan(milliseconds)
    .map(([count, unit]) => unitFormat(locale, unit).format(count))
    .join(' ');
}

// The time of day on the day of `now`, with the date on any other day.
export function formatStart(start, now, locale) {
  const isToday = now !== null && Math.floor(start / kDay) === Math.floor(now / kDay);
  return dateFormat(locale, isToday ? kTimeOnly : kDateAndTime).format(start);
}

export function formatClock(now, locale) {
  return dateFormat(locale, kTimeOnly).format(now);
}

const kTimeOnly = { hour: '2-digit', minute: '2-digit', second: '2-digit', hourCycle: 'h23' };
const kDateAndTime = { month: 'short', day: 'numeric', hour: '2-digit', minute: '2-digit', hourCycle: 'h23' };

// Formats are expensive to create, and every row needs them.
const formats = new Map();

function cached(key, make) {
  if (!formats.has(key)) formats.set(key, make());
  return formats.get(key);
}

function dateFormat(locale, fields) {
  const key = `${locale} ${fields === kTimeOnly}`;
  return cached(key, () => new Intl.DateTimeFormat(locale, { ...fields, timeZone: 'UTC' }));
}

function unitFormat(locale, unit) {
  const options = { style: 'unit', unit, unitDisplay: 'short' };
  return cached(`${locale} ${unit}`, () => new Intl.NumberFormat(locale, options));
}
