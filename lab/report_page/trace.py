"""A recording as Chrome trace events: a thread for each lane, flows for the messages."""

import json

from report_page import texts


def trace(recording, drawing):
    """JSON text, all ASCII."""
    events = [*lane_events(recording, drawing), *message_events(recording, drawing), *moments(recording, drawing)]
    about = {name: str(recording.head[name]) for name in ("start", "uplinkd", "private")}
    if recording.notes:
        about["notes"] = " ".join(recording.notes)
    return json.dumps({"traceEvents": events, "displayTimeUnit": "ms", "otherData": about},
                      separators=(",", ":")) + "\n"


def microseconds(t):
    return round(t * 1e6)


def named(what, pid, tid, name):
    return {"ph": "M", "name": what, "pid": pid, "tid": tid, "ts": 0, "args": {"name": name}}


def span(pid, tid, begin, end, name, event):
    args = {"line": event["line"], "event": texts.one_line(event)}
    further = texts.further_lines(event)
    if further:
        args["lines"] = "\n".join(further)
    return {"ph": "X", "pid": pid, "tid": tid, "ts": microseconds(begin), "name": name, "args": args,
            "dur": microseconds(end) - microseconds(begin), "cat": event["kind"]}


def lane_events(recording, drawing):
    groups = list(dict.fromkeys(lane.group for lane in drawing.lanes))
    for pid, group in enumerate(groups, 1):
        yield named("process_name", pid, 0, group)
    for tid, lane in enumerate(drawing.lanes, 1):
        pid = groups.index(lane.group) + 1
        yield named("thread_name", pid, tid, lane.label)
        for begin, end, state, text, number in lane.spans:
            yield span(pid, tid, begin, end, text or state, recording.events[number])
        for number in lane.marks + lane.missed:
            yield instant(pid, tid, "t", recording.events[number])


def message_events(recording, drawing):
    pid = 1000
    yield named("process_name", pid, 0, "messages")
    for tid, name in enumerate(drawing.lifelines, 1):
        yield named("thread_name", pid, tid, name)
    for number, sender, receiver, accepted in drawing.messages:
        event = recording.events[number]
        name = texts.visible(texts.message_name(event)) + ("" if accepted else ", not accepted")
        t = event["t"]
        flow = {"pid": pid, "ts": microseconds(t), "cat": "message", "name": name, "id": number}
        yield span(pid, sender + 1, t, t + 1e-6, name, event)
        yield span(pid, receiver + 1, t, t + 1e-6, name, event)
        yield {**flow, "ph": "s", "tid": sender + 1}
        yield {**flow, "ph": "f", "bp": "e", "tid": receiver + 1}


def instant(pid, tid, scope, event):
    return {"ph": "i", "s": scope, "pid": pid, "tid": tid, "ts": microseconds(event["t"]), "cat": event["kind"],
            "name": texts.one_line(event), "args": {"line": event["line"]}}


def moments(recording, drawing):
    """What concerns all lanes: where events are lost. (A gap may cross the spans beside it.)"""
    for begin, end, number in drawing.gaps:
        both = {"pid": 1000, "tid": 1, "cat": "overflow", "name": "events are lost", "id": number}
        yield {**both, "ph": "b", "ts": microseconds(begin)}
        yield {**both, "ph": "e", "ts": microseconds(end)}
        yield instant(1000, 1, "g", recording.events[number])
