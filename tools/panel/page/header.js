// The bar at the top: which controller, whether it answers, who has control; and in large letters
// when what the page shows is no longer so.
import { live, liveClass, liveText } from './dom.js';
import { number } from './format.js';

const BANNERS = {
  gone: ['The panel is gone', 'Its program has ended, or the network to it is down. Nothing below is up to date, ' +
    'and nothing can be sent. The page connects again by itself; nothing that was pressed is repeated.'],
  silent: ['The panel does not answer', 'Nothing below is up to date.'],
};

const byId = (id) => document.getElementById(id);

function textOf(id) {
  byId(id).textContent = '';
  return liveText(byId(id));
}

export class Header {
  constructor(app) {
    this.app = app;
    this.title = textOf('title');
    this.linkText = textOf('link-text');
    this.roundTrip = textOf('round-trip');
    this.controlText = textOf('control-text');
    this.takeText = textOf('take');
    this.bannerHead = textOf('banner-head');
    this.bannerText = textOf('banner-text');
    this.linkBad = liveClass(byId('link'), 'bad');
    this.linkGood = liveClass(byId('link'), 'good');
    this.mine = liveClass(byId('control'), 'mine');
    this.others = liveClass(byId('control'), 'warn');
    this.stale = liveClass(document.body, 'stale');
    this.showKind = live((shown) => { byId('kind').hidden = !shown; });
    this.showTake = live((shown) => { byId('take').hidden = !shown; });
    this.showBanner = live((shown) => { byId('banner').hidden = !shown; });
    this.pageTitle = live((text) => { document.title = text; });
    byId('take').addEventListener('click', () => {
      app.machine.act('control', { take: app.machine.holder !== 'you' });
    });
  }

  draw() {
    const { machine, link } = this.app;
    const controller = machine.welcome?.controller;
    const address = controller ? `${controller.network}.${controller.number}` : '';
    const name = controller?.title || address || 'zelQ panel';
    this.title(name);
    byId('title').title = `${address} · zelQ ${machine.welcome?.version ?? ''}`;
    this.showKind(machine.simulated);
    this.drawLink(machine, link);
    this.drawControl(machine, link);
    this.drawBanner(machine, link);
    const alarm = machine.state?.axes.some((axis) => axis.alarm !== 0);
    this.pageTitle(`${machine.current ? '' : '✕ '}${alarm ? '▲ ' : ''}${name} – zelQ panel`);
  }

  drawLink(machine, link) {
    const state = machine.state?.link;
    const good = machine.current;
    this.linkGood(good);
    this.linkBad(!good && link.reach !== 'starting' && (link.reach !== 'live' || Boolean(state)));
    if (link.reach === 'starting' || (link.reach === 'live' && !state)) this.linkText('connecting');
    else if (link.reach !== 'live') this.linkText('no panel');
    else this.linkText(good ? 'connected' : 'no controller');
    this.roundTrip(good ? `${number(state.roundTripMs, state.roundTripMs < 100 ? 2 : 0)} ms` : '');
    byId('link').title = state ? `Round trip to the controller; ${state.lost} replies lost, ` +
      `${state.reconnects} reconnects` : '';
  }

  drawControl(machine, link) {
    const reached = link.reach === 'live' && machine.welcome !== null;
    const locked = reached && !machine.mayChange;
    this.mine(machine.holder === 'you' && reached);
    this.others((machine.holder === 'other' || locked) && reached);
    if (!reached) this.controlText('–');
    else if (locked) this.controlText(machine.welcome.readOnly ? 'read only' : 'look only: no token');
    else if (machine.holder === 'you') this.controlText('you have control');
    else this.controlText(machine.holder === 'other' ? 'another has control' : 'nobody has control');
    byId('control').title = locked && !machine.welcome.readOnly ?
      'To change something, open the whole address that zelq panel printed.' : '';
    this.showTake(reached && !locked);
    this.takeText(machine.holder === 'you' ? 'give it up' : 'take control');
  }

  drawBanner(machine, link) {
    const state = machine.state?.link;
    this.stale(!machine.current && link.reach !== 'starting' && state !== undefined);
    const cut = link.reach === 'live' && state && !machine.current;
    const texts = cut ? ['The controller does not answer', this.reason(state)] : BANNERS[link.reach];
    this.showBanner(texts !== undefined);
    if (!texts) return;
    const since = Math.round((Date.now() - link.since) / 1000);
    this.bannerHead(texts[0]);
    this.bannerText(cut ? texts[1] : `For ${since} s. ${texts[1]}`);
  }

  reason(state) {
    if (state.ok) {
      const late = Math.round((performance.now() - this.app.link.seen) / 1000);
      return `It is silent for ${late} s. What is shown below is what it said last.`;
    }
    const code = state.result ? ` (${String(state.result).replace('-', '−')})` : '';
    return `${state.text || 'No reply comes'}${code}. What is shown below is what it said last.`;
  }
}
