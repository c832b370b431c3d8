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
