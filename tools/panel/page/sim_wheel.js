// The hand wheel: dragged round, or turned by the wheel of a mouse or by keys, notch by notch.
import { button, el, live, liveText } from './dom.js';

const NOTCHES = 100; // of a whole turn
const SVG = 'http://www.w3.org/2000/svg';

function shape(name, attributes) {
  const element = document.createElementNS(SVG, name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  return element;
}

export class HandWheel {
  constructor(turn) {
    this.turn = turn;
    this.place = 0; // in notches
    this.owed = 0;
    this.busy = false;
    this.makeDial();
    const note = el('p', { class: 'quiet' });
    this.note = liveText(note);
    const by = (notches, text) => button(text, () => this.move(notches), { class: 'tool' });
    this.element = el('div', { class: 'wheel' }, this.dial,
      el('div', { class: 'wheel-side' }, el('div', { class: 'control-row' }, by(-10, '−10'), by(-1, '−1'), by(1, '+1'), by(10, '+10')), note));
  }

  makeDial() {
    this.face = shape('g', {});
    this.face.append(shape('circle', { cx: 60, cy: 60, r: 52, class: 'wheel-rim' }));
    for (let i = 0; i < 50; ++i) {
      const angle = (i / 50) * 2 * Math.PI;
      const from = i % 5 === 0 ? 42 : 46;
      this.face.append(shape('line', {
        x1: 60 + from * Math.sin(angle), y1: 60 - from * Math.cos(angle),
        x2: 60 + 50 * Math.sin(angle), y2: 60 - 50 * Math.cos(angle), class: 'wheel-mark',
      }));
    }
    this.face.append(shape('circle', { cx: 60, cy: 28, r: 8, class: 'wheel-knob' }));
    this.dial = shape('svg', {
      viewBox: '0 0 120 120', class: 'wheel-dial', role: 'slider', tabindex: '0', 'aria-label': 'Hand wheel', 'aria-valuenow': '0',
    });
    this.dial.append(this.face);
    this.show = live((place) => {
      this.face.style.transform = `rotate(${(place / NOTCHES) * 360}deg)`;
      this.dial.setAttribute('aria-valuenow', String(place));
    });
    this.listen();
  }

  listen() {
    let last = null;
    let rest = 0;
    const angle = (event) => {
      const box = this.dial.getBoundingClientRect();
      return Math.atan2(event.clientX - box.left - box.width / 2, box.top + box.height / 2 - event.clientY);
    };
    this.dial.addEventListener('pointerdown', (event) => {
      this.dial.setPointerCapture(event.pointerId);
      [last, rest] = [angle(event), 0];
    });
    this.dial.addEventListener('pointermove', (event) => {
      if (last === null) return;
      const now = angle(event);
      const way = Math.atan2(Math.sin(now - last), Math.cos(now - last));
      last = now;
      rest += (way / (2 * Math.PI)) * NOTCHES;
      const whole = Math.trunc(rest);
      rest -= whole;
      if (whole) this.move(whole);
    });
    for (const name of ['pointerup', 'pointercancel', 'lostpointercapture']) {
      this.dial.addEventListener(name, () => { last = null; });
    }
    this.dial.addEventListener('wheel', (event) => {
      event.preventDefault();
      this.move(event.deltaY > 0 ? -1 : 1);
    }, { passive: false });
    this.dial.addEventListener('keydown', (event) => {
      const notches = { ArrowUp: 1, ArrowRight: 1, ArrowDown: -1, ArrowLeft: -1, PageUp: 10, PageDown: -10 }[event.key];
      if (!notches) return;
      event.preventDefault();
      this.move(notches);
    });
  }

  /** One request at a time: what is turned meanwhile goes into the next one. */
  async move(notches) {
    this.place += notches;
    this.show(this.place);
    this.owed += notches;
    if (this.busy) return;
    this.busy = true;
    while (this.owed !== 0) {
      const now = this.owed;
      this.owed = 0;
      const { result } = await this.turn(now);
      if (result !== 0) this.owed = 0;
    }
    this.busy = false;
  }

  draw(wheel) {
    if (!wheel) return;
    this.note(wheel.on ? `turns axis ${wheel.axis}, ${wheel.counts} count(s) × ${wheel.factor} / ${wheel.divisor}` :
      'no axis is on the wheel: a program has to switch it on');
  }
}
