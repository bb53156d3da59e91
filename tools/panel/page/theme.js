// Light and dark: as the system has it, or as the switch says.
import { live } from './dom.js';

const KEY = 'zelq-panel-theme';
const ORDER = ['system', 'light', 'dark'];
const SIGNS = { system: '◐', light: '☀', dark: '☾' };

/** `changed` is told when plots have to be drawn in other colours. */
export function startTheme(changed) {
  const control = document.getElementById('theme');
  const show = live((theme) => {
    if (theme === 'system') delete document.documentElement.dataset.theme;
    else document.documentElement.dataset.theme = theme;
    control.textContent = SIGNS[theme];
    const name = `Colours: ${theme === 'system' ? 'as the system' : theme}`;
    control.setAttribute('aria-label', name);
    control.title = name;
    colours.clear();
    changed();
  });
  show(ORDER.includes(localStorage.getItem(KEY)) ? localStorage.getItem(KEY) : 'system');
  control.addEventListener('click', () => {
    const next = ORDER[(ORDER.indexOf(localStorage.getItem(KEY) ?? 'system') + 1) % ORDER.length];
    localStorage.setItem(KEY, next);
    show(next);
  });
  matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => {
    colours.clear();
    changed();
  });
}

const colours = new Map();

/** The colour that a custom property stands for at present: a canvas knows no properties. */
export function colour(name) {
  if (!colours.has(name)) {
    const probe = document.createElement('i');
    probe.style.color = `var(--${name})`;
    document.body.append(probe);
    colours.set(name, getComputedStyle(probe).color);
    probe.remove();
  }
  return colours.get(name);
}
