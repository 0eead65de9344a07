"""What is said of an event: one line in the list, and the lines below it when it is expanded."""

import re

# Bytes that would move the cursor, and characters that would turn a line around or hide in it.
HIDDEN = re.compile(r"[\x00-\x1f\x7f-\x9f\u061c\u200b-\u200f\u2028-\u202e\u2060-\u2069\ufeff\ud800-\udfff]")


def visible(text):
    return HIDDEN.sub(lambda found: f"\\u{{{ord(found[0]):x}}}", text)


def one_line(event):
    return visible(ONE_LINE[event["kind"]](event))


def further_lines(event):
    """The lines of a batch; of other events what the line in the list leaves out."""
    kind = event["kind"]
    if kind == "batch":
        return [visible(line) for line in event.get("lines", [])]
    said = {"decision": ("wan_mode", "strategy", "priority", "rule"), "log": ("time", "pid", "level"),
            "received": ("time", "pid"), "sent": ("time", "pid")}.get(kind, ())
    return [visible(f"{name}: {event[name]}") for name in said]


def message_name(event):
    number = f"0x{event['id']:04x}"
    return f"{event['name']} ({number})" if event["name"] else number


def value(content):
    if content is None:
        return "(missing)"
    return {True: "there", False: "not there", "": "(empty)"}.get(content, content)


def change(event):
    name = event["name"] or str(event.get("id", ""))
    if "old" in event:
        return f"{name}: {value(event['old'])} \u2192 {value(event.get('new'))}"
    return f"{name} is {value(event.get('new'))}"


def batch(event):
    if event["state"] == "done":
        return f"{event['owner']}: done after {event['seconds']} s"
    if event["state"] == "run":
        return f"{event['owner']}: runs {len(event['lines'])} lines"
    return f"{event['owner']}: {event['state']}"


def log(event):
    """The daemon's own lines, most of all, without what they all begin with."""
    if event["program"] == "UPLINKD":
        return event["text"].removeprefix("[uplinkd] ")
    return f"{event['program']}: {event['text']}"


def sent(event):
    return f"{message_name(event)} to {event['to']}" + ("" if event["accepted"] else ", which was not accepted")


ONE_LINE = {
    "setting": change,
    "item": change,
    "flag": change,
    "file": change,
    "daemon": lambda event: f"uplinkd, pid {event['pid']}: {event['state']}",
    "client": lambda event: f"{event['client']} of WAN {event['wan']}, pid {event['pid']}: {event['state']}",
    "decision": lambda event: f"priority {event['priority']}: {event['text']}",
    "live": lambda event: "the state at the start ends here",
    "log": log,
    "received": lambda event: f"{message_name(event)} from {event['from']}",
    "sent": sent,
    "batch": batch,
    "missed": lambda event: f"a value of {event['what']} {event['name']} was overwritten before it could be read",
    "overflow": lambda event: "events before this line are lost: the kernel's queue was full",
}
