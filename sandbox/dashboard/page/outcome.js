// How a call ended, in a word for filters and a chip for the eye.

import {chip} from './dom.js';
import {kinds} from './fault_kinds.js';
import {runningTime} from './running_time.js';

const names = {401: '401', 603: 'banned', 652: 'user not found', 750: 'parameter', 1018: 'refresh token',
  1059: 'stream ended', 1068: 'already liked', 1098: 'no permission', 1341: 'signed in elsewhere'};

export const isPending = (call) => call.milliseconds === null;

export function outcomeOf(call) {
  if (isPending(call)) return 'pending';
  if (call.fault) return 'spoilt';
  if (call.status === 401) return 'unauthorized';
  if (call.status !== 200 && call.status !== 304) return 'http';
  return call.code === null || call.code === 1 ? 'success' : 'refused';
}

function textOf(call) {
  if (call.status === null) return 'no answer';
  if (call.status !== 200) return String(call.status);
  if (call.code === null || call.code === 1) return 'ok';
  return names[call.code] ? `${call.code} ${names[call.code]}` : String(call.code);
}

export function outcomeChips(call) {
  if (isPending(call)) return [chip('quiet pending', 'pending', runningTime(call.at))];
  const outcome = outcomeOf(call);
  const isBad = call.status !== 200 || (call.code !== null && call.code !== 1);
  const kind = isBad ? 'bad' : outcome === 'spoilt' ? 'odd' : 'good';
  const chips = [chip(kind, textOf(call))];
  if (call.fault) chips.push(' ', chip('odd', `⚡ ${kinds[call.fault][0]}`));
  return chips;
}
