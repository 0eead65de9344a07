"""Recordings for the tests: an evening's story with all kinds of lines, and a long one."""

import json

HEAD = {"format": "uplinkd-events", "version": 1, "start": "2026-11-23T03:11:58.204113Z", "uplinkd": "0.2.0",
        "private": False}
ITEMS = {"PORT_STATUS_LIST": 200001, "WAN_PORT_INDEX": 230002, "MOBILE_NETSTATUS": 201001, "MOBILE_IP": 201004,
         "MOBILE_CONNSTATUS": 201036, "WAN_PRIORITY": 201114, "WIRED_WAN_NETSTATUS": 201101, "WIRED_WAN_IP": 201102,
         "WIRED_WAN_CONNSTATUS": 201113, "WIRED_WAN_NETMASK": 201103, "WIRED_WAN_NETSTATUS_2": 262001,
         "WIRED_WAN_IP_2": 262002, "WLAN58_LINK_STATUS": 201218}
CONFLICT = "UPLINKD_DETECT_WAN_NET_SEG_INVALID"
HOSTILE = "</script ></script><script>document.title='broken'</script><img src=x onerror=alert(1)>\u2028\u202egnp"


class Story:
    def __init__(self):
        self.t, self.lines, self.known = 0.0, [HEAD], {}

    def at(self, t):
        self.t = t
        return self

    def add(self, kind, **members):
        self.lines.append({"t": round(self.t, 6), "kind": kind, **members})
        self.t += 0.000731 if self.t else 0
        return self

    def change(self, kind, name, new, **members):
        old = {"old": self.known.get(name, "")} if self.t else {}
        self.known[name] = new
        return self.add(kind, **members, name=name, **old, new=new)

    def items(self, **values):
        for name, new in values.items():
            self.change("item", name, new, id=ITEMS[name])
        return self

    def decide(self, priority, rule, text):
        return self.add("decision", wan_mode=5, strategy=1, priority=priority, rule=rule, text=text)

    def received(self, number, name, sender):
        return self.add("received", time="03:12:00.000", pid=614, id=number, name=name, **{"from": sender})

    def sent(self, number, name, to, accepted=True):
        return self.add("sent", time="03:12:00.000", pid=614, id=number, name=name, to=to, accepted=accepted)

    def log(self, text, level=3):
        return self.add("log", time="03:12:00.000", program="UPLINKD", pid=614, level=level, text=text)

    def batch(self, seconds, owner, *commands):
        self.add("batch", state="run", owner=owner, lines=[f"# rewrite by {owner}", *commands])
        self.t += seconds
        return self.add("batch", state="done", owner=owner, seconds=seconds)

    def client(self, pid, state, wan=0, name="udhcpc"):
        return self.add("client", client=name, wan=wan, pid=pid, state=state)

    def connect(self, pid, address):
        self.items(PORT_STATUS_LIST="0,0,0,1,0,0,0,0").received(0x5303, "WAN_WIRED_MODE_CHANGE", "portwatch")
        self.log("detect wan_port_status change form 0 to 1").items(WIRED_WAN_NETSTATUS="1")
        self.batch(0.31, "uplinkd_process_wired_up", "killall udhcpc >/dev/null 2>&1",
                   "udhcpc -i eth1 -s /tmp/.udhcpc_v4_wan0.script -p /tmp/.udhcpc_v4_wan0.pid >/dev/null 2>&1 &")
        self.client(pid, "started").at(self.t + 0.9).client(pid, "ended").client(pid + 1, "background").at(self.t + 1.2)
        self.items(WIRED_WAN_IP=address, WIRED_WAN_NETMASK="255.255.255.0")
        return self.received(0x5304, "WAN_SETUP_COMPLETED", "unknown")

    def disconnect(self, pid):
        self.items(PORT_STATUS_LIST="0,0,0,0,0,0,0,0").received(0x5303, "WAN_WIRED_MODE_CHANGE", "portwatch")
        self.items(WIRED_WAN_NETSTATUS="0")
        self.batch(0.12, "uplinkd_process_wired_down", "killall udhcpc >/dev/null 2>&1", "ip addr flush dev eth1")
        self.client(pid + 1, "ended").items(WIRED_WAN_IP="", WIRED_WAN_NETMASK="", WIRED_WAN_CONNSTATUS="0")
        return self.sent(0x5202, "WAN_LINK_BROKEN", "linkprobe")


def story():
    """What the lanes have to show of it is in report_browser."""
    s = Story()
    s.change("setting", "USR_WAN_MODE", "5").change("setting", "USR_DHCP_LAN_IP", None)
    s.items(PORT_STATUS_LIST="0,0,0,0,0,0,0,0", WAN_PORT_INDEX="3", MOBILE_NETSTATUS="1", MOBILE_IP="203.0.113.9",
            MOBILE_CONNSTATUS="1", WAN_PRIORITY="0")
    s.change("flag", CONFLICT, "0").add("file", name="marker", new=True).add("daemon", pid=614, state="running")
    s.decide(0, "wan_first_wan_down", "WAN first, but the WAN is down").add("live")
    s.at(4).connect(701, "192.0.2.118").items(WIRED_WAN_CONNSTATUS="1")
    s.decide(1, "wan_first_wan_connected", "WAN first, and the WAN is connected").items(WAN_PRIORITY="1")
    s.sent(0x5305, "WAN_PRIO_CHANGED", "prio_listener").sent(0x7005, "WAN_CHANGED", "pfilterd")
    s.at(13).items(WIRED_WAN_NETSTATUS_2="1").client(733, "started", 2).at(15).items(WIRED_WAN_IP_2="198.51.100.20")
    s.at(21).disconnect(701).received(0x5301, "WAN_STATUS_CHANGE", "linkprobe")
    s.decide(0, "wan_first_wan_down", "WAN first, but the WAN is down").items(WAN_PRIORITY="0")
    s.sent(0x5305, "WAN_PRIO_CHANGED", "prio_listener", False).log("send msg (0x5305) to prio_listener failed!", 1)
    s.at(30).connect(790, "192.168.1.77").log("detect wan net segment invalid , reset interface", 1)
    s.change("flag", CONFLICT, "1").at(s.t + 0.2).disconnect(790)
    s.at(37).add("missed", what="item", name="MOBILE_CONNSTATUS").at(39.5).items(MOBILE_CONNSTATUS="0")
    s.at(44).add("overflow").at(46).items(MOBILE_CONNSTATUS="1").log("interface is " + HOSTILE)
    s.add("rumour", text="of a later version").at(50).connect(822, "192.0.2.118").change("flag", CONFLICT, "0")
    s.items(WIRED_WAN_CONNSTATUS="1").decide(1, "wan_first_wan_connected", "WAN first, and the WAN is connected")
    s.items(WAN_PRIORITY="1").sent(0x5305, "WAN_PRIO_CHANGED", "prio_listener").at(58).log("the end")
    return s.lines


def long_story(events):
    s = Story().add("live")
    for number in range(events):
        s.at(1 + number / 50)
        if number % 4 == 0:
            s.items(WIRED_WAN_NETSTATUS=str(number // 4 % 2))
        elif number % 4 == 1:
            s.received(0x5303, "WAN_WIRED_MODE_CHANGE", "portwatch")
        else:
            s.log(f"line {number}")
    return s.lines


def written(lines):
    return "".join(json.dumps(line, ensure_ascii=False) + "\n" for line in lines).encode()
