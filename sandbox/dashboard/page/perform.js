import {act} from './api.js';
import {notice} from './dom.js';

/** Carries out an action and says what came of it. */
export async function perform(action, target, done) {
  try {
    const {changed} = await act(action, target);
    notice(done(changed));
  } catch (error) {
    notice(error.message, true);
  }
}

/** These change the state, too; the others are nothing but an event. */
const lasting = ['start-poll', 'add-votes', 'stop-poll', 'gift'];

/** Carries out an action that the channel is told of. */
export function performInChannel(action, target, done) {
  const unheard = lasting.includes(action)
    ? `${done}, but the channel has no members to notify` : 'Nothing was sent: the channel has no members';
  return perform(action, target, (changed) => changed ? done : unheard);
}
