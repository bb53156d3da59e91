// The axes: a row each, and the selected one in large numbers with what can be done to it.
import { AxisPanel } from './axis_panel.js';
import { alarmName, FLAGS, shareOf, speedShare, torqueShare } from './axis_values.js';
import { centreBar, el, lamp, live, liveClass, liveText, markBar } from './dom.js';
import { number } from './format.js';

function cell(name, label, bar) {
  const value = el('span', { class: 'value' });
  const element = el('span', { class: `cell cell-${name}` },
    el('span', { class: 'cell-name' }, label), value, bar?.element);
  return { element, set: liveText(value, '–'), bar };
}

class AxisRow {
  constructor(axis, machine) {
    this.axis = axis;
    this.decimals = machine.decimals(axis.axis);
    this.cells = {
      command: cell('command', 'command', markBar()), encoder: cell('encoder', 'encoder'),
      error: cell('error', 'error'), speed: cell('speed', 'speed', centreBar()),
      torque: cell('torque', 'torque', centreBar()),
    };
    this.lamps = FLAGS.map(([member, name, shape]) => ({ member, ...lamp(name, shape) }));
    this.alarm = el('span', { class: 'flag flag-alarm' }, el('i', { 'aria-hidden': 'true' }));
    this.alarmText = liveText(this.alarm, 'alarm');
    this.unit = el('span', { class: 'axis-unit' }, machine.unitText(axis.axis));
    this.name = el('span', { class: 'axis-number' }, axis.name || String(axis.axis));
    if (this.name.textContent.length > 2) this.name.classList.add('long');
    this.element = el('div', {
      class: 'axis-row', role: 'option', id: `axis-${axis.axis}`, 'aria-label': `axis ${axis.axis} ${axis.name ?? ''}`.trim(),
    },
    this.name, this.unit,
    ...Object.values(this.cells).map(({ element }) => element),
    el('span', { class: 'flags' }, this.alarm, ...this.lamps.map(({ element }) => element)));
    this.inAlarm = liveClass(this.element, 'in-alarm', (on) => this.alarm.classList.toggle('on', on));
    this.running = liveClass(this.element, 'running');
    this.chosen = live((on) => this.element.setAttribute('aria-selected', String(on)));
  }

  draw(state, selected) {
    this.chosen(selected);
    if (!state) return;
    const { command, encoder, error, speed, torque } = this.cells;
    command.set(number(state.command, this.decimals));
    encoder.set(number(state.encoder, this.decimals));
    error.set(number(state.error, this.decimals));
    speed.set(number(state.speed, Math.min(2, this.decimals)));
    torque.set(`${number(state.torque, 1)} %`);
    command.bar.set(shareOf(state.command, this.axis.range));
    speed.bar.set(speedShare(this.axis, state));
    torque.bar.set(torqueShare(state));
    this.lamps.forEach(({ member, set }) => set(state[member] === true));
    this.running(state.moving === true);
    this.inAlarm(state.alarm !== 0);
    this.alarmText(alarmName(state));
  }
}

class AxisList {
  constructor(app) {
    this.app = app;
    this.rows = [];
    this.element = el('div', {
      class: 'axis-list', role: 'listbox', tabIndex: 0, 'aria-label': 'Axes',
      on: { keydown: (event) => this.key(event), click: (event) => this.click(event) },
    });
    const { machine } = app;
    machine.addEventListener('axes', () => this.fill());
    machine.addEventListener('select', () => {
      this.rows.find((row) => row.axis.axis === machine.selected)?.element.scrollIntoView({ block: 'nearest' });
      app.redraw();
    });
    this.fill();
  }

  fill() {
    const { machine } = this.app;
    this.rows = machine.axes.map((axis) => new AxisRow(axis, machine));
    const nothing = el('p', { class: 'empty' }, machine.welcome ? 'This controller has no servo axes.' : 'Connecting …');
    this.element.replaceChildren(...(this.rows.length ? this.rows.map((row) => row.element) : [nothing]));
    this.app.redraw();
  }

  click(event) {
    const row = this.rows.find(({ element }) => element.contains(event.target));
    if (row) this.app.machine.select(row.axis.axis);
  }

  key(event) {
    const step = { ArrowDown: 1, ArrowUp: -1, PageDown: 8, PageUp: -8, Home: -99, End: 99 }[event.key];
    if (!step) return;
    event.preventDefault();
    const { machine } = this.app;
    const at = this.rows.findIndex((row) => row.axis.axis === machine.selected);
    const next = Math.max(0, Math.min(this.rows.length - 1, at + step));
    machine.select(this.rows[next].axis.axis);
  }

  draw() {
    const { machine } = this.app;
    const states = machine.state?.axes ?? [];
    this.rows.forEach((row, i) => {
      const number = row.axis.axis;
      const state = states[i]?.axis === number ? states[i] : machine.axisState(number);
      row.draw(state, number === machine.selected);
    });
    this.element.setAttribute('aria-activedescendant', `axis-${machine.selected}`);
  }
}

export function makeAxesTab(app) {
  const list = new AxisList(app);
  const panel = new AxisPanel(app);
  return {
    id: 'axes',
    title: 'Axes',
    element: el('div', { class: 'axes' }, list.element, panel.element),
    draw() {
      list.draw();
      panel.draw();
    },
  };
}
