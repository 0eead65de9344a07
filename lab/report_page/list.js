// The events as a list, of which only the lines in sight are in the document, and one in detail.
const list = document.getElementById("list");
const seen = document.getElementById("rows");
const started = events.slice(0, data.live + 1).length;
let lines = []; // what the list has: an event, or [event, number] for a line of a batch

function fillList() {
  const found = state.only && state.query ? new Set(state.matches) : null;
  lines = [];
  for (let event = 0; event < events.length; event++) {
    const kind = event < started ? "state at the start" : kindOf(event);
    if (state.hidden.has(kind) || (found && !found.has(event))) continue;
    lines.push(event);
    if (events[event][KIND] === BATCH && (state.expanded.has(event) || paper))
      events[event][FURTHER].forEach((_, number) => lines.push([event, number]));
  }
  document.getElementById("room").style.height = `${lines.length * ROW}px`;
  drawList();
}

function drawList() {
  const high = Math.ceil(list.clientHeight / ROW);
  // (A list that has become shorter is still scrolled to where it was.)
  const top = Math.min(Math.floor(list.scrollTop / ROW), lines.length - high);
  const first = paper ? 0 : Math.max(0, top - 10);
  const last = paper ? lines.length : first + high + 20;
  const shown = document.createDocumentFragment();
  for (const line of lines.slice(first, last)) shown.append(Array.isArray(line) ? furtherRow(...line) : eventRow(line));
  seen.style.transform = `translateY(${first * ROW}px)`;
  seen.replaceChildren(shown);
}

function eventRow(event) {
  const [t, , text, further, level] = events[event];
  const kind = kindOf(event);
  const row = make("div", `row k-${kind}`);
  row.dataset.event = event;
  row.classList.toggle("selected", event === state.selected);
  row.classList.toggle("start", event < started);
  row.classList.toggle("severe", kind === "log" && level === REFUSED);
  const said = make("span", "text");
  const fold = kind === "batch" && further.length ? (state.expanded.has(event) || paper ? "▾ " : "▸ ") : "";
  said.append(fold, highlighted(text));
  row.append(make("span", "t", seconds(t)), make("span", "clock", clock(t)), make("span", "kind", kind), said);
  return row;
}

function furtherRow(event, number) {
  const row = make("div", "row further");
  row.dataset.event = event;
  const said = make("span", "text");
  said.append(highlighted(events[event][FURTHER][number]));
  row.append(said);
  return row;
}

// The text with what is searched for in <mark>, all of it as text nodes.
function highlighted(text) {
  const parts = document.createDocumentFragment();
  const { query } = state, lower = text.toLowerCase();
  let done = 0;
  // (A text may change its length with its case. Then the places would be others.)
  for (let at; query && lower.length === text.length && (at = lower.indexOf(query, done)) >= 0; done = at + query.length)
    parts.append(text.slice(done, at), make("mark", "", text.slice(at, at + query.length)));
  parts.append(text.slice(done));
  return parts;
}

function showDetail() {
  const detail = document.getElementById("detail"), event = state.selected;
  detail.replaceChildren();
  if (event < 0) {
    detail.append(make("p", "", "Nothing is selected. ? shows the keys."));
    return;
  }
  const [t, , text, further, , line] = events[event];
  const title = make("h2");
  title.append(highlighted(text));
  const time = clock(t);
  detail.append(title, make("p", "", `${kindOf(event)} at ${seconds(t)} s${time && ` (${time})`}, line ${line} of the file`));
  const pre = make("pre");
  pre.append(highlighted(further.join("\n")));
  detail.append(pre);
}

// Selects an event everywhere: in the list, as the marker on the lanes, and in detail.
function select(event, seek = true) {
  state.selected = event;
  showDetail();
  if (event >= 0) {
    const t = events[event][T], length = state.to - state.from;
    if (t < state.from || t > state.to) setWindow(t - length / 2, t + length / 2);
    if (seek) bringIntoSight(event);
  }
  drawList();
  redraw();
}

const eventOf = (line) => Array.isArray(line) ? line[0] : line;
const lineOf = (event) => firstWhere(lines, (line) => eventOf(line) >= event);

function bringIntoSight(event) {
  const top = lineOf(event) * ROW;
  if (top < list.scrollTop || top + ROW > list.scrollTop + list.clientHeight)
    list.scrollTop = top - list.clientHeight / 2;
}

function step(by) {
  if (!lines.length) return;
  let at = state.selected < 0 ? (by > 0 ? lineOf(started) - 1 : lines.length) : lineOf(state.selected);
  if (state.selected >= 0 && by > 0 && eventOf(lines[at] ?? -1) !== state.selected) at--;
  do at += by > 0 ? 1 : -1; while (Array.isArray(lines[at]));
  if (at >= 0 && at < lines.length) select(eventOf(lines[at]));
}

function toggle(event) {
  if (event < 0 || events[event][KIND] !== BATCH) return;
  if (!state.expanded.delete(event)) state.expanded.add(event);
  fillList();
}
