// JSON for reading. Works on the text itself: numbers keep every digit, and text that ends anywhere
// or is no JSON at all is still shown.

import {element} from './dom.js';

const token = /"(?:[^"\\]|\\[\s\S])*"?|-?\d[\d.eE+-]*|true|false|null|[{}[\],:]|\s+|[^\s{}[\],:"]+/g;

function kindOf(text, isKey) {
  if (text.startsWith('"')) return isKey ? 'key' : 'text';
  if (/^-?\d/.test(text)) return 'figure';
  return /^(true|false|null)$/.test(text) ? 'word' : '';
}

/** A <pre> of the text, indented and coloured. */
export function jsonBlock(text, label) {
  const block = element('pre', {tabindex: '0', role: 'group', 'aria-label': label});
  const parts = (text.match(token) ?? []).filter((part) => part.trim());
  let depth = 0;
  const newLine = () => block.append(`\n${'  '.repeat(depth)}`);
  parts.forEach((part, i) => {
    const next = parts[i + 1];
    if (part === '{' || part === '[') {
      block.append(part);
      depth += 1;
      if (next !== '}' && next !== ']') newLine();
    } else if (part === '}' || part === ']') {
      depth = Math.max(0, depth - 1);
      if (parts[i - 1] !== '{' && parts[i - 1] !== '[') newLine();
      block.append(part);
    } else if (part === ',') {
      block.append(part);
      newLine();
    } else if (part === ':') {
      block.append(': ');
    } else {
      const kind = kindOf(part, next === ':');
      block.append(kind ? element('span', {class: kind}, part) : part);
    }
  });
  return block;
}
