// Numbers as people read them: a real minus, digits in groups, as many decimals as the unit has.

const GROUP = '\u202f';

export function decimalsOf(unit) {
  if (!(unit > 0) || unit >= 1) return 0;
  return Math.min(6, Math.ceil(-Math.log10(unit) - 1e-9));
}

export function number(value, decimals = 0) {
  if (value === null || value === undefined || !Number.isFinite(value)) return '–';
  let text = Math.abs(value).toFixed(decimals);
  const negative = value < 0 && Number(text) !== 0;
  const point = decimals > 0 ? text.length - decimals - 1 : text.length;
  if (point > 4) {
    text = text.slice(0, point).replace(/\B(?=(\d{3})+$)/g, GROUP) + text.slice(point);
  }
  return negative ? `−${text}` : text;
}

/** A few significant digits, for axes of plots and cursors. */
export function brief(value, digits = 5) {
  if (!Number.isFinite(value)) return '–';
  const size = Math.abs(value);
  if (size !== 0 && (size < 1e-4 || size >= 1e9)) return value.toExponential(2).replace('-', '−');
  const decimals = size === 0 ? 0 : Math.max(0, Math.min(6, digits - 1 - Math.floor(Math.log10(size))));
  const text = number(value, decimals);
  return decimals > 0 ? text.replace(/\.?0+$/, '') : text;
}

export function seconds(value, digits = 3) {
  const size = Math.abs(value);
  if (size > 0 && size < 1) return `${number(value * 1000, Math.max(0, digits - 2))} ms`;
  return `${number(value, digits)} s`;
}

/** 1, 2 or 5 times a power of ten, not above `value`. */
export function niceBelow(value) {
  if (!(value > 0)) return 1;
  const power = 10 ** Math.floor(Math.log10(value));
  const share = value / power;
  return (share >= 5 ? 5 : share >= 2 ? 2 : 1) * power;
}

/** The places of about `count` round numbers between two. */
export function ticks(low, high, count) {
  const span = high - low;
  if (!(span > 0) || !Number.isFinite(span)) return [low];
  const raw = span / Math.max(1, count);
  const power = 10 ** Math.floor(Math.log10(raw));
  const step = [1, 2, 5, 10].find((factor) => factor * power >= raw) * power;
  const places = [];
  for (let i = Math.ceil(low / step); i * step <= high + step * 1e-9; ++i) places.push(i * step);
  return places;
}

/** What a person types: a comma is a point, and a typed minus may be a real one. "1,000" is a
 * thousand to one and one to another: nothing is moved by it. */
export function parseNumber(text) {
  const typed = String(text).trim().replace(/[\u202f\u2009\s]/g, '').replace('−', '-');
  if (/^[+-]?[1-9]\d{0,2},\d{3}$/.test(typed)) return null;
  const clean = typed.replace(',', '.');
  return /^[+-]?(\d+\.?\d*|\.\d+)(e[+-]?\d+)?$/i.test(clean) ? Number(clean) : null;
}

const MOTIONS = {
  none: 'at rest', absolute: 'move', 'absolute-move': 'move', relative: 'step', 'relative-move': 'step', linear: 'line',
};

export function motionName(name) {
  return MOTIONS[name] ?? String(name ?? '').replaceAll('-', ' ');
}

/** From a name in a state to words: "endedEarly" → "ended early", "drive-alarm" → "drive alarm". */
export function words(name) {
  return String(name).replace(/([a-z])([A-Z])/g, '$1 $2').replaceAll('-', ' ').toLowerCase();
}
