// Draws a scope: a lane for each channel, or all in one, with grid, trigger and cursors.
import { brief, seconds, ticks } from './format.js';
import { fitCanvas } from './gestures.js';
import { colour } from './theme.js';

const LEFT = 74;
const BOTTOM = 26;
const TOP = 8;
const RIGHT = 10;
const NAME = 20;
const FONT = '12px Inter, system-ui, sans-serif';

/** Makes room around what is there; keeps the range it has while that fits well. */
export function fitRange(range, found) {
  if (!found) return range;
  const [low, high] = found;
  if (range) {
    const span = range[1] - range[0];
    const fits = low >= range[0] && high <= range[1];
    if (fits && (high - low > 0.45 * span || (high === low && span <= 4 * Math.max(1, Math.abs(high) * 0.1)))) {
      return range;
    }
  }
  const margin = high > low ? (high - low) * 0.12 : Math.max(0.5, Math.abs(high) * 0.05);
  return [low - margin, high + margin];
}

export class ScopePlot {
  constructor(canvas) {
    this.canvas = canvas;
    this.measure(0, 0);
  }

  /** Asked once a picture: the size of an element costs a layout. */
  measure(width, height) {
    this.width = Math.max(1, width - LEFT - RIGHT);
    this.height = Math.max(1, height - TOP - BOTTOM);
  }

  timeAt(x, view) {
    return view.end - view.span + ((x - LEFT) / this.width) * view.span;
  }

  xOf(time, view) {
    return LEFT + ((time - view.end + view.span) / view.span) * this.width;
  }

  /** The channels that are shown, each with the box that it is drawn in. */
  lanes(channels, overlay) {
    const shown = channels.filter(({ column }) => column >= 0);
    const high = overlay ? this.height : this.height / Math.max(1, shown.length);
    return shown.map((channel, i) => ({ channel, top: TOP + (overlay ? 0 : i * high), high: high - (overlay ? 0 : 4) }));
  }

  draw(scope) {
    const { context, width, height } = fitCanvas(this.canvas);
    this.context = context;
    this.measure(width, height);
    context.font = FONT;
    context.fillStyle = colour('plot');
    context.fillRect(0, 0, width, height);
    const lanes = this.lanes(scope.channels, scope.overlay);
    this.drawTimes(scope.view);
    for (const [i, lane] of lanes.entries()) {
      this.drawLane(lane, scope, i === 0 || !scope.overlay);
    }
    if (lanes.length === 0) this.say('Choose a signal for a channel');
    else if (scope.recording.count === 0) this.say('No samples yet');
    if (scope.trigger.column >= 0) this.drawTrigger(scope, lanes);
    if (scope.cursors) this.drawCursors(scope);
  }

  say(text) {
    this.context.fillStyle = colour('quiet');
    this.context.textAlign = 'center';
    this.context.fillText(text, LEFT + this.width / 2, TOP + this.height / 2);
  }

  drawTimes(view) {
    const { context } = this;
    const bottom = TOP + this.height;
    context.strokeStyle = colour('grid');
    context.fillStyle = colour('quiet');
    context.lineWidth = 1;
    context.textAlign = 'center';
    context.textBaseline = 'top';
    for (const back of ticks(-view.span, 0, this.width / 110)) {
      const x = Math.round(this.xOf(view.end + back, view)) + 0.5;
      context.beginPath();
      context.moveTo(x, TOP);
      context.lineTo(x, bottom);
      context.stroke();
      const text = back === 0 ? '0' : seconds(back, view.span < 0.1 ? 4 : 2);
      if (x < LEFT + this.width - 4) context.fillText(text, x, bottom + 7);
    }
  }

  drawLane({ channel, top, high }, scope, frame) {
    const { context } = this;
    const { view, recording } = scope;
    const left = LEFT;
    if (channel.auto) {
      channel.range = fitRange(channel.range, recording.range(channel.column, view.end - view.span, view.end));
    }
    const [low, up] = channel.range ?? [0, 1];
    const room = scope.overlay || high < 70 ? 4 : NAME; // the name stands above its trace, not in it
    const box = { top: top + room, high: high - room - 4 };
    const yOf = (value) => box.top + box.high - ((value - low) / (up - low || 1)) * box.high;
    channel.box = box;
    if (frame) {
      context.strokeStyle = colour('line');
      context.strokeRect(left + 0.5, Math.round(top) + 0.5, this.width, Math.round(high));
      this.drawScale(channel, low, up, yOf, scope.overlay);
    }
    context.save();
    context.beginPath();
    context.rect(left, top, this.width, high);
    context.clip();
    this.trace(channel, recording, view, yOf);
    context.restore();
    if (!scope.overlay) this.drawName(channel, top);
  }

  drawScale(channel, low, up, yOf, overlay) {
    const { top, high } = channel.box;
    const { context } = this;
    context.textAlign = 'right';
    context.textBaseline = 'middle';
    const { factor } = channel.scale;
    const places = overlay ? [] : ticks(low * factor, up * factor, Math.max(1, Math.floor(high / 24)));
    for (const place of places) {
      const y = yOf(place / factor);
      if (y < top + 2 || y > top + high - 2) continue; // there the neighbours' are
      context.strokeStyle = colour('grid');
      context.beginPath();
      context.moveTo(LEFT + 1, Math.round(y) + 0.5);
      context.lineTo(LEFT + this.width, Math.round(y) + 0.5);
      context.stroke();
      context.fillStyle = colour('quiet');
      context.fillText(brief(place, 6), LEFT - 8, y);
    }
  }

  drawName(channel, top) {
    const { context } = this;
    const text = channel.scale.unit ? `${channel.label}, ${channel.scale.unit}` : channel.label;
    context.textAlign = 'left';
    context.textBaseline = 'top';
    const wide = context.measureText(text).width;
    context.fillStyle = colour('plot');
    context.globalAlpha = 0.8;
    context.fillRect(LEFT + 5, top + 4, wide + 8, 18);
    context.globalAlpha = 1;
    context.fillStyle = colour(channel.colour);
    context.fillText(text, LEFT + 9, top + 7);
  }

  /** Where several samples share a pixel, their lowest and highest are drawn: no peak is lost. */
  trace(channel, recording, view, yOf) {
    const { context } = this;
    const from = Math.max(recording.first, recording.indexAt(view.end - view.span) - 1);
    const to = Math.min(recording.count, recording.indexAt(view.end) + 1);
    context.strokeStyle = colour(channel.colour);
    context.lineWidth = 1.6;
    context.lineJoin = 'round';
    context.beginPath();
    const left = LEFT;
    const begin = view.end - view.span;
    const perSecond = this.width / view.span;
    let pen = false;
    let pixel = NaN;
    let low = 0;
    let high = 0;
    for (let i = from; i < to; ++i) {
      const value = recording.value(channel.column, i);
      if (Number.isNaN(value)) {
        pen = false;
        pixel = NaN;
        continue;
      }
      const x = left + (recording.time(i) - begin) * perSecond;
      const y = yOf(value);
      const column = Math.floor(x);
      if (column !== pixel) {
        if (pen) context.lineTo(x, y);
        else context.moveTo(x, y);
        [pen, pixel, low, high] = [true, column, y, y];
      } else if (y < low || y > high) {
        context.lineTo(x, y);
        [low, high] = [Math.min(low, y), Math.max(high, y)];
      }
    }
    context.stroke();
  }

  drawTrigger(scope, lanes) {
    const { context } = this;
    const lane = lanes.find(({ channel }) => channel.column === scope.trigger.column);
    if (!lane?.channel.range) return;
    const { channel } = lane;
    const { top, high } = channel.box;
    const y = top + high - ((scope.trigger.level - channel.range[0]) / (channel.range[1] - channel.range[0])) * high;
    if (y < top || y > top + high) return;
    context.strokeStyle = colour('warn');
    context.fillStyle = colour('warn');
    context.lineWidth = 1;
    context.setLineDash([5, 4]);
    context.beginPath();
    context.moveTo(LEFT, y);
    context.lineTo(LEFT + this.width, y);
    context.stroke();
    context.setLineDash([]);
    context.beginPath();
    context.moveTo(LEFT, y - 5);
    context.lineTo(LEFT + 8, y);
    context.lineTo(LEFT, y + 5);
    context.fill();
  }

  drawCursors(scope) {
    const { context } = this;
    context.lineWidth = 1.5;
    context.textBaseline = 'top';
    for (const [i, name] of ['A', 'B'].entries()) {
      const x = this.xOf(scope.view.end - scope.cursors[i], scope.view);
      if (x < LEFT || x > LEFT + this.width) continue;
      context.strokeStyle = colour('ink');
      context.setLineDash(i ? [2, 3] : []);
      context.beginPath();
      context.moveTo(x, TOP);
      context.lineTo(x, TOP + this.height);
      context.stroke();
      context.setLineDash([]);
      context.fillStyle = colour('ink');
      context.fillRect(x - 9, TOP + this.height - 20, 18, 18);
      context.fillStyle = colour('plot');
      context.textAlign = 'center';
      context.fillText(name, x, TOP + this.height - 17);
    }
  }
}
