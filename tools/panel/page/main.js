// Starts the page: one connection, one picture of the machine, one tab that is looked at.
import { makeAlarmsTab } from './alarms.js';
import { makeAxesTab } from './axes.js';
import { Header } from './header.js';
import { makeIoTab } from './io.js';
import { Jog } from './jog.js';
import { Link } from './link.js';
import { makeListsTab } from './lists.js';
import { Machine } from './machine.js';
import { Notices } from './notices.js';
import { makeParametersTab } from './parameters.js';
import { makePathTab } from './path.js';
import { makeProgramsTab } from './programs.js';
import { makeScopeTab } from './scope.js';
import { makeSimulatorTab } from './simulator.js';
import { StopAll } from './stop.js';
import { Tabs } from './tabs.js';
import { startTheme } from './theme.js';
import { makeTraceTab } from './trace.js';

let asked = false; // for a frame

const link = new Link();
const notices = new Notices();
const machine = new Machine(link, notices);
const jog = new Jog(link);
const stop = new StopAll(link, jog, notices);
jog.addEventListener('refused', (event) => notices.bad(event.detail));

const app = { link, machine, notices, jog, stop, redraw };
const header = new Header(app);
const tabs = new Tabs(app, [
  makeAxesTab, makeScopeTab, makePathTab, makeIoTab, makeAlarmsTab, makeParametersTab,
  makeProgramsTab, makeListsTab, makeTraceTab, makeSimulatorTab,
]);

// However many states come, the page is drawn once a frame, and only while something has changed.
function redraw() {
  if (asked) return;
  asked = true;
  requestAnimationFrame(() => {
    asked = false;
    header.draw();
    tabs.draw();
  });
}

startTheme(redraw);
for (const event of ['welcome', 'state', 'control', 'reach', 'quiet']) link.on(event, redraw);
document.addEventListener('visibilitychange', () => tabs.wake(!document.hidden));
// The address with its token, given to a page that is open already, loads nothing by itself.
window.addEventListener('hashchange', () => location.reload());
setInterval(redraw, 1000); // times that pass, while nothing comes
link.open();
redraw();
