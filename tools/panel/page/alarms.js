// Alarms: those of this moment with what they mean, those that were, and what any code means.
import { alarmName } from './axis_values.js';
import { button, el, field, live, select, setChoices } from './dom.js';
import { parseNumber, seconds } from './format.js';
import { Table } from './tables.js';

function explained({ text, cause, remedy }) {
  return [text ? el('p', {}, text) : null, cause ? el('p', { class: 'quiet' }, cause) : null,
    remedy ? el('p', { class: 'remedy' }, remedy) : null].filter(Boolean);
}

class AlarmsTab {
  constructor(app) {
    this.app = app;
    this.now = el('div', { class: 'alarm-cards' });
    this.resetAll = button('Reset all', () => app.machine.act('resetAlarm', { axis: 'all' }), { class: 'small' });
    this.axis = select([['all', 'all axes']], () => this.readHistory());
    this.history = new Table([
      { name: 'axis', end: true, text: ({ axis }) => String(axis) },
      { name: 'alarm', end: true, text: ({ number, sub }) => `${number}.${sub ?? 0}` },
      { name: 'at', end: true, text: ({ at }) => (at === undefined || at === null ? '' : seconds(at, 0)) },
      { name: 'meaning', text: ({ text }) => text ?? '' },
      { name: 'what to do', text: ({ remedy }) => remedy ?? '' },
    ], 'No alarms are kept.');
    this.makeExplain();
    this.element = el('div', { class: 'alarms' },
      el('section', { class: 'card' }, el('div', { class: 'card-head' }, el('h2', {}, 'Now'), this.resetAll), this.now),
      el('section', { class: 'card' }, el('div', { class: 'card-head' }, el('h2', {}, 'What the drives kept'),
        field('of', this.axis), button('Read', () => this.readHistory(), { class: 'small' })), this.history.element),
      el('section', { class: 'card' }, el('h2', {}, 'What does it mean?'), this.form, this.answer));
    this.build = live(() => this.makeCards());
    app.machine.addEventListener('axes', () => {
      setChoices(this.axis, [['all', 'all axes'], ...app.machine.axes.map(({ axis }) => [axis, `axis ${axis}`])]);
    });
  }

  makeExplain() {
    this.code = el('input', { type: 'text', inputmode: 'numeric', size: 8, placeholder: '−7', autocomplete: 'off' });
    this.kind = select([['code', 'a result'], ['alarm', 'an alarm']]);
    this.form = el('form', {
      class: 'control-row', on: { submit: (event) => { event.preventDefault(); this.explain(); } },
    }, field('number', this.code), field('of', this.kind), el('button', { class: 'small' }, 'Explain'));
    this.answer = el('div', { class: 'explained', role: 'status' });
  }

  async explain() {
    const code = parseNumber(this.code.value);
    if (code === null) {
      this.code.setAttribute('aria-invalid', 'true');
      return;
    }
    this.code.removeAttribute('aria-invalid');
    const data = await this.app.machine.read('explain', { [this.kind.value]: code });
    if (!data) return;
    const title = [String(data.code ?? code).replace('-', '−'), data.name].filter(Boolean).join(' · ');
    const text = data.text === data.name ? '' : data.text;
    this.answer.replaceChildren(el('p', { class: 'alarm-head' }, title), ...explained({ ...data, text }));
  }

  async readHistory() {
    const axis = this.axis.value === 'all' ? 'all' : Number(this.axis.value);
    const data = await this.app.machine.read('alarms', { axis });
    if (data) this.history.show(data.history);
  }

  active() {
    return (this.app.machine.state?.axes ?? []).filter(({ alarm }) => alarm !== 0);
  }

  makeCards() {
    const { machine } = this.app;
    const cards = this.active().map(({ axis, alarm, alarmSub }) => {
      const known = machine.alarms.get(axis);
      const told = known?.number === alarm ? known : {};
      const reset = button('Reset', () => machine.act('resetAlarm', { axis }), { class: 'small' });
      return el('article', { class: 'alarm-box' },
        el('div', { class: 'card-head' }, el('p', { class: 'alarm-head' }, `Axis ${axis}: ${alarmName({ alarm, alarmSub })}`), reset),
        ...explained(told));
    });
    this.now.replaceChildren(...(cards.length ? cards : [el('p', { class: 'empty' }, 'No axis has an alarm.')]));
  }

  draw() {
    const { machine } = this.app;
    this.resetAll.disabled = !machine.mayMove;
    const told = (axis) => machine.alarms.get(axis)?.number ?? 0;
    this.build(this.active().map(({ axis, alarm, alarmSub }) => [axis, alarm, alarmSub, told(axis)]).join(';'));
  }
}

export function makeAlarmsTab(app) {
  const tab = new AlarmsTab(app);
  return {
    id: 'alarms',
    title: 'Alarms',
    element: tab.element,
    show: () => { if (app.machine.welcome) tab.readHistory(); },
    draw: () => tab.draw(),
    countOf: (machine) => machine.state?.axes.filter(({ alarm }) => alarm !== 0).length ?? 0,
  };
}
