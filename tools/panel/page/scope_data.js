// The samples that a scope shows: a ring for each signal, and where the trigger finds its edge.

const CAPACITY = 1 << 16; // a minute at 1 ms
const MASK = CAPACITY - 1;

export const SIGNALS = [
  ['command', 'command'], ['encoder', 'encoder'], ['followingError', 'following error'],
  ['target', 'target'], ['speed', 'speed'], ['torque', 'torque'], ['servoOn', 'servo on'],
  ['moving', 'moving'], ['inPosition', 'in position'], ['alarm', 'alarm'],
  ['homeSensor', 'home sensor'], ['probe', 'probe'], ['limitNegative', 'limit −'],
  ['limitPositive', 'limit +'],
];
/** Only the recorder sees these. */
export const RECORDED = new Set(['target', 'probe']);
const PLACES = new Set(['command', 'encoder', 'followingError', 'target']);

/** Samples come in pulses and 0.1 %: what they are multiplied with, and the unit after that. */
export function scaleOf(name, machine) {
  const [where, signal] = name.split('.');
  if (signal === 'torque') return { factor: 0.1, unit: '%' };
  const axis = machine.axis(Number(where));
  const unit = axis ? axis.unit : 1;
  const text = machine.unitText(Number(where));
  if (PLACES.has(signal)) return { factor: unit, unit: text };
  if (signal === 'speed') return { factor: unit, unit: `${text}/s` };
  return { factor: 1, unit: '' };
}

export class Recording {
  constructor(signals) {
    this.signals = signals;
    this.times = new Float64Array(CAPACITY);
    this.columns = signals.map(() => new Float64Array(CAPACITY));
    this.count = 0; // of all samples that ever came; the ring has the last ones
  }

  get first() {
    return Math.max(0, this.count - CAPACITY);
  }

  get start() {
    return this.count ? this.times[this.first & MASK] : 0;
  }

  get end() {
    return this.count ? this.times[(this.count - 1) & MASK] : 0;
  }

  time(index) {
    return this.times[index & MASK];
  }

  value(column, index) {
    return this.columns[column][index & MASK];
  }

  add({ from, step, samples }) {
    const columns = this.signals.map((name) => samples[name] ?? []);
    const rows = Math.max(...columns.map((column) => column.length));
    if (this.count && from <= this.end) this.count = 0; // the clock began anew
    if (this.count && from - this.end > 1.5 * step) this.push(this.end + step, () => NaN); // a gap
    for (let row = 0; row < rows; ++row) {
      this.push(from + row * step, (column) => columns[column][row] ?? NaN);
    }
  }

  push(time, valueOf) {
    const at = this.count & MASK;
    this.times[at] = time;
    for (let column = 0; column < this.columns.length; ++column) this.columns[column][at] = valueOf(column);
    ++this.count;
  }

  /** The first sample at or behind a time; `count` where there is none. */
  indexAt(time) {
    let low = this.first;
    let high = this.count;
    while (low < high) {
      const middle = Math.floor((low + high) / 2);
      if (this.time(middle) < time) low = middle + 1;
      else high = middle;
    }
    return low;
  }

  /** The value of the sample that is nearest to a time; NaN outside of what is known. */
  valueAt(column, time) {
    if (!this.count || time < this.start - 0.1 || time > this.end + 0.1) return NaN;
    const behind = Math.min(this.indexAt(time), this.count - 1);
    const before = Math.max(behind - 1, this.first);
    const nearest = time - this.time(before) < this.time(behind) - time ? before : behind;
    return this.value(column, nearest);
  }

  /** [low, high] of a signal between two times; null where there is nothing. */
  range(column, from, to) {
    let low = Infinity;
    let high = -Infinity;
    const end = this.indexAt(to);
    for (let i = this.indexAt(from); i < end; ++i) {
      const value = this.value(column, i);
      if (value < low) low = value;
      if (value > high) high = value;
    }
    return low <= high ? [low, high] : null;
  }
}

/** Where a signal crosses a level. Of several crossings those count that are a picture apart. */
export class Trigger {
  constructor() {
    this.rising = true;
    this.column = -1;
    this.level = 0;
    this.forget();
  }

  forget() {
    this.found = null;
    this.looked = 0;
  }

  /** Looks at the samples that have `after` seconds behind them; the time of the edge, or null. */
  look(recording, before, after) {
    if (this.column < 0 || this.column >= recording.columns.length) return null;
    if (this.looked > recording.count) this.forget();
    const end = recording.indexAt(recording.end - after);
    const begin = Math.max(this.looked, recording.first + 1);
    for (let i = begin; i < end; ++i) {
      const here = recording.value(this.column, i);
      const last = recording.value(this.column, i - 1);
      const crossed = this.rising ? last < this.level && here >= this.level : last > this.level && here <= this.level;
      const time = recording.time(i);
      const apart = this.found === null || time < this.found || time - this.found >= before + after;
      if (crossed && apart) this.found = time;
    }
    this.looked = Math.max(end, begin);
    return this.found;
  }
}

/** Comma-separated, for the samples between two times. */
export function toCsv(recording, from, to, scales) {
  const heads = recording.signals.map((name, i) => (scales[i].unit ? `${name} [${scales[i].unit}]` : name));
  const lines = [['time [s]', ...heads].join(',')];
  const end = recording.indexAt(to);
  for (let i = recording.indexAt(from); i < end; ++i) {
    const values = recording.columns.map((_, column) => {
      const value = recording.value(column, i) * scales[column].factor;
      return Number.isFinite(value) ? String(Number(value.toPrecision(12))) : '';
    });
    lines.push([recording.time(i).toFixed(6), ...values].join(','));
  }
  return `${lines.join('\n')}\n`;
}
