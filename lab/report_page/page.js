// Search, keys, mouse and paper, and what is shown when the page opens.
const byId = (name) => document.getElementById(name);
const search = byId("search");
const textOf = (event) => events[event][TEXT] + "\n" + events[event][FURTHER].join("\n");
let lowered = null; // made at the first search

function find() {
  state.query = search.value.toLowerCase();
  lowered = lowered || events.map((_, event) => `${kindOf(event)} ${textOf(event)}`.toLowerCase());
  state.matches = [];
  if (state.query) lowered.forEach((text, event) => text.includes(state.query) && state.matches.push(event));
  showFound();
  fillList();
  redraw();
}

function showFound() {
  const at = state.matches.indexOf(state.selected);
  byId("found").textContent = state.query ? `${at < 0 ? "–" : at + 1}/${state.matches.length}` : "";
}

function nextMatch(by) {
  const { matches, selected } = state;
  if (!matches.length) return;
  const after = firstWhere(matches, (event) => by > 0 ? event > selected : event >= selected);
  const at = selected < 0 && by > 0 ? 0 : (by > 0 ? after : after - 1) + matches.length;
  const event = matches[at % matches.length];
  state.hidden.delete(event < started ? "state at the start" : kindOf(event));
  if (events[event][KIND] === BATCH && !events[event][TEXT].toLowerCase().includes(state.query)) state.expanded.add(event);
  showKinds();
  fillList();
  select(event);
  showFound();
}

function showKinds() {
  const counts = new Map();
  events.forEach((_, event) => {
    const kind = event < started ? "state at the start" : kindOf(event);
    counts.set(kind, (counts.get(kind) || 0) + 1);
  });
  byId("kinds").replaceChildren(...[...counts].map(([kind, count]) => {
    const button = make("button", "", `${kind} ${count}`);
    button.type = "button";
    button.setAttribute("aria-pressed", !state.hidden.has(kind));
    button.addEventListener("click", () => {
      if (!state.hidden.delete(kind)) state.hidden.add(kind);
      showKinds();
      fillList();
    });
    return button;
  }));
}

function zoomToSelected() {
  if (state.selected < 0) return;
  for (const { spans } of data.lanes) {
    const span = spans.find((each) => each[EVENT] === state.selected);
    if (span) return zoomTo(span[FROM], span[TO]);
  }
  zoom(8, events[state.selected][T]);
}

function escape() {
  if (search.value) {
    search.value = "";
    find();
  } else {
    select(-1);
  }
  search.blur();
}

const KEYS = [
  [["+", "="], "zoom in", () => zoom(1.6, focus())],
  [["-"], "zoom out", () => zoom(1 / 1.6, focus())],
  [["0"], "all of the recording", () => setWindow(whole.from, whole.to)],
  [["z"], "zoom to what is selected", zoomToSelected],
  [["ArrowLeft"], "earlier", () => move(-0.2)],
  [["ArrowRight"], "later", () => move(0.2)],
  [["ArrowUp"], "previous event in the list", () => step(-1)],
  [["ArrowDown"], "next event in the list", () => step(1)],
  [["Home"], "first event", () => lines.length && select(eventOf(lines[0]))],
  [["End"], "last event", () => lines.length && select(eventOf(lines[lines.length - 1]))],
  [["Enter"], "show or hide the lines of a batch", () => toggle(state.selected)],
  [["/"], "search; Enter there finds the next", () => search.select()],
  [["n"], "next that is found", () => nextMatch(1)],
  [["N"], "previous that is found", () => nextMatch(-1)],
  [["f"], "list only what is found, or all", () => { byId("only").click(); }],
  [["?"], "this help", () => byId("help").showModal()],
  [["Escape"], "close the help; end the search; select nothing", escape],
];

// Zooming keeps the marker in its place, where it is in sight.
function focus() {
  const t = state.selected < 0 ? NaN : events[state.selected][T];
  return t >= state.from && t <= state.to ? t : undefined;
}

document.addEventListener("keydown", (event) => {
  if (event.ctrlKey || event.metaKey || event.altKey || byId("help").open) return;
  if (event.target === search) {
    if (event.key === "Enter") nextMatch(event.shiftKey ? -1 : 1);
    else if (event.key !== "Escape") return;
  }
  const onButton = event.key === "Enter" && event.target.closest("button, input");
  const row = KEYS.find(([keys]) => keys.includes(event.key));
  if (!row || (onButton && event.target !== list)) return;
  event.preventDefault();
  row[2]();
});

search.addEventListener("input", find);
byId("only").addEventListener("change", () => {
  state.only = byId("only").checked;
  fillList();
});
byId("help_button").addEventListener("click", () => byId("help").showModal());
list.addEventListener("scroll", drawList, { passive: true });
list.addEventListener("click", (click) => {
  const row = click.target.closest(".row");
  if (!row) return;
  const event = Number(row.dataset.event);
  if (!row.classList.contains("further")) toggle(event);
  select(event, false);
});

// A drag moves the time, and the rows where they do not all fit; a press without one selects.
let held = null;
canvas.addEventListener("pointerdown", (press) => {
  held = { x: press.clientX, y: press.clientY, from: state.from, top: byId("lanes").scrollTop, moved: false };
  canvas.setPointerCapture(press.pointerId);
});
canvas.addEventListener("pointermove", (point) => {
  if (!held) {
    showTip(point);
    return;
  }
  const by = point.clientX - held.x, down = point.clientY - held.y;
  if (Math.hypot(by, down) < 4 && !held.moved) return;
  held.moved = true;
  canvas.classList.add("held");
  byId("tip").hidden = true;
  const length = state.to - state.from, from = held.from - by / width * length;
  byId("lanes").scrollTop = held.top - down;
  setWindow(from, from + length);
});
canvas.addEventListener("pointerup", (point) => {
  canvas.classList.remove("held");
  if (held && !held.moved) {
    const there = under(point.offsetX, point.offsetY);
    if (there && events[there.event][KIND] === BATCH && !state.expanded.has(there.event)) toggle(there.event);
    select(there ? there.event : -1);
  }
  held = null;
});
canvas.addEventListener("dblclick", (click) => {
  const there = under(click.offsetX, click.offsetY);
  if (there && there.span) zoomTo(there.span[FROM], there.span[TO]);
});
canvas.addEventListener("pointerleave", () => { byId("tip").hidden = true; });
for (const element of [canvas, byId("axis"), byId("overview")]) {
  element.addEventListener("wheel", (wheel) => {
    if (wheel.ctrlKey) return;
    wheel.preventDefault();
    const by = wheel.deltaY || wheel.deltaX;
    if (wheel.shiftKey || !wheel.deltaY) move(by / 1000);
    else zoom(Math.exp(-by / 400), element.id === "overview" ? undefined : timeAt(wheel.offsetX));
  }, { passive: false });
}
const toOverview = (point) => {
  if (!point.buttons) return;
  const t = whole.from + point.offsetX / width * (whole.to - whole.from), half = (state.to - state.from) / 2;
  setWindow(t - half, t + half);
};
byId("overview").addEventListener("pointerdown", toOverview);
byId("overview").addEventListener("pointermove", toOverview);

function showTip(point) {
  const there = under(point.offsetX, point.offsetY), tip = byId("tip");
  tip.hidden = !there;
  if (!there) return;
  tip.textContent = there.text.slice(0, 600);
  tip.style.left = `${Math.min(point.clientX + 14, innerWidth - tip.offsetWidth - 8)}px`;
  tip.style.top = `${Math.min(point.clientY + 16, innerHeight - tip.offsetHeight - 8)}px`;
}

byId("divider").addEventListener("pointerdown", (press) => {
  const lanes = byId("lanes"), from = lanes.offsetHeight - press.clientY;
  press.target.setPointerCapture(press.pointerId);
  press.target.onpointermove = (point) => {
    lanes.style.maxHeight = "none";
    lanes.style.height = `${Math.max(80, Math.min(from + point.clientY, height))}px`;
  };
  press.target.onpointerup = () => { press.target.onpointermove = null; };
});

// Paper shows the whole recording, whatever is on the screen.
let before = null;
window.addEventListener("beforeprint", () => {
  before = { from: state.from, to: state.to, hidden: state.hidden, only: state.only };
  Object.assign(state, whole, { hidden: new Set(), only: false });
  paper = 800;
  document.documentElement.classList.add("paper");
  takeColours();
  drawTimeline();
  fillList();
});
window.addEventListener("afterprint", () => {
  paper = 0;
  document.documentElement.classList.remove("paper");
  Object.assign(state, before);
  takeColours();
  fillList();
  redraw();
});
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => { takeColours(); redraw(); });
new ResizeObserver(() => { density = []; redraw(); drawList(); }).observe(document.body);

function open() {
  byId("version").textContent = data.head.uplinkd;
  byId("about").textContent = [`${data.head.start}, ${duration(data.end)}, ${events.length} events`,
    ...(data.head.private ? ["addresses are replaced"] : [])].join(" · ");
  document.title = `uplinkd ${data.head.start}`;
  const lost = data.gaps.length ? [`Events are lost where all lanes are hatched, ${data.gaps.length} times.`] : [];
  byId("notes").replaceChildren(...[...data.notes, ...lost].map((note) => make("li", "", note)));
  byId("labels").replaceChildren(...rows.map((row) => {
    const label = make("div");
    label.append(make("b", "", row.first ? row.group : ""), make("span", "", row.label));
    label.style.top = `${row.y + (row.height - ROW) / 2}px`;
    label.title = `${row.group}: ${row.label}`;
    return label;
  }));
  byId("labels").style.height = canvas.style.height = `${height}px`;
  byId("axis").style.height = "34px";
  byId("keys").replaceChildren(...KEYS.map(([keys, says]) => {
    const row = make("tr");
    const shown = keys.map((key) => ({ ArrowLeft: "←", ArrowRight: "→", ArrowUp: "↑", ArrowDown: "↓", Escape: "Esc" })[key] || key);
    row.append(make("td", "", shown.join(" ")), make("td", "", says));
    return row;
  }));
  takeColours();
  showKinds();
  showDetail();
  fillList();
  list.scrollTop = started * ROW;
  drawTimeline();
}

open();
// For a browser's console, and for the test.
window.report = { data, state, rows, xOf, timeAt, drawTimeline };
