// Making elements, and changing them only where something changed: at fifty states a second with
// thirty-two axes, a write that says what is there already is what makes a page slow.

/** el('button', {class: 'small', on: {click}}, 'Go'): an element with attributes, listeners, children. */
export function el(name, attributes = {}, ...children) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    if (key === 'on') {
      for (const [event, listener] of Object.entries(value)) element.addEventListener(event, listener);
    } else if (key in element && typeof value !== 'string') {
      element[key] = value;
    } else if (value !== null && value !== undefined) {
      element.setAttribute(key, value);
    }
  }
  element.append(...children.filter((child) => child !== null && child !== undefined));
  return element;
}

export function button(text, click, attributes = {}) {
  return el('button', { type: 'button', on: { click }, ...attributes }, text);
}

/** A label around its control, so that the label's text is the control's name. */
export function field(text, control, unit) {
  return el('label', { class: 'field' }, el('span', { class: 'field-name' }, text),
    unit ? el('span', { class: 'with-unit' }, control, unit) : control);
}

export function select(choices, change) {
  const list = el('select', { on: { change: () => change?.(list.value) } });
  setChoices(list, choices);
  return list;
}

/** Choices are texts, or pairs of value and text. The chosen one stays where it still exists. */
export function setChoices(list, choices) {
  const before = list.value;
  list.replaceChildren(...choices.map((choice) => {
    const [value, text] = Array.isArray(choice) ? choice : [choice, choice];
    return el('option', { value: String(value) }, String(text));
  }));
  if ([...list.options].some((option) => option.value === before)) list.value = before;
}

/** A text that is written only when it is another one. */
export function liveText(element, first = '') {
  const node = document.createTextNode(first);
  element.append(node);
  let last = first;
  return (text) => {
    if (text === last) return;
    last = text;
    node.data = text;
  };
}

/** A class that is there or not; other elements that say the same are told by `also`. */
export function liveClass(element, name, also) {
  let last;
  return (on) => {
    if (on === last) return;
    last = on;
    element.classList.toggle(name, on);
    also?.(on);
  };
}

/** Anything else that is to be written only when it changes. */
export function live(write) {
  let last;
  return (value) => {
    if (value === last) return;
    last = value;
    write(value);
  };
}

/** A lamp: its shape is filled when on, so that colour is not all that tells. */
export function lamp(text, shape = 'round') {
  const element = el('span', { class: `flag flag-${shape}` }, el('i', { 'aria-hidden': 'true' }),
    el('span', {}, text));
  const spoken = el('span', { class: 'unseen' }, ' off');
  element.append(spoken);
  const set = liveClass(element, 'on', (on) => { spoken.textContent = on ? ' on' : ' off'; });
  set(false);
  return { element, set };
}

/** A bar from its middle to either side, -1..1. */
export function centreBar() {
  const fill = el('i');
  const element = el('span', { class: 'bar bar-centre', 'aria-hidden': 'true' }, fill);
  const set = live((share) => { fill.style.transform = `scaleX(${share})`; });
  return { element, set: (share) => set(Math.round(Math.max(-1, Math.min(1, share)) * 250) / 250) };
}

/** A mark on a track from one limit to the other, 0..1; without limits there is no track. */
export function markBar() {
  const mark = el('i');
  const element = el('span', { class: 'bar bar-mark', 'aria-hidden': 'true' }, mark);
  const set = live((share) => {
    element.classList.toggle('none', share === null);
    if (share !== null) mark.style.transform = `translateX(${share * 100}%)`;
  });
  return {
    element,
    set: (share) => set(share === null ? null : Math.round(Math.max(0, Math.min(1, share)) * 500) / 500),
  };
}

/** A file that the browser saves. */
export function saveFile(name, content, type) {
  const address = URL.createObjectURL(content instanceof Blob ? content : new Blob([content], { type }));
  el('a', { href: address, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(address), 1000);
}

/** "2026-01-02_030405", for names of files. */
export function stamp() {
  const two = (number) => String(number).padStart(2, '0');
  const now = new Date();
  return `${now.getFullYear()}-${two(now.getMonth() + 1)}-${two(now.getDate())}_` +
    two(now.getHours()) + two(now.getMinutes()) + two(now.getSeconds());
}
