// Jogging by holding a button. The axis runs only while the button is held and this page keeps
// saying so; everything that could part a hand from its button ends it. The server stops the axis
// by itself when nothing is said for 120 ms.

const KEEP_MS = 50;
const SLOP = 24; // a finger rolls a little; one that is this far from the button has left it

export class Jog extends EventTarget {
  constructor(link) {
    super();
    this.link = link;
    this.held = null;
    this.press = Date.now();
    const end = () => this.release();
    for (const event of ['blur', 'pagehide', 'contextmenu']) window.addEventListener(event, end);
    for (const event of ['visibilitychange', 'freeze']) document.addEventListener(event, end);
    link.on('reach', ({ reach }) => { if (reach !== 'live') this.release(); });
    link.on('control', ({ holder }) => { if (holder !== 'you') this.letGo(); });
    link.on('jogEnd', (message) => this.end(message));
  }

  /** `wanted()` tells axis, direction and speed at the moment of the press; null: nothing. */
  attach(button, wanted) {
    button.addEventListener('pointerdown', (event) => {
      if (event.button !== 0 || !event.isPrimary) return;
      if (this.start(button, wanted(), event.pointerId)) button.setPointerCapture(event.pointerId);
    });
    for (const name of ['pointerup', 'pointercancel', 'lostpointercapture']) {
      button.addEventListener(name, (event) => this.releaseBy(event.pointerId));
    }
    button.addEventListener('pointermove', (event) => this.follow(event));
    button.addEventListener('keydown', (event) => {
      if (event.key !== 'Enter') return;
      event.preventDefault();
      if (!event.repeat) this.start(button, wanted(), 'key');
    });
    button.addEventListener('keyup', () => this.releaseBy('key'));
    button.addEventListener('blur', () => { if (this.held?.button === button) this.release(); });
    button.addEventListener('contextmenu', (event) => event.preventDefault());
  }

  start(button, wanted, by) {
    if (this.held || !wanted || button.matches(':disabled') || this.link.congested) return false;
    const press = Math.max(this.press + 1, Date.now());
    this.press = press;
    this.held = { button, by, axis: wanted.axis };
    button.classList.add('held');
    this.link.ask('jog', { ...wanted, press }).then((answer) => {
      if (answer.result === 0) return;
      if (this.held && this.press === press) this.release();
      this.dispatchEvent(new CustomEvent('refused', { detail: answer }));
    });
    this.timer = setInterval(() => this.keep(), KEEP_MS);
    return true;
  }

  keep() {
    const gone = !this.held.button.isConnected || this.held.button.matches(':disabled');
    if (gone || this.link.congested || document.hidden) this.release();
    else this.link.send({ do: 'keep', axis: this.held.axis });
  }

  follow(event) {
    if (this.held?.by !== event.pointerId) return;
    const box = this.held.button.getBoundingClientRect();
    const outside = event.clientX < box.left - SLOP || event.clientX > box.right + SLOP ||
      event.clientY < box.top - SLOP || event.clientY > box.bottom + SLOP;
    if (outside || event.buttons === 0) this.release();
  }

  releaseBy(by) {
    if (this.held?.by === by) this.release();
  }

  release() {
    if (!this.held) return;
    this.link.send({ do: 'release', axis: this.held.axis });
    this.letGo();
  }

  /** The server has ended it while the button is held. */
  end({ press, text }) {
    if (!this.held || press !== this.press) return;
    this.letGo();
    this.dispatchEvent(new CustomEvent('refused', {
      detail: { title: 'The jog has ended', text, remedy: 'Let go, and press again to move the axis.' },
    }));
  }

  /** The press is over; a new one takes a new pressing. */
  letGo() {
    if (!this.held) return;
    clearInterval(this.timer);
    this.held.button.classList.remove('held');
    this.held = null;
  }
}
