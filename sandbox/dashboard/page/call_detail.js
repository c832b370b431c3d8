// One call in full.

import {drop, read} from './api.js';
import {byId, element, exactTime, notice, refill, sizeText, told} from './dom.js';
import {curlOf} from './curl.js';
import {jsonBlock} from './json_text.js';
import {isPending, outcomeChips} from './outcome.js';

let wanted = 0;

/** Shows the call in the pane as it is now, or with 0 nothing. */
export async function showCall(number, close) {
  wanted = number;
  const pane = byId('call');
  if (number === 0) return pane.replaceChildren();
  try {
    const call = await read(`/sandbox/requests/${number}`);
    if (wanted !== number) return;
    refill(pane, ...paneOf(call, close));
  } catch (error) {
    if (wanted !== number) return;
    refill(pane, closeButton(close), element('p', {class: 'hint'}, error.message));
  }
}

const closeButton = (close) =>
  element('button', {type: 'button', class: 'close', 'aria-label': 'Close the call', 'data-key': 'close', onclick: close}, '×');

async function copyCurl(call) {
  try {
    await navigator.clipboard.writeText(curlOf(call, location.origin));
    notice('Copied. The token goes into $TOKEN; hidden passwords are yours to fill in.');
  } catch {
    notice('The browser does not let this page copy', true);
  }
}

function paneOf(call, close) {
  const {summary, detail} = call;
  const isCall = summary.path !== '';
  const facts = [exactTime(summary.at), !isPending(summary) && `${summary.milliseconds.toFixed(2)} ms`, summary.caller,
    summary.traceId && `trace ${summary.traceId}`];
  return [
    element('header', {class: 'bar'},
      element('h2', {}, isCall ? `${summary.method} ${summary.path}` : 'Not a valid request'),
      closeButton(close)),
    element('p', {class: 'facts'}, ...outcomeChips(summary), ` ${facts.filter(Boolean).join(' · ')}`),
    isCall && element('p', {class: 'actions'},
      element('button', {type: 'button', 'data-key': 'copy', onclick: () => copyCurl(call)}, 'Copy as curl'),
      summary.path.startsWith('/api/') && element('a', {class: 'button', 'data-key': 'break', href: `#faults${summary.path}`}, 'Break the next one')),
    ...partOf('Request', detail.requestHeaders, detail.requestBody),
    ...(isPending(summary) ? notYet() : partOf('Response', detail.responseHeaders, detail.responseBody)),
  ].filter(Boolean);
}

const dropFaults = () => told(drop('/sandbox/faults').then(() => notice('No fault waits any more, and no call is delayed')));

const notYet = () => [element('h3', {}, 'Response'),
  element('p', {class: 'hint'}, 'There is no answer yet. A call that a fault delays goes on when the faults are dropped.'),
  element('p', {class: 'actions'}, element('button', {type: 'button', 'data-key': 'drop', onclick: dropFaults}, 'Drop all faults'))];

function partOf(title, headers, body) {
  const blocks = body.parts ? body.parts.flatMap(formPart) : bodyBlocks(title, body);
  return [element('h3', {}, title, ' ', element('small', {}, sizeText(body.size))),
    headers.length > 0 && headerList(title, headers), ...blocks];
}

const headerList = (title, headers) =>
  element('details', {}, element('summary', {'data-key': `${title} headers`}, `${title} headers (${headers.length})`),
    element('dl', {class: 'headers'},
      ...headers.flatMap(([name, value]) => [element('dt', {}, name), element('dd', {}, value)])));

function formPart(part) {
  const label = part.fileName ? `${part.name}: file “${part.fileName}”` : part.name;
  return [element('p', {class: 'part'}, element('b', {}, label), ` ${part.contentType} ${sizeText(part.size)}`),
    ...bodyBlocks(`Field ${part.name}`, part)];
}

function bodyBlocks(title, body) {
  if (body.size === 0) return [element('p', {class: 'hint'}, 'No body')];
  if (body.text === undefined) return [element('p', {class: 'hint'}, `${body.contentType || 'binary'}: not shown`)];
  const blocks = [jsonBlock(body.text, `${title} body`)];
  if (body.isCut) blocks.push(element('p', {class: 'hint'}, `Cut here; ${sizeText(body.size)} in all`));
  return blocks;
}
