// SPDX-License-Identifier: LGPL-2.1-or-later
'use strict';

// Whatever comes from a stream enters the page as text through these two, never as markup.
function node(tag, options = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(options)) made.setAttribute(name, value);
  made.append(...children.filter((child) => child !== null));
  return made;
}

function drawing(tag, options = {}, ...children) {
  const made = document.createElementNS('http://www.w3.org/2000/svg', tag);
  for (const [name, value] of Object.entries(options)) made.setAttribute(name, value);
  made.append(...children);
  return made;
}

const main = document.getElementById('main');
const link = document.getElementById('link');
const summary = document.getElementById('summary');

function rate(bits) {
  for (const [unit, size] of [['Gbit/s', 1e9], ['Mbit/s', 1e6], ['kbit/s', 1e3]])
    if (bits >= size) return (bits / size).toFixed(2) + ' ' + unit;
  return (bits || 0) + ' bit/s';
}

const count = (number) => Number(number || 0).toLocaleString('en');

// Points by their age: the last one ends at the right edge, and `most` of them are as wide as the picture. The first one
// begins where its own time did, so that one alone is seen, too.
function line(points, most, width, height) {
  const last = points.slice(-most);
  const highest = Math.max(...last, 1);
  const place = (at, value) => (width - (last.length - at) * width / most).toFixed(1) + ',' +
    (height - value * (height - 2) / highest - 1).toFixed(1);
  return last.flatMap((value, at) => (at === 0 ? [place(0, value)] : []).concat(place(at + 1, value))).join(' ');
}

function spark(points) {
  return drawing('svg', {class: 'spark', viewBox: '0 0 120 24', preserveAspectRatio: 'none', 'aria-hidden': 'true'},
    drawing('polyline', {points: line(points, longestSpark, 120, 24)}));
}

const light = (state) => node('span', {class: 'light ' + state}, state);
const streamAddress = (name) => '/stream/' + encodeURIComponent(name);

// The list of streams.

const columns = [
  ['state', 'State', (stream) => ['closed', 'silent', 'bad', 'warning', 'waiting', 'good'].indexOf(stream.state)],
  ['name', 'Stream', (stream) => stream.name],
  ['rate', 'Bit rate', (stream) => stream.bit_rate],
  ['lost', 'Lost', (stream) => stream.lost],
  ['p1', 'Priority 1', (stream) => stream.errors[0]],
  ['p2', 'Priority 2', (stream) => stream.errors[1]],
  ['service', 'First service', (stream) => stream.service],
];
const sorting = {column: 'name', down: false};
const rows = new Map();
const longestSpark = 60;
let filterText = '';
let streams = [];

function makeRow(stream) {
  const cells = columns.map(([id, label]) => node('td', ['state', 'name'].includes(id) ? {} :
    {'data-label': label, class: id === 'service' ? '' : 'number'}));
  const row = {line: node('tr', {}, ...cells), cells, points: []};
  cells[1].append(node('a', {href: streamAddress(stream.name)}, stream.name));
  return row;
}

function showErrors(cell, number, active) {
  cell.textContent = count(number);
  cell.classList.toggle('hot', active);
}

function updateRow(row, stream) {
  row.points = stream.recent || row.points.concat(stream.bit_rate).slice(-longestSpark);
  const [state, , bits, lost, first, second, service] = row.cells;
  if (state.textContent !== stream.state) state.replaceChildren(light(stream.state));
  state.title = stream.fault || stream.active.join(', ');
  bits.replaceChildren(rate(stream.bit_rate) + ' ', spark(row.points));
  showErrors(lost, stream.lost, stream.active.includes('loss'));
  showErrors(first, stream.errors[0], stream.active.some((check) => check.startsWith('1.')));
  showErrors(second, stream.errors[1], stream.active.some((check) => check.startsWith('2.')));
  service.textContent = stream.fault || stream.service || '';
  service.classList.toggle('hot', Boolean(stream.fault));
}

function orderRows(body) {
  const key = columns.find(([id]) => id === sorting.column)[2];
  const compare = (one, other) => {
    const [first, second] = [key(one), key(other)];
    const order = typeof first === 'string' ? first.localeCompare(second, 'en', {numeric: true}) : first - second;
    return (sorting.down ? -order : order) || one.name.localeCompare(other.name, 'en', {numeric: true});
  };
  const wanted = streams.filter((stream) => (stream.name + ' ' + stream.service + ' ' + stream.address)
    .toLowerCase().includes(filterText)).sort(compare).map((stream) => rows.get(stream.name).line);
  if (wanted.length !== body.children.length || wanted.some((row, at) => row !== body.children[at]))
    body.replaceChildren(...wanted);
}

function showSummary() {
  const states = {};
  for (const stream of streams) states[stream.state] = (states[stream.state] || 0) + 1;
  const total = streams.reduce((sum, stream) => sum + stream.bit_rate, 0);
  const parts = Object.entries(states).map(([state, number]) => number + ' ' + state);
  summary.textContent = streams.length + ' streams' + (parts.length ? ': ' + parts.join(', ') : '') + ', ' + rate(total);
}

function showList() {
  const body = node('tbody');
  const heads = columns.map(([id, label]) => {
    const button = node('button', {type: 'button'}, label);
    const head = node('th', {scope: 'col', class: ['state', 'name', 'service'].includes(id) ? '' : 'number'}, button);
    button.addEventListener('click', () => {
      sorting.down = sorting.column === id && !sorting.down;
      sorting.column = id;
      markSorted();
      orderRows(body);
    });
    return [id, head];
  });
  const markSorted = () => heads.forEach(([id, head]) => head.setAttribute('aria-sort',
    id !== sorting.column ? 'none' : sorting.down ? 'descending' : 'ascending'));
  const filter = node('input', {type: 'search', placeholder: 'Filter', 'aria-label': 'Filter'});
  filter.addEventListener('input', () => {
    filterText = filter.value.toLowerCase();
    orderRows(body);
  });
  markSorted();
  main.replaceChildren(filter, node('section', {class: 'scroll'},
    node('table', {class: 'list'}, node('thead', {}, node('tr', {}, ...heads.map(([, head]) => head))), body)));
  follow('/api/streams', '/live', (told) => {
    streams = told.streams;
    const names = new Set(streams.map((stream) => stream.name));
    for (const name of rows.keys()) if (!names.has(name)) rows.delete(name);
    for (const stream of streams) {
      if (!rows.has(stream.name)) rows.set(stream.name, makeRow(stream));
      updateRow(rows.get(stream.name), stream);
    }
    orderRows(body);
    showSummary();
  });
}

// One stream.

function shown(key, value) {
  if (value === null || value === undefined || value === '') return '';
  if (/(^|_)bit_rate$/.test(key)) return rate(value);
  if (/(^|_)(pid|PID)$/.test(key) && Number.isInteger(value))
    return '0x' + value.toString(16).toUpperCase().padStart(4, '0');
  if (Array.isArray(value)) return value.map((part) => shown(key, part)).join(', ');
  if (typeof value === 'object')
    return Object.entries(value).map(([name, part]) => name + ' ' + shown(name, part)).join(', ');
  if (typeof value === 'boolean') return value ? 'yes' : 'no';
  return String(value);
}

const words = (key) => key.replace(/_/g, ' ');

function tableOf(entries) {
  const keys = [...new Set(entries.flatMap(Object.keys))];
  const cell = (entry, key) => {
    const text = shown(key, entry[key]);
    return node('td', {class: text.length > 40 ? 'wide' : ''}, text);
  };
  return node('div', {class: 'scroll'}, node('table', {},
    node('thead', {}, node('tr', {}, ...keys.map((key) => node('th', {scope: 'col'}, words(key))))),
    node('tbody', {}, ...entries.map((entry) => node('tr', {}, ...keys.map((key) => cell(entry, key)))))));
}

const listOf = (values) => node('dl', {}, ...Object.entries(values).map(([key, value]) =>
  node('div', {}, node('dt', {}, words(key)), node('dd', {}, shown(key, value)))));

// Of ten minutes, a point each so many seconds; above it what its highest point stands for.
function chart(label, points, seconds, now) {
  return [
    node('div', {class: 'scale'}, node('span', {}, 'highest ' + rate(Math.max(...points, 0))),
      node('span', {}, 'now ' + rate(now))),
    drawing('svg', {class: 'chart', viewBox: '0 0 600 100', preserveAspectRatio: 'none', role: 'img',
      'aria-label': label},
    drawing('line', {x1: 0, x2: 600, y1: 99, y2: 99}),
    drawing('polyline', {points: line(points, 600 / seconds, 600, 100)})),
    node('div', {class: 'scale'}, node('span', {}, '10 min ago'), node('span', {}, 'now')),
  ];
}

function checkPanel(checks) {
  const one = (check) => {
    const state = check.state === 'failing' ? 'failing' : check.state === 'ok' ? (check.count ? 'was' : 'ok') : 'none';
    const told = node('div', {class: 'check ' + state}, check.number + ' ' + check.name);
    told.append(node('div', {class: 'dim'}, check.state === 'not applicable' ? check.state :
      count(check.count) + ' in ' + count(check.error_seconds) + ' s'));
    if (check.detail) told.append(node('div', {class: 'dim'}, check.detail));
    return told;
  };
  return [1, 2, 3, 0].flatMap((priority) => {
    const own = checks.filter((check) => check.priority === priority);
    const isThere = priority > 0 || own.some((check) => check.state !== 'not applicable');
    const title = priority > 0 ? 'Priority ' + priority : 'T2-MI';
    return own.length === 0 || !isThere ? [] : [node('h2', {}, title), node('div', {class: 'checks'}, ...own.map(one))];
  });
}

// Charts of PIDs, those with the most first.
function rateCharts(told) {
  const kinds = new Map((told.pids || []).map((pid) => [pid.pid, pid]));
  const most = 24;
  const now = (pid) => (kinds.get(pid.pid) || {}).bit_rate || 0;
  const pids = told.pid_rates ? told.pid_rates.pids.slice() : [];
  const drawn = pids.sort((one, other) => now(other) - now(one)).slice(0, most).map((pid) =>
    node('figure', {},
      node('figcaption', {}, shown('pid', pid.pid) + ' ' + ((kinds.get(pid.pid) || {}).kind || '')),
      ...chart('bit rate of PID ' + shown('pid', pid.pid), pid.rates, told.pid_rates.seconds, now(pid))));
  return node('div', {class: 'charts'}, ...drawn);
}

// Splice commands of the last ten minutes where they came, and the points that they announce.
function timeLine(told) {
  const past = 600, future = 60, width = 660;
  const now = Date.parse(told.time) / 1000;
  const place = (time) => (time - now + past) * width / (past + future);
  const marks = told.splices.filter((splice) => now - Date.parse(splice.time) / 1000 <= past).map((splice) => {
    const came = Date.parse(splice.time) / 1000;
    const title = drawing('title', {}, splice.time + ' ' + splice.command + ' on PID ' + shown('pid', splice.pid));
    const parts = [title, drawing('line', {class: 'came', x1: place(came), x2: place(came), y1: 8, y2: 36})];
    if (typeof splice.ahead_seconds === 'number') {
      const point = Math.min(Math.max(place(came + splice.ahead_seconds), 0), width);
      parts.push(drawing('line', {class: 'ahead', x1: place(came), x2: point, y1: 22, y2: 22}),
        drawing('circle', {cx: point, cy: 22, r: 4}));
    }
    return drawing('g', {}, ...parts);
  });
  return [
    drawing('svg', {class: 'timeline', viewBox: '0 0 660 44', preserveAspectRatio: 'none', role: 'img',
      'aria-label': 'splice commands'},
    drawing('line', {x1: 0, x2: width, y1: 40, y2: 40}),
    drawing('line', {x1: place(now), x2: place(now), y1: 0, y2: 44}), ...marks),
    node('div', {class: 'scale'}, node('span', {}, '10 min ago'), node('span', {}, 'now, and 1 min ahead')),
  ];
}

// What is told of the stream as a whole.
function streamFigures(told) {
  const age = told.last_datagram_age;
  const figures = {
    last_datagram: typeof age === 'number' ? age.toFixed(1) + ' s ago' : 'none yet',
    synchronised: told.synchronised,
    transport_stream_id: told.transport_stream_id,
    packets: told.packets,
    null_packets: told.null_packets,
    null_share: ((told.null_share || 0) * 100).toFixed(1) + ' %',
    scrambled_packets: told.scrambled_packets,
    labels: told.labels,
  };
  return listOf(Object.fromEntries(Object.entries(figures).filter(([key, value]) => shown(key, value) !== '')));
}

const part = (title, ...content) => node('section', {}, node('h2', {}, title), ...content);

function showStream(name) {
  document.title = name + ' - zq-monitor';
  const own = '/' + encodeURIComponent(name);
  follow('/api/streams' + own, '/live' + own, (told) => {
    summary.textContent = '';
    const overview = node('div', {id: 'overview'},
      node('section', {}, node('h1', {}, light(told.state), ' ' + told.name),
        node('div', {class: 'dim'}, told.address + (told.interface ? ' on ' + told.interface : '')),
        told.fault ? node('div', {class: 'hot'}, told.fault) : null),
      part('Bit rate', ...chart('bit rate', told.history, 1, told.bit_rate)),
      part('Stream', streamFigures(told)),
      part('TR 101 290', ...checkPanel(told.checks || [])),
      ...((told.splices || []).length > 0 ? [part('SCTE 35', ...timeLine(told))] : []));
    // Text that is being marked stays as it is; how the stream is shows all the same.
    const details = document.getElementById('details');
    if (details && String(document.getSelection())) {
      overview.append(node('section', {class: 'dim'}, 'The tables below wait while text is marked.'));
      document.getElementById('overview').replaceWith(overview);
      return;
    }
    const offsets = [...main.querySelectorAll('.scroll')].map((box) => box.scrollLeft);
    main.replaceChildren(overview, node('div', {id: 'details'},
      part('Bit rates of PIDs', rateCharts(told)),
      part('Network', listOf(told.network || {})),
      part('Inter-arrival times of the last second, ms', listOf(told.inter_arrival_ms || {})),
      part('Media delivery index', listOf(told.mdi || {})),
      ...(told.t2mi ? [part('T2-MI', listOf(told.t2mi))] : []),
      ...[['plps', 'PLPs'], ['services', 'Services'], ['pids', 'PIDs'], ['pcr', 'PCR'], ['tables', 'Tables'],
        ['splices', 'Splices']].filter(([key]) => (told[key] || []).length > 0)
        .map(([key, title]) => part(title, tableOf(told[key]))),
      part('Events', tableOf((told.events || []).slice().reverse()))));
    main.querySelectorAll('.scroll').forEach((box, at) => { box.scrollLeft = offsets[at] || 0; });
  });
}

// What the server tells: all at once, then each second; asked for again and again where it tells nobody else.

function follow(address, live, show) {
  const say = (text) => { link.textContent = text; };
  const ask = () => fetch(address).then((answer) => {
    if (answer.status === 404) throw new Error('There is no such stream.');
    if (!answer.ok) throw new Error('The monitor is busy.');
    return answer.json();
  }).then((told) => { show(told); say(''); });
  const poll = () => ask().catch((fault) => say(fault.message)).then(() => setTimeout(poll, 5000));
  const listen = () => {
    const source = new EventSource(live);
    source.onmessage = (message) => {
      show(JSON.parse(message.data));
      say('');
    };
    source.onerror = () => {
      say('No connection to the monitor.');
      if (source.readyState === EventSource.CLOSED) setTimeout(poll, 5000);
    };
  };
  ask().then(listen, (fault) => {
    say(fault.message);
    setTimeout(() => follow(address, live, show), 5000);
  });
}

function nameIn(path) {
  try {
    return decodeURIComponent(path.slice('/stream/'.length));
  } catch (fault) {
    return path;
  }
}

if (location.pathname.startsWith('/stream/')) showStream(nameIn(location.pathname));
else showList();
