"""Reads a recording (docs/recordings.md) as what it is: data that anybody may have written."""
import ipaddress
import json
import math
import re

MAX_LINE = 1 << 20
MAX_LINES = 1 << 18
LEFT_OUT = "(left out)"
INTERFACE = re.compile(r"[A-Za-z0-9_][A-Za-z0-9_.:-]{0,14}")
NAME = re.compile(r"[A-Za-z0-9_][A-Za-z0-9_.-]{0,63}")
SETTING = re.compile(r"[^#=\s][^=\s]{0,127}")
MAC = re.compile(r"[0-9a-fA-F]{2}(:[0-9a-fA-F]{2}){5}")


class Malformed(Exception):
    """What is wrong with the recording, and in which line."""

    def __init__(self, number, what):
        super().__init__(f"line {number}: {what}")


def is_text(value):
    return (isinstance(value, str) and len(value) <= 4096 and "\0" not in value
            and "\n" not in value and all(not 0xD800 <= ord(c) < 0xE000 for c in value))


def is_number(low, high):
    return lambda value: type(value) is int and low <= value <= high


def matches(pattern):
    return lambda value: is_text(value) and pattern.fullmatch(value) is not None


def one_of(*words):
    return lambda value: isinstance(value, str) and value in words


def is_flag(value):
    return isinstance(value, bool)


PID = is_number(0, 1 << 30)
# What the replay reads of each kind. Other members, and other kinds, say nothing to it.
MEMBERS = {
    "setting": {"name": matches(SETTING), "new": lambda v: v is None or is_text(v)},
    "item": {"id": is_number(1, 999999), "new": is_text},
    "flag": {"name": matches(NAME), "new": is_text},
    "file": {"name": one_of("marker", "wan_mode_script"), "new": is_flag},
    "daemon": {"pid": PID, "state": one_of("running", "started", "ended")},
    "client": {"client": one_of("udhcpc", "udhcpc6", "pppd"), "wan": is_number(0, 8), "pid": PID,
               "state": one_of("running", "started", "background", "ended")},
    "received": {"id": is_number(-(1 << 31), (1 << 32) - 1), "from": is_text},
    "sent": {"id": is_number(-(1 << 31), (1 << 32) - 1), "to": is_text, "accepted": is_flag},
    "batch": {"state": one_of("run", "done")},
    "live": {}, "decision": {}, "overflow": {},
}


class Line:
    """One event; its members are attributes."""

    def __init__(self, number, fields):
        self.number = number
        self.t = fields["t"]
        self.kind = fields["kind"]
        self.lines = fields.get("lines", ())
        for member in MEMBERS.get(self.kind, ()):
            setattr(self, member.replace("from", "sender"), fields[member])


def parse_object(number, raw):
    if len(raw) > MAX_LINE:
        raise Malformed(number, "too long")
    try:
        fields = json.loads(raw.decode("utf-8"))
    except (ValueError, RecursionError) as error:
        raise Malformed(number, f"no JSON ({type(error).__name__})") from None
    if not isinstance(fields, dict):
        raise Malformed(number, "no JSON object")
    return fields


def parse_event(number, raw):
    fields = parse_object(number, raw)
    t, kind = fields.get("t"), fields.get("kind")
    if type(t) not in (int, float) or not math.isfinite(t) or not 0 <= t < 1e8:
        raise Malformed(number, "'t' is no time")
    if not isinstance(kind, str):
        raise Malformed(number, "'kind' is no text")
    for member, is_valid in MEMBERS.get(kind, {}).items():
        if member not in fields or not is_valid(fields[member]):
            raise Malformed(number, f"'{member}' of kind '{kind}' is missing or wrong")
    lines = fields.get("lines", [])
    if not isinstance(lines, list) or not all(map(is_text, lines)):
        raise Malformed(number, "'lines' are no texts")
    return Line(number, fields)


def read(path):
    """All events of the file at PATH, the line of kind live among them."""
    with open(path, "rb") as file:
        lines = file.read(MAX_LINES * 256).split(b"\n")
    if lines.pop() != b"":
        raise Malformed(len(lines) + 1, "cut: it does not end")
    head = parse_object(1, lines[0]) if lines else {}
    if head.get("format") != "uplinkd-events" or head.get("version") != 1:
        raise Malformed(1, "no recording of version 1")
    events = [parse_event(i, raw) for i, raw in enumerate(lines[1:], 2)]
    if sum(event.kind == "live" for event in events) != 1:
        raise Malformed(len(lines) + 1, "the state at the start does not end once, with 'live'")
    for event in events:
        if event.kind == "overflow":
            raise Malformed(event.number, "events are lost here: it cannot be replayed")
    return events


def address(number, value):
    """VALUE, if it is an IP address: the only values that a client's script is given."""
    try:
        return str(ipaddress.ip_address(value)) and value
    except ValueError:
        raise Malformed(number, f"no address: {value[:60]!a}") from None


def interface(number, value):
    if not INTERFACE.fullmatch(value):
        raise Malformed(number, f"no interface: {value[:60]!a}")
    return value
