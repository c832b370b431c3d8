// A number over time, as a line of steps: it holds from one point to the next.

import {drawing, clockTime, element} from './dom.js';

const width = 600;
const height = 110;
const top = 6;

/** `points`: [{at, …}], at least one; `key`: which of their numbers; `now`: where the line ends. */
export function curveFigure(title, key, points, now) {
  const values = points.map((point) => point[key]);
  const most = Math.max(...values);
  const latest = values.at(-1);
  const begin = points[0].at;
  const span = Math.max(now - begin, 1000);
  const x = (at) => (((at - begin) / span) * width).toFixed(1);
  const y = (value) => (height - (most ? value / most : 0) * (height - top)).toFixed(1);
  let line = `M0,${y(values[0])}`;
  points.slice(1).forEach((point, i) => { line += `H${x(point.at)}V${y(values[i + 1])}`; });
  line += `H${width}`;
  const summary = `${title}: ${latest} now, ${most} at most, since ${clockTime(begin)}`;
  return element('figure', {class: `curve ${key}`},
    element('figcaption', {}, title, ' ', element('b', {}, latest), element('small', {}, ` most ${most}`)),
    drawing('svg', {viewBox: `0 0 ${width} ${height}`, preserveAspectRatio: 'none', role: 'img', 'aria-label': summary},
      drawing('path', {class: 'area', d: `${line}V${height}H0Z`}),
      drawing('path', {class: 'line', d: line, 'vector-effect': 'non-scaling-stroke'})),
    element('p', {class: 'axis', 'aria-hidden': 'true'}, element('span', {}, clockTime(begin)), element('span', {}, clockTime(begin + span))));
}
