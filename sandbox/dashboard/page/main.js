// Which view is shown, and how the events reach it.

import {read} from './api.js';
import {byId, notice, told} from './dom.js';
import {Calls} from './calls.js';
import {Faults} from './faults.js';
import {Feed} from './feed.js';
import {setClock} from './running_time.js';
import {Streams} from './streams.js';
import {Users} from './users.js';

const calls = new Calls();
const faults = new Faults();
const streams = new Streams();
const views = {calls: null, users: new Users(), streams, faults};
let shown = 'calls';

/** Reads a view's state again; while one read is under way, once more after it. */
const refreshing = new Map();
async function refresh(name) {
  const view = views[name];
  if (!view) return;
  if (refreshing.has(name)) return refreshing.set(name, true);
  refreshing.set(name, false);
  try {
    await view.refresh();
  } catch (error) {
    if (connection.dataset.state === 'live') notice(error.message, true);
  }
  const again = refreshing.get(name);
  refreshing.delete(name);
  if (again) refresh(name);
}

function show() {
  // "#faults/api/users/search" is the fault desk with that endpoint chosen.
  const [, name, path] = location.hash.match(/^#(\w+)(\/.*)?$/) ?? [];
  if (!(name in views)) {
    if (location.hash === '') location.replace('#calls');
    return;
  }
  shown = name;
  for (const each of Object.keys(views)) byId(each).hidden = each !== name;
  for (const link of document.querySelectorAll('nav a')) {
    if (link.hash === `#${name}`) link.setAttribute('aria-current', 'page');
    else link.removeAttribute('aria-current');
  }
  document.title = `${byId(`${name}-title`).textContent} · ZaveloCore sandbox`;
  if (path) faults.setEndpoint(path);
  refresh(name);
}

const connection = byId('connection');
const states = {live: 'Live', lost: 'Lost, trying again…', paused: 'Paused out of sight'};
const feed = new Feed((state) => {
  if (connection.dataset.state === state) return;
  connection.dataset.state = state;
  connection.textContent = states[state];
});

/** Reads everything, and follows from there. */
async function begin() {
  try {
    const [log, {paths}, {gifts}] = await Promise.all(['requests', 'endpoints', 'gifts'].map((what) => read(`/sandbox/${what}`)));
    setClock(log.now);
    calls.reset(log.calls);
    faults.setPaths(paths);
    streams.desk.setGifts(gifts);
    feed.startBehind(log.position);
    refresh('faults');
    refresh(shown);
    told(streams.chat.reread());
  } catch {
    connection.dataset.state = 'lost';
    connection.textContent = states.lost;
    setTimeout(begin, 1000);
  }
}

feed.on('call', (call) => calls.put(call));
feed.on('chat', (entry) => streams.chat.add(entry));
feed.on('cleared', () => calls.clear());
feed.on('state', () => {
  refresh(shown);
  if (shown !== 'faults') refresh('faults');
});
feed.on('resync', () => {
  notice('The sandbox was started anew, or more happened than it keeps: all is read again');
  begin();
});
window.addEventListener('hashchange', show);
show();
begin();
