// Streams, who watches them, and how they grow.

import {read} from './api.js';
import {byId, chip, clockTime, code, element, emptyState, refill} from './dom.js';
import {curveFigure} from './curve.js';

const kinds = {live: 'good', paused: 'odd'};
const statusChip = ({status}) => chip(kinds[status] ?? 'quiet', status);

export class Streams {
  #chosen = '';

  async refresh() {
    const {streams} = await read('/sandbox/streams');
    byId('streams-total').textContent = streams.length
      ? `${streams.filter((stream) => stream.status === 'live').length} live of ${streams.length}` : '';
    if (!streams.some((stream) => stream.slug === this.#chosen)) this.#chosen = '';
    const isWide = matchMedia('(min-width: 60rem)').matches;
    if (!this.#chosen && streams.length && isWide) this.#chosen = streams[0].slug;
    refill(byId('stream-list'), ...(streams.length ? streams.map((stream) => this.#row(stream)) : [nothing()]));
    await this.#refreshChosen();
  }

  async #refreshChosen() {
    const slug = this.#chosen;
    byId('streams').classList.toggle('has-choice', slug !== '');
    if (!slug) return byId('stream').replaceChildren();
    const detail = await read(`/sandbox/streams/${encodeURIComponent(slug)}`);
    if (slug === this.#chosen) refill(byId('stream'), ...this.#pane(detail));
  }

  #row(stream) {
    const {slug, title, owner, viewers, likes} = stream;
    return element('li', {},
      element('button', {type: 'button', class: 'plain', 'data-key': slug,
        'aria-current': slug === this.#chosen && 'true', onclick: () => this.#choose(slug)},
      element('b', {}, title), ' ', statusChip(stream),
      element('small', {}, `${owner} · ${viewers} watching · ${likes} likes`)));
  }

  #choose(slug) {
    this.#chosen = slug;
    this.refresh();
    byId('stream').focus();
  }

  #pane({stream, viewers, curve, now}) {
    const end = stream.ended ?? now;
    return [
      element('header', {class: 'bar'}, element('h2', {}, stream.title), statusChip(stream),
        stream.isLocked && chip('quiet', 'locked'),
        element('button', {type: 'button', class: 'close', 'aria-label': 'Close the stream', 'data-key': 'close',
          onclick: () => this.#choose('')}, '×')),
      element('p', {class: 'facts'}, code(stream.slug), ` by ${stream.owner} · ${stream.tag} · ${stream.views} views`,
        stream.begun ? ` · began ${clockTime(stream.begun)}` : '', stream.ended ? ` · ended ${clockTime(stream.ended)}` : ''),
      element('div', {class: 'curves'}, ...(curve.length
        ? [['Viewers', 'viewers'], ['Likes', 'likes'], ['Gold', 'gold']].map(([title, key]) => curveFigure(title, key, curve, end))
        : [element('p', {class: 'hint'}, stream.begun ? 'It ran before this sandbox was started: there are no curves.'
          : 'Curves begin when its owner begins the stream.')])),
      element('h3', {}, `Watching now (${viewers.length})`),
      viewers.length ? element('ul', {class: 'watchers'}, ...viewers.map((viewer) =>
        element('li', {}, viewer.displayName || viewer.name, element('small', {}, ` since ${clockTime(viewer.since)}`))))
        : element('p', {class: 'hint'}, 'Nobody. Apps say that they watch by update-viewcount.'),
    ].filter(Boolean);
  }
}

const nothing = () => element('li', {}, emptyState('There is no stream yet.',
  element('p', {}, 'Create one in an app, or watch a whole broadcast:'),
  element('p', {}, code('zavelo demo'), ' plays one; ', code('zavelo stream create-stream'), ' makes one.')));
