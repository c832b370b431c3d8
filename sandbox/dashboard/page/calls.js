// The log of calls.

import {drop} from './api.js';
import {byId, code, element, emptyState, exactTime, told} from './dom.js';
import {outcomeChips, outcomeOf} from './outcome.js';
import {showCall} from './call_detail.js';

const mostRows = 1000;

export class Calls {
  #calls = new Map();  // by number, the oldest first
  #fresh = [];
  #chosen = 0;
  #isDrawing = false;

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

  reset(calls) {
    this.#calls = new Map(calls.map((call) => [call.number, call]));
    this.#draw();
  }

  add(call) {
    if (this.#calls.has(call.number)) return;
    this.#calls.set(call.number, call);
    if (this.#calls.size > mostRows) this.#calls.delete(this.#calls.keys().next().value);
    this.#fresh.push(call);
    if (this.#isDrawing) return;
    this.#isDrawing = true;
    requestAnimationFrame(() => this.#drawFresh());
  }

  #matches(call) {
    const text = byId('calls-text').value.trim().toLowerCase();
    const outcome = byId('calls-outcome').value;
    return (!outcome || outcomeOf(call) === outcome) &&
      (!text || call.path.toLowerCase().includes(text) || call.caller.toLowerCase().includes(text));
  }

  #drawFresh() {
    this.#isDrawing = false;
    const rows = this.#fresh.filter((call) => this.#matches(call)).map((call) => this.#row(call, true));
    this.#fresh = [];
    const body = byId('calls-rows');
    body.prepend(...rows.reverse());
    while (body.rows.length > mostRows) body.lastElementChild.remove();
    this.#drawRest();
  }

  #draw() {
    this.#fresh = [];
    const shown = [...this.#calls.values()].filter((call) => this.#matches(call));
    byId('calls-rows').replaceChildren(...shown.reverse().map((call) => this.#row(call, false)));
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
    const name = call.path ? method + call.path : 'not a sound request';
    return element('tr', {'data-number': call.number, class: isFresh ? 'fresh' : null,
      'aria-current': call.number === this.#chosen && 'true'},
    element('td', {class: 'when'}, exactTime(call.at)),
    element('td', {class: 'path'}, element('button', {type: 'button', class: 'plain'}, name)),
    element('td', {class: 'who'}, call.caller),
    element('td', {}, ...outcomeChips(call)),
    element('td', {class: 'number'}, call.milliseconds.toFixed(1)));
  }

  #choose(number) {
    const before = this.#rowOf(this.#chosen);
    before?.removeAttribute('aria-current');
    this.#chosen = number;
    this.#rowOf(number)?.setAttribute('aria-current', 'true');
    byId('calls').classList.toggle('has-choice', number !== 0);
    showCall(number, () => this.#choose(0));
    if (number === 0) before?.querySelector('button').focus();
  }

  #rowOf(number) {
    return byId('calls-rows').querySelector(`tr[data-number="${number}"]`);
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
