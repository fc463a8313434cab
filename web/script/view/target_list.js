// Connections in a dialog, one below the other, each with what happens to it.
import { isWeb } from '../model/connection.js';
import { element, icon } from './element.js';
import { familyOf, namesOf } from './row.js';
import { sayNodes } from './texts.js';

// `targets` are those of planEnding(); who else is hit stands below each as long as it is a question. Returns
// {node, mark}; mark(target, kind, text, more) writes behind a target.
export function targetList(targets, isQuestion = true) {
  const places = new Map(targets.map((target) => [target, targetItem(target, isQuestion)]));
  const node = element('ul', { className: 'targets' }, ...places.values());
  return { node, mark: (target, kind, text, more) => markItem(places.get(target), kind, text, more) };
}

// Connections alone.
export function connectionList(connections) {
  return targetList(
    connections.map((row) => ({ row })),
    false,
  ).node;
}

function notesOn({ row, alsoRows, alsoUsers }) {
  const notes = [];
  if (isWeb(row)) notes.push(note('info', sayNodes('end.web', namesOf(row))));
  if (alsoUsers.length > 0) notes.push(note('warning', sayNodes('end.also_users', { users: alsoUsers.join(', ') })));
  for (const other of alsoRows) notes.push(note('warning', sayNodes('end.also_row', namesOf(other))));
  return notes;
}

function targetItem(target, isQuestion) {
  const { row } = target;
  const what = element(
    'div',
    { className: 'target-what' },
    element(
      'p',
      { className: 'target-who' },
      element('bdi', { className: 'name', textContent: namesOf(row).user }),
      service(row),
      element('bdi', { className: 'quiet', textContent: row.from }),
    ),
    ...(row.descr === '' ? [] : [element('p', { className: 'target-resource', textContent: row.descr })]),
    ...(isQuestion ? notesOn(target) : []),
  );
  return element('li', { className: 'target' }, what, element('p', { className: 'target-mark' }));
}

function markItem(item, kind, text, more = '') {
  const words = [element('span', { textContent: text })];
  if (more !== '') words.push(element('span', { className: 'quiet', textContent: more }));
  const symbol = kSymbols[kind];
  const sign = symbol ? icon(symbol) : element('span', { className: kind === 'working' ? 'spinner' : 'waiting' });
  const place = item.querySelector('.target-mark');
  place.dataset.kind = kind;
  place.replaceChildren(sign, element('span', { className: 'mark-words' }, ...words));
}

const kSymbols = { good: 'check', again: 'again', trouble: 'warning', left: 'dash' };

function service(row) {
  return element('span', { className: 'service', data: { family: familyOf(row) }, textContent: row.type });
}

function note(kind, content) {
  return element('p', { className: `target-note ${kind}` }, icon(kind), element('span', {}, ...content));
}
