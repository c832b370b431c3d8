// What flows through the channel of a stream, decoded, with the JSON of both layers on demand.

import {read} from './api.js';
import {byId, chip, clockTime, element, refill} from './dom.js';
import {jsonBlock} from './json_text.js';

const mostLines = 300;
const statistic = 2;
const kinds = {1: '', 2: 'statistic', 3: 'like', 4: 'share', 5: 'follow', 6: 'floating text', 7: 'gift',
  8: 'multi guest', 100: 'viewer joined', 101: 'viewer left', 201: 'stream end', 202: 'kicked', 203: 'blocked',
  204: 'muted', 205: 'unmuted', 206: 'pause', 207: 'restarted', 208: 'duration limit', 209: 'pinned message',
  210: 'unpinned', 211: 'products order', 212: 'unkicked', 300: 'bot list', 301: 'bot joined', 333: 'order placed',
  400: 'admin', 411: 'admin message', 412: 'private admin message', 413: 'poll', 414: 'poll stopped',
  500: 'pk', 501: 'pk statistic', 1000: 'private chat'};

function parsed(text) {
  try {
    const value = JSON.parse(text);
    return typeof value === 'object' && value !== null ? value : {};
  } catch {
    return {};
  }
}

export class Chat {
  #channel = '';
  #lines = [];

  constructor() {
    byId('chat-statistics').addEventListener('input', () => this.#draw());
  }

  async show(channel) {
    if (channel === this.#channel) return;
    this.#channel = channel;
    await this.reread();
  }

  /** Everything again: after events were missed, too. */
  async reread() {
    this.#lines = [];
    const channel = this.#channel;
    if (channel) {
      const {entries} = await read(`/sandbox/channels/${encodeURIComponent(channel)}`);
      if (channel !== this.#channel) return;
      // What arrived during the reading is in both.
      const known = new Set(entries.map((entry) => entry.number));
      this.#lines = entries.concat(this.#lines.filter((line) => !known.has(line.number))).slice(-mostLines);
    }
    this.#draw();
  }

  add(entry) {
    if (entry.channel !== this.#channel || this.#lines.some((line) => line.number === entry.number)) return;
    this.#lines = [...this.#lines.slice(1 - mostLines), entry];
    if (!this.#isShown(entry)) return;
    if (byId('chat').querySelector('.hint')) return this.#draw();
    byId('chat').prepend(lineOf(entry));
    while (byId('chat').children.length > mostLines) byId('chat').lastElementChild.remove();
  }

  #isShown(entry) {
    return byId('chat-statistics').checked || parsed(entry.text).type !== statistic;
  }

  #draw() {
    const shown = this.#lines.filter((entry) => this.#isShown(entry)).map(lineOf).reverse();
    refill(byId('chat'), ...(shown.length ? shown : [element('li', {class: 'hint'},
      'Nothing was said since the sandbox was started. Apps meet in the channel that is named by the slug.')]));
  }
}

function lineOf(entry) {
  if (entry.kind !== 'text') {
    return element('li', {class: 'hint'}, element('time', {}, clockTime(entry.at)), ` ${entry.name || `user ${entry.user}`} ${entry.kind}`);
  }
  const outer = parsed(entry.text);
  const inner = parsed(outer.message);
  const claimed = claimedSender(entry, inner);
  const own = claimed ? entry.name : inner.senderDisplayName || inner.senderUserName;
  const name = own || `user ${entry.user}`;
  const kind = kinds[outer.type] ?? (outer.type === undefined ? 'no message of an app' : `type ${outer.type}`);
  return element('li', {},
    element('p', {}, element('time', {}, clockTime(entry.at)), ' ', element('b', {}, String(name)), ' ',
      claimed && chip('bad', `claims to be ${claimed}`), claimed && ' ', kind && chip('quiet', kind), kind && ' ', String(inner.message ?? (outer.type === undefined ? entry.text : ''))),
    jsonOf(entry, outer));
}

/** Whose message it says that it is, where that is not the user for whom the broker vouches; else ''. */
function claimedSender(entry, {senderUserId, senderUserName}) {
  const isOtherId = senderUserId != null && String(senderUserId) !== entry.user;
  const isOtherName = senderUserName && entry.userName && senderUserName !== entry.userName;
  if (!isOtherId && !isOtherName) return '';
  return String(senderUserName || `user ${senderUserId}`);
}

/** Built when it is opened: there are many lines. */
function jsonOf(entry, outer) {
  const details = element('details', {}, element('summary', {}, 'JSON'));
  details.addEventListener('toggle', () => {
    details.append(jsonBlock(entry.text, 'Message as it travelled'));
    if (typeof outer.message === 'string') details.append(jsonBlock(outer.message, 'Event inside the message'));
    if (entry.isCut) details.append(element('p', {class: 'hint'}, 'It was longer, and is cut here'));
  }, {once: true});
  return details;
}
