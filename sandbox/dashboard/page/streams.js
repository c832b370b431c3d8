// Streams, who watches them, and how they grow.

import {read} from './api.js';
import {byId, chip, clockTime, code, element, emptyState, refill, told} from './dom.js';
import {Chat} from './chat.js';
import {StreamDesk, chooseMember} from './stream_desk.js';
import {curveFigure} from './curve.js';
import {showPoll} from './poll.js';

const kinds = {live: 'good', paused: 'odd'};
const lockChip = ({isLocked}) => isLocked && chip('quiet', 'locked');
const statusChip = ({status}) => chip(kinds[status] ?? 'quiet', status);

export class Streams {
  #chosen = '';
  desk = new StreamDesk();
  chat = new Chat();

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
    told(this.chat.show(slug));
    if (!slug) return;
    const detail = await read(`/sandbox/streams/${encodeURIComponent(slug)}`);
    if (slug !== this.#chosen) return;
    refill(byId('stream-facts'), ...this.#facts(detail));
    this.desk.show(detail.stream);
    showPoll(detail.stream, detail.poll);
    refill(byId('givers'), ...giverRows(detail.givers));
    byId('watchers-title').textContent = `Watching now (${detail.viewers.length})`;
    refill(byId('watchers'), ...watcherRows(detail.viewers));
  }

  #row(stream) {
    const {slug, title, owner, viewers, likes, gold} = stream;
    return element('li', {},
      element('button', {type: 'button', class: 'plain', 'data-key': slug,
        'aria-current': slug === this.#chosen && 'true', onclick: () => this.#choose(slug)},
      element('b', {}, title), ' ', statusChip(stream), ' ', lockChip(stream),
      element('small', {}, `${owner} · ${viewers} watching · ${likes} likes · ${gold} gold`)));
  }

  #choose(slug) {
    this.#chosen = slug;
    told(this.refresh());
    byId('stream').focus();
  }

  #facts({stream, curve, now}) {
    const end = stream.ended ?? now;
    return [
      element('header', {class: 'bar'}, element('h2', {}, stream.title), statusChip(stream), lockChip(stream),
        element('button', {type: 'button', class: 'close', 'aria-label': 'Close the stream', 'data-key': 'close',
          onclick: () => this.#choose('')}, '×')),
      element('p', {class: 'facts'}, code(stream.slug), ` by ${stream.owner} · ${stream.tag} · ${stream.views} view${stream.views === 1 ? '' : 's'}`,
        stream.begun ? ` · began ${clockTime(stream.begun)}` : '', stream.ended ? ` · ended ${clockTime(stream.ended)}` : ''),
      element('div', {class: 'curves'}, ...(curve.length
        ? [['Viewers', 'viewers'], ['Likes', 'likes'], ['Gold', 'gold']].map(([title, key]) => curveFigure(title, key, curve, end))
        : [element('p', {class: 'hint'}, stream.begun ? 'It ran before this sandbox was started: there are no curves.'
          : 'Curves begin when its owner begins the stream.')])),
    ].filter(Boolean);
  }
}

function giverRows(givers) {
  if (givers.length === 0) return [element('li', {class: 'hint'}, 'Nobody gave anything yet.')];
  return givers.map(({name, displayName, gold, gifts}) => {
    const bar = element('span', {class: 'bar-fill gold', 'aria-hidden': 'true'});
    bar.style.width = `${givers[0].gold ? (gold / givers[0].gold) * 100 : 0}%`;
    return element('li', {}, bar, element('span', {class: 'name'}, displayName || name, element('small', {}, ` ${gifts} given`)),
      element('b', {class: 'votes'}, `${gold} gold`));
  });
}

function watcherRows(viewers) {
  if (viewers.length === 0) return [element('li', {class: 'hint'}, 'Nobody. Apps say that they watch by update-viewcount.')];
  return viewers.map(({name, displayName, isGuest, since}) => {
    const label = [displayName || name, element('small', {}, ` since ${clockTime(since)}`)];
    if (isGuest) return element('li', {}, element('span', {}, ...label));
    return element('li', {}, element('button', {type: 'button', 'data-key': `viewer ${name}`, title: 'Choose',
      onclick: () => chooseMember(name)}, ...label));
  });
}

const nothing = () => element('li', {}, emptyState('There is no stream yet.',
  element('p', {}, 'Sign a member in and create one, in an app or by'),
  element('p', {}, code(`zavelo --api ${location.origin} stream create-stream --title Soup --tag-id 1 --address Hue`
    + ' --country-code VN --screen-type portrait --stream-type user')),
  element('p', {}, code('zavelo demo --stay'), ' plays a whole broadcast, in a sandbox of its own.')));
