// The forms of a stream: what its host, its viewers or an administrator would do. The fields have the
// names of the action's parameters; where a form has several actions, its buttons name them.

import {findUsers} from './api.js';
import {byId, element, told} from './dom.js';
import {perform, performInChannel} from './perform.js';

const administrative = {
  'lock-stream': () => 'The stream is locked; who watches it has to give the password again',
  'unlock-stream': () => 'The stream is open to everybody',
};
const events = {
  'statistic': () => 'The statistic was sent',
  'floating-text': () => 'The text was sent',
  'start-poll': () => 'The poll runs',
  'gift': ({userName}) => `${userName} gave it`,
  'kick': ({userName}) => `The channel was told that ${userName} is kicked`,
  'unkick': ({userName}) => `The channel was told that ${userName} may come back`,
  'mute': ({userName}) => `The channel was told that ${userName} is muted`,
  'unmute': ({userName}) => `The channel was told that ${userName} may speak again`,
};
const whyNotRunning = {
  created: 'Its owner has not begun it. Begin it in their app; then events, polls and gifts can be sent from here.',
  ended: 'It has ended: events, polls and gifts need a stream that is live or paused.',
};

export const runs = ({status}) => status === 'live' || status === 'paused';

export class StreamDesk {
  #slug = '';

  constructor() {
    for (const form of byId('stream').querySelectorAll('form')) {
      form.addEventListener('submit', (event) => {
        event.preventDefault();
        this.#send(event.submitter?.value || form.dataset.action, argumentsOf(form));
      });
    }
    for (const field of byId('stream').querySelectorAll('[list=member-names]')) {
      for (const moment of ['focus', 'input']) field.addEventListener(moment, () => told(suggestMembers(field)));
    }
  }

  setGifts(gifts) {
    const chosen = byId('gift-choice').value;
    byId('gift-choice').replaceChildren(...gifts.map(({giftId, name, gold}) =>
      element('option', {value: giftId, selected: String(giftId) === chosen}, `${name} (${gold} gold)`)));
  }

  show(stream) {
    // What was begun for one stream is not meant for another.
    if (stream.slug !== this.#slug) for (const form of byId('stream').querySelectorAll('form')) form.reset();
    this.#slug = stream.slug;
    for (const part of byId('stream').querySelectorAll('[data-runs]')) part.hidden = !runs(stream);
    byId('channel-hint').textContent = whyNotRunning[stream.status] ?? '';
    byId('lock-state').textContent = stream.isLocked
      ? 'Only its owner and who gives the password can watch.' : 'Everybody can watch.';
    const unlock = byId('unlock-form');
    if (!stream.isLocked && unlock.contains(document.activeElement)) byId('lock-password').focus();
    unlock.hidden = !stream.isLocked;
  }

  #send(action, given) {
    const target = {...given, slug: this.#slug};
    if (action in administrative) perform(action, target, administrative[action]);
    else performInChannel(action, target, events[action](given));
  }
}

/** What was filled in, numbers as numbers. */
function argumentsOf(form) {
  const given = {};
  for (const field of form.elements) {
    const isNumber = field.type === 'number' || field.id === 'gift-choice';
    if (field.name && field.value) given[field.name] = isNumber ? Number(field.value) : field.value;
  }
  return given;
}

async function suggestMembers(field) {
  const {members} = await findUsers(field.value);
  byId('member-names').replaceChildren(...members.map(({userName, displayName}) =>
    element('option', {value: userName}, displayName)));
}

/** Who is to be kicked or muted. */
export function chooseMember(userName) {
  byId('moderated').value = userName;
  byId('moderated').focus();
}
