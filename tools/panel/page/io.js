// Inputs and outputs: of the main board, and of the stations that have pins. Outputs are clicked.
import { el, live } from './dom.js';
import { pinRow } from './pins.js';

const BOARD_PINS = 8;
const STATION_PINS = 32;

function card(title, ...rows) {
  return el('section', { class: 'card' }, el('h2', {}, title), ...rows);
}

function titled(name, row) {
  return el('div', { class: 'pin-line' }, el('h3', {}, name), row.element);
}

class IoTab {
  constructor(app) {
    this.app = app;
    this.boardInputs = pinRow(BOARD_PINS, 'input');
    this.boardOutputs = pinRow(BOARD_PINS, 'output', (pin, on) => this.set({ pin, on }));
    this.stations = el('div', { class: 'stations' });
    this.rows = [];
    this.element = el('div', { class: 'io' },
      card('Main board', titled('Inputs', this.boardInputs), titled('Outputs', this.boardOutputs)), this.stations);
    this.build = live(() => this.makeStations());
  }

  set(fields) {
    this.app.machine.act('output', fields, 'The output stays as it is');
  }

  makeStations() {
    this.rows = this.app.machine.state.stations.map((station) => {
      const { station: number } = station;
      const inputs = 'inputs' in station ? pinRow(STATION_PINS, `station ${number} input`) : null;
      const outputs = 'outputs' in station ? pinRow(STATION_PINS, `station ${number} output`,
        (pin, on) => this.set({ station: number, pin, on })) : null;
      const lines = [inputs && titled('Inputs', inputs), outputs && titled('Outputs', outputs)].filter(Boolean);
      return { inputs, outputs, element: card(`Station ${number}`, ...lines) };
    });
    this.stations.replaceChildren(...this.rows.map(({ element }) => element));
  }

  draw() {
    const { machine } = this.app;
    const { state } = machine;
    this.boardOutputs.enable(machine.mayMove);
    if (!state) return;
    this.boardInputs.set(state.inputs);
    this.boardOutputs.set(state.outputs);
    this.build(state.stations.map((station) => Object.keys(station).join() + station.station).join(' '));
    state.stations.forEach((station, i) => {
      this.rows[i].inputs?.set(station.inputs);
      this.rows[i].outputs?.set(station.outputs);
      this.rows[i].outputs?.enable(machine.mayMove);
    });
  }
}

export function makeIoTab(app) {
  const tab = new IoTab(app);
  return { id: 'io', title: 'I/O', element: tab.element, watch: ['io'], draw: () => tab.draw() };
}
