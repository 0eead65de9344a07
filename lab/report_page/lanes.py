"""What is drawn of a recording: lanes with spans, marks and gaps, and messages between lifelines."""

import re

from report_page import texts

CONFLICT_FLAG = "UPLINKD_DETECT_WAN_NET_SEG_INVALID"
WLAN_LINKED = 4
DEFAULT_WAN_PORT = 3
# A recording with more programs than a router has gets no picture of any height: the rest share a row.
MOST_ROWS, OTHERS = 32, "(others)"


# What a lane shows for the values of its items: a state, and a text to go with it. No state, no span.
def first_digit(first, *_):
    return (None if first == "" else "up" if first[0] == "1" else "down"), ""


def port_link(ports, index):
    if not ports:
        return None, ""
    port = int(index[0]) if re.match("[0-7]", index) else DEFAULT_WAN_PORT
    states = ports.split(",")
    linked = port < len(states) and leading_number(states[port]) == 1
    return ("up" if linked else "down"), ""


def wireless_link(state):
    return (None if state == "" else "up" if leading_number(state) == WLAN_LINKED else "down"), ""


def leading_number(text):
    found = re.match(r"\s*([+-]?[0-9]{1,9})", text)
    return int(found[1]) if found else 0


def addresses(*known):
    text = ", ".join(filter(None, known))
    return ("value" if text else None), text


def priority(number):
    return {"": (None, ""), "0": ("mobile", "mobile network"), "1": ("wan", "WAN")}.get(number, ("value", number))


def conflict(flag):
    return {"1": ("alarm", "conflict"), "0": ("down", "")}.get(flag, (None, ""))


def uplink_rows():
    """Group, label, names of the items, what they show. (The wireless bands share an address.)"""
    rows = [("mobile network", "network state", ["MOBILE_NETSTATUS"], first_digit),
            ("mobile network", "address", ["MOBILE_IP", "MOBILE_IPV6_IP"], addresses),
            ("mobile network", "connection verdict", ["MOBILE_CONNSTATUS"], first_digit),
            ("wired WAN", "link", ["PORT_STATUS_LIST", "WAN_PORT_INDEX"], port_link)]
    for index in range(8):
        group, end = (f"wired WAN {index}", f"_{index}") if index else ("wired WAN", "")
        rows += [(group, "network state", ["WIRED_WAN_NETSTATUS" + end], first_digit),
                 (group, "address", ["WIRED_WAN_IP" + end, "WIRED_WAN_IPV6_IP" + end], addresses)]
        if not index:
            rows.append((group, "connection verdict", ["WIRED_WAN_CONNSTATUS"], first_digit))
    for band, label in ("24", "2.4 GHz"), ("58", "5.8 GHz"):
        rows += [("wireless WAN", f"link {label}", [f"WLAN{band}_LINK_STATUS"], wireless_link),
                 ("wireless WAN", f"network state {label}", [f"WLAN{band}_WAN_NETSTATUS"], first_digit)]
    return rows + [("wireless WAN", "address", ["WLAN_WAN_IP", "WLAN_WAN_IPV6_IP"], addresses),
                   ("wireless WAN", "connection verdict", ["WLAN_WAN_CONNSTATUS"], first_digit)]


class Lane:
    """Spans are [from, to, state, text, event]; `marks` and `missed` are events."""

    def __init__(self, group, label, keys=(), shows=None):
        self.group, self.label, self.keys, self.shows = group, label, keys, shows
        self.spans, self.marks, self.missed = [], [], []
        self.open = None

    def begin(self, t, state, text, event):
        if self.open and self.open[2:4] == [state, text]:
            return
        self.close(t)
        if state:
            self.open = [t, t, state, text, event]
            self.spans.append(self.open)

    def close(self, t):
        if self.open:
            self.open[1] = t
            self.open = None

    def update(self, t, values, event):
        state, text = self.shows(*(values.get(key, "") for key in self.keys))
        self.begin(t, state, texts.visible(text), event)

    def is_empty(self):
        return not (self.spans or self.marks or self.missed)


class Drawing:
    """All lanes of a recording from top to bottom, `messages` as [event, from, to, accepted] between
    `lifelines`, and `gaps` in which any event may be lost."""

    def __init__(self, recording):
        self.end = recording.end
        self.values = {}
        self.live, self.before = False, 0.0
        self.lifelines, self.messages, self.gaps = ["uplinkd"], [], []
        self.decided = Lane("arbitration", "rule that decided")
        self.daemon, self.batches = Lane("processes", "uplinkd"), [Lane("processes", "batches")]
        self.clients, self.running, self.waiting = {}, {}, {}
        self.signals = [Lane("arbitration", "priority", [("item", "WAN_PRIORITY")], priority),
                        Lane("arbitration", "subnet conflict", [("flag", CONFLICT_FLAG)], conflict)]
        self.signals += [Lane(group, label, [("item", name) for name in names], shows)
                         for group, label, names, shows in uplink_rows()]
        self.by_key = {}
        for lane in self.signals:
            for key in lane.keys:
                self.by_key.setdefault(key, []).append(lane)
        others = Lane("other", "flags and files")
        self.others = {"item": Lane("other", "other items"), "setting": Lane("other", "settings"),
                       "log": Lane("other", "log"), "flag": others, "file": others}
        for number, event in enumerate(recording.events):
            self.take(number, event)
            self.before = event["t"]
        self.finish()

    def take(self, number, event):
        kind, t = event["kind"], event["t"]
        if kind in ("item", "flag", "setting", "file"):
            self.changed(number, event)
        elif kind in ("received", "sent"):
            self.message(number, event)
        elif kind == "live":
            self.live = True
        elif kind == "log":
            self.others["log"].marks.append(number)
        elif kind == "decision":
            side = {0: "mobile", 1: "wan"}.get(event["priority"], "value")
            self.decided.begin(t, side, texts.visible(event["text"]), number)
        elif kind == "daemon":
            self.daemon.close(t)
            if event["state"] == "started":
                self.forget_batches(t)
            if event["state"] != "ended":
                self.daemon.begin(t, "process", f"pid {event['pid']}", number)
        elif kind == "client":
            self.client(number, event)
        elif kind == "batch":
            self.batch(number, event)
        elif kind == "missed":
            lanes = self.by_key.get((event["what"], event["name"]))
            for lane in lanes or [self.others.get(event["what"], self.others["item"])]:
                lane.missed.append(number)
        elif kind == "overflow":
            self.gaps.append([self.before, t, number])

    def changed(self, number, event):
        kind = event["kind"]
        key = (kind, event["name"])
        self.values[key] = event.get("new") or ""
        for lane in self.by_key.get(key, ()):
            lane.update(event["t"], self.values, number)
        if self.live and key not in self.by_key:
            self.others[kind].marks.append(number)

    def message(self, number, event):
        peer = texts.visible(event["from" if event["kind"] == "received" else "to"])
        if peer not in self.lifelines:
            peer = peer if len(self.lifelines) < MOST_ROWS else OTHERS
            if peer not in self.lifelines:
                self.lifelines.append(peer)
        ends = [self.lifelines.index(peer), 0]
        if event["kind"] == "sent":
            ends.reverse()
        self.messages.append([number, *ends, event.get("accepted", True)])

    def client(self, number, event):
        name = texts.visible(f"{event['client']} {event['wan']}")
        key = (name, event["pid"])
        if key in self.running:
            self.running.pop(key).close(event["t"])
        if event["state"] != "ended": # also when it goes on in the background, as another process
            if name not in self.clients and len(self.clients) >= MOST_ROWS:
                name = OTHERS
            rows = self.clients.setdefault(name, [])
            self.running[key] = lane = free_row(rows, name)
            lane.begin(event["t"], "process", f"pid {event['pid']}", number)

    def batch(self, number, event):
        owner, t = texts.visible(event["owner"]), event["t"]
        if event["state"] == "run":
            lane = free_row(self.batches, "batches")
            lane.begin(t, "batch", owner, number)
            self.waiting.setdefault(owner, []).append(lane)
        elif event["state"] == "done":
            # One that ran already when the recording began is known by its end only.
            lanes = self.waiting.get(owner)
            lane = lanes.pop(0) if lanes else free_row(self.batches, "batches")
            if not lane.open:
                last = lane.spans[-1][1] if lane.spans else 0.0
                lane.begin(max(t - event["seconds"], last), "batch", owner, number)
            lane.open[3] = f"{owner}, {event['seconds']} s"
            lane.close(t)

    def forget_batches(self, t):
        """Nobody says any more when the batch of an ended daemon is done."""
        for lane in self.batches:
            lane.close(t)
        self.waiting.clear()

    def finish(self):
        rows = [self.decided, *self.signals, self.daemon, *self.batches]
        rows += [lane for lanes in self.clients.values() for lane in lanes]
        rows += dict.fromkeys(self.others.values())
        for lane in rows:
            lane.close(self.end)
        self.lanes = [lane for lane in rows if not lane.is_empty()]


def free_row(rows, label):
    """The first lane in which nothing is open, so that what overlaps lies side by side; within limits."""
    for lane in rows:
        if not lane.open:
            return lane
    if len(rows) == MOST_ROWS:
        return rows[-1]
    rows.append(Lane("processes", label if not rows else f"{label} ({len(rows) + 1})"))
    return rows[-1]
