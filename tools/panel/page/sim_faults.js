// Every fault that the simulator knows, by name, with its parameters; those that are active.
import { button, el, live } from './dom.js';
import { parseNumber, words } from './format.js';

class Fault {
  constructor(kind, list) {
    this.kind = kind;
    this.inputs = kind.parameters.map((parameter) => ({ parameter, input: this.makeInput(parameter) }));
    const fields = this.inputs.map(({ parameter, input }) => el('label', { class: 'field', title: parameter.text },
      el('span', { class: 'field-name' }, words(parameter.name)), input));
    this.clear = button('Clear', () => list.ask('DELETE', `/faults/${kind.name}`), { class: 'tool' });
    this.apply = el('button', { class: 'tool' }, 'Apply');
    const form = el('form', { class: 'control-row', on: { submit: (event) => this.submit(event, list) } }, ...fields,
      el('span', { class: 'fault-buttons' }, this.apply, this.clear));
    this.element = el('details', { class: 'fault' },
      el('summary', {}, el('i', { class: 'shape', 'aria-hidden': 'true' }), el('span', { class: 'fault-name' }, words(kind.name)),
        el('span', { class: 'fault-text' }, kind.text)), form);
    this.show = live((active) => {
      this.element.classList.toggle('active', active);
      this.clear.disabled = !active;
      this.apply.textContent = active ? 'Apply anew' : 'Apply';
    });
    this.show(false);
  }

  makeInput({ normal, smallest, largest, text }) {
    return el('input', {
      type: 'text', inputmode: 'decimal', size: 6, value: String(normal), autocomplete: 'off',
      'aria-description': `${text}, ${smallest} to ${largest}`,
    });
  }

  submit(event, list) {
    event.preventDefault();
    const values = {};
    let good = true;
    for (const { parameter, input } of this.inputs) {
      const value = parseNumber(input.value);
      const fits = value !== null && value >= parameter.smallest && value <= parameter.largest;
      input.setAttribute('aria-invalid', String(!fits));
      values[parameter.name] = value;
      good = good && fits;
    }
    if (good) list.ask('PUT', `/faults/${this.kind.name}`, values);
  }
}

export class FaultList {
  constructor(app) {
    this.app = app;
    this.faults = [];
    this.list = el('div', { class: 'faults' });
    this.clearAll = button('Clear all', () => this.ask('DELETE', '/faults'), { class: 'small' });
    this.filter = el('input', { type: 'search', placeholder: 'find', size: 10, 'aria-label': 'Find a fault', on: { input: () => this.narrow() } });
    this.element = el('section', { class: 'card' },
      el('div', { class: 'card-head' }, el('h2', {}, 'Faults'), this.filter, this.clearAll), this.list);
    app.link.on('welcome', () => { this.faults = []; });
  }

  ask(method, path, body) {
    return this.app.machine.simulator(method, path, body);
  }

  /** The list is the simulator's own: what it learns to do wrong is here by itself. */
  async read() {
    if (this.faults.length > 0 || !this.app.machine.simulated) return;
    const answer = await this.ask('GET', '/faults');
    if (answer.result !== 0) return;
    this.faults = answer.data.kinds.map((kind) => new Fault(kind, this));
    this.list.replaceChildren(...this.faults.map(({ element }) => element));
    this.narrow();
  }

  narrow() {
    const wanted = this.filter.value.trim().toLowerCase();
    for (const { kind, element } of this.faults) {
      element.hidden = !`${words(kind.name)} ${kind.text}`.toLowerCase().includes(wanted);
    }
  }

  draw(active) {
    if (this.faults.length === 0 && this.app.link.reach === 'live' && !this.reading) {
      this.reading = this.read().finally(() => { this.reading = null; });
    }
    for (const fault of this.faults) fault.show(fault.kind.name in active);
    this.clearAll.disabled = Object.keys(active).length === 0;
  }
}
