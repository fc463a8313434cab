// Moves the focus inside the table by arrow keys. The table is one tab stop: the control that had the focus last,
// initially the first one.

const kRowSteps = { ArrowDown: 1, ArrowUp: -1, PageDown: 10, PageUp: -10 };

export class GridKeys {
  #body;
  #stop = null;

  constructor(body) {
    this.#body = body;
    body.addEventListener('keydown', (event) => this.#pressed(event));
    body.addEventListener('focusin', ({ target }) => this.#setStop(target.closest('[data-control]')));
  }

  // What restore() needs to find the position after rows have moved.
  focus() {
    const control = this.#body.contains(document.activeElement)
      ? document.activeElement.closest('[data-control]')
      : null;
    return control && { control, index: rowIndex(control) };
  }

  // Returns to the same control; if its row is gone, to the row that is there now.
  restore(focus) {
    if (this.#stop && !this.#stop.isConnected) this.#stop = null;
    if (!this.#stop) this.#setStop(this.#body.querySelector('[data-control]'));
    if (!focus) return;
    const { control, index } = focus;
    const wanted = control.isConnected ? control : this.#controlAt(index, control.dataset.control);
    if (wanted !== document.activeElement) wanted?.focus({ preventScroll: control.isConnected });
  }

  #pressed(event) {
    const control = event.target.closest('[data-control]');
    const wanted = control && this.#target(control, event.key, event.ctrlKey);
    if (!wanted) return;
    event.preventDefault();
    wanted.focus();
  }

  #target(control, key, isFar) {
    const index = rowIndex(control);
    const kind = control.dataset.control;
    if (key in kRowSteps) return this.#controlAt(index + kRowSteps[key], kind);
    if (key === 'ArrowLeft' || (key === 'Home' && !isFar)) return this.#controlAt(index, 'check');
    if (key === 'ArrowRight' || (key === 'End' && !isFar)) return this.#controlAt(index, 'more');
    if (key === 'Home') return this.#controlAt(0, kind);
    return key === 'End' ? this.#controlAt(Infinity, kind) : null;
  }

  // The control of that kind; if rows show none, the other one.
  #controlAt(index, kind) {
    const rows = this.#body.children;
    const row = rows[Math.max(0, Math.min(index, rows.length - 1))];
    const wanted = row?.querySelector(`[data-control="${kind}"]`);
    return wanted?.checkVisibility() ? wanted : row?.querySelector('[data-control="more"]');
  }

  #setStop(control) {
    if (!control || control === this.#stop) return;
    if (this.#stop) this.#stop.tabIndex = -1;
    control.tabIndex = 0;
    this.#stop = control;
  }
}

function rowIndex(control) {
  const row = control.closest('tr');
  return [...row.parentElement.children].indexOf(row);
}
