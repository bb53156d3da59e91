// The connection to the panel's server: one WebSocket, JSON texts both ways.
//
// What is sent is sent now or never. Nothing waits for a connection: a press that was made while
// the line was down must not move a machine when it is back.

const SILENCE_MS = 1000;
const GIVE_UP_MS = 4000;
const RETRY_MS = [250, 500, 1000, 2000];
const CONGESTED_BYTES = 4096;
const TOKEN_KEY = 'zelq-panel-token';

/** The token comes in the fragment of the printed address, which no server is ever told. */
function readToken() {
  const given = location.hash.slice(1);
  if (given) {
    sessionStorage.setItem(TOKEN_KEY, given);
    history.replaceState(null, '', location.pathname);
  }
  return sessionStorage.getItem(TOKEN_KEY) ?? '';
}

export class Link extends EventTarget {
  constructor() {
    super();
    this.token = readToken();
    this.page = crypto.getRandomValues(new Uint32Array(2)).join('-'); // whose presses these are, over reconnects, too
    this.reach = 'starting'; // then: live, silent, gone
    this.since = Date.now();
    this.waiting = new Map();
    this.lastId = 0;
    this.tries = 0;
    this.tabs = [];
    this.heard = 0;
    this.seen = 0; // when the last state came
    this.quiet = false; // the panel is there, and no states come
    setInterval(() => this.lookForSilence(), SILENCE_MS / 4);
  }

  open() {
    const scheme = location.protocol === 'https:' ? 'wss:' : 'ws:';
    const socket = new WebSocket(`${scheme}//${location.host}/live`);
    this.socket = socket;
    this.heard = performance.now();
    socket.onopen = () => this.send({ do: 'hello', token: this.token, page: this.page });
    socket.onmessage = (event) => this.take(event.data);
    socket.onclose = () => this.lose(socket);
  }

  /** True when it went out; false when there is no connection, or one that takes nothing. */
  send(message) {
    if (this.socket?.readyState !== WebSocket.OPEN) return false;
    this.socket.send(JSON.stringify(message));
    return true;
  }

  /** What was sent lies in this computer and does not get on. */
  get congested() {
    return (this.socket?.bufferedAmount ?? 0) > CONGESTED_BYTES;
  }

  /** Resolves with {result, text, cause, remedy, data}; never rejects. */
  ask(what, fields = {}) {
    const id = ++this.lastId;
    const answer = new Promise((resolve) => {
      if (this.send({ do: what, id, ...fields })) this.waiting.set(id, resolve);
      else resolve({ result: -1, text: 'Not sent: the panel cannot be reached.' });
    });
    answer.id = id;
    return answer;
  }

  /** What the server is to send at present; it is told again after a reconnect. */
  watch(tabs) {
    this.tabs = tabs;
    this.seen = this.heard = performance.now();
    this.send({ do: 'watch', tabs });
  }

  take(text) {
    this.heard = performance.now();
    const message = JSON.parse(text);
    if (message.type === 'state') this.seen = this.heard;
    if (message.type === 'welcome') {
      this.tries = 0;
      this.dispatch('welcome', message);
      if (this.reach !== 'live') this.watch(this.tabs);
    }
    this.reachIs('live');
    if (message.type === 'result' || message.type === 'data') this.answer(message);
    if (message.type !== 'welcome') this.dispatch(message.type, message);
  }

  answer(message) {
    const resolve = this.waiting.get(message.id);
    this.waiting.delete(message.id);
    if (resolve) resolve(message.type === 'data' ? { result: 0, data: message.data } : message);
    else this.dispatch('late', message);
  }

  lose(socket) {
    if (socket !== this.socket) return;
    this.socket = null;
    this.reachIs('gone');
    const open = [...this.waiting.values()];
    this.waiting.clear();
    const text = 'The connection was lost. Whether this was done is not known.';
    open.forEach((resolve) => resolve({ result: -1, text, lost: true }));
    setTimeout(() => this.open(), RETRY_MS[Math.min(this.tries++, RETRY_MS.length - 1)]);
  }

  /** A cable that is pulled closes nothing: only the silence tells. Whose it is, a question tells
   * that the panel answers without its controller. */
  lookForSilence() {
    if (!this.socket || this.tabs.length === 0) return;
    const now = performance.now();
    const silent = now - this.heard;
    const quiet = now - this.seen > SILENCE_MS;
    if (quiet !== this.quiet) {
      this.quiet = quiet;
      this.dispatch('quiet', { quiet });
    }
    if (silent > SILENCE_MS / 2 && !this.probing) {
      this.probing = true;
      this.ask('explain', { code: 0 }).then(() => { this.probing = false; });
    }
    if (silent > GIVE_UP_MS) {
      const dead = this.socket;
      dead.onclose = null;
      dead.close();
      this.lose(dead);
    } else if (silent > SILENCE_MS && this.reach === 'live') {
      this.reachIs('silent');
    }
  }

  reachIs(reach) {
    if (this.reach === reach) return;
    if (this.reach === 'live' || this.reach === 'starting') this.since = Date.now();
    this.reach = reach;
    this.dispatch('reach', { reach });
  }

  dispatch(type, detail) {
    this.dispatchEvent(new CustomEvent(type, { detail }));
  }

  on(type, listener) {
    this.addEventListener(type, (event) => listener(event.detail));
  }
}
