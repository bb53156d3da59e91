// The tabs: one is shown, and only what it needs is asked of the server.
import { el, live } from './dom.js';

const KEY = 'zelq-panel-tab';

export class Tabs {
  /** `makers` are functions of the app; each tab has id, title, element, watch, and may have
   * draw, show and hide. `needs(machine)` tells whether there is such a tab at all. */
  constructor(app, makers) {
    this.app = app;
    this.list = document.getElementById('tabs');
    this.tabs = makers.map((make) => this.add(make(app)));
    this.list.addEventListener('keydown', (event) => this.key(event));
    const kept = sessionStorage.getItem(KEY);
    this.open(this.tabs.find(({ id }) => id === kept) ?? this.tabs[0]);
  }

  add(tab) {
    tab.button = el('button', {
      type: 'button', role: 'tab', id: `tab-${tab.id}`, class: 'tab', 'aria-controls': `view-${tab.id}`,
      on: { click: () => this.open(tab) },
    }, tab.title);
    tab.count = el('span', { class: 'tab-count', hidden: true });
    tab.button.append(tab.count);
    tab.setCount = live((count) => {
      tab.count.hidden = !count;
      tab.count.textContent = count || '';
    });
    tab.view = el('section', {
      class: `view view-${tab.id}`, id: `view-${tab.id}`, role: 'tabpanel', 'aria-labelledby': `tab-${tab.id}`,
      hidden: true,
    }, tab.element);
    tab.exists = live((there) => { tab.button.hidden = !there; });
    this.list.append(tab.button);
    document.getElementById('main').append(tab.view);
    return tab;
  }

  open(tab) {
    if (tab === this.current) return;
    this.current?.hide?.();
    this.current = tab;
    for (const other of this.tabs) {
      const chosen = other === tab;
      other.view.hidden = !chosen;
      other.button.setAttribute('aria-selected', String(chosen));
      other.button.tabIndex = chosen ? 0 : -1;
    }
    sessionStorage.setItem(KEY, tab.id);
    tab.button.scrollIntoView({ block: 'nearest', inline: 'nearest' });
    tab.show?.();
    this.watch();
    this.app.redraw();
  }

  /** Nobody looks at a hidden page: then nothing is asked of the controller. */
  wake(awake) {
    this.watch();
    if (awake) this.current.show?.();
    else this.current.hide?.();
  }

  watch() {
    this.app.link.watch(document.hidden ? [] : ['axes', ...(this.current.watch ?? [])]);
  }

  key(event) {
    const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    const shown = this.tabs.filter(({ button }) => !button.hidden);
    let next = shown.indexOf(this.current) + (step ?? 0);
    if (event.key === 'Home') next = 0;
    else if (event.key === 'End') next = shown.length - 1;
    else if (!step) return;
    event.preventDefault();
    this.open(shown[(next + shown.length) % shown.length]);
    this.current.button.focus();
  }

  draw() {
    for (const tab of this.tabs) {
      tab.exists(tab.needs?.(this.app.machine) ?? true);
      tab.setCount(tab.countOf?.(this.app.machine) ?? 0);
    }
    if (this.current.button.hidden) this.open(this.tabs[0]);
    this.current.draw?.();
  }
}
