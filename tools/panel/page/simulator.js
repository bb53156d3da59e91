// The simulator: its clock and power, inputs and sensors to click, loads, the hand wheel, faults.
import { button, el, field, live, liveText, select } from './dom.js';
import { number, parseNumber } from './format.js';
import { namedSwitch, pinRow } from './pins.js';
import { FaultList } from './sim_faults.js';
import { HandWheel } from './sim_wheel.js';

const SCALES = [0.01, 0.1, 0.25, 0.5, 1, 2, 5, 10, 100];
const RETRY_MS = 2000;
const SENSORS = [
  ['homeSensor', 'home sensor'], ['limitNegative', 'limit −'], ['limitPositive', 'limit +'],
  ['probe', 'probe'], ['configurable', 'configurable'],
];
/** What a sensor is called among the flags of a state. */
const FLAG_OF = { configurable: 'configurableInput' };

function card(title, ...parts) {
  return el('section', { class: 'card' }, el('h2', {}, title), ...parts);
}

class SimulatorTab {
  constructor(app) {
    this.app = app;
    this.state = null;
    this.held = new Map(); // sensors that this page holds on, by axis and name
    this.makeClock();
    this.makeInputs();
    this.makeAxis();
    this.wheel = new HandWheel((notches) => this.ask('POST', '/hand-wheel', { notches }));
    this.faults = new FaultList(app);
    this.controls = el('fieldset', { class: 'simulator' }, el('legend', { class: 'unseen' }, 'Simulator'),
      el('div', { class: 'sim-column' }, this.clockCard, this.inputCard, this.axisCard,
        card('Hand wheel', this.wheel.element)), el('div', { class: 'sim-column' }, this.faults.element));
    this.enable = live((enabled) => { this.controls.disabled = !enabled; });
    this.element = this.controls;
    app.link.on('simulator', ({ state, text }) => {
      if (state) this.state = state;
      else this.retry(text);
      app.redraw();
    });
    app.machine.addEventListener('select', () => app.redraw());
  }

  ask(method, path, body) {
    return this.app.machine.simulator(method, path, body);
  }

  /** Its stream of states has ended; it is asked for again, if somebody still looks. */
  retry(text) {
    this.app.notices.bad({ title: 'The simulator tells no more', text });
    setTimeout(() => { if (this.shown) this.app.link.watch(this.app.link.tabs); }, RETRY_MS);
  }

  makeClock() {
    const now = el('span', { class: 'value clock' });
    this.now = liveText(now, '–');
    this.scale = select(SCALES.map((scale) => [scale, `× ${scale}`]), (text) => this.ask('PUT', '/clock', { scale: Number(text) }));
    this.pause = button('Pause', () => this.ask('PUT', '/clock', { paused: !this.state?.clock.paused }), { class: 'tool', 'aria-pressed': 'false' });
    this.step = el('input', { type: 'text', inputmode: 'decimal', size: 6, value: '10' });
    const step = button('Step', () => {
      const ms = parseNumber(this.step.value);
      this.step.setAttribute('aria-invalid', String(!(ms > 0)));
      if (ms > 0) this.ask('POST', '/clock/step', { ms });
    }, { class: 'tool' });
    this.showScale = live((scale) => { this.scale.value = SCALES.includes(scale) ? String(scale) : ''; });
    this.showPaused = live((paused) => {
      this.pause.textContent = paused ? 'Go on' : 'Pause';
      this.pause.setAttribute('aria-pressed', String(paused));
    });
    this.clockCard = card('Time and power',
      el('div', { class: 'control-row' }, now, field('time scale', this.scale), this.pause),
      el('div', { class: 'control-row' }, field('step', this.step, el('span', { class: 'unit' }, 'ms')), step,
        button('Power off and on', () => this.ask('POST', '/power'), { class: 'tool' }),
        button('Drop all connections', () => this.ask('DELETE', '/hosts'), { class: 'tool' })));
  }

  makeInputs() {
    this.inputs = pinRow(8, 'input', (pin, on) => this.ask('PUT', '/inputs', { pins: { [pin]: on } }));
    this.stationRows = el('div', {});
    this.inputCard = card('Inputs', el('div', { class: 'pin-line' }, el('h3', {}, 'Main board'), this.inputs.element), this.stationRows);
    this.slaves = [];
    this.build = live(() => this.makeSlaves());
  }

  makeSlaves() {
    this.slaves = this.state.stations.filter(({ type }) => type === 'input').map(({ station }) => {
      const row = pinRow(32, `station ${station} input`,
        (pin, on) => this.ask('PUT', `/slaves/${station}/inputs`, { pins: { [pin]: on } }));
      return { station, row, element: el('div', { class: 'pin-line' }, el('h3', {}, `Station ${station}`), row.element) };
    });
    this.stationRows.replaceChildren(...this.slaves.map(({ element }) => element));
  }

  makeAxis() {
    const { machine } = this.app;
    this.axis = select([], (text) => machine.select(Number(text)));
    machine.addEventListener('axes', () => this.fill());
    machine.addEventListener('select', () => { this.axis.value = String(machine.selected); });
    this.sensors = SENSORS.map(([name, text]) => ({ name, ...namedSwitch(text, (on) => this.hold(name, on)) }));
    this.load = el('input', { type: 'range', min: '-300', max: '300', step: '5', value: '0' });
    this.loadText = el('output', { class: 'value load-text' }, '0 %');
    this.load.addEventListener('input', () => { this.loadText.value = `${number(Number(this.load.value))} %`; });
    this.load.addEventListener('change', () => this.ask('PUT', `${this.path}/load`, { torque: 10 * Number(this.load.value) }));
    this.pulses = el('input', { type: 'text', inputmode: 'numeric', size: 7, value: '150' });
    this.alarm = el('input', { type: 'text', inputmode: 'numeric', size: 4, value: '16' });
    const given = (input, use) => () => {
      const value = parseNumber(input.value);
      input.setAttribute('aria-invalid', String(value === null));
      if (value !== null) use(value);
    };
    this.axisCard = el('section', { class: 'card' },
      el('div', { class: 'card-head' }, el('h2', {}, 'Machine at'), this.axis),
      el('div', { class: 'pin-line' }, el('h3', {}, 'Hold on'), el('div', { class: 'pins' }, ...this.sensors.map(({ element }) => element))),
      el('div', { class: 'control-row' }, field('load at the motor', this.load), this.loadText,
        button('None', () => this.setLoad(0), { class: 'tool' })),
      el('div', { class: 'control-row' }, field('push', this.pulses, el('span', { class: 'unit' }, 'pulses')),
        button('Push', given(this.pulses, (pulses) => this.ask('POST', `${this.path}/push`, { pulses })), { class: 'tool' }),
        field('alarm', this.alarm),
        button('Raise', given(this.alarm, (alarm) => this.ask('POST', `${this.path}/alarm`, { number: alarm })), { class: 'tool' }),
        button('Reset', () => this.ask('DELETE', `${this.path}/alarm`), { class: 'tool' })));
    this.axis.setAttribute('aria-label', 'Axis');
  }

  get path() {
    return `/axes/${this.app.machine.selected}`;
  }

  fill() {
    const list = this.app.machine.axes.map(({ axis }) => el('option', { value: String(axis) }, `axis ${axis}`));
    this.axis.replaceChildren(...list);
    this.axis.value = String(this.app.machine.selected);
  }

  setLoad(percent) {
    this.load.value = String(percent);
    this.loadText.value = `${number(percent)} %`;
    this.load.dispatchEvent(new Event('change'));
  }

  async hold(name, on) {
    const axis = this.app.machine.selected;
    const answer = await this.ask('PUT', `/axes/${axis}/inputs`, { [name]: on });
    if (answer.result === 0) this.held.set(`${axis}.${name}`, on);
    this.app.redraw();
  }

  show() {
    this.shown = true;
    this.faults.read();
  }

  draw() {
    const { machine } = this.app;
    this.enable(machine.mayChange);
    const { state } = this;
    if (!state) return;
    this.now(`${number(state.clock.now, 2)} s`);
    this.showScale(state.clock.scale);
    this.showPaused(state.clock.paused);
    this.inputs.set(state.io.inputs);
    this.build(state.stations.map(({ station, type }) => station + type).join(' '));
    for (const { station, row } of this.slaves) {
      row.set(state.stations.find((other) => other.station === station)?.inputs ?? 0);
    }
    const flags = state.axes.find(({ axis }) => axis === machine.selected)?.flags ?? {};
    for (const { name, set, element } of this.sensors) {
      set(this.held.get(`${machine.selected}.${name}`) === true);
      element.classList.toggle('seen', flags[FLAG_OF[name] ?? name] === true);
    }
    this.wheel.draw(state.handWheel);
    this.faults.draw(state.faults);
  }
}

export function makeSimulatorTab(app) {
  const tab = new SimulatorTab(app);
  return {
    id: 'simulator',
    title: 'Simulator',
    element: tab.element,
    watch: ['simulator'],
    needs: (machine) => machine.simulated,
    show: () => tab.show(),
    hide: () => { tab.shown = false; },
    draw: () => tab.draw(),
  };
}
