// The path: where the tool goes, from above and as a view that turns.
import { button, el, field, live, saveFile, select, setChoices, stamp } from './dom.js';
import { number } from './format.js';
import { attachGestures } from './gestures.js';
import { PathTrace, PathView, shade } from './path_view.js';

const TURN = 0.25; // radians in a second
const DRAG = 0.008; // radians for a pixel

class PathTab {
  constructor(app) {
    this.app = app;
    this.trace = new PathTrace();
    this.canvas = el('canvas', { class: 'plot plot-path', tabIndex: 0, role: 'img', 'aria-label': 'Path of the tool. Arrow keys turn it, plus and minus zoom.' });
    this.view = new PathView(this.canvas);
    this.turning = !matchMedia('(prefers-reduced-motion: reduce)').matches;
    this.makeTools();
    this.element = el('div', { class: 'path' }, this.tools, el('div', { class: 'plot-box' }, this.canvas, this.legend()));
    this.gestures();
    app.link.on('state', (state) => this.take(state));
    app.machine.addEventListener('axes', () => this.fill());
    this.fill();
  }

  makeTools() {
    const clear = () => this.trace.clear();
    this.axes = ['X', 'Y', 'Z'].map(() => select([], clear));
    this.signal = select([['encoder', 'encoder'], ['command', 'command']], clear);
    this.kind = select([['flat', 'from above'], ['solid', '3D']], () => {
      this.view.fit();
      this.app.redraw();
    });
    this.kind.value = 'solid';
    this.turnTool = button('Turn', () => this.setTurning(!this.turning), { class: 'tool', 'aria-pressed': String(this.turning) });
    this.waiting = el('span', { class: 'chip', hidden: true });
    this.showWaiting = live((text) => {
      this.waiting.hidden = text === '';
      this.waiting.textContent = text;
    });
    this.tools = el('div', { class: 'tools' }, field('view', this.kind),
      ...['X', 'Y', 'Z'].map((name, i) => field(name, this.axes[i])), field('of the', this.signal),
      el('span', { class: 'tool-group' }, this.turnTool,
        button('Fit', () => this.fit(), { class: 'tool' }),
        button('Clear', () => { clear(); this.app.redraw(); }, { class: 'tool' }),
        button('PNG', () => this.savePng(), { class: 'tool', 'aria-label': 'Save as PNG' })),
      this.waiting);
  }

  legend() {
    const scale = el('canvas', { class: 'legend-scale', width: 160, height: 8, 'aria-hidden': 'true' });
    const context = scale.getContext('2d');
    for (let x = 0; x < 160; ++x) {
      context.fillStyle = shade(x / 159);
      context.fillRect(x, 0, 1, 8);
    }
    const top = el('span', { class: 'value' });
    this.showTop = live((text) => { top.textContent = text; });
    return el('p', { class: 'legend' }, 'speed', el('span', {}, '0'), scale, top);
  }

  gestures() {
    attachGestures(this.canvas, {
      pan: (dx, dy) => this.drag(dx, dy),
      zoom: (factor, x, y) => {
        this.view.zoomAt(factor, x, y);
        this.app.redraw();
      },
      reset: () => this.fit(),
    });
    const centre = () => [this.canvas.clientWidth / 2, this.canvas.clientHeight / 2];
    const keys = {
      ArrowLeft: () => this.drag(-20, 0), ArrowRight: () => this.drag(20, 0),
      ArrowUp: () => this.drag(0, -20), ArrowDown: () => this.drag(0, 20),
      '+': () => this.view.zoomAt(1 / 1.3, ...centre()), '-': () => this.view.zoomAt(1.3, ...centre()),
    };
    this.canvas.addEventListener('keydown', (event) => {
      if (!keys[event.key]) return;
      event.preventDefault();
      keys[event.key]();
      this.app.redraw();
    });
  }

  get solid() {
    return this.kind.value === 'solid';
  }

  drag(dx, dy) {
    if (this.solid) {
      this.setTurning(false);
      this.view.turn += dx * DRAG;
      this.view.tilt = Math.max(0.05, Math.min(Math.PI / 2, this.view.tilt + dy * DRAG));
    } else {
      this.view.shiftX += dx;
      this.view.shiftY += dy;
    }
    this.app.redraw();
  }

  setTurning(turning) {
    this.turning = turning;
    this.drawn = null;
    this.turnTool.setAttribute('aria-pressed', String(turning));
    this.app.redraw();
  }

  fit() {
    this.view.fit();
    this.app.redraw();
  }

  fill() {
    const { axes } = this.app.machine;
    const choices = axes.map(({ axis }) => [axis, `axis ${axis}`]);
    const first = this.axes[0].options.length === 0;
    this.axes.forEach((list, i) => {
      setChoices(list, i === 2 ? [['', 'none'], ...choices] : choices);
      if (first && axes[i]) list.value = String(axes[i].axis);
    });
    if (axes.length === 1 || axes.length === 2) this.kind.value = 'flat';
    this.trace.clear();
  }

  /** The places are kept whichever tab is shown, so that the way so far is there to be seen. */
  take(state) {
    if (!state.link.ok || this.axes[0].value === '') return;
    const place = this.read(state, this.signal.value);
    if (place) this.trace.add(place, Math.hypot(...this.read(state, 'speed')));
  }

  /** One member of all axes that are shown; null where one is not there. */
  read(state, member) {
    const places = this.axes.map(({ value }) => {
      if (value === '') return 0;
      const axis = state.axes.find(({ axis }) => axis === Number(value));
      return axis ? axis[member] : NaN;
    });
    return places.every(Number.isFinite) ? places : null;
  }

  savePng() {
    this.canvas.toBlob((picture) => saveFile(`path_${stamp()}.png`, picture));
  }

  draw() {
    const { machine } = this.app;
    const now = performance.now();
    if (this.solid && this.turning) {
      if (this.drawn) this.view.turn += Math.min(0.1, (now - this.drawn) / 1000) * TURN;
      this.drawn = now;
    }
    const units = this.axes.map(({ value }) => (value === '' ? '' : machine.unitText(Number(value))));
    const names = this.axes.map(({ value }, i) => (value === '' ? '' : 'XYZ'[i]));
    const place = machine.state ? this.read(machine.state, this.signal.value) : null;
    this.view.draw(this.trace, { solid: this.solid, names, units, now: place });
    this.showTop(`${number(this.trace.top, 1)} ${units[0]}/s`);
    const path = machine.state?.path;
    this.showWaiting(path ? `continuous path ${path.active ? 'runs' : 'rests'}, ${path.waiting} sections wait` : '');
    this.turnTool.disabled = !this.solid;
  }
}

export function makePathTab(app) {
  const tab = new PathTab(app);
  return { id: 'path', title: 'Path', element: tab.element, draw: () => tab.draw(), show: () => { tab.drawn = null; } };
}
