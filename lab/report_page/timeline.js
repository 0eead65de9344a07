// The lanes and messages. Only what is in the window is painted, and of what shares a pixel only the first.
const [ROW, LIFELINE, BETWEEN] = [20, 26, 9];
const canvas = document.getElementById("timeline");
const rows = layOut();
const height = rows.length ? rows[rows.length - 1].y + rows[rows.length - 1].height + 4 : 0;
let width = 0;
let colours = {};
let hatching = null;

function layOut() {
  const placed = [];
  let y = 4, group = "";
  const put = (row) => {
    const first = row.group !== group;
    if (first && group) y += BETWEEN;
    group = row.group;
    placed.push({ ...row, first, y });
    y += row.height;
  };
  const messages = () => data.messages.length && data.lifelines.forEach(
    (label, lifeline) => put({ group: "messages", label, lifeline, height: LIFELINE }));
  const below = data.lanes.findIndex((lane) => lane.group === "processes" || lane.group === "other");
  const split = below < 0 ? data.lanes.length : below;
  const putLane = (lane) => put({ group: lane.group, label: lane.label, lane, height: ROW });
  data.lanes.slice(0, split).forEach(putLane);
  messages();
  data.lanes.slice(split).forEach(putLane);
  return placed;
}
const lifelineY = data.lifelines.map((_, index) => {
  const row = rows.find((each) => each.lifeline === index);
  return row ? row.y + LIFELINE / 2 : 0;
});

const xOf = (t) => (t - state.from) / (state.to - state.from) * width;
const timeAt = (x) => state.from + x / width * (state.to - state.from);

function takeColours() {
  const style = getComputedStyle(document.documentElement);
  for (const name of ["back", "text", "soft", "line", "faint", "up", "down", "mobile", "wan", "value", "process",
    "batch", "alarm", "mark", "found", "on"])
    colours[name] = style.getPropertyValue("--" + name).trim();
  const tile = document.createElement("canvas");
  tile.width = tile.height = 8;
  const pen = tile.getContext("2d");
  pen.strokeStyle = colours.alarm;
  pen.lineWidth = 1.5;
  for (const shift of [-8, 0, 8]) { pen.moveTo(shift, 8); pen.lineTo(shift + 8, 0); }
  pen.stroke();
  hatching = pen.createPattern(tile, "repeat");
}

// A context that paints in CSS pixels on a canvas of that size.
function penFor(element, wide, high, scale = window.devicePixelRatio || 1) {
  const [across, down] = [Math.round(wide * scale), Math.round(high * scale)];
  if (element.width !== across || element.height !== down) {
    element.width = across;
    element.height = down;
  }
  const pen = element.getContext("2d");
  pen.setTransform(scale, 0, 0, scale, 0, 0);
  pen.clearRect(0, 0, wide, high);
  pen.font = '11px ui-monospace, "DejaVu Sans Mono", monospace';
  pen.textBaseline = "middle";
  return pen;
}

function write(pen, text, x, y, room, halo = false) {
  const fitting = Math.floor(room / 6.7);
  if (fitting < 3 || !text) return;
  const shown = text.length > fitting ? text.slice(0, fitting - 1) + "…" : text;
  if (halo) {
    pen.lineWidth = 3;
    pen.strokeText(shown, x, y);
  }
  pen.fillText(shown, x, y);
}

let paper = 0; // the width to paint for when printing
function drawTimeline() {
  width = paper || canvas.clientWidth;
  if (!width) return;
  const scale = paper ? 1 : undefined; // browsers print what is painted now as lines and texts, not as pixels
  const pen = penFor(canvas, width, height, scale);
  for (const id of ["axis", "overview"]) document.getElementById(id).style.width = `${width}px`;
  drawAxis(penFor(document.getElementById("axis"), width, 34, scale), pen);
  pen.fillStyle = colours.line;
  for (const row of rows) if (row.first) pen.fillRect(0, row.y - BETWEEN / 2, width, 1);
  for (const row of rows) if (row.lane) drawLane(pen, row);
  if (data.messages.length) drawMessages(pen);
  for (const gap of data.gaps) drawGap(pen, gap, 0, height);
  if (!paper) {
    drawOverview();
    drawMarker(pen);
  }
}

function drawLane(pen, row) {
  const { spans, marks, missed } = row.lane;
  const top = row.y + 3, high = row.height - 6;
  for (let i = firstWhere(spans, (span) => span[TO] >= state.from); i < spans.length && spans[i][FROM] <= state.to;) {
    const span = spans[i];
    const left = Math.max(xOf(span[FROM]), -2);
    const wide = Math.max(Math.min(xOf(span[TO]), width + 2) - left, 1.5);
    pen.fillStyle = colours[span[STATE]] || colours.value;
    if (span[STATE] === "down") pen.fillRect(left, top + high - 2, wide, 2);
    else pen.fillRect(left, top, Math.max(wide - 0.5, 1.5), high);
    pen.fillStyle = colours.on;
    const inside = Math.max(left, 0);
    write(pen, span[SAYS], inside + 4, top + high / 2 + 0.5, Math.min(left + wide, width) - inside - 6);
    const next = timeAt(left + 1);
    i = span[TO] > next ? i + 1 : Math.max(i + 1, firstWhere(spans, (each) => each[TO] > next));
  }
  let last = -1;
  for (let i = firstWhere(marks, (event) => events[event][T] >= state.from); i < marks.length; i++) {
    const event = events[marks[i]];
    if (event[T] > state.to) break;
    const x = Math.round(xOf(event[T]));
    const severe = data.kinds[event[KIND]] === "log" && event[LEVEL] === REFUSED;
    if (x === last && !severe) continue;
    pen.fillStyle = severe ? colours.alarm : colours.value;
    pen.fillRect(x, severe ? top - 2 : top + 2, 1.5, severe ? high + 4 : high - 4);
    last = x;
  }
  for (const event of missed) drawGap(pen, [events[event][T], events[event][T]], top, high);
}

function drawGap(pen, gap, top, high) {
  if (gap[TO] < state.from || gap[FROM] > state.to) return;
  const left = Math.max(xOf(gap[FROM]), -4), wide = Math.max(Math.min(xOf(gap[TO]), width + 4) - left, 6);
  pen.globalAlpha = 0.72;
  pen.fillStyle = colours.back;
  pen.fillRect(left, top, wide, high);
  pen.globalAlpha = 1;
  pen.fillStyle = hatching;
  pen.fillRect(left, top, wide, high);
  pen.fillStyle = colours.alarm;
  pen.fillRect(left, top, 1, high);
  pen.fillRect(left + wide - 1, top, 1, high);
}

function drawMessages(pen) {
  pen.fillStyle = colours.line;
  for (const y of lifelineY) pen.fillRect(0, y, width, 1);
  const { messages } = data;
  const timeOf = (message) => events[message[0]][T];
  const room = lifelineY.map(() => width + 60); // up to the next arrow of that lifeline
  const begin = firstWhere(messages, (message) => timeOf(message) >= state.from);
  for (let i = firstWhere(messages, (message) => timeOf(message) > state.to) - 1; i >= begin; i--) {
    const [event, from, to, accepted] = messages[i];
    const peer = from || to;
    const x = Math.round(xOf(events[event][T]));
    if (room[peer] - x < 1) continue;
    pen.fillStyle = pen.strokeStyle = !accepted ? colours.alarm : from ? colours.wan : colours.up;
    arrow(pen, x, lifelineY[from], lifelineY[to], accepted);
    pen.strokeStyle = colours.back;
    write(pen, events[event][TEXT].split(/ (?:from|to) /)[0].replace(/ \(0x.*/, ""), x + 6,
      lifelineY[peer] - 8, Math.min(room[peer], width + 1) - x - 8, true);
    room[peer] = x;
  }
}

function arrow(pen, x, from, to, accepted) {
  const head = from < to ? -6 : 6;
  pen.setLineDash(accepted ? [] : [3, 3]);
  pen.lineWidth = 1.5;
  pen.beginPath();
  pen.moveTo(x + 0.5, from); // the middle of a pixel
  pen.lineTo(x + 0.5, to);
  pen.stroke();
  pen.setLineDash([]);
  pen.beginPath();
  pen.moveTo(x + 0.5, to);
  pen.lineTo(x - 3, to + head);
  pen.lineTo(x + 4, to + head);
  pen.fill();
}

const STEPS = [60, 120, 300, 600, 1800, 3600, 7200, 21600, 43200, 86400];
function stepFor(length) {
  if (length > 30) return STEPS.find((step) => step >= length) || Math.ceil(length / 86400) * 86400;
  const power = 10 ** Math.floor(Math.log10(length));
  return [1, 2, 5, 10].find((factor) => factor * power >= length * 0.999) * power;
}

function drawAxis(pen, lanes) {
  const step = stepFor((state.to - state.from) * 110 / width);
  const digits = Math.max(0, Math.min(6, Math.ceil(-Math.log10(step) - 0.001)));
  for (let n = Math.max(0, Math.ceil(state.from / step)); n * step <= state.to; n++) {
    const x = xOf(n * step);
    lanes.fillStyle = colours.line;
    lanes.fillRect(x, 0, 1, height);
    pen.fillStyle = colours.line;
    pen.fillRect(x, 28, 1, 6);
    pen.fillStyle = colours.text;
    pen.fillText(`${(n * step).toFixed(digits)} s`, x + 3, 8);
    pen.fillStyle = colours.soft;
    pen.fillText(clock(n * step, Math.min(digits, 3)), x + 3, 22);
  }
  pen.fillStyle = colours.mark;
  let last = -3;
  for (const event of state.matches) {
    const x = Math.round(xOf(events[event][T]));
    if (x <= last + 1 || x < 0 || x > width) continue;
    pen.fillRect(x - 1, 29, 3, 5);
    last = x;
  }
}

function drawMarker(pen) {
  if (state.selected < 0) return;
  const x = Math.round(xOf(events[state.selected][T]));
  pen.fillStyle = colours.mark;
  pen.fillRect(x - 0.5, 0, 1.5, height);
}

let density = [];
function drawOverview() {
  const element = document.getElementById("overview"), high = 26;
  const pen = penFor(element, width, high);
  const length = whole.to - whole.from;
  if (density.length !== Math.ceil(width)) {
    density = new Array(Math.ceil(width)).fill(0);
    for (const event of events) density[Math.floor((event[T] - whole.from) / length * width)]++;
  }
  const most = Math.log2(1 + density.reduce((a, b) => Math.max(a, b), 1));
  pen.fillStyle = colours.value;
  density.forEach((count, x) => {
    const tall = Math.log2(1 + count) / most * (high - 6);
    if (count) pen.fillRect(x, high - tall, 1, tall);
  });
  const place = (t) => (t - whole.from) / length * width;
  pen.fillStyle = colours.alarm;
  for (const gap of data.gaps) pen.fillRect(place(gap[FROM]), 0, Math.max(place(gap[TO]) - place(gap[FROM]), 2), 3);
  pen.fillStyle = pen.strokeStyle = colours.wan;
  pen.globalAlpha = 0.13;
  const left = place(state.from), wide = Math.max(place(state.to) - left, 2);
  pen.fillRect(left, 0, wide, high);
  pen.globalAlpha = 1;
  pen.strokeRect(left + 0.5, 0.5, Math.max(wide - 1, 1), high - 1);
}

// What lies under a point of the lanes: {event, text[, span]}, or null.
function under(x, y) {
  const row = rows.find((each) => y >= each.y && y < each.y + each.height);
  if (!row) return null;
  const t = timeAt(x), reach = timeAt(x + 5) - t;
  if (row.lifeline !== undefined)
    return nearest(data.messages.filter(([, from, to]) => !row.lifeline || (from || to) === row.lifeline)
      .map((message) => message[0]), t, reach);
  const mark = nearest(row.lane.marks, t, reach);
  const missed = nearest(row.lane.missed, t, reach);
  if (missed) return missed;
  const { spans } = row.lane;
  const span = spans[firstWhere(spans, (each) => each[TO] >= t - reach / 2)];
  if (!span || span[FROM] > t + reach) return mark;
  const further = events[span[EVENT]][KIND] === BATCH ? ["", ...events[span[EVENT]][FURTHER]].join("\n") : "";
  return { event: span[EVENT], span, text: `${row.label}: ${span[SAYS] || span[STATE]}\n${seconds(span[FROM])} to ` +
    `${seconds(span[TO])} s, ${duration(span[TO] - span[FROM])}${further}` };
}

function nearest(numbers, t, reach) {
  const after = firstWhere(numbers, (event) => events[event][T] >= t);
  const [best] = [numbers[after - 1], numbers[after]].filter((event) => event !== undefined)
    .sort((a, b) => Math.abs(events[a][T] - t) - Math.abs(events[b][T] - t));
  if (best === undefined || Math.abs(events[best][T] - t) > reach) return null;
  return { event: best, text: `${seconds(events[best][T])} s  ${kindOf(best)}\n${events[best][TEXT]}` };
}
