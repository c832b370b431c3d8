// The fault desk.

import {drop, post, read} from './api.js';
import {byId, chip, element, emptyState, notice, refill, told} from './dom.js';
import {kinds} from './fault_kinds.js';

export class Faults {
  constructor() {
    byId('fault-kind').append(...Object.entries(kinds).map(([value, [name]]) => element('option', {value}, name)));
    byId('fault-kind').addEventListener('input', () => this.#follow());
    byId('fault-form').addEventListener('submit', (event) => {
      event.preventDefault();
      this.#add();
    });
    byId('faults-clear').addEventListener('click', () =>
      told(drop('/sandbox/faults').then(({pending}) => this.#draw(pending))));
    this.#follow();
  }

  setPaths(paths) {
    byId('endpoints').replaceChildren(...paths.map((value) => element('option', {value})));
    const chosen = byId('fault-endpoint').value;
    byId('fault-endpoint').replaceChildren(element('option', {value: '*'}, 'every endpoint'),
      ...paths.map((value) => element('option', {value}, value)));
    byId('fault-endpoint').value = ['*', ...paths].includes(chosen) ? chosen : '*';
  }

  setEndpoint(path) {
    const select = byId('fault-endpoint');
    select.value = path;
    // The paths may not have been read yet.
    if (select.value !== path) select.append(element('option', {value: path, selected: true}, path));
  }

  async refresh() {
    this.#draw((await read('/sandbox/faults')).pending);
  }

  #follow() {
    const kind = byId('fault-kind').value;
    for (const label of byId('fault-form').querySelectorAll('[data-for]')) label.hidden = label.dataset.for !== kind;
    byId('fault-hint').textContent = kinds[kind][1];
  }

  async #add() {
    const fault = byId('fault-kind').value;
    const body = {endpoint: byId('fault-endpoint').value, fault, count: byId('fault-count').valueAsNumber,
      after: byId('fault-after').valueAsNumber};
    if (fault === 'delay') body.milliseconds = byId('fault-milliseconds').valueAsNumber;
    if (fault === 'code') {
      body.code = byId('fault-code').valueAsNumber;
      body.message = byId('fault-message').value;
    }
    try {
      this.#draw((await post('/sandbox/faults', body)).pending);
      notice('It waits for its calls');
    } catch (error) {
      notice(error.message, true);
    }
  }

  #draw(pending) {
    byId('faults-count').textContent = pending.length || '';
    byId('faults-clear').hidden = pending.length === 0;
    refill(byId('faults-rows'), ...(pending.length ? pending.map(rowOf) : [element('li', {},
      emptyState('Nothing is broken.', element('p', {}, 'Choose an endpoint and a fault above; the next call meets it.')))]));
  }
}

function rowOf(rule) {
  const more = {delay: ` by ${rule.milliseconds} ms`, code: ` ${rule.code} ${rule.message ?? ''}`}[rule.fault] ?? '';
  return element('li', {}, element('p', {class: 'name'}, element('b', {}, rule.endpoint === '*' ? 'every endpoint' : rule.endpoint)),
    element('p', {class: 'states'}, chip('odd', `⚡ ${kinds[rule.fault][0]}${more}`)),
    element('p', {class: 'actions'}, callsOf(rule)));
}

function callsOf({count, after = 0}) {
  const calls = count === 1 ? 'call' : `${count} calls`;
  return after === 0 ? `the next ${calls}` : `the next ${calls} after ${after}`;
}
