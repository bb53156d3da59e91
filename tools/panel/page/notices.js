// Short messages in a corner: what was done, and what was refused with why and what to do.
import { button, el } from './dom.js';

const GOOD_MS = 2500;
const BAD_MS = 12000;
const MOST = 4;

export class Notices {
  constructor() {
    this.place = document.getElementById('notices');
  }

  good(text) {
    this.add(el('div', { class: 'notice good' }, el('p', {}, text)), GOOD_MS);
  }

  /** {title, text, cause, remedy, result} */
  bad({ title, text, cause, remedy, result }) {
    const code = result && result !== -1 ? ` (${String(result).replace('-', '−')})` : '';
    const box = el('div', { class: 'notice bad', role: 'alert' },
      el('p', { class: 'notice-title' }, title ?? `Refused${code}`),
      text ? el('p', {}, text) : null,
      cause ? el('p', { class: 'quiet' }, cause) : null,
      remedy ? el('p', { class: 'remedy' }, remedy) : null,
      button('×', () => box.remove(), { class: 'close', 'aria-label': 'Close' }));
    this.add(box, BAD_MS);
  }

  /** The same message again takes the place of the one before. */
  add(box, time) {
    for (const other of [...this.place.children]) {
      if (other.textContent === box.textContent) other.remove();
    }
    this.place.append(box);
    while (this.place.children.length > MOST) this.place.firstElementChild.remove();
    setTimeout(() => box.remove(), time);
  }
}
