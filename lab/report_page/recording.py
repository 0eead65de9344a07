"""Reads a recording, whose format docs/recordings.md describes. Nothing in it is trusted."""

import json

NUMBER, TEXT, FLAG, LINES = "a whole number", "a text", "true or false", "a list of texts"
SECONDS = "a number of seconds"

# What the lines of a kind have to have, beside `t`, and what of them may be null or missing.
MEMBERS = {
    "setting": {"name": TEXT},
    "item": {"id": NUMBER, "name": TEXT, "new": TEXT},
    "flag": {"name": TEXT},
    "file": {"name": TEXT, "new": FLAG},
    "daemon": {"pid": NUMBER, "state": TEXT},
    "client": {"client": TEXT, "wan": NUMBER, "pid": NUMBER, "state": TEXT},
    "decision": {"wan_mode": NUMBER, "strategy": NUMBER, "priority": NUMBER, "rule": TEXT, "text": TEXT},
    "live": {},
    "log": {"time": TEXT, "program": TEXT, "pid": NUMBER, "level": NUMBER, "text": TEXT},
    "received": {"time": TEXT, "pid": NUMBER, "id": NUMBER, "name": TEXT, "from": TEXT},
    "sent": {"time": TEXT, "pid": NUMBER, "id": NUMBER, "name": TEXT, "to": TEXT, "accepted": FLAG},
    "batch": {"state": TEXT, "owner": TEXT},
    "missed": {"what": TEXT, "name": TEXT},
    "overflow": {},
}
MAY_BE_NULL = {
    "setting": {"old": TEXT, "new": TEXT},
    "item": {"old": TEXT},
    "flag": {"old": TEXT, "new": TEXT},
    "file": {"old": FLAG},
}


class Malformed(Exception):
    """Says what is wrong with a line, and has its number."""

    def __init__(self, line, reason):
        super().__init__(reason)
        self.line = line


class Recording:
    """The lines of a recording: `head`, and `events` of known kinds with `line` and `t`. `end` is the
    time of the last event, `notes` what the reader of a report has to know of the reading."""

    def __init__(self, head):
        self.head = head
        self.events = []
        self.end = 0.0
        self.notes = []
        self._back = 0

    def add(self, event):
        """A time before that of the line above it would put all that is drawn out of order."""
        if event["t"] < self.end:
            self._back += 1
            event["t"] = self.end
        self.end = event["t"]
        self.events.append(event)

    def finish(self):
        if self._back:
            self.notes.append(f"{self._back} lines had a time before that of the line above them;"
                              " they are shown at that line's time.")


def read(lines):
    """The recording that LINES holds, an iterable of bytes."""
    recording = None
    for number, line in enumerate(lines, 1):
        try:
            values = parse(line, number)
        except Malformed:
            if recording is None or line.endswith(b"\n"):
                raise
            recording.notes.append(f"The recording is cut in its last line, {number}; all before it is shown.")
            break
        if recording is None:
            recording = Recording(checked_head(values))
        elif is_known(values, number):
            recording.add(checked_event(values, number))
    if recording is None:
        raise Malformed(1, "the file is empty")
    recording.finish()
    return recording


def refuse(constant):
    raise ValueError(f"{constant} is no JSON")


def parse(line, number):
    try:
        values = json.loads(line.decode(), parse_constant=refuse)
    except (ValueError, RecursionError):
        raise Malformed(number, "not a line of JSON") from None
    if not isinstance(values, dict):
        raise Malformed(number, "not a JSON object")
    return values


def checked_head(values):
    if values.get("format") != "uplinkd-events":
        raise Malformed(1, "not a recording: the first line lacks the format uplinkd-events")
    if not is_a(NUMBER, values.get("version")) or values["version"] != 1:
        raise Malformed(1, f"version {json.dumps(values.get('version'))} is not known, only 1 is")
    for name, form in {"start": TEXT, "uplinkd": TEXT, "private": FLAG}.items():
        if not is_a(form, values.get(name)):
            raise Malformed(1, f"'{name}' is not {form}")
    return values


def is_known(values, number):
    kind = values.get("kind")
    if not is_a(TEXT, kind):
        raise Malformed(number, "'kind' is not a text")
    return kind in MEMBERS


def checked_event(values, number):
    kind = values["kind"]
    wanted = {"t": SECONDS, **MEMBERS[kind]}
    if kind == "batch" and values.get("state") == "run":
        wanted["lines"] = LINES
    elif kind == "batch" and values.get("state") == "done":
        wanted["seconds"] = SECONDS
    for name, form in wanted.items():
        if not is_a(form, values.get(name)):
            raise Malformed(number, f"'{name}' of a line of kind {kind} is not {form}")
    for name, form in MAY_BE_NULL.get(kind, {}).items():
        if values.get(name) is not None and not is_a(form, values[name]):
            raise Malformed(number, f"'{name}' of a line of kind {kind} is neither {form} nor null")
    return {**values, "line": number, "t": float(values["t"])}


def is_a(form, value):
    if form == TEXT:
        return isinstance(value, str)
    if form == FLAG:
        return isinstance(value, bool)
    if form == LINES:
        return isinstance(value, list) and all(isinstance(line, str) for line in value)
    if isinstance(value, bool) or not isinstance(value, int if form == NUMBER else (int, float)):
        return False
    return abs(value) < 2 ** 64 if form == NUMBER else 0 <= value < 1e9
