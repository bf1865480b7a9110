// The tap's live page: reads the tap's event stream (/events) and shows the
// decoder state, the documents as tables, object positions and topic rates.
'use strict';

const $ = (id) => document.getElementById(id);
const SVG = 'http://www.w3.org/2000/svg';
const STATUS_TOPICS = ['DolbyMetadataGrp', 'DolbyMetadataGrpRepub'];
const PA_TOPIC = 'DolbyPAData>>';
const STATE_TOPIC = 'DolbyProcStatus';
const ED2_TYPE_ID = 60;
const HISTORY = 40;

// Where the page draws each bed speaker, seen from above, by speaker type
// (the row of the catalogue's SpeakerTypes table, 1 L .. 17 LFE2): x left -1
// .. right 1, y back -1 .. front 1, z floor 0 .. top 1 (the documents' own
// object coordinates).
const SPEAKER_PLACES = [
  null, [-1, 1, 0], [1, 1, 0], [0, 1, 0], [-0.3, 1.12, 0], [-1, -0.3, 0], [1, -0.3, 0], [-0.6, -1, 0],
  [0.6, -1, 0], [-0.6, 0.6, 1], [0.6, 0.6, 1], [-0.6, 0, 1], [0.6, 0, 1], [-0.6, -0.6, 1], [0.6, -0.6, 1],
  [-1, 0.45, 0], [1, 0.45, 0], [0.3, 1.12, 0],
];
// Object colours by row of the catalogue's class tables (DD+ ObjectClasses,
// ED2 ContentClasses); row 0 and unknown classes stay grey.
const CLASS_COLOURS = {
  ObjectClasses: [null, '#2563eb', '#16a34a', '#0d9488'],
  ContentClasses: [null, '#2563eb', '#9333ea', '#ea580c', '#c026d3', '#0891b2', '#ca8a04', '#dc2626', '#4f46e5'],
};
// Filled from the tap's /catalogue.json (the texts the documents use).
const SPEAKERS = {};  // speaker name -> place
const COLOURS = {};   // class text -> colour

// Reads the catalogue, then fills SPEAKERS and COLOURS by the texts of its tables.
async function loadCatalogue() {
  const response = await fetch('catalogue.json');
  const tables = Object.fromEntries((await response.json()).tables.map((t) => [t.id, t.texts]));
  tables.SpeakerTypes.forEach((name, type) => {
    if (SPEAKER_PLACES[type]) SPEAKERS[name] = SPEAKER_PLACES[type];
  });
  for (const [id, colours] of Object.entries(CLASS_COLOURS)) {
    tables[id].forEach((text, row) => {
      if (colours[row]) COLOURS[text] = colours[row];
    });
  }
}

const view = {
  status: null,      // latest status document
  pa: null,          // latest ED2 presentation document
  paChoice: null,    // presentation index chosen in the selector, null: the active one
  state: null,       // {status, event, since}
  history: [],
  banners: new Map(),  // topic -> {kind, path, at, count, time, active}
  tables: new Map(),   // container id -> Map(group path -> {el, sig, cells})
  markers: new Map(),  // marker id -> SVG group
};

// ---------------------------------------------------------------- stream
function connect() {
  const source = new EventSource('events');
  source.addEventListener('doc', (e) => onDoc(JSON.parse(e.data)));
  source.addEventListener('rates', (e) => onRates(JSON.parse(e.data)));
  source.onopen = () => setLink(true);
  source.onerror = () => {
    setLink(false);
    // The browser retries by itself unless the tap refused the stream.
    if (source.readyState === EventSource.CLOSED) setTimeout(connect, 2000);
  };
}

function setLink(up) {
  const link = $('link');
  link.className = 'link ' + (up ? 'up' : 'down');
  link.textContent = up ? 'live' : 'reconnecting';
}

function onDoc(m) {
  const check = m.check || { kind: 'ok' };
  if (['cut', 'invalid', 'schema'].includes(check.kind)) setBanner(m.topic, check, m.time);
  else if (check.kind === 'ok') clearBanner(m.topic);
  if (m.payload === undefined) return;  // keep showing the last whole document
  if (m.topic === STATE_TOPIC) onState(m.payload, m.time);
  else if (STATUS_TOPICS.includes(m.topic)) onStatus(m.payload);
  else if (m.topic === PA_TOPIC) onPresentations(m.payload);
}

// ---------------------------------------------------------------- state
function stateClass(status) {
  if (status === 'Decoding') return 'Decoding';
  if (status === 'Not Decoding') return 'NotDecoding';
  return 'Missing';
}

function onState(doc, time) {
  const status = String(doc.Status ?? '?');
  const event = String(doc.Event ?? '');
  const s = view.state;
  if (s && s.status === status && s.event === event) return;
  view.state = { status, event, since: time };
  view.history.push({ status, event, time });
  if (view.history.length > HISTORY) view.history.shift();
  const el = $('state');
  el.textContent = status;
  el.className = stateClass(status);
  $('event').textContent = event ? '(' + event + ')' : '';
  $('history').replaceChildren(...view.history.map((h) => {
    const chip = document.createElement('span');
    chip.className = stateClass(h.status);
    chip.title = clock(h.time) + '  ' + h.status + (h.event ? ' (' + h.event + ')' : '');
    return chip;
  }));
  tick();
}

function tick() {
  if (view.state) $('since').textContent = 'for ' + age(view.state.since);
  for (const [topic, b] of view.banners) if (!b.active) showBanner(topic, b);
}

function age(time) {
  const s = Math.max(0, Date.now() / 1000 - time);
  return s < 60 ? s.toFixed(1) + ' s' : Math.floor(s / 60) + ' min ' + Math.floor(s % 60) + ' s';
}

function clock(time) {
  return new Date(time * 1000).toLocaleTimeString([], { hour12: false });
}

// ---------------------------------------------------------------- banners
function setBanner(topic, check, time) {
  const b = view.banners.get(topic) || { count: 0 };
  Object.assign(b, { kind: check.kind, path: check.path, rule: check.rule, at: check.at, time, active: true });
  b.count += 1;
  view.banners.set(topic, b);
  showBanner(topic, b);
}

function clearBanner(topic) {
  const b = view.banners.get(topic);
  if (b && b.active) {
    b.active = false;
    showBanner(topic, b);
  }
}

function showBanner(topic, b) {
  let el = document.querySelector(`#banners div[data-topic="${CSS.escape(topic)}"]`);
  if (!el) {
    el = document.createElement('div');
    el.dataset.topic = topic;
    $('banners').append(el);
  }
  const where = b.path ? ' at ' + b.path : '';
  const what = {
    cut: `document cut at byte ${b.at}${where}: a non-finite number (NaN or infinity) stands there`,
    invalid: `not JSON from byte ${b.at}${where}`,
    schema: `document fails its JSON Schema${where}${b.rule ? ': ' + b.rule : ''}`,
  }[b.kind];
  el.className = b.active ? 'banner ' + b.kind : 'banner old ' + b.kind;
  el.textContent = `${topic}: ${what} (${b.count} so far` +
      (b.active ? ')' : `, last ${age(b.time)} ago; the documents since are whole)`);
}

// ---------------------------------------------------------------- rates
function onRates(r) {
  $('rates').tBodies[0].replaceChildren(...r.topics.map((t) => {
    const row = document.createElement('tr');
    for (const text of [t.topic, t.count, t.rate.toFixed(1), t.ago.toFixed(1) + ' s ago']) {
      const cell = document.createElement('td');
      cell.textContent = text;
      row.append(cell);
    }
    return row;
  }));
}

// ---------------------------------------------------------------- tables
const isObject = (v) => v !== null && typeof v === 'object' && !Array.isArray(v);
const isItem = (v) => isObject(v) && 'Title' in v;
const isSection = (v) => isItem(v) && Array.isArray(v.ExData);
const cellText = (v) => (typeof v === 'string' ? v : JSON.stringify(v));

// An array shown as one grid: objects whose members are all items, few columns.
function gridColumns(list) {
  if (list.length === 0 || !list.every(isObject)) return null;
  const cols = Object.keys(list[0]);
  if (cols.length === 0 || cols.length > 10) return null;
  const ok = list.every((e) => Object.keys(e).length === cols.length && cols.every((c) => isItem(e[c]) && !isSection(e[c])));
  return ok ? cols : null;
}

// The document as groups of rows. Keys are those of `plovrest-tap --view
// table`: "." and "[i]", with a section's one-element "ExData" left out.
function groupsOf(doc) {
  const groups = [];
  const open = (path, title) => {
    const g = { path, title, rows: [] };
    groups.push(g);
    return g;
  };
  const root = open('', 'Document');
  const join = (base, key) => (base ? base + '.' + key : key);

  function walk(value, path, group) {
    if (Array.isArray(value)) {
      const cols = gridColumns(value);
      if (cols) {
        group.rows.push({ grid: true, key: path, cols, list: value });
        return;
      }
      value.forEach((e, i) => {
        const p = `${path}[${i}]`;
        walk(e, p, group === root && isObject(e) && !Object.values(e).some(isSection) ? open(p, p) : group);
      });
      return;
    }
    if (isSection(value)) {
      const entries = value.ExData;
      entries.forEach((entry, i) => {
        const p = entries.length === 1 ? path : `${path}.ExData[${i}]`;
        const title = value.Title + (entries.length > 1 ? ` ${i + 1}/${entries.length}` : '');
        walk(entry, p, open(p, title));
      });
      return;
    }
    if (isObject(value)) {
      for (const [k, v] of Object.entries(value)) {
        const p = join(path, k);
        if (isSection(v) || Array.isArray(v) || (isObject(v) && !isItem(v))) walk(v, p, group);
        else if (isItem(v)) group.rows.push({ key: p, title: v.Title, data: v.Data, desc: v.Desc });
        else group.rows.push({ key: p, title: k, data: v, desc: cellText(v) });
      }
    }
  }
  walk(doc, '', root);
  return groups.filter((g) => g.rows.length > 0);
}

function signature(g) {
  return g.title + '|' + g.rows.map((r) => (r.grid ? r.key + '#' + r.list.length + ':' + r.cols.join(',') : r.key)).join('|');
}

function valueCell(key, title) {
  const td = document.createElement('td');
  td.className = 'v';
  td.dataset.key = key;
  if (title) td.dataset.title = title;
  return td;
}

function buildGroup(g) {
  const el = document.createElement('div');
  el.className = 'group';
  const h = document.createElement('h3');
  h.textContent = g.title;
  if (g.path && g.path !== g.title) {
    const small = document.createElement('small');
    small.textContent = g.path;
    h.append(small);
  }
  const table = document.createElement('table');
  el.append(h, table);
  const cells = new Map();
  for (const r of g.rows) {
    if (r.grid) {
      el.classList.add('wide');
      const grid = document.createElement('table');
      const head = grid.createTHead().insertRow();
      for (const text of ['#', ...r.cols.map((c) => r.list[0][c].Title)]) head.append(Object.assign(document.createElement('th'), { textContent: text }));
      r.list.forEach((e, i) => {
        const row = grid.insertRow();
        row.insertCell().textContent = String(i + 1);
        for (const c of r.cols) {
          const key = `${r.key}[${i}].${c}`;
          const td = valueCell(key, e[c].Title);
          row.append(td);
          cells.set(key, td);
        }
      });
      const caption = document.createElement('h3');
      caption.append(Object.assign(document.createElement('small'), { textContent: r.key }));
      el.append(caption, grid);
      continue;
    }
    const row = table.insertRow();
    const t = row.insertCell();
    t.className = 't';
    t.textContent = r.title;
    const td = valueCell(r.key, r.title);
    row.append(td);
    cells.set(r.key, td);
  }
  return { el, sig: signature(g), cells };
}

// Shows "Desc"; an item without one shows its "Data" instead, greyed.
function setCell(td, desc, data, flash) {
  const bare = desc === '' && data !== '' && data !== null && typeof data !== 'object';
  td.classList.toggle('data', bare);
  const text = bare ? cellText(data) : desc === '' ? '\u00a0' : String(desc);
  const tip = 'Data: ' + cellText(data) + '\nKey: ' + td.dataset.key;
  if (td.textContent === text && td.title === tip) return;
  td.textContent = text;
  td.title = tip;
  if (flash) {
    td.classList.remove('chg');
    void td.offsetWidth;  // restart the animation
    td.classList.add('chg');
  }
}

function renderDoc(containerId, doc) {
  const container = $(containerId);
  const known = view.tables.get(containerId) || new Map();
  view.tables.set(containerId, known);
  if (!isObject(doc) || Object.keys(doc).length === 0) {
    known.clear();
    container.replaceChildren(Object.assign(document.createElement('p'),
      { className: 'note', textContent: '{} (no document: decoding is switched off)' }));
    return;
  }
  const next = new Map();
  const els = [];
  for (const g of groupsOf(doc)) {
    let entry = known.get(g.path);
    const fresh = !entry || entry.sig !== signature(g);
    if (fresh) entry = buildGroup(g);
    for (const r of g.rows) {
      if (r.grid) {
        r.list.forEach((e, i) => r.cols.forEach((c) => setCell(entry.cells.get(`${r.key}[${i}].${c}`), e[c].Desc, e[c].Data, !fresh)));
      } else {
        setCell(entry.cells.get(r.key), r.desc, r.data, !fresh);
      }
    }
    next.set(g.path, entry);
    els.push(entry.el);
  }
  view.tables.set(containerId, next);
  container.replaceChildren(...els);
}

// ---------------------------------------------------------------- documents
function item(obj, ...path) {
  let v = obj;
  for (const p of path) {
    if (v === null || v === undefined) return undefined;
    v = v[p];
  }
  return v;
}

function onStatus(doc) {
  view.status = doc;
  const type = item(doc, 'StatusInfo', 'ExData', 0, 'Type', 'Desc');
  $('status-what').textContent = type ? `${type}, TypeId ${doc.TypeId}` : '';
  renderDoc('doc-status', doc);
  renderRoom();
}

function onPresentations(doc) {
  view.pa = doc;
  $('pa-panel').hidden = false;
  renderDoc('doc-pa', doc);
  renderRoom();
}

function speakerNames(text) {
  return String(text ?? '').split(' ').filter((n) => n && n !== '-');
}

function objectOf(o, index) {
  return {
    id: 'obj-' + index, index, x: Number(o.x.Data), y: Number(o.y.Data), z: Number(o.z.Data),
    cls: String(item(o, 'Class', 'Desc') ?? ''),
  };
}

// What the room shows: {what, objects, beds} from the status document, or
// for ED2 from the chosen presentation of the presentation document.
function roomContent() {
  const doc = view.status;
  if (!isObject(doc) || Object.keys(doc).length === 0) return { what: 'no document', objects: [], beds: [] };
  if (doc.TypeId === ED2_TYPE_ID) {
    const list = item(view.pa, 'Presentations') || [];
    showSelector(list);
    if (list.length === 0) return { what: 'ED2, no presentation document', objects: [], beds: [] };
    const chosen = view.paChoice !== null && view.paChoice < list.length ? view.paChoice : Math.min(view.pa.ActivePANo ?? 0, list.length - 1);
    const pa = list[chosen];
    const objects = [];
    const beds = new Set();
    (pa.PaObjects || []).forEach((o) => {
      if (item(o, 'Type', 'Data') === true) speakerNames(item(o, 'SpeakerConfig', 'Desc')).forEach((n) => beds.add(n));
      else objects.push(objectOf(o, objects.length));
    });
    (item(pa, 'PaBed', 'Sources') || []).forEach((s) => speakerNames(item(s, 'Target', 'Desc')).forEach((n) => beds.add(n)));
    return { what: `ED2 "${item(pa, 'Name', 'Desc')}"`, objects, beds: [...beds] };
  }
  showSelector([]);
  const atmos = item(doc, 'AtmosInfo', 'ExData', 0);
  if (!atmos) return { what: 'no object audio in this stream', objects: [], beds: [] };
  return {
    what: item(doc, 'StatusInfo', 'ExData', 0, 'Type', 'Desc') || 'objects',
    objects: (atmos.PaObjects || []).map(objectOf),
    beds: speakerNames(item(atmos, 'BedObjectConf', 'Desc')),
  };
}

function showSelector(list) {
  const select = $('pa-select');
  $('pa-choice').hidden = list.length === 0;
  const names = list.map((p, i) => `${i + 1}: ${item(p, 'Name', 'Desc') ?? ''}` + (i === view.pa.ActivePANo ? ' (active)' : ''));
  if ([...select.options].map((o) => o.text).join('\n') !== names.join('\n')) {
    select.replaceChildren(...names.map((n, i) => new Option(n, String(i))));
  }
  if (list.length > 0) {
    const chosen = view.paChoice !== null && view.paChoice < list.length ? view.paChoice : Math.min(view.pa.ActivePANo ?? 0, list.length - 1);
    select.value = String(chosen);
  }
}

// ---------------------------------------------------------------- room
function svg(tag, attrs, parent) {
  const el = document.createElementNS(SVG, tag);
  for (const [k, v] of Object.entries(attrs)) el.setAttribute(k, v);
  if (parent) parent.append(el);
  return el;
}

function drawRoomFrame() {
  const room = $('room');
  svg('rect', { class: 'wall', x: -1, y: -1, width: 2, height: 2 }, room);
  for (const v of [-0.5, 0, 0.5]) {
    svg('line', { class: 'grid', x1: v, y1: -1, x2: v, y2: 1 }, room);
    svg('line', { class: 'grid', x1: -1, y1: v, x2: 1, y2: v }, room);
  }
  svg('text', { class: 'front', x: 0, y: -1.2 }, room).textContent = 'front';
  svg('g', { id: 'room-marks' }, room);
}

function marker(id, kind) {
  let g = view.markers.get(id);
  if (g && g.dataset.kind === kind) return g;
  if (g) g.remove();
  g = svg('g', { class: kind === 'bed' ? 'bed' : 'obj' }, $('room-marks'));
  g.dataset.kind = kind;
  g.id = id;
  if (kind === 'bed') svg('rect', { x: -0.05, y: -0.05, width: 0.1, height: 0.1 }, g);
  else {
    svg('circle', { cx: 0, cy: 0 }, g);
    svg('rect', { class: 'zbar' }, g);
  }
  svg('text', {}, g);
  svg('title', {}, g);
  view.markers.set(id, g);
  return g;
}

function renderRoom() {
  const { what, objects, beds } = roomContent();
  $('room-what').textContent = `${what}: ${objects.length} object(s), ${beds.length} bed speaker(s)`;
  const keep = new Set();
  for (const name of beds) {
    const pos = SPEAKERS[name] || [0, 0, 0];
    const id = 'bed-' + name;
    const g = marker(id, 'bed');
    g.setAttribute('transform', `translate(${pos[0] * 1.1} ${-pos[1] * 1.1})`);
    g.dataset.name = name;
    g.querySelector('text').textContent = name;
    g.querySelector('title').textContent = `bed speaker ${name}`;
    keep.add(id);
  }
  for (const o of objects) {
    const g = marker(o.id, 'object');
    const z = Number.isFinite(o.z) ? Math.min(Math.max(o.z, 0), 1) : 0;
    const r = 0.05 + 0.06 * z;
    Object.assign(g.dataset, { x: o.x, y: o.y, z: o.z, cls: o.cls });
    g.setAttribute('transform', `translate(${o.x} ${-o.y})`);
    const c = g.querySelector('circle');
    c.setAttribute('r', r);
    c.setAttribute('fill', COLOURS[o.cls] || '#64748b');
    const bar = g.querySelector('.zbar');
    bar.setAttribute('x', r + 0.01);
    bar.setAttribute('y', -0.12 * z);
    bar.setAttribute('width', 0.02);
    bar.setAttribute('height', 0.12 * z);
    const label = g.querySelector('text');
    label.setAttribute('y', -r - 0.05);
    label.textContent = `${o.index + 1} ${o.cls}`;
    g.querySelector('title').textContent = `object ${o.index + 1}: ${o.cls}, x ${o.x}, y ${o.y}, z ${o.z}`;
    keep.add(o.id);
  }
  for (const [id, g] of view.markers) {
    if (!keep.has(id)) {
      g.remove();
      view.markers.delete(id);
    }
  }
}

$('pa-select').addEventListener('change', (e) => {
  view.paChoice = Number(e.target.value);
  renderRoom();
});
// The change history the tap keeps (the exporter's /changes): the newest 40.
async function pollChanges() {
  try {
    const response = await fetch('changes');
    const lines = (await response.text()).split('\n').filter((l) => l.length > 0);
    const body = $('changes').tBodies[0];
    body.replaceChildren(...lines.slice(-40).reverse().map((line) => {
      const c = JSON.parse(line);
      const row = document.createElement('tr');
      const at = new Date(c.time * 1000).toISOString().substring(11, 23);
      for (const text of [at, c.topic, c.field, JSON.stringify(c.old), JSON.stringify(c.new)]) {
        const cell = document.createElement('td');
        cell.textContent = text;
        row.appendChild(cell);
      }
      return row;
    }));
  } catch (e) {
    // The tap is away; the next poll tries again.
  }
}

drawRoomFrame();
setInterval(tick, 250);
setInterval(pollChanges, 2000);
// Without the catalogue the room still shows, with objects grey and speakers at the centre.
loadCatalogue().catch(() => {}).finally(connect);
