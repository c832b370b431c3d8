// The log of calls.

import {drop} from './api.js';
import {byId, code, element, emptyState, exactTime, told} from './dom.js';
import {isPending, outcomeChips, outcomeOf} from './outcome.js';
import {showCall} from './call_detail.js';

/** As many as the sandbox keeps. */
const mostCalls = 1000;

export class Calls {
  #calls = new Map();  // by number, as they arrived
  #rows = new Map();  // of those that fit the filter
  #fresh = new Set();  // numbers of those whose row is to be drawn
  #chosen = 0;

  constructor() {
    for (const id of ['calls-text', 'calls-outcome']) byId(id).addEventListener('input', () => this.#draw());
    byId('calls-clear').addEventListener('click', () =>
      told(drop('/sandbox/requests')));
    byId('calls-rows').addEventListener('keydown', (event) => this.#walk(event));
    byId('calls-rows').addEventListener('click', (event) => {
      const row = event.target.closest('tr');
      if (row) this.#choose(Number(row.dataset.number));
    });
    byId('call').addEventListener('keydown', (event) => event.key === 'Escape' && this.#choose(0));
  }

  /** The log as it is now. */
  reset(calls) {
    const wasPending = isPending(this.#calls.get(this.#chosen) ?? {});
    this.#calls = new Map(calls.map((call) => [call.number, call]));
    this.#draw();
    if (wasPending) this.#showChosen();
  }

  /** Only those that are pending stay. */
  clear() {
    this.reset([...this.#calls.values()].filter(isPending));
  }

  /** A call that arrived, or one that was shown as pending and has ended. */
  put(call) {
    this.#calls.set(call.number, call);
    if (this.#calls.size > mostCalls) this.#forgetOldest();
    if (call.number === this.#chosen) this.#showChosen();
    this.#fresh.add(call.number);
    if (this.#fresh.size === 1) requestAnimationFrame(() => this.#drawFresh());
  }

  #forgetOldest() {
    const oldest = [...this.#calls.values()].find((call) => !isPending(call));
    if (!oldest) return;
    this.#calls.delete(oldest.number);
    this.#fresh.add(oldest.number);
  }

  #matches(call) {
    const text = byId('calls-text').value.trim().toLowerCase();
    const outcome = byId('calls-outcome').value;
    return (!outcome || outcomeOf(call) === outcome) &&
      (!text || call.path.toLowerCase().includes(text) || call.caller.toLowerCase().includes(text));
  }

  #drawFresh() {
    for (const number of this.#fresh) this.#drawOne(number);
    this.#fresh.clear();
    this.#drawRest();
  }

  #drawOne(number) {
    const call = this.#calls.get(number);
    const row = this.#rows.get(number);
    if (!call || !this.#matches(call)) {
      row?.remove();
      this.#rows.delete(number);
    } else if (row) {
      fillOutcome(row, call);
    } else {
      let below = byId('calls-rows').firstElementChild;
      while (below && Number(below.dataset.number) > number) below = below.nextElementSibling;
      byId('calls-rows').insertBefore(this.#row(call, true), below);
    }
  }

  #draw() {
    this.#fresh.clear();
    this.#rows.clear();
    const shown = [...this.#calls.values()].filter((call) => this.#matches(call));
    shown.sort((one, other) => other.number - one.number);
    byId('calls-rows').replaceChildren(...shown.map((call) => this.#row(call, false)));
    this.#drawRest();
  }

  #drawRest() {
    byId('calls-count').textContent = this.#calls.size || '';
    const empty = byId('calls-empty');
    const isEmpty = byId('calls-rows').rows.length === 0;
    empty.classList.toggle('is-shown', isEmpty);
    if (!isEmpty) return;
    empty.replaceChildren(this.#calls.size
      ? emptyState('No call fits the filter.', element('p', {}, 'Change the text or the outcome above.'))
      : emptyState('No app has called yet.', element('p', {}, 'Point an app at ', code(location.origin), ' or try'),
        element('p', {}, code(`zavelo --api ${location.origin} user login-guest`))));
  }

  #row(call, isFresh) {
    // Nearly all of them are POST: only another method is worth its place.
    const method = call.method === 'POST' ? '' : `${call.method} `;
    const name = call.path ? method + call.path : 'not a valid request';
    const row = element('tr', {'data-number': call.number, class: isFresh ? 'fresh' : null,
      'aria-current': call.number === this.#chosen && 'true'},
    element('td', {class: 'when'}, exactTime(call.at)),
    element('td', {class: 'path'}, element('button', {type: 'button', class: 'plain'}, name)),
    element('td', {class: 'who'}, call.caller),
    element('td', {class: 'outcome'}),
    element('td', {class: 'number'}));
    fillOutcome(row, call);
    this.#rows.set(call.number, row);
    return row;
  }

  #choose(number) {
    const before = this.#rows.get(this.#chosen);
    before?.removeAttribute('aria-current');
    this.#chosen = number;
    this.#rows.get(number)?.setAttribute('aria-current', 'true');
    byId('calls').classList.toggle('has-choice', number !== 0);
    this.#showChosen();
    byId('call').scrollTop = 0;
    // Where the pane covers the list, the keyboard goes along.
    if (number !== 0 && matchMedia('(max-width: 60rem)').matches) byId('call').focus();
    if (number === 0) before?.querySelector('button').focus();
  }

  #showChosen() {
    showCall(this.#chosen, () => this.#choose(0));
  }

  /** Up and down through the rows. */
  #walk(event) {
    const step = {ArrowDown: 'nextElementSibling', ArrowUp: 'previousElementSibling'}[event.key];
    const row = step && event.target.closest('tr')?.[step];
    if (!row) return;
    event.preventDefault();
    row.querySelector('button').focus();
  }
}

function fillOutcome(row, call) {
  row.querySelector('.outcome').replaceChildren(...outcomeChips(call));
  row.querySelector('.number').textContent = isPending(call) ? '' : call.milliseconds.toFixed(1);
}
