// Pins: lamps, or switches where they can be changed.
import { el, live, liveClass } from './dom.js';

/** `count` pins; with `toggle(pin, on)` they are switches. `set(bits)` shows them. */
export function pinRow(count, name, toggle) {
  const pins = Array.from({ length: count }, (_, pin) => makePin(pin, name, toggle));
  return {
    element: el('div', { class: 'pins', role: 'group', 'aria-label': name }, ...pins.map(({ element }) => element)),
    set: live((bits) => pins.forEach(({ set }, pin) => set(((bits >>> pin) & 1) === 1))),
    enable: live((enabled) => pins.forEach(({ element }) => { element.disabled = !enabled; })),
  };
}

function makePin(pin, name, toggle) {
  const lamp = el('i', { 'aria-hidden': 'true' });
  const label = `${name} ${pin}`;
  const number = el('span', {}, String(pin));
  const element = toggle
    ? el('button', { type: 'button', class: 'pin pin-switch', role: 'switch', 'aria-label': label }, lamp, number)
    : el('span', { class: 'pin', role: 'img' }, lamp, number);
  let now = false;
  const set = liveClass(element, 'on', (on) => {
    now = on;
    if (toggle) element.setAttribute('aria-checked', String(on));
    else element.setAttribute('aria-label', `${label} ${on ? 'on' : 'off'}`);
  });
  set(false);
  if (toggle) element.addEventListener('click', () => toggle(pin, !now));
  return { element, set };
}

/** A switch with a name, which shows what is so and not what was clicked. */
export function namedSwitch(name, toggle) {
  const lamp = el('i', { 'aria-hidden': 'true' });
  const element = el('button', { type: 'button', class: 'pin pin-switch pin-named', role: 'switch' }, lamp, el('span', {}, name));
  let now = false;
  const set = liveClass(element, 'on', (on) => {
    now = on;
    element.setAttribute('aria-checked', String(on));
  });
  set(false);
  element.addEventListener('click', () => toggle(!now));
  return { element, set };
}
