// The poll of a stream, as its host's app would run it.

import {byId, chip, element, refill} from './dom.js';
import {performInChannel} from './perform.js';
import {runs} from './stream_desk.js';

/** `poll`: the latest one; null when there was none. */
export function showPoll(stream, poll) {
  const form = byId('poll-form');
  const isHidden = poll?.isRunning || !runs(stream);
  const turns = isHidden !== form.hidden && byId('poll-section').contains(document.activeElement);
  form.hidden = isHidden;
  refill(byId('poll'), ...(poll ? bars(stream.slug, poll) : [element('p', {class: 'hint'}, 'There was no poll yet.')]));
  // What had the keyboard is gone; what takes its place gets it.
  if (turns) byId('poll-section').querySelector(isHidden ? '[data-key=stop]' : 'input')?.focus();
}

function bars(slug, {question, isRunning, options}) {
  const all = options.reduce((sum, option) => sum + option.votes, 0);
  return [
    element('p', {}, element('b', {}, question), ' ', isRunning ? chip('good', 'runs') : chip('quiet', 'stopped')),
    element('ol', {class: 'bars'}, ...options.map(({text, votes}, i) => {
      const bar = element('span', {class: 'bar-fill', 'aria-hidden': 'true'});
      bar.style.width = `${all ? (votes / all) * 100 : 0}%`;
      return element('li', {}, bar, element('span', {class: 'name'}, text), element('b', {class: 'votes'}, votes),
        isRunning && element('button', {type: 'button', 'data-key': `vote ${i}`, 'aria-label': `+1 for ${text}`,
          onclick: () => performInChannel('add-votes', {slug, choice: i + 1}, `One more vote for “${text}”`)}, '+1'));
    })),
    isRunning && element('button', {type: 'button', 'data-key': 'stop',
      onclick: () => performInChannel('stop-poll', {slug}, 'The poll is over')}, 'Stop the poll'),
  ].filter(Boolean);
}
