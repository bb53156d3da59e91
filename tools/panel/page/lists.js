// List motion: how far each axis is in its list.
import { el } from './dom.js';
import { Poll, Table } from './tables.js';

const POLL_MS = 500;

function stateOf({ running, endedEarly, closed, node, waiting, stream }) {
  if (running) return stream ? 'runs a stream' : 'runs';
  if (endedEarly) return 'ended early';
  if (closed) return 'has its end';
  return node > 0 || waiting > 0 ? 'is being fed' : 'empty';
}

function count(value) {
  return value === undefined || value === null ? '' : String(value);
}

export function makeListsTab(app) {
  const table = new Table([
    { name: 'axis', end: true, text: ({ axis }) => String(axis) },
    { name: 'state', text: stateOf },
    { name: 'node', end: true, text: ({ node }) => count(node) },
    { name: 'waiting', end: true, text: ({ waiting }) => count(waiting) },
    { name: 'free', end: true, text: ({ free }) => count(free) },
    { name: 'completed', end: true, text: ({ completed }) => count(completed) },
    { name: 'rounds', end: true, text: ({ rounds }) => count(rounds) },
  ], 'Nothing is known of lists yet.');
  const poll = new Poll(POLL_MS, async () => {
    const answer = await app.link.ask('lists');
    if (answer.result === 0) table.show(answer.data, ({ running }) => (running ? 'row-running' : ''));
    else table.empty.textContent = answer.text;
  });
  return {
    id: 'lists',
    title: 'Lists',
    element: el('section', { class: 'card' }, el('h2', {}, 'List motion'), table.element),
    show: () => poll.start(),
    hide: () => poll.stop(),
  };
}
