// Trace lines: what the library wrote of each finished call, as it comes.
import { button, el, field, live, saveFile, stamp } from './dom.js';

const MOST = 2000;
const LINE = /^TIME=(\d{2})(\d{2})(\d{2})(\d{2})(\d{2})(\d{2}),(-?\d+)=([^(]+)(\(.*\))$/;

const OWN = /^TIME=\d+,0=zelQ_GetAllStatus\(/;

class TraceTab {
  constructor(app) {
    this.app = app;
    this.lines = [];
    this.fresh = [];
    this.list = el('ol', { class: 'trace', tabIndex: 0, 'aria-label': 'Trace lines' });
    this.filter = el('input', { type: 'search', placeholder: 'zelQ_Move', on: { input: () => this.showAll() } });
    this.bad = el('input', { type: 'checkbox', on: { change: () => this.showAll() } });
    this.own = el('input', { type: 'checkbox', checked: true });
    this.run = button('Pause', () => this.pause(!this.paused), { class: 'tool', 'aria-pressed': 'false' });
    this.count = el('span', { class: 'quiet' });
    this.showCount = live((text) => { this.count.textContent = text; });
    const tools = el('div', { class: 'tools' }, this.run, field('only with', this.filter),
      el('label', { class: 'check' }, this.bad, 'failed calls only'),
      el('label', { class: 'check' }, this.own, 'without the status that is read all the time'),
      el('span', { class: 'tool-group' }, button('Clear', () => this.clear(), { class: 'tool' }),
        button('Save', () => this.save(), { class: 'tool' })), this.count);
    this.empty = el('p', { class: 'empty' }, 'No lines yet. Programs write them while their trace is on.');
    this.element = el('div', { class: 'trace-tab' }, tools, el('div', { class: 'trace-box' }, this.empty, this.list));
    app.link.on('trace', ({ lines, problem }) => {
      if (problem) app.notices.bad({ title: 'No trace lines come', text: problem });
      this.take(lines ?? []);
    });
  }

  take(lines) {
    if (this.paused) return;
    // Fifty a second of this panel's own would push out what programs do.
    this.fresh.push(...lines.filter((line) => !(this.own.checked && OWN.test(line))));
    this.app.redraw();
  }

  row(line) {
    const parts = LINE.exec(line);
    if (!parts) return el('li', {}, line);
    const [, , , , hour, minute, second, result, name, fields] = parts;
    return el('li', { class: Number(result) < 0 ? 'failed' : '' },
      el('span', { class: 'trace-time' }, `${hour}:${minute}:${second}`),
      el('span', { class: 'trace-result' }, result.replace('-', '−')),
      el('span', { class: 'trace-name' }, name), el('span', { class: 'trace-fields' }, fields));
  }

  fits(line) {
    const wanted = this.filter.value.trim().toLowerCase();
    if (this.bad.checked && !/^TIME=\d+,-/.test(line)) return false;
    return line.toLowerCase().includes(wanted);
  }

  showAll() {
    this.list.replaceChildren(...this.lines.filter((line) => this.fits(line)).map((line) => this.row(line)));
    this.list.scrollTop = this.list.scrollHeight;
  }

  pause(paused) {
    this.paused = paused;
    this.run.textContent = paused ? 'Run' : 'Pause';
    this.run.setAttribute('aria-pressed', String(paused));
  }

  clear() {
    this.lines = [];
    this.showAll();
    this.app.redraw();
  }

  save() {
    saveFile(`trace_${stamp()}.txt`, `${this.lines.join('\n')}\n`, 'text/plain');
  }

  draw() {
    const { list } = this;
    if (this.fresh.length > 0) {
      const atEnd = list.scrollTop + list.clientHeight > list.scrollHeight - 40;
      const fresh = this.fresh.slice(-MOST);
      this.fresh = [];
      this.lines.push(...fresh);
      if (this.lines.length > MOST) this.lines.splice(0, this.lines.length - MOST);
      list.append(...fresh.filter((line) => this.fits(line)).map((line) => this.row(line)));
      while (list.childElementCount > MOST) list.firstElementChild.remove();
      if (atEnd) list.scrollTop = list.scrollHeight; // whoever reads further up is left there
    }
    this.showCount(this.lines.length ? `${this.lines.length} lines` : '');
    this.empty.hidden = this.lines.length > 0;
  }
}

export function makeTraceTab(app) {
  const tab = new TraceTab(app);
  return { id: 'trace', title: 'Trace', element: tab.element, watch: ['trace'], draw: () => tab.draw() };
}
