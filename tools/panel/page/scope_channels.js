// The eight channels beside a scope: which signal each shows, and its values.
import { el, live, liveText, select, setChoices } from './dom.js';
import { number } from './format.js';
import { RECORDED, SIGNALS, scaleOf } from './scope_data.js';

const COUNT = 8;
const FIRST = ['command', 'encoder', 'speed', 'torque']; // of the first axis, to begin with
const KEY = 'zelq-panel-scope';

function digitsOf(scale) {
  if (scale.unit === '') return 0;
  return Math.max(0, Math.min(4, Math.ceil(-Math.log10(scale.factor) - 1e-9)));
}

class Channel {
  constructor(index, changed) {
    this.colour = `ch${index + 1}`;
    this.column = -1;
    this.auto = true;
    this.range = null;
    this.name = '';
    this.label = '';
    this.scale = { factor: 1, unit: '' };
    this.where = select([['', '–']], changed);
    this.signal = select([], changed);
    this.where.setAttribute('aria-label', `Channel ${index + 1}: axis`);
    this.signal.setAttribute('aria-label', `Channel ${index + 1}: signal`);
    const cells = ['now', 'A', 'B', 'B − A'].map((head) => {
      const value = el('span', { class: 'value' });
      const element = el('span', { class: 'channel-value' }, el('span', { class: 'cell-name' }, head), value);
      return { element, set: liveText(value, '–') };
    });
    [this.now, this.a, this.b, this.difference] = cells;
    this.element = el('div', { class: `channel ${this.colour}` },
      el('span', { class: 'swatch', 'aria-hidden': 'true' }, String(index + 1)), this.where, this.signal,
      el('div', { class: 'channel-values' }, ...cells.map(({ element }) => element)));
    this.dim = live((on) => this.element.classList.toggle('off', on));
  }
}

export class ScopeChannels {
  constructor(app, changed) {
    this.app = app;
    this.changed = changed;
    this.channels = Array.from({ length: COUNT }, (_, i) => new Channel(i, () => this.choose()));
    this.element = el('div', { class: 'channels' }, ...this.channels.map(({ element }) => element));
    app.machine.addEventListener('axes', () => this.fill());
    this.fill();
  }

  fill() {
    const { machine } = this.app;
    const sources = [['', '–'], ...machine.axes.map(({ axis }) => [axis, `axis ${axis}`]), ['board', 'main board']];
    for (const station of machine.state?.stations ?? []) sources.push([`s${station.station}`, `station ${station.station}`]);
    for (const channel of this.channels) {
      setChoices(channel.where, sources);
      this.fillSignals(channel);
    }
    if (!this.begun && machine.axes.length > 0) this.begin(machine.axes[0].axis);
  }

  /** What was looked at before this page was loaded anew, or what one mostly wants to see. */
  begin(axis) {
    this.begun = true;
    const normal = FIRST.map((signal) => [String(axis), signal]);
    let kept = null;
    try {
      kept = JSON.parse(sessionStorage.getItem(KEY));
    } catch {
      kept = null; // of an older page
    }
    (Array.isArray(kept) ? kept : normal).forEach(([where, signal], i) => this.set(i, where, signal));
  }

  set(index, where, signal) {
    const channel = this.channels[index];
    channel.where.value = where;
    if (channel.where.value !== where) channel.where.value = '';
    this.fillSignals(channel);
    channel.signal.value = signal;
    if (channel.signal.selectedIndex < 0) channel.signal.selectedIndex = 0;
  }

  fillSignals(channel) {
    const where = channel.where.value;
    const pins = [['inputs', 'inputs'], ['outputs', 'outputs']];
    const ofAxis = SIGNALS.filter(([name]) => !(this.polled && RECORDED.has(name)));
    setChoices(channel.signal, where === '' ? [] : /^\d/.test(where) ? ofAxis : pins);
    channel.signal.disabled = where === '';
  }

  /** Polled, there is less to see. */
  setPolled(polled) {
    this.polled = polled;
    for (const channel of this.channels) this.fillSignals(channel);
  }

  choose() {
    for (const channel of this.channels) this.fillSignals(channel);
    const kept = this.channels.map(({ where, signal }) => [where.value, signal.value]);
    sessionStorage.setItem(KEY, JSON.stringify(kept));
    this.changed();
  }

  nameOf({ where, signal }) {
    if (where.value === '' || signal.value === '') return '';
    if (where.value === 'board') return signal.value;
    return `${where.value.replace('s', '')}.${signal.value}`;
  }

  /** The names to ask for; each once, however many channels show it. */
  get signals() {
    return [...new Set(this.channels.map((channel) => this.nameOf(channel)).filter(Boolean))];
  }

  scale(name) {
    return scaleOf(name, this.app.machine);
  }

  /** Tells each channel which column of the samples is its own. */
  assign(signals) {
    for (const channel of this.channels) {
      const name = this.nameOf(channel);
      if (name !== channel.name) [channel.auto, channel.range] = [true, null];
      channel.name = name;
      channel.column = name ? signals.indexOf(name) : -1;
      channel.scale = this.scale(name);
      const where = channel.where.selectedOptions[0]?.textContent ?? '';
      channel.label = `${where} ${channel.signal.selectedOptions[0]?.textContent ?? ''}`;
    }
  }

  triggerChoices(list) {
    const used = this.channels.map((channel, i) => [i, channel]).filter(([, channel]) => channel.column >= 0);
    setChoices(list, [['-1', 'no trigger'], ...used.map(([i, channel]) => [i, `${i + 1}: ${channel.label}`])]);
    if (list.selectedIndex < 0) list.selectedIndex = 0;
  }

  draw({ recording, view, cursors }) {
    for (const channel of this.channels) {
      const { column, scale } = channel;
      channel.dim(column < 0);
      const digits = digitsOf(scale);
      const at = (time) => (column < 0 ? NaN : recording.valueAt(column, time) * scale.factor);
      const show = (value) => number(value, digits);
      channel.now.set(column < 0 || recording.count === 0 ? '–' : `${show(at(recording.end))} ${scale.unit}`);
      const [a, b] = cursors ? cursors.map((back) => at(view.end - back)) : [NaN, NaN];
      channel.a.set(show(a));
      channel.b.set(show(b));
      channel.difference.set(show(b - a));
    }
  }
}
