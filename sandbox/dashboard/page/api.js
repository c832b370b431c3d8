// The sandbox's own addresses.

async function call(path, options) {
  let response;
  try {
    response = await fetch(path, {...options, cache: 'no-store'});
  } catch {
    throw new Error('The sandbox does not answer');
  }
  const envelope = await response.json();
  if (envelope.code !== 1) throw new Error(envelope.message || `Code ${envelope.code}`);
  return envelope.data;
}

export const read = (path) => call(path);
export const drop = (path) => call(path, {method: 'DELETE'});
export const post = (path, body) =>
  call(path, {method: 'POST', headers: {'Content-Type': 'application/json'}, body: JSON.stringify(body)});
/** Members whose names contain the text, and guests. */
export const findUsers = (text) => read(text ? `/sandbox/users/${encodeURIComponent(text)}` : '/sandbox/users');
export const act = (action, target = {}) => post('/sandbox/actions', {action, ...target});
