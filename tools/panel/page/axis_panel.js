// The selected axis: large numbers, its alarm explained, and everything that moves it.
import { alarmName, FLAGS, MORE_FLAGS, shareOf, speedShare, torqueShare } from './axis_values.js';
import { button, centreBar, el, field, lamp, live, liveText, markBar } from './dom.js';
import { motionName, niceBelow, number, parseNumber, words } from './format.js';

function reading(name, bar) {
  const value = el('span', { class: 'value' });
  return {
    element: el('div', { class: 'reading' }, el('span', { class: 'reading-name' }, name), value, bar?.element),
    set: liveText(value, '–'),
    bar,
  };
}

function numberField(label) {
  const input = el('input', { type: 'text', inputmode: 'decimal', autocomplete: 'off', size: 8 });
  const unit = el('span', { class: 'unit' });
  return { input, unit, element: field(label, input, unit) };
}

export class AxisPanel {
  constructor(app) {
    this.app = app;
    this.speeds = new Map();
    this.makeReadings();
    this.makeControls();
    this.element = el('aside', { class: 'axis-panel', 'aria-label': 'Selected axis' },
      el('div', { class: 'axis-head' }, this.name, this.motion),
      this.large, this.track.element,
      // An alarm covers the readings, which stand in the axis's row, too: no button moves away.
      el('div', { class: 'axis-middle' }, this.readings,
        el('div', { class: 'flags flags-large' }, ...this.lamps.map(({ element }) => element)), this.alarm),
      this.controls);
    app.machine.addEventListener('select', () => this.changeAxis());
    app.machine.addEventListener('axes', () => this.changeAxis());
    app.machine.addEventListener('alarm', () => app.redraw());
  }

  makeReadings() {
    this.name = el('h2', {});
    this.setName = liveText(this.name, 'Axis');
    this.motion = el('span', { class: 'motion' });
    this.setMotion = liveText(this.motion);
    const value = el('span', { class: 'value' });
    this.unit = el('span', { class: 'unit' });
    this.setCommand = liveText(value, '–');
    this.setUnit = liveText(this.unit);
    this.large = el('div', { class: 'large' }, value, this.unit);
    this.track = markBar();
    this.encoder = reading('encoder');
    this.error = reading('error');
    this.speed = reading('speed', centreBar());
    this.torque = reading('torque', centreBar());
    this.readings = el('div', { class: 'readings' }, this.encoder.element, this.error.element,
      this.speed.element, this.torque.element);
    this.lamps = [...FLAGS, ...MORE_FLAGS].map(([member, name, shape]) => ({ member, ...lamp(name, shape) }));
    this.makeAlarm();
  }

  makeAlarm() {
    const head = el('p', { class: 'alarm-head' });
    const cause = el('p', { class: 'quiet' });
    const remedy = el('p', { class: 'remedy' });
    this.reset = button('Reset alarm', () => this.act('resetAlarm'), { class: 'small' });
    this.alarm = el('div', { class: 'alarm-box', role: 'alert', hidden: true },
      el('div', { class: 'card-head' }, head, this.reset), cause, remedy);
    this.alarmTexts = [head, cause, remedy].map((element) => liveText(element));
    this.showAlarm = live((shown) => { this.alarm.hidden = !shown; });
  }

  makeControls() {
    this.jogSpeed = numberField('speed');
    this.jogSpeed.input.addEventListener('input', () => {
      this.speeds.set(this.axis, this.jogSpeed.input.value);
    });
    this.makeJog();
    this.makeSteps();
    this.target = numberField('move to');
    this.go = button('Go', () => this.move({ position: parseNumber(this.target.input.value) }), { class: 'wide' });
    this.target.input.addEventListener('keydown', (event) => { if (event.key === 'Enter') this.go.click(); });
    this.servoOn = button('Servo on', () => this.act('servo', { on: true }), { class: 'wide' });
    this.servoOff = button('Servo off', () => this.act('servo', { on: false }), { class: 'wide' });
    this.home = button('Home', () => this.goHome(), { class: 'wide' });
    this.makeUnit();
    this.controls = el('fieldset', { class: 'controls' },
      el('legend', { class: 'unseen' }, 'Motion'),
      el('div', { class: 'control-row' }, this.servoOn, this.servoOff, this.home),
      this.jogRow, this.stepRow,
      el('div', { class: 'control-row control-fields' }, this.jogSpeed.element, this.target.element, this.go),
      this.unitBox);
    this.enable = live((enabled) => { this.controls.disabled = !enabled; });
    this.enableReset = live((enabled) => { this.reset.disabled = !enabled; });
  }

  makeJog() {
    const hold = (direction, text, name) => {
      const control = el('button', {
        type: 'button', class: 'jog', 'aria-label': `Jog ${name}: hold`, title: 'Hold to jog (keyboard: Enter)',
      }, text);
      this.app.jog.attach(control, () => {
        const speed = this.checkedSpeed();
        return speed && { axis: this.axis, direction, speed };
      });
      return control;
    };
    this.jogRow = el('div', { class: 'jog-row' }, hold(-1, '− jog', 'negative'),
      el('span', { class: 'jog-hint' }, 'hold'), hold(1, 'jog +', 'positive'));
  }

  makeSteps() {
    this.step = el('select', { 'aria-label': 'Length of a step' });
    const by = (sign) => () => this.move({ distance: sign * Number(this.step.value) });
    this.stepRow = el('div', { class: 'jog-row' }, button('− step', by(-1), { class: 'step' }), this.step,
      button('step +', by(1), { class: 'step' }));
  }

  makeUnit() {
    const size = el('input', { type: 'text', inputmode: 'decimal', size: 8, autocomplete: 'off' });
    const text = el('input', { type: 'text', size: 4, maxLength: 8, autocomplete: 'off' });
    const set = button('Set', () => {
      const unit = parseNumber(size.value);
      if (!(unit > 0)) this.app.notices.bad({ title: 'No unit', text: 'What a pulse is in the unit is a number above 0.' });
      else this.app.machine.act('unit', { axis: this.axis, unit, text: text.value.trim() });
    }, { class: 'small' });
    this.unitInputs = [size, text];
    this.unitBox = el('details', { class: 'unit-box' }, el('summary', {}, 'Unit'),
      el('div', { class: 'control-row' }, field('one pulse is', size), field('of', text), set));
  }

  get axis() {
    return this.app.machine.selected;
  }

  act(what, fields = {}) {
    this.app.machine.act(what, { axis: this.axis, ...fields });
  }

  goHome() {
    const speed = this.checkedSpeed();
    if (speed) this.act('home', { speed });
  }

  checkedSpeed() {
    const speed = parseNumber(this.jogSpeed.input.value);
    const bad = !(speed > 0);
    this.jogSpeed.input.setAttribute('aria-invalid', String(bad));
    if (bad) this.app.notices.bad({ title: 'No speed', text: 'The speed is a number above 0.' });
    return bad ? null : speed;
  }

  move(where) {
    const bad = Object.values(where).some((value) => value === null || !Number.isFinite(value));
    this.target.input.setAttribute('aria-invalid', String(bad));
    if (bad) {
      this.app.notices.bad({ title: 'No place', text: 'The place to move to is a number.' });
      return;
    }
    const speed = this.checkedSpeed();
    if (speed) this.act('move', { ...where, speed });
  }

  /** Another axis, or other units: nothing of the former one may stay in the fields. */
  changeAxis() {
    const { machine } = this.app;
    const axis = machine.axis(this.axis);
    this.app.jog.release();
    if (!axis) return;
    const unit = machine.unitText(this.axis);
    this.setName(axis.name ? `Axis ${this.axis} · ${axis.name}` : `Axis ${this.axis}`);
    this.setUnit(unit);
    this.jogSpeed.unit.textContent = `${unit}/s`;
    this.target.unit.textContent = unit;
    this.target.input.value = '';
    const normal = axis.speedMax > 0 ? niceBelow(axis.speedMax / 10) : 10000 * axis.unit;
    this.jogSpeed.input.value = this.speeds.get(this.axis) ?? String(Number(normal.toPrecision(6)));
    const steps = [1, 10, 100, 1000, 10000, 100000].map((pulses) => pulses * axis.unit);
    const before = this.step.selectedIndex;
    this.step.replaceChildren(...steps.map((length) => el('option', { value: String(length) },
      `${number(length, machine.decimals(this.axis)).replace(/(\.\d*?)0+$/, '$1').replace(/\.$/, '')} ${unit}`)));
    this.step.selectedIndex = before < 0 ? 3 : before;
    [this.unitInputs[0].value, this.unitInputs[1].value] = [String(axis.unit), axis.unitText];
    this.app.redraw();
  }

  draw() {
    const { machine } = this.app;
    const axis = machine.axis(this.axis);
    const state = machine.axisState(this.axis);
    this.enable(machine.mayMove);
    this.enableReset(machine.mayMove);
    if (!axis || !state) return;
    const decimals = machine.decimals(this.axis);
    const ended = state.motion === 'none' && state.stopCause ? state.stopCause : '';
    this.setMotion(ended ? words(ended) : motionName(state.motion));
    this.setCommand(number(state.command, decimals));
    this.track.set(shareOf(state.command, axis.range));
    this.encoder.set(number(state.encoder, decimals));
    this.error.set(number(state.error, decimals));
    this.speed.set(`${number(state.speed, Math.min(2, decimals))} /s`);
    this.torque.set(`${number(state.torque, 1)} %`);
    this.speed.bar.set(speedShare(axis, state));
    this.torque.bar.set(torqueShare(state));
    this.lamps.forEach(({ member, set }) => set(state[member] === true));
    this.drawAlarm(state);
  }

  drawAlarm(state) {
    this.showAlarm(state.alarm !== 0);
    if (state.alarm === 0) return;
    const known = this.app.machine.alarms.get(this.axis);
    const told = known?.number === state.alarm ? known : {};
    const name = alarmName(state, 'Alarm');
    const texts = [told.text ? `${name}: ${told.text}` : name, told.cause ?? '', told.remedy ?? ''];
    this.alarmTexts.forEach((set, i) => set(texts[i]));
  }
}
