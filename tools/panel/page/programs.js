// Sequence programs: which run, and at which record.
import { el } from './dom.js';
import { words } from './format.js';
import { Poll, Table } from './tables.js';

const POLL_MS = 500;
const BUSY = new Set(['running', 'paused', 'faulted']);

function count(value) {
  return value === undefined || value === null ? '' : String(value);
}

export function makeProgramsTab(app) {
  const table = new Table([
    { name: 'program', end: true, text: ({ program }) => String(program) },
    { name: 'state', text: ({ state }) => words(state ?? '') },
    { name: 'record', end: true, text: ({ record }) => count(record) },
    { name: 'kind', text: ({ kind, state }) => (kind && BUSY.has(state) ? words(kind) : '') },
    { name: 'passed', end: true, text: ({ passed }) => count(passed) },
    { name: 'rounds', end: true, text: ({ rounds }) => count(rounds) },
    { name: 'fault', text: ({ fault }) => (fault && fault !== 'done' ? words(fault) : '') },
  ], 'Nothing is known of programs yet.');
  const poll = new Poll(POLL_MS, async () => {
    const answer = await app.link.ask('programs');
    if (answer.result === 0) table.show(answer.data, ({ state }) => (state === 'running' ? 'row-running' : ''));
    else table.empty.textContent = answer.text;
  });
  return {
    id: 'programs',
    title: 'Programs',
    element: el('section', { class: 'card' }, el('h2', {}, 'Sequence programs'), table.element),
    show: () => poll.start(),
    hide: () => poll.stop(),
  };
}
