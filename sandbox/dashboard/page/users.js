// Members, guests and their sessions, and what befalls them.

import {findUsers} from './api.js';
import {byId, chip, clockTime, code, element, emptyState, refill, told} from './dom.js';
import {perform} from './perform.js';

const count = (number, what) => `${number} ${what}${number === 1 ? '' : 's'}`;

export class Users {
  constructor() {
    byId('users-text').addEventListener('input', () => told(this.refresh()));
    byId('users-expire').addEventListener('click', () =>
      perform('expire-tokens', {}, (changed) => `${count(changed, 'access token')} expired`));
  }

  async refresh() {
    const text = byId('users-text').value.trim();
    const users = await findUsers(text);
    if (text !== byId('users-text').value.trim()) return;
    const {total, members, guests, now} = users;
    byId('users-total').textContent = members.length < total ? `${members.length} of ${total}` : count(total, 'member');
    refill(byId('members'), ...(members.length ? members.map((member) => memberRow(member, now)) : [noMembers(text)]));
    byId('guests-title').hidden = guests.length === 0;
    refill(byId('guests'), ...guests.map((guest) => guestRow(guest, now)));
  }
}

const noMembers = (text) => element('li', {}, text
  ? emptyState('Nobody has this in their names.', element('p', {}, 'Try another part of the name.'))
  : emptyState('Nobody has joined yet.', element('p', {}, 'Sign a member in, from an app or by'),
    element('p', {}, code(`zavelo --api ${location.origin} user login-zavelo --zavelo-id ann --display-name Ann`))));

function sessionChip({device, expires}, now) {
  if (device === null) return chip('quiet', 'signed out');
  if (expires === null || expires <= now) return chip('odd', 'token expired');
  return chip('good', `token until ${clockTime(expires)}`);
}

function memberRow(member, now) {
  const {userName, displayName, isBanned} = member;
  const button = (text, action, done, off = false) =>
    element('button', {type: 'button', disabled: off, 'data-key': `${action} ${userName}`,
      'aria-label': `${text}: ${userName}`,
      onclick: () => perform(action, {userName}, done)}, text);
  const isOut = member.device === null;
  return element('li', {'data-user': userName},
    element('p', {class: 'name'}, element('b', {}, displayName || userName),
      element('small', {}, `@${userName}${member.device ? ` on ${member.device}` : ''} · ${member.gold} gold`)),
    element('p', {class: 'states'}, isBanned ? chip('bad', 'banned') : sessionChip(member, now),
      member.devicesTakenOver > 0 && chip('quiet', `${count(member.devicesTakenOver, 'device')} lost the session`)),
    element('p', {class: 'actions'},
      button('Expire tokens', 'expire-tokens', (n) => `${count(n, 'access token')} of ${userName} expired`, isOut),
      button('Sign in elsewhere', 'sign-in-elsewhere', (n) =>
        n ? `${userName} signed in elsewhere; the app learns it at its next call` : `${userName} is signed in nowhere`, isOut),
      element('button', {type: 'button', 'data-key': `gold ${userName}`, 'aria-label': `Give gold: ${userName}`,
        onclick: () => giveGold(userName)}, 'Give gold'),
      isBanned ? button('Unban', 'unban', () => `${userName} is welcome again`)
        : button('Ban', 'ban', () => `${userName} is banned; the app learns it at its next call`)));
}

function giveGold(userName) {
  const gold = byId('users-gold').valueAsNumber;
  perform('give-gold', {userName, gold}, () => `${userName} has ${gold} gold more`);
}

const guestRow = (guest, now) => element('li', {},
  element('p', {class: 'name'}, element('b', {}, `guest ${guest.guest}`), element('small', {}, `on ${guest.device}`)),
  element('p', {class: 'states'}, sessionChip(guest, now)));
