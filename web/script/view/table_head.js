// The head of the table: the box that selects the page, and a sort button per column.
import { kSortFields } from '../model/query.js';
import { element, icon, setAttribute } from './element.js';
import { fillTexts } from './texts.js';

const kTitles = {
  who: 'list.user',
  type: 'list.service',
  from: 'list.from',
  time: 'list.since',
  descr: 'list.resource',
};
const kClasses = { who: 'user', type: 'type', from: 'from', time: 'since', descr: 'resource' };

export const titleOf = (field) => kTitles[field];

export class TableHead {
  #heads = new Map();

  // `onSort(field)`, `onSelectPage(isSelected)`.
  constructor(row, { onSort, onSelectPage }) {
    this.check = element('input', { type: 'checkbox', data: { label: 'list.select_page' } });
    this.check.addEventListener('change', () => onSelectPage(this.check.checked));
    row.append(columnHead('select', this.check));
    for (const field of kSortFields) {
      const button = element(
        'button',
        { className: 'sort', data: { sort: field } },
        element('span', { data: { text: kTitles[field] } }),
        icon('arrow'),
      );
      button.addEventListener('click', () => onSort(field));
      const head = columnHead(kClasses[field], button);
      this.#heads.set(field, head);
      row.append(head);
    }
    row.append(columnHead('more', element('span', { className: 'unseen', data: { text: 'list.actions' } })));
    fillTexts(row);
  }

  // `covered` is "all", "some" or "none" of the rows that can be selected; `isEmpty` if there are none.
  show(query, covered, isEmpty) {
    for (const [field, head] of this.#heads) {
      const isSorted = field === query.sortBy;
      setAttribute(head, 'aria-sort', isSorted ? (query.ascending ? 'ascending' : 'descending') : 'none');
    }
    this.check.checked = covered === 'all';
    this.check.indeterminate = covered === 'some';
    this.check.disabled = isEmpty;
  }
}

function columnHead(name, ...children) {
  return element('th', { role: 'columnheader', scope: 'col', className: `cell-${name}` }, ...children);
}
