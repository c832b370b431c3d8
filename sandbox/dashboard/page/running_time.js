// For how long something has been going on, kept true wherever it is shown.

import {element} from './dom.js';

const stepMilliseconds = 500;
let ahead = 0;

/** The sandbox's clock, as it was read just now. */
export function setClock(now) {
  ahead = now - Date.now();
}

function timeSince(at) {
  const seconds = Math.floor((Date.now() + ahead - at) / 1000);
  return seconds > 0 ? ` ${seconds} s` : '';
}

export const runningTime = (at) => element('span', {'data-since': at}, timeSince(at));

setInterval(() => {
  for (const shown of document.querySelectorAll('[data-since]')) {
    shown.textContent = timeSince(Number(shown.dataset.since));
  }
}, stepMilliseconds);
