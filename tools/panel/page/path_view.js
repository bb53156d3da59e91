// Draws the way of a tool: from above, or as a body that turns, coloured by speed.
import { brief, ticks } from './format.js';
import { fitCanvas } from './gestures.js';
import { colour } from './theme.js';

const CAPACITY = 12000;
const SHADES = 24;
const FONT = '12px Inter, system-ui, sans-serif';
const MARGIN = 56;

/** From slow to fast; told apart by lightness, too, by whoever does not see the colours. */
export function shade(share) {
  const hue = 262 - 232 * share;
  return `hsl(${hue.toFixed(0)} 78% ${(42 + 14 * share).toFixed(0)}%)`;
}

/** The last places of the tool: x, y, z and the speed there. */
export class PathTrace {
  constructor() {
    this.points = [];
    this.top = 0;
    this.last = null;
  }

  clear() {
    [this.points, this.top, this.last] = [[], 0, null];
  }

  add([x, y, z], speed) {
    const { last } = this;
    if (last && last.x === x && last.y === y && last.z === z) return;
    this.last = { x, y, z, speed };
    this.points.push(this.last);
    this.top = Math.max(this.top, speed);
    if (this.points.length > CAPACITY) this.points.splice(0, CAPACITY / 10);
  }

  bounds() {
    const low = [Infinity, Infinity, Infinity];
    const high = [-Infinity, -Infinity, -Infinity];
    for (const { x, y, z } of this.points) {
      [x, y, z].forEach((value, i) => {
        low[i] = Math.min(low[i], value);
        high[i] = Math.max(high[i], value);
      });
    }
    if (this.points.length === 0) return { low: [-1, -1, 0], high: [1, 1, 0] };
    const widest = Math.max(...high.map((value, i) => value - low[i]), 1e-6);
    for (let i = 0; i < 2; ++i) {
      const lacks = Math.max(0, widest * 0.05 - (high[i] - low[i]));
      [low[i], high[i]] = [low[i] - lacks / 2, high[i] + lacks / 2];
    }
    return { low, high };
  }
}

export class PathView {
  constructor(canvas) {
    this.canvas = canvas;
    this.turn = -0.7;
    this.tilt = 0.55;
    this.fit();
  }

  fit() {
    [this.zoom, this.shiftX, this.shiftY] = [1, 0, 0];
  }

  zoomAt(factor, x, y) {
    const next = Math.max(0.2, Math.min(200, this.zoom / factor));
    const centre = [this.canvas.clientWidth / 2, this.canvas.clientHeight / 2];
    const grown = next / this.zoom;
    this.shiftX = (x - centre[0]) * (1 - grown) + this.shiftX * grown;
    this.shiftY = (y - centre[1]) * (1 - grown) + this.shiftY * grown;
    this.zoom = next;
  }

  /** A function from machine to screen, for this moment's view. */
  projection({ low, high }, solid) {
    const { clientWidth: width, clientHeight: height } = this.canvas;
    const middle = low.map((value, i) => (value + high[i]) / 2);
    const size = high.map((value, i) => Math.max(value - low[i], 1e-9));
    const across = solid ? Math.hypot(size[0], size[1]) : size[0];
    const upward = solid ? Math.hypot(size[0], size[1]) * Math.sin(this.tilt) + size[2] * Math.cos(this.tilt) : size[1];
    const room = (length) => Math.max(40, length - 2 * MARGIN);
    const scale = Math.min(room(width) / across, room(height) / upward) * this.zoom;
    const [cos, sin] = [Math.cos(this.turn), Math.sin(this.turn)];
    const [rise, lie] = [Math.sin(this.tilt), Math.cos(this.tilt)];
    const centreX = width / 2 + this.shiftX;
    const centreY = height / 2 + this.shiftY;
    return (x, y, z) => {
      const [dx, dy, dz] = [x - middle[0], y - middle[1], z - middle[2]];
      if (!solid) return [centreX + dx * scale, centreY - dy * scale];
      const [ax, ay] = [dx * cos - dy * sin, dx * sin + dy * cos];
      return [centreX + ax * scale, centreY - (ay * rise + dz * lie) * scale];
    };
  }

  draw(trace, { solid, names, units, now }) {
    const { context, width, height } = fitCanvas(this.canvas);
    this.context = context;
    context.font = FONT;
    context.fillStyle = colour('plot');
    context.fillRect(0, 0, width, height);
    const bounds = trace.bounds();
    const to = this.projection(bounds, solid);
    if (solid) this.drawFloor(bounds, to, names);
    else this.drawGrid(bounds, to, width, height, names, units);
    if (solid) this.drawShadow(trace, bounds, to);
    this.drawTrace(trace, to);
    if (now) this.drawTool(to(...now), solid && to(now[0], now[1], bounds.low[2]));
  }

  line(points) {
    this.context.beginPath();
    points.forEach(([x, y], i) => (i ? this.context.lineTo(x, y) : this.context.moveTo(x, y)));
    this.context.stroke();
  }

  drawGrid({ low, high }, to, width, height, names, units) {
    const { context } = this;
    const middle = low.map((value, i) => (value + high[i]) / 2);
    const origin = to(...middle);
    const scale = to(middle[0] + 1, middle[1], 0)[0] - origin[0];
    const xOf = (x) => to(x, middle[1], 0)[0];
    const yOf = (y) => to(middle[0], y, 0)[1];
    const left = middle[0] - origin[0] / scale;
    const bottom = middle[1] - (height - origin[1]) / scale;
    context.strokeStyle = colour('grid');
    context.fillStyle = colour('quiet');
    context.lineWidth = 1;
    context.textBaseline = 'bottom';
    context.textAlign = 'center';
    for (const x of ticks(left, left + width / scale, width / 100)) {
      this.line([[xOf(x), 0], [xOf(x), height]]);
      if (xOf(x) > 50) context.fillText(brief(x, 6), xOf(x), height - 6);
    }
    context.textAlign = 'left';
    context.textBaseline = 'middle';
    for (const y of ticks(bottom, bottom + height / scale, height / 70)) {
      this.line([[0, yOf(y)], [width, yOf(y)]]);
      if (yOf(y) < height - 24 && yOf(y) > 30) context.fillText(brief(y, 6), 8, yOf(y));
    }
    context.fillStyle = colour('ink');
    context.textAlign = 'right';
    context.fillText(`${names[0]}, ${units[0]} →`, width - 10, height - 30);
    context.textAlign = 'left';
    context.fillText(`↑ ${names[1]}, ${units[1]}`, 8, 16);
  }

  drawFloor({ low, high }, to, names) {
    const { context } = this;
    context.lineWidth = 1;
    context.strokeStyle = colour('grid');
    for (const x of ticks(low[0], high[0], 8)) this.line([to(x, low[1], low[2]), to(x, high[1], low[2])]);
    for (const y of ticks(low[1], high[1], 8)) this.line([to(low[0], y, low[2]), to(high[0], y, low[2])]);
    context.strokeStyle = colour('axis');
    const corner = [low[0], low[1], low[2]];
    const ends = [[high[0], low[1], low[2]], [low[0], high[1], low[2]], [low[0], low[1], high[2]]];
    context.fillStyle = colour('quiet');
    context.textAlign = 'center';
    context.textBaseline = 'middle';
    for (const [i, end] of ends.entries()) {
      if (i === 2 && high[2] - low[2] < 1e-6) continue;
      this.line([to(...corner), to(...end)]);
      const [fromX, fromY] = to(...corner);
      const [x, y] = to(...end);
      const length = Math.hypot(x - fromX, y - fromY) || 1;
      const label = `${names[i]} ${brief(high[i], 4)}`;
      context.fillText(label, x + ((x - fromX) / length) * 34, y + ((y - fromY) / length) * 16);
    }
  }

  drawShadow(trace, { low }, to) {
    this.context.strokeStyle = colour('line');
    this.context.lineWidth = 1.5;
    this.line(trace.points.map(({ x, y }) => to(x, y, low[2])));
  }

  /** One stroke for each shade: a stroke for each piece would take longer than a frame. */
  drawTrace(trace, to) {
    const { context } = this;
    const lines = Array.from({ length: SHADES }, () => null);
    let before = null;
    for (const point of trace.points) {
      const here = to(point.x, point.y, point.z);
      if (before) {
        const share = trace.top > 0 ? point.speed / trace.top : 0;
        const index = Math.min(SHADES - 1, Math.floor(share * SHADES));
        lines[index] ??= new Path2D();
        lines[index].moveTo(before[0], before[1]);
        lines[index].lineTo(here[0], here[1]);
      }
      before = here;
    }
    context.lineWidth = 2.2;
    context.lineCap = 'round';
    lines.forEach((path, i) => {
      if (!path) return;
      context.strokeStyle = shade(i / (SHADES - 1));
      context.stroke(path);
    });
  }

  drawTool([x, y], foot) {
    const { context } = this;
    context.strokeStyle = colour('ink');
    context.lineWidth = 1;
    if (foot) {
      context.setLineDash([3, 3]);
      this.line([[x, y], foot]);
      context.setLineDash([]);
    }
    context.beginPath();
    context.arc(x, y, 6, 0, 2 * Math.PI);
    context.fillStyle = colour('accent');
    context.fill();
    context.lineWidth = 2;
    context.strokeStyle = colour('plot');
    context.stroke();
  }
}
