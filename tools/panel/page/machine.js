// What is known of the machine at this moment, and what may be asked of it.
import { decimalsOf } from './format.js';

export class Machine extends EventTarget {
  constructor(link, notices) {
    super();
    this.link = link;
    this.notices = notices;
    this.welcome = null;
    this.state = null;
    this.holder = 'nobody';
    this.selected = 0;
    this.alarms = new Map(); // by axis: what the server explained when it came
    link.on('welcome', (message) => this.greet(message));
    link.on('state', (message) => { this.state = message; });
    link.on('control', ({ holder }) => { this.holder = holder; });
    link.on('alarm', (message) => {
      this.alarms.set(message.axis, message);
      this.dispatchEvent(new Event('alarm'));
    });
    link.on('reach', ({ reach }) => { if (reach === 'gone') this.holder = 'nobody'; });
  }

  greet(message) {
    this.welcome = message;
    const known = message.axes.some(({ axis }) => axis === this.selected);
    if (!known && message.axes.length > 0) this.selected = message.axes[0].axis;
    this.dispatchEvent(new Event('axes'));
  }

  get axes() {
    return this.welcome?.axes ?? [];
  }

  axis(number) {
    return this.axes.find(({ axis }) => axis === number) ?? null;
  }

  axisState(number) {
    return this.state?.axes.find(({ axis }) => axis === number) ?? null;
  }

  get simulated() {
    return this.welcome?.controller.simulated === true;
  }

  /** Whether what is shown is so at this moment. */
  get current() {
    return this.link.reach === 'live' && !this.link.quiet && this.state !== null && this.state.link.ok;
  }

  get mayChange() {
    return this.link.reach === 'live' && this.welcome !== null && this.welcome.mayChange &&
      !this.welcome.readOnly;
  }

  get mayMove() {
    return this.mayChange && this.current && this.holder !== 'other';
  }

  decimals(axis) {
    return decimalsOf(this.axis(axis)?.unit ?? 1);
  }

  unitText(axis) {
    return this.axis(axis)?.unitText || 'pulses';
  }

  select(axis) {
    if (axis === this.selected || !this.axis(axis)) return;
    this.selected = axis;
    this.dispatchEvent(new Event('select'));
  }

  /** Asks for something to be done; tells the person when it is refused. */
  async act(what, fields = {}, title) {
    const answer = await this.link.ask(what, fields);
    if (answer.result !== 0) this.notices.bad({ title, ...answer });
    return answer;
  }

  /** The data that was asked for, or null. */
  async read(what, fields = {}, title) {
    const answer = await this.act(what, fields, title);
    return answer.result === 0 ? answer.data : null;
  }

  simulator(method, path, body) {
    return this.act('simulator', { method, path, ...(body === undefined ? {} : { body }) },
      'The simulator refuses');
  }
}
