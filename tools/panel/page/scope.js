// The scope: eight channels of any signal, with trigger, cursors, zoom, and what was seen to a file.
import { button, el, field, live, saveFile, select, stamp } from './dom.js';
import { parseNumber, seconds } from './format.js';
import { attachGestures } from './gestures.js';
import { ScopeChannels } from './scope_channels.js';
import { Recording, Trigger, toCsv } from './scope_data.js';
import { ScopePlot } from './scope_plot.js';

const SPANS = [0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 60];
const SHORTEST = 0.004;
const LONGEST = 60;
const BEFORE_TRIGGER = 0.2; // this share of the picture lies before the edge
const GRIP = 10; // pixels from a cursor that still take hold of it

class Scope {
  constructor(app) {
    this.app = app;
    this.view = { end: 0, span: 5 };
    this.following = true;
    this.paused = false;
    this.overlay = false;
    this.cursors = null;
    this.trigger = new Trigger();
    this.recording = new Recording([]);
    this.panel = new ScopeChannels(app, () => this.subscribe());
    this.canvas = el('canvas', { class: 'plot', tabIndex: 0, role: 'img', 'aria-label': 'Scope. Arrow keys move, plus and minus zoom.' });
    this.plot = new ScopePlot(this.canvas);
    this.makeTools();
    this.element = el('div', { class: 'scope' }, this.tools,
      el('div', { class: 'scope-body' }, el('div', { class: 'plot-box' }, this.canvas, this.readout), this.panel.element));
    this.gestures();
    app.link.on('samples', (message) => this.take(message));
    app.link.on('welcome', () => {
      this.what = ''; // units may be others
      if (this.shown) this.subscribe();
    });
    app.link.on('late', (answer) => { if (this.shown && answer.id === this.asked) this.heed(answer); }); // it ended by itself
  }

  get channels() {
    return this.panel.channels;
  }

  makeTools() {
    this.run = button('Pause', () => this.pause(!this.paused), { class: 'tool', 'aria-pressed': 'false' });
    this.source = select([['recorder', '1 ms, recorder'], ['poll', 'polled']], () => this.subscribe());
    this.span = select(SPANS.map((span) => [span, seconds(span, 0)]), (text) => this.zoomTo(Number(text)));
    this.span.value = '5';
    const reset = () => this.resetTrigger();
    this.triggerChannel = select([['-1', 'no trigger']], reset);
    this.edge = select([['rising', '↗ rising'], ['falling', '↘ falling']], reset);
    this.level = el('input', { type: 'text', inputmode: 'decimal', size: 7, value: '0', on: { change: reset } });
    this.mode = select([['each', 'every time'], ['once', 'once']], reset);
    this.edge.setAttribute('aria-label', 'Edge of the trigger');
    this.mode.setAttribute('aria-label', 'How often the trigger works');
    this.cursorTool = button('Cursors', () => this.toggleCursors(), { class: 'tool', 'aria-pressed': 'false' });
    this.overlayTool = button('One lane', () => this.toggleOverlay(), { class: 'tool', 'aria-pressed': 'false' });
    this.tools = el('div', { class: 'tools' }, this.run,
      field('source', this.source), field('window', this.span),
      el('span', { class: 'tool-group' }, field('trigger', this.triggerChannel), this.edge,
        field('at', this.level), this.mode),
      el('span', { class: 'tool-group' }, this.cursorTool, this.overlayTool,
        button('Auto scale', () => this.autoScale(), { class: 'tool' })),
      el('span', { class: 'tool-group tool-end' },
        button('CSV', () => this.saveCsv(), { class: 'tool', 'aria-label': 'Save as CSV' }),
        button('PNG', () => this.savePng(), { class: 'tool', 'aria-label': 'Save as PNG' })));
    this.readout = el('p', { class: 'readout', role: 'status' });
    this.say = live((text) => { this.readout.textContent = text; });
  }

  gestures() {
    attachGestures(this.canvas, {
      start: (x) => this.gripCursor(x),
      pan: (dx) => this.moveTo(this.view.end - (dx / this.plot.width) * this.view.span),
      zoom: (factor, x, y, event) => {
        if (event.shiftKey) this.zoomValue(factor, y);
        else this.zoomAt(factor, x);
      },
      reset: () => this.follow(),
    });
    const keys = {
      ArrowLeft: () => this.moveTo(this.view.end - this.view.span / 10),
      ArrowRight: () => this.moveTo(this.view.end + this.view.span / 10),
      '+': () => this.zoomTo(this.view.span / 1.5), '-': () => this.zoomTo(this.view.span * 1.5),
      End: () => this.follow(),
    };
    this.canvas.addEventListener('keydown', (event) => {
      if (!keys[event.key]) return;
      event.preventDefault();
      keys[event.key]();
    });
  }

  show() {
    this.shown = true;
    this.subscribe();
  }

  hide() {
    this.shown = false;
    this.app.link.send({ do: 'scope', signals: [] });
  }

  subscribe() {
    const simulated = this.app.machine.simulated;
    this.source.disabled = !simulated;
    if (!simulated) this.source.value = 'poll';
    this.panel.setPolled(this.source.value === 'poll');
    const { signals } = this.panel;
    const what = [this.source.value, ...signals].join();
    if (what !== this.what) this.begin(what, signals); // else what was seen goes on, behind a gap
    if (this.shown && this.app.machine.welcome) {
      const asked = this.app.link.ask('scope', { signals, source: this.source.value });
      this.asked = asked.id;
      asked.then((answer) => this.heed(answer));
    }
    this.app.redraw();
  }

  begin(what, signals) {
    this.what = what;
    this.recording = new Recording(signals);
    this.panel.assign(signals);
    this.panel.triggerChoices(this.triggerChannel);
    this.resetTrigger();
  }

  heed(answer) {
    if (answer.result !== 0 && !answer.lost) this.app.notices.bad({ title: 'The scope gets no samples', ...answer });
  }

  take(message) {
    if (this.paused || !this.shown) return;
    this.recording.add(message);
    this.app.redraw();
  }

  pause(paused) {
    this.paused = paused;
    this.run.textContent = paused ? 'Run' : 'Pause';
    this.run.setAttribute('aria-pressed', String(paused));
    if (!paused) {
      this.following = true;
      this.trigger.forget();
      this.trigger.looked = this.recording.count;
    }
    this.app.redraw();
  }

  resetTrigger() {
    const channel = this.channels[Number(this.triggerChannel.value)];
    this.trigger.column = channel?.column ?? -1;
    this.trigger.rising = this.edge.value === 'rising';
    const level = parseNumber(this.level.value);
    this.level.setAttribute('aria-invalid', String(level === null));
    this.trigger.level = (level ?? 0) / (channel?.scale.factor ?? 1);
    this.trigger.forget();
    this.following = true;
    if (this.paused) this.pause(false);
    this.app.redraw();
  }

  /** The picture follows the newest sample, or stands where the trigger found its edge. */
  advance() {
    if (!this.following || this.paused) return;
    const after = (1 - BEFORE_TRIGGER) * this.view.span;
    const found = this.trigger.look(this.recording, BEFORE_TRIGGER * this.view.span, after);
    if (this.trigger.column < 0) this.view.end = this.recording.end;
    else if (found !== null) this.view.end = found + after;
    else this.view.end = this.recording.end;
    if (found !== null && this.trigger.column >= 0 && this.mode.value === 'once') this.pause(true);
  }

  /** Whoever moves the picture moves it under the cursors: they stay at their samples. */
  look(end, span) {
    if (this.cursors) this.cursors = this.cursors.map((back) => back + end - this.view.end);
    this.view = { end, span };
    const nearest = SPANS.find((choice) => Math.abs(choice - span) < choice * 0.001);
    this.span.value = nearest === undefined ? '' : String(nearest);
    this.app.redraw();
  }

  moveTo(end) {
    this.following = false;
    const { start, end: newest } = this.recording;
    this.look(Math.max(start + this.view.span * 0.1, Math.min(end, newest + this.view.span * 0.9)), this.view.span);
  }

  zoomTo(span) {
    this.look(this.view.end, Math.max(SHORTEST, Math.min(LONGEST, span)));
  }

  zoomAt(factor, x) {
    const span = Math.max(SHORTEST, Math.min(LONGEST, this.view.span * factor));
    if (this.following && !this.paused) {
      this.zoomTo(span);
      return;
    }
    const under = this.plot.timeAt(x, this.view);
    const share = (this.view.end - under) / this.view.span;
    this.look(under + share * span, span);
  }

  zoomValue(factor, y) {
    const channel = this.channels.find(({ column, box }) => column >= 0 && box && y >= box.top && y <= box.top + box.high);
    if (!channel?.range) return;
    const [low, high] = channel.range;
    const under = low + (1 - (y - channel.box.top) / channel.box.high) * (high - low);
    channel.auto = false;
    channel.range = [under - (under - low) * factor, under + (high - under) * factor];
    this.app.redraw();
  }

  autoScale() {
    for (const channel of this.channels) [channel.auto, channel.range] = [true, null];
    this.app.redraw();
  }

  follow() {
    this.following = true;
    if (this.paused) this.pause(false);
    this.app.redraw();
  }

  toggleCursors() {
    this.cursors = this.cursors ? null : [this.view.span * 0.75, this.view.span * 0.25];
    this.cursorTool.setAttribute('aria-pressed', String(this.cursors !== null));
    this.app.redraw();
  }

  toggleOverlay() {
    this.overlay = !this.overlay;
    this.overlayTool.setAttribute('aria-pressed', String(this.overlay));
    this.app.redraw();
  }

  gripCursor(x) {
    if (!this.cursors) return null;
    const distance = (i) => Math.abs(this.plot.xOf(this.view.end - this.cursors[i], this.view) - x);
    const nearest = distance(0) <= distance(1) ? 0 : 1;
    if (distance(nearest) > GRIP) return null;
    return {
      move: (at) => {
        this.cursors[nearest] = this.view.end - this.plot.timeAt(at, this.view);
        this.app.redraw();
      },
    };
  }

  saveCsv() {
    const scales = this.recording.signals.map((name) => this.panel.scale(name));
    const text = toCsv(this.recording, this.view.end - this.view.span, this.view.end + 1e-6, scales);
    saveFile(`scope_${stamp()}.csv`, text, 'text/csv');
  }

  savePng() {
    this.canvas.toBlob((picture) => saveFile(`scope_${stamp()}.png`, picture));
  }

  draw() {
    this.advance();
    this.plot.draw(this);
    this.panel.draw(this);
    this.say(this.status());
  }

  status() {
    if (this.cursors) {
      const apart = this.cursors[0] - this.cursors[1];
      const rate = apart === 0 ? '' : ` · 1/Δt ${(1 / Math.abs(apart)).toPrecision(4)} Hz`;
      return `Δt = ${seconds(apart, 4)}${rate}`;
    }
    if (this.paused) return 'Paused. Drag to move, wheel or two fingers to zoom, Shift + wheel for values.';
    if (!this.following) return 'Moved by hand; double-click to follow again.';
    if (this.trigger.column >= 0) return this.trigger.found === null ? 'Waiting for the trigger' : 'Triggered';
    return 'Running';
  }
}

export function makeScopeTab(app) {
  const scope = new Scope(app);
  return {
    id: 'scope', title: 'Scope', element: scope.element,
    show: () => scope.show(), hide: () => scope.hide(), draw: () => scope.draw(),
  };
}
