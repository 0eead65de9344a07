"""What a replay does: the inputs of a recording, in their order, each with what it waits for.

An input is a change that the daemon did not make itself. What a client's script stored and
reported becomes one answer of that client's stand-in; everything else that the daemon and its
clients did is not repeated but waited for, by counting it, so that an input never overtakes what it
followed.
"""
from collections import Counter

import recording

SETUP_COMPLETED, PPPOE_CHANGED = 0x5304, 0x5306
# An item's place in its WAN's thousand, by what a script is given of it. Wireless ones have others.
WIRED = {103: "subnet", 102: "ip", 104: "router", 106: "dns1", 107: "dns2",
         108: "ipv6", 109: "dns1_6", 110: "dns2_6", 128: "gateway6"}
WIRELESS = {204: "subnet", 203: "ip", 205: "router", 207: "dns1", 208: "dns2",
            209: "ipv6", 210: "dns1_6", 211: "dns2_6"}
WIRED_IFACE, WIRED_MAC = 111, 105
REAL_IFACES = {201002: "ccmni1", 201111: "eth1", 201212: "apcli0", 201213: "apclii0"}
IPV6 = ("ipv6", "dns1_6", "dns2_6", "gateway6")


def place_of(item):
    """(WAN index, whether wireless, place) of an item, if it is one of a WAN's."""
    thousand, rest = divmod(item, 1000)
    if thousand == 201:
        return (0, rest >= 200, rest) if rest >= 100 else None
    return (thousand - 260, False, rest + 100) if 261 <= thousand <= 267 else None


class Input:
    def __init__(self, t, kind, after, **values):
        self.t, self.kind, self.after = t, kind, after
        self.__dict__.update(values)


class Client:
    """One life of a client in the recording."""

    def __init__(self, number, pid):
        self.number, self.pid, self.up, self.answer = number, pid, False, None
        self.downs, self.stored, self.fall = 0, [], None


class Lives:
    """Which clients live. A client that goes into the background does so as another process; one
    that appears after a batch was to start it is a new one."""

    def __init__(self):
        self.batches, self.seen, self.alive, self.starts = Counter(), {}, {}, Counter()

    def note(self, event):
        """Returns whether a new client has started."""
        if event.kind == "batch":
            self.batches.update({line.split(" ")[0] for line in event.lines})
        if event.kind != "client":
            return False
        key = (event.client, event.wan)
        if event.state == "ended":
            if key in self.alive and self.alive[key].pid == event.pid:
                self.alive[key].ended = True
            return False
        batches = self.batches[event.client]
        is_new = event.state != "background" or self.seen.get(key) != batches
        self.seen[key] = batches
        if is_new:
            self.starts[key] += 1
            self.alive[key] = Client(self.starts[key], event.pid)
        self.alive[key].pid, self.alive[key].ended = event.pid, False
        return is_new


def lane(event, writers, is_start=False):
    """What the line counts as when it is waited for; None for inputs and what says nothing."""
    if event.kind in ("received", "sent"):
        return (event.kind, event.id)
    if event.kind == "batch":
        return ("batch", event.state)
    if event.kind == "client":
        return ("client", event.client, event.wan) if is_start else None
    if event.kind == "item" and writers.get(event.id, "router") != "router":
        return ("item", event.id)
    return None


class Planner:
    def __init__(self, events, writers):
        """WRITERS: who writes an item, of those that the daemon knows."""
        self.writers, self.items, self.settings = writers, {}, {}
        self.inputs, self.counts, self.lives = [], Counter(), Lives()
        self.start, self.was_running, self.is_running, self.first_clients = [], False, False, {}
        self.macs, self.interfaces = {}, set(REAL_IFACES.values())
        self.open = []  # answers whose report has not come yet
        self.registered = {}  # of an application: whether it was at last, and where that may change
        is_live = False
        for event in events:
            if event.kind == "live":
                is_live = True
                self.first_clients = {key: self.known(key) for key in self.lives.alive}
            elif is_live:
                self.live(event)
            else:
                self.at_start(event)
        self.inputs = [i for i in self.inputs if (i.kind != "sibling" or i.new is not None)
                       and (i.kind != "answer" or i.event)]

    def at_start(self, event):
        if event.kind == "setting":
            event.new = known_setting(event.new)
            self.settings[event.name] = event.new
        elif event.kind == "item":
            self.note_item(event)
        elif event.kind == "daemon":
            self.was_running = self.is_running = event.state == "running"
        elif event.kind == "client":
            self.lives.note(event)
            self.lives.alive[(event.client, event.wan)].up = True
        if event.kind in ("setting", "item", "flag", "file"):
            self.start.append(event)

    def add(self, line, kind, **values):
        self.inputs.append(Input(line.t, kind, Counter(self.counts), **values))
        return self.inputs[-1]

    def live(self, event):
        is_start = self.lives.note(event)
        if is_start:
            for client in [c for c in self.open if c not in self.lives.alive.values()]:
                self.close(client)
        if event.kind == "setting":
            self.settings[event.name] = known_setting(event.new)
            self.add(event, "setting", name=event.name, new=known_setting(event.new))
        elif event.kind == "file":
            self.add(event, "file", name=event.name, new=event.new)
        elif event.kind == "flag" and event.name == "downlinkd_init_completed":
            self.add(event, "flag", name=event.name, new=event.new)
        elif event.kind == "daemon":
            self.is_running = event.state != "ended"
            for client in list(self.open):  # a daemon that has just started was not there to hear
                self.close(client)
            self.add(event, "daemon", state=event.state)
        elif event.kind == "item":
            self.item(event)
        elif event.kind == "received":
            self.received(event)
        elif event.kind == "sent":
            self.sent(event)
        counted = lane(event, self.writers, is_start)
        if counted:
            self.counts[counted] += 1

    # ---- items: whose is a change?

    def note_item(self, event):
        self.items[event.id] = event.new
        place = place_of(event.id)
        is_iface = event.id in REAL_IFACES or (place and not place[1] and place[2] == WIRED_IFACE)
        if is_iface and event.new:
            self.interfaces.add(recording.interface(event.number, event.new))
        elif place and place[2] in (WIRED_MAC, 206) and recording.MAC.fullmatch(event.new):
            wireless = (self.items.get(201212) or "apcli0") if place[1] else None
            wired = self.items.get(201111) or "eth1"
            self.macs.setdefault(wireless or wired, event.new)

    def client_of(self, event):
        """(key, field) of the living client whose script stores this item, if there is one."""
        wan, wireless, place = place_of(event.id) or (0, False, 0)
        field = (WIRELESS if wireless else WIRED).get(place)
        programs = ("udhcpc6",) if field in IPV6 else ("pppd", "udhcpc")
        if place == WIRED_IFACE and not wireless:
            field, programs = "iface", ("pppd",)
        for program in programs if field else ():
            client = self.lives.alive.get((program, wan))
            if client and not client.ended:
                return (program, wan), field
        return None, field

    def item(self, event):
        writer = self.writers.get(event.id, "router")
        self.note_item(event)
        key, field = self.client_of(event)
        if event.new and key and writer in ("client", "shared"):
            self.learned(event, key, field)
        elif writer == "router" or not self.is_running or (
                writer != "daemon" and event.new and not self.is_static(event.new)):
            self.add(event, "item", id=event.id, new=event.new)
        elif key:
            self.may_fall(event, key)

    def may_fall(self, event, key):
        """Perhaps its PPP link goes down: what it reports will tell."""
        client = self.lives.alive[key]
        if key[0] == "pppd" and not client.fall:
            client.fall = self.add(event, "answer", key=key, life=client.number, event="", values={})

    def is_static(self, value):
        """Whether the daemon itself may have stored it: a configured address."""
        return any(new == value for name, new in self.settings.items()
                   if name.startswith("USR_WAN_") and "_V4" in name)

    def learned(self, event, key, field):
        client = self.lives.alive[key]
        if field == "iface":
            if not event.new.startswith("ppp"):
                return self.may_fall(event, key)  # the script of a link that is down puts it back
        else:
            recording.address(event.number, event.new)
        if client.answer and any(item == event.id for item, _ in client.stored):
            # Twice without a report between: the first was somebody else's.
            client.answer.kind, client.answer.stored = "items", client.stored
            self.close(client)
        if client.answer is None:
            event_name = "renew" if client.up and key[0] != "pppd" else "bound"
            client.fall = None
            client.answer = self.add(event, "answer", key=key, life=client.number, event=event_name,
                                     values=self.values_of(event.id))
            self.open.append(client)
        client.answer.values[field] = event.new
        client.stored.append((event.id, event.new))

    def close(self, client):
        self.open.remove(client)
        client.answer, client.stored = None, []

    def values_of(self, item):
        wan, wireless, _ = place_of(item)
        base = 201000 if wan == 0 else (wan + 260) * 1000 - 100
        return {field: self.items.get(base + place, "")
                for place, field in (WIRELESS if wireless else WIRED).items()}

    # ---- messages: who sent it?

    def received(self, event):
        if event.sender == "unknown" and event.id == SETUP_COMPLETED and self.answered(event):
            return
        if event.sender == "unknown" and event.id == PPPOE_CHANGED and self.hung_up(event):
            return
        self.add(event, "message", id=event.id, sender=event.sender)

    def answered(self, event):
        if self.open:
            client = self.open[0]
            self.close(client)
            client.up = True
            return True
        for key, client in self.lives.alive.items():
            values = {} if client.up or client.ended else self.known(key)
            if values:
                for value in filter(None, values.values()):
                    recording.address(event.number, value)
                self.add(event, "answer", key=key, life=client.number, event="bound", values=values)
                client.up = True
                return True
        return False

    def known(self, key):
        """What the items say that a client has learned; nothing if it has no address."""
        program, wan = key
        for item in (201102, 201203) if wan == 0 else ((wan + 260) * 1000 + 2,):
            values = self.values_of(item)
            if values["ipv6" if program == "udhcpc6" else "ip"]:
                return values
        return {}

    def hung_up(self, event):
        """A PPP link that goes down reports twice. One whose client is stopped does so by itself."""
        for key, client in self.lives.alive.items():
            if key[0] != "pppd" or not (client.up or client.downs % 2):
                continue
            client.downs += 1
            if client.up and not client.ended and client.fall:
                client.fall.event = "down"
            client.up = False
            return True
        return False

    def sent(self, event):
        """Who is registered on the bus shows in whether a message was accepted."""
        before = self.registered.get(event.to)
        if before is None and event.accepted:
            self.start.append(Input(0, "sibling", None, name=event.to, new=True))
        elif before and before[0] != event.accepted:
            before[1].new = event.accepted
        change = self.add(event, "sibling", name=event.to, new=None)
        change.after[("sent", event.id)] += 1
        self.registered[event.to] = (event.accepted, change)


def known_setting(value):
    return "account" if value == recording.LEFT_OUT else value
