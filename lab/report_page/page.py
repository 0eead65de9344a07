"""A recording as one HTML page. The page's parts are the files beside this one."""

import base64
import hashlib
import json
import pathlib
import re

from report_page import texts
from report_page.recording import MEMBERS

FOLDER = pathlib.Path(__file__).parent
SCRIPTS = ["model.js", "timeline.js", "list.js", "page.js"]


def page(recording, drawing):
    script = '"use strict";\n(() => {\n' + "\n".join((FOLDER / name).read_text() for name in SCRIPTS) + "})();\n"
    style = (FOLDER / "page.css").read_text()
    parts = {"script": script, "style": style, "script_hash": digest(script), "style_hash": digest(style),
             "data": for_script_element(data(recording, drawing))}
    # In one go, so that nothing in the data is taken for the place of another part.
    return re.sub(r"@(\w+)@", lambda place: parts[place[1]], (FOLDER / "page.html").read_text())


def digest(text):
    """What a content security policy knows a script or style by; no other one is run."""
    return "sha256-" + base64.b64encode(hashlib.sha256(text.encode()).digest()).decode()


def for_script_element(values):
    """JSON in which no byte can end a script element, or begin anything else in it."""
    text = json.dumps(values, separators=(",", ":"))
    return text.replace("<", "\\u003c").replace(">", "\\u003e").replace("&", "\\u0026")


def data(recording, drawing):
    kinds = list(MEMBERS)
    events = recording.events
    head = {name: recording.head[name] for name in ("start", "uplinkd", "private")}
    return {
        "head": {name: texts.visible(value) if isinstance(value, str) else value for name, value in head.items()},
        "notes": recording.notes,
        "end": recording.end,
        "kinds": kinds,
        # Time, kind, line in the list, lines below it, level of a log line, line of the file.
        "events": [[event["t"], kinds.index(event["kind"]), texts.one_line(event), texts.further_lines(event),
                    event.get("level", 0), event["line"]] for event in events],
        "live": next((n for n, event in enumerate(events) if event["kind"] == "live"), -1),
        "lanes": [{"group": lane.group, "label": lane.label, "spans": lane.spans, "marks": lane.marks,
                   "missed": lane.missed} for lane in drawing.lanes],
        "lifelines": drawing.lifelines,
        "messages": drawing.messages,
        "gaps": drawing.gaps,
    }
