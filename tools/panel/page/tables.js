// Tables whose rows are written only where they change.
import { el, liveText } from './dom.js';

export class Table {
  /** `columns`: [{name, text: (row) => string, end: numbers stand at the right}] */
  constructor(columns, empty) {
    this.columns = columns;
    this.body = el('tbody', {});
    this.empty = el('p', { class: 'empty' }, empty);
    this.rows = [];
    const heads = columns.map(({ name, end }) => el('th', { scope: 'col', class: end ? 'end' : '' }, name));
    this.filler = columns[columns.length - 1].end; // else columns of numbers drift apart
    if (this.filler) heads.push(el('th', { 'aria-hidden': 'true' }));
    this.element = el('div', { class: 'table-box' }, el('table', {}, el('thead', {}, el('tr', {}, ...heads)), this.body), this.empty);
  }

  /** `mark(row)` names a class for the row, or nothing. */
  show(items, mark) {
    while (this.rows.length > items.length) this.rows.pop().element.remove();
    while (this.rows.length < items.length) this.addRow();
    items.forEach((item, i) => {
      const row = this.rows[i];
      row.texts.forEach((set, column) => set(this.columns[column].text(item)));
      const name = mark?.(item) ?? '';
      if (row.element.className !== name) row.element.className = name;
    });
    this.empty.hidden = items.length > 0;
  }

  addRow() {
    const cells = this.columns.map(({ end }) => el('td', { class: end ? 'end' : '' }));
    const element = el('tr', {}, ...cells, this.filler ? el('td', {}) : null);
    this.rows.push({ element, texts: cells.map((cell) => liveText(cell)) });
    this.body.append(element);
  }
}

/** Asks again and again while its tab is shown, never twice at a time. */
export class Poll {
  constructor(milliseconds, ask) {
    this.milliseconds = milliseconds;
    this.ask = ask;
  }

  start() {
    this.running = true;
    this.turn();
  }

  stop() {
    this.running = false;
    clearTimeout(this.timer);
  }

  async turn() {
    clearTimeout(this.timer);
    if (!document.hidden) await this.ask();
    if (this.running) this.timer = setTimeout(() => this.turn(), this.milliseconds);
  }
}
