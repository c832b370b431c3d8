// A call as a command for a shell. The log has no secrets: the token is a variable.

const quoted = (text) => `'${text.replaceAll("'", "'\\''")}'`;

const ownHeaders = new Set(['host', 'content-length', 'connection', 'accept-encoding', 'user-agent']);

function headerOption([name, value]) {
  const lower = name.toLowerCase();
  if (lower === 'authorization') return `-H "Authorization: bearer $TOKEN"`;
  return `-H ${quoted(`${name}: ${value}`)}`;
}

function partOption(part) {
  if (!part.fileName) return `--form-string ${quoted(`${part.name}=${part.text ?? ''}`)}`;
  const type = part.contentType && part.contentType !== 'file' ? `;type=${part.contentType}` : '';
  return `-F ${quoted(`${part.name}=@${part.fileName}${type}`)}`;
}

export function curlOf({summary, detail}, origin) {
  const {parts, text} = detail.requestBody;
  const query = detail.query ? `?${detail.query}` : '';
  const words = [`curl -X ${summary.method} ${quoted(origin + encodeURI(summary.path) + query)}`];
  for (const header of detail.requestHeaders) {
    const lower = header[0].toLowerCase();
    // curl itself says how a form is divided.
    if (!ownHeaders.has(lower) && !(parts && lower === 'content-type')) words.push(headerOption(header));
  }
  if (parts) words.push(...parts.map(partOption));
  else if (text) words.push(`--data-raw ${quoted(text)}`);
  return words.join(' \\\n  ');
}
