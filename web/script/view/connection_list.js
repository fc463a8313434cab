// Connections in a dialog, one below the other, each with what will happen or has happened to it.
import { element, icon } from './element.js';
import { note, reasonText } from './reasons.js';
import { familyOf, namesOf } from './row.js';
import { say } from './texts.js';

const kMarks = {
  ended: ['good', 'check'],
  gone_before: ['left', 'dash'],
  connected_again: ['warning', 'again'],
  still_there: ['trouble', 'warning'],
  connected_since: ['trouble', 'warning'],
  not_known: ['trouble', 'warning'],
};

// `describe(row)` returns the content below and after a row, arrays of nodes.
export function connectionList(rows, describe = () => ({})) {
  const items = rows.map((row) => {
    const { below = [], behind = [] } = describe(row);
    const what = element('div', { className: 'target-what' }, ...namedBy(row), ...below);
    return element('li', { className: 'target' }, what, ...behind);
  });
  return element('ul', { className: 'targets' }, ...items);
}

// Rows that do not end, each with its reason.
export function stayingList(rows) {
  return connectionList(rows, ({ reason }) => ({ below: [note('info', [reasonText(reason)])] }));
}

// The result for each row. `actionsFor(fate)` returns its buttons.
export function fateList(fates, actionsFor = () => []) {
  return connectionList(fates, (fate) => ({ behind: [mark(fate), ...actionsFor(fate)] }));
}

function mark({ fate, reason, now }) {
  const isKnown = Object.hasOwn(kMarks, fate);
  const [kind, symbol] = kMarks[isKnown ? fate : 'not_known'];
  const words = [element('span', { textContent: say(isKnown ? `fate.${fate}` : 'fate.not_known') })];
  if (reason) words.push(element('span', { className: 'quiet', textContent: reasonText(reason, now) }));
  const text = element('span', { className: 'mark-words' }, ...words);
  return element('p', { className: 'target-mark', data: { kind } }, icon(symbol), text);
}

function namedBy(row) {
  const service = element('span', { className: 'service', data: { family: familyOf(row) }, textContent: row.type });
  const who = element(
    'p',
    { className: 'target-who' },
    element('bdi', { className: 'name', textContent: namesOf(row).user }),
    service,
    element('bdi', { className: 'quiet', textContent: row.from }),
  );
  return row.descr ? [who, element('p', { className: 'target-resource', textContent: row.descr })] : [who];
}
