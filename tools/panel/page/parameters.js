// Parameters of a drive, and how they differ from those in a file.
import { button, el, field, select, setChoices } from './dom.js';
import { number } from './format.js';
import { Table } from './tables.js';

const LARGEST_FILE = 60000; // bytes: what fits into one message

class ParametersTab {
  constructor(app) {
    this.app = app;
    this.values = [];
    this.axis = select([], () => this.forget());
    this.filter = el('input', { type: 'search', placeholder: '1.0', size: 8, on: { input: () => this.showValues() } });
    this.read = button('Read all', () => this.readAll(), { class: 'small' });
    this.progress = el('span', { class: 'quiet', role: 'status' });
    this.table = new Table([
      { name: 'parameter', end: true, text: ({ parameter }) => parameter },
      { name: 'value', end: true, text: ({ value }) => number(value) },
      { name: '', text: ({ name }) => name ?? '' },
    ], 'Not read yet.');
    this.differences = new Table([
      { name: 'parameter', end: true, text: ({ parameter }) => parameter },
      { name: 'drive', end: true, text: ({ drive }) => (drive === null ? 'not there' : number(drive)) },
      { name: 'file', end: true, text: ({ file }) => number(file) },
    ], 'Choose a file that zelq params backup wrote.');
    this.file = el('input', { type: 'file', accept: '.json,application/json', on: { change: () => this.compare() } });
    this.element = el('div', { class: 'two' },
      el('section', { class: 'card' }, el('div', { class: 'card-head' }, el('h2', {}, 'Drive'), field('axis', this.axis),
        this.read, field('only', this.filter), this.progress), this.table.element),
      el('section', { class: 'card' }, el('div', { class: 'card-head' }, el('h2', {}, 'Compared with a file'), this.file),
        this.differences.element));
    app.machine.addEventListener('axes', () => this.fill());
    this.forget();
  }

  fill() {
    setChoices(this.axis, this.app.machine.axes.map(({ axis }) => [axis, `axis ${axis}`]));
  }

  /** Another axis: what was read is of the former one. */
  forget() {
    this.values = [];
    this.showValues();
    this.differences.show([]);
    this.file.value = '';
    this.progress.textContent = '';
  }

  showValues() {
    const wanted = this.filter.value.trim().toLowerCase();
    const fits = ({ parameter, name }) => parameter.startsWith(wanted) || (name ?? '').toLowerCase().includes(wanted);
    this.table.show(this.values.filter(fits));
  }

  async readAll() {
    const axis = Number(this.axis.value);
    this.read.disabled = true;
    this.progress.textContent = 'reading …';
    const data = await this.app.machine.read('parameters', { axis }, 'The parameters were not read');
    this.read.disabled = false;
    if (Number(this.axis.value) !== axis) return;
    this.progress.textContent = data ? `${data.values.length} parameters` : '';
    if (!data) return;
    this.values = data.values;
    this.showValues();
  }

  async compare() {
    const [file] = this.file.files;
    if (!file) return;
    if (file.size > LARGEST_FILE) {
      this.app.notices.bad({ title: 'Not compared', text: `The file has more than ${number(LARGEST_FILE)} bytes.` });
      return;
    }
    const axis = Number(this.axis.value);
    this.differences.empty.textContent = 'comparing …';
    const data = await this.app.machine.read('compare', { axis, file: await file.text() }, 'Not compared');
    if (Number(this.axis.value) !== axis) return;
    this.differences.empty.textContent = data ? 'The drive has what is in the file.' : '';
    this.differences.show(data ? data.differences : []);
  }
}

export function makeParametersTab(app) {
  const tab = new ParametersTab(app);
  return { id: 'parameters', title: 'Parameters', element: tab.element };
}
