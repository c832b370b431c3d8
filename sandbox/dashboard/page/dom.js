// Elements are made here and nowhere else, and text stays text: what users of an app write is shown
// on this page.

/** element('button', {type: 'button', onclick: f, class: 'x', 'aria-label': 'y'}, 'text', child, …) */
export function element(tag, attributes = {}, ...children) {
  return dress(document.createElement(tag), attributes, children);
}

/** The same for SVG. */
export function drawing(tag, attributes = {}, ...children) {
  return dress(document.createElementNS('http://www.w3.org/2000/svg', tag), attributes, children);
}

function dress(made, attributes, children) {
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith('on')) made.addEventListener(name.slice(2), value);
    else if (value === true) made.setAttribute(name, '');
    else if (value !== false && value != null) made.setAttribute(name, value);
  }
  made.append(...children.filter((child) => child != null && child !== false));
  return made;
}

export const byId = (id) => document.getElementById(id);

/** Replaces the children but leaves the keyboard where it was, and open what was: `data-key` names a
 *  control or a summary. */
export function refill(parent, ...children) {
  const key = parent.contains(document.activeElement) && document.activeElement.dataset.key;
  const open = [...parent.querySelectorAll('details[open] > summary')].map((summary) => summary.dataset.key);
  parent.replaceChildren(...children);
  for (const control of parent.querySelectorAll('[data-key]')) {
    if (open.includes(control.dataset.key)) control.parentElement.open = true;
    if (control.dataset.key === key) control.focus();
  }
}

export const chip = (kind, ...text) => element('span', {class: `chip ${kind}`}, ...text);

export const emptyState = (title, ...help) =>
  element('div', {class: 'empty is-shown'}, element('p', {}, element('b', {}, title)), ...help);

export const code = (text) => element('code', {}, text);

const clock = new Intl.DateTimeFormat('en-GB', {hour: '2-digit', minute: '2-digit', second: '2-digit'});
export const clockTime = (at) => clock.format(at);
export const exactTime = (at) => `${clock.format(at)}.${String(at % 1000).padStart(3, '0')}`;

export function sizeText(bytes) {
  if (bytes < 1024) return `${bytes} B`;
  return bytes < 1024 * 1024 ? `${(bytes / 1024).toFixed(1)} KB` : `${(bytes / 1024 / 1024).toFixed(1)} MB`;
}

/** Waits for what was begun, and says so if it fails. */
export const told = (promise) => promise.catch((error) => notice(error.message, true));

let noticeTimer = 0;
/** A line for a person, which a screen reader reads as well. */
export function notice(text, isError = false) {
  const line = byId('notice');
  line.textContent = text;
  line.classList.toggle('is-error', isError);
  line.classList.add('is-shown');
  clearTimeout(noticeTimer);
  noticeTimer = setTimeout(() => line.classList.remove('is-shown'), isError ? 10000 : 5000);
}
