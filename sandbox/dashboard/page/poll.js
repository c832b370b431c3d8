// The poll of a stream, as its host's app would run it.

import {byId, chip, element, refill} from './dom.js';
import {perform} from './perform.js';

export class PollDesk {
  #slug = '';

  constructor() {
    byId('poll-form').addEventListener('submit', (event) => {
      event.preventDefault();
      const [question, option1, option2, option3] =
        ['question', 'option1', 'option2', 'option3'].map((name) => byId(`poll-${name}`).value.trim());
      const poll = {slug: this.#slug, question, option1, option2};
      perform('start-poll', option3 ? {...poll, option3} : poll, () => 'The poll runs');
    });
  }

  show({slug, status}, poll) {
    this.#slug = slug;
    byId('poll-form').hidden = poll?.isRunning || !['live', 'paused'].includes(status);
    refill(byId('poll'), ...(poll ? this.#bars(poll) : [element('p', {class: 'hint'}, 'There was no poll yet.')]));
  }

  #bars({question, isRunning, options}) {
    const slug = this.#slug;
    const all = options.reduce((sum, option) => sum + option.votes, 0);
    return [
      element('p', {}, element('b', {}, question), ' ', isRunning ? chip('good', 'runs') : chip('quiet', 'stopped')),
      element('ol', {class: 'bars'}, ...options.map(({text, votes}, i) => {
        const bar = element('span', {class: 'bar-fill', 'aria-hidden': 'true'});
        bar.style.width = `${all ? (votes / all) * 100 : 0}%`;
        return element('li', {}, bar, element('span', {class: 'name'}, text), element('b', {class: 'votes'}, votes),
          isRunning && element('button', {type: 'button', 'data-key': `vote ${i}`, 'aria-label': `+1 for ${text}`,
            onclick: () => perform('add-votes', {slug, choice: i + 1}, () => `One more vote for “${text}”`)}, '+1'));
      })),
      isRunning && element('button', {type: 'button', 'data-key': 'stop',
        onclick: () => perform('stop-poll', {slug}, () => 'The poll is over')}, 'Stop the poll'),
    ].filter(Boolean);
  }
}
