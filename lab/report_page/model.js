// What the page knows. Every text of it may be hostile: texts become text nodes or are painted, never markup.
const data = JSON.parse(document.getElementById("data").textContent);
const [T, KIND, TEXT, FURTHER, LEVEL, LINE] = [0, 1, 2, 3, 4, 5]; // of an event
const [FROM, TO, STATE, SAYS, EVENT] = [0, 1, 2, 3, 4]; // of a span; a gap has its event in third place
const events = data.events;
const kindOf = (event) => data.kinds[events[event][KIND]];
const BATCH = data.kinds.indexOf("batch");
const REFUSED = 1; // the level of log lines about what the daemon has refused; 0 are events

// The first place in SORTED from which on AFTER holds.
function firstWhere(sorted, after) {
  let low = 0, high = sorted.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (after(sorted[middle])) high = middle;
    else low = middle + 1;
  }
  return low;
}

const begin = Date.parse(data.head.start);
function clock(t, digits = 3) {
  if (Number.isNaN(begin)) return "";
  const time = new Date(begin + t * 1000).toISOString();
  return digits ? time.slice(11, 20 + digits) : time.slice(11, 19);
}
const seconds = (t) => t.toFixed(6);
function duration(t) {
  if (t < 0.001) return `${Math.round(t * 1e6)} µs`;
  if (t < 1) return `${(t * 1000).toFixed(t < 0.1 ? 1 : 0)} ms`;
  if (t < 120) return `${t.toFixed(2)} s`;
  return `${Math.floor(t / 3600)} h ${Math.floor(t / 60) % 60} min ${Math.floor(t % 60)} s`;
}

function make(tag, className, text = "") {
  const element = document.createElement(tag);
  if (className) element.className = className;
  element.textContent = text;
  return element;
}

// Changes to it are told to who draws; WINDOW is what is seen of the time.
const whole = { from: -data.end * 0.01 - 0.0005, to: data.end * 1.02 + 0.001 };
const state = {
  from: whole.from, to: whole.to, // the time that is seen
  selected: -1,
  query: "",
  matches: [], // events that have it
  only: false,
  hidden: new Set(), // kinds that the list leaves out
  expanded: new Set(), // batches whose lines the list shows
};

function setWindow(from, to) {
  const length = Math.min(Math.max(to - from, 20e-6), whole.to - whole.from);
  state.from = Math.min(Math.max(from, whole.from), whole.to - length);
  state.to = state.from + length;
  redraw();
}
function zoom(factor, at = (state.from + state.to) / 2) {
  setWindow(at - (at - state.from) / factor, at + (state.to - at) / factor);
}
function move(part) {
  const by = (state.to - state.from) * part;
  setWindow(state.from + by, state.to + by);
}
function zoomTo(from, to) {
  const margin = Math.max((to - from) * 0.1, 1e-5);
  setWindow(from - margin, to + margin);
}

let drawn = 0;
function redraw() {
  if (!drawn) drawn = requestAnimationFrame(() => { drawn = 0; drawTimeline(); });
}
