"""The router as a replay handles it, from inside: its stores, its bus, its interfaces, its clients."""
import os
import pathlib
import re
import socket
import struct
import subprocess
import time

BUS = pathlib.Path("/run/uplinkd/bus")
STARTED = pathlib.Path("/run/replay/started")
RECORDING = pathlib.Path("/run/recording.jsonl")
MARKER = pathlib.Path("/tmp/.flag_settingsd_init_finished")
WAN_SCRIPT = pathlib.Path("/etc/ebscript/wan_mode_setting.sh")
RECORD = struct.Struct("<3i4096s2i")
DAEMON = 24
ENV = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C", "TZ": "UTC"}


def run(*words, check=True, env=None):
    return subprocess.run(words, check=check, env=env or ENV, text=True, capture_output=True)


def names(kind, env=None):
    said = run("uplinkctl", "names", kind, env=env).stdout
    return [line.split("\t") for line in said.splitlines()]


def item_writers(env):
    """Who writes an item, of all that the daemon knows."""
    writers = {int(row[0]): row[2] for row in names("items", env)}
    for item in list(writers):
        if 201101 <= item <= 201112 or item == 201128:
            for wan in range(1, 8):
                writers[(wan + 260) * 1000 + item - 201100] = writers[item]
    return writers


# ---- stores

def set_setting(name, value):
    if value is None:
        run("uplinkctl", "config", "unset", name, check=False)
    else:
        run("uplinkctl", "config", "set", name, value)


def set_item(item, value):
    run("devinfo", str(item), value)


def set_flag(name, value):
    run("uplinkctl", "flag", "set", name, value)


def set_file(name, is_there):
    path = MARKER if name == "marker" else WAN_SCRIPT
    if not is_there:
        path.unlink(missing_ok=True)
    elif name == "marker":
        path.touch()
    else:  # what it did shows in the items
        path.write_text("#!/bin/sh\nexit 0\n", encoding="ascii")
        path.chmod(0o755)


# ---- bus

class Bus:
    """The sibling applications: registered as they were, deaf to what they hear."""

    def __init__(self):
        self.ids = {row[1]: int(row[0]) for row in names("applications")}
        self.ends = {}

    def register(self, name, is_there=True):
        if not is_there:
            if name in self.ends:
                self.ends.pop(name).close()
                (BUS / str(self.ids[name])).unlink()
        elif name in self.ids and self.ids[name] != DAEMON and name not in self.ends:
            path = BUS / str(self.ids[name])
            BUS.mkdir(parents=True, exist_ok=True)
            end = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
            path.unlink(missing_ok=True)
            end.bind(str(path))
            end.setblocking(False)
            self.ends[name] = end

    def send(self, message, sender):
        message = message - (1 << 32) if message >= 1 << 31 else message
        is_guest = sender in self.ids and sender not in self.ends
        if is_guest:
            self.register(sender)
        end = self.ends.get(sender) or socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        try:
            end.sendto(RECORD.pack(message, 0, 0, b"", 0, 0), str(BUS / str(DAEMON)))
        except OSError:
            pass  # nobody is there to take it
        if is_guest:
            self.register(sender, False)

    def drain(self):
        for end in self.ends.values():
            try:
                while end.recv(RECORD.size):
                    pass
            except BlockingIOError:
                pass


# ---- interfaces

FAR_ENDS = {}


def make_interfaces(interfaces, macs):
    """Pairs, so that each has a carrier; the far ends belong to nobody."""
    for name in sorted(interfaces - set(FAR_ENDS)):
        FAR_ENDS[name] = far = f"far{len(FAR_ENDS)}"
        mac = ["address", macs[name]] if name in macs else []
        run("ip", "link", "add", "name", name, *mac, "type", "veth", "peer", "name", far)
        run("ip", "link", "set", name, "up")
        run("ip", "link", "set", far, "up")


def advertise(interface, gateway):
    """A router advertisement from GATEWAY, for a default route and nothing else."""
    far = FAR_ENDS[interface]
    run("ip", "-6", "address", "replace", f"{gateway}/64", "dev", far, "nodad")
    with socket.socket(socket.AF_INET6, socket.SOCK_RAW, socket.IPPROTO_ICMPV6) as end:
        scope = socket.if_nametoindex(far)
        end.bind((gateway, 0, 0, scope))
        end.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_HOPS, 255)
        end.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_IF, scope)
        end.sendto(struct.pack(">BBHBBHII", 134, 0, 0, 64, 0, 1800, 0, 0), ("ff02::1", 0, 0, scope))


def has_advertised_route(interface):
    """As the client's script looks for it."""
    with open("/proc/net/ipv6_route", encoding="ascii") as routes:
        return any(line.split()[-1] == interface and " 00450003 " in line for line in routes)


# ---- clients

class StandIns:
    """The stand-ins that the daemon's batches have started."""

    def __init__(self):
        STARTED.mkdir(parents=True)
        self.lives, self.known, self.scripts = {}, set(), []

    def look(self):
        new = [entry for entry in os.scandir(STARTED)
               if entry.name not in self.known and not entry.name.endswith(".new")]
        for entry in sorted(new, key=lambda entry: entry.stat().st_mtime_ns):
            self.known.add(entry.name)
            lines = pathlib.Path(entry.path).read_text(encoding="utf-8").split("\n")
            wan = re.search(r"wan(\d)", lines[2])
            if wan:
                self.lives.setdefault((lines[0], int(wan[1])), []).append([entry.name, *lines[1:]])
        self.scripts = [script for script in self.scripts if script.poll() is None]

    def start(self, script, word, env):
        arguments = [script, word] if word else [script]
        self.scripts.append(subprocess.Popen(
            arguments, env=ENV | env, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL))

    def answer(self, key, life, event, values):
        """Runs the client's script as the client would. False if there is no such client."""
        lives = self.lives.get(key, [])
        if life > len(lives):
            return False
        pid, interface, *scripts = lives[life - 1]
        if not os.path.exists(f"/proc/{pid}"):
            return False
        if key[0] == "pppd":
            self.answer_ppp(pid, interface, scripts, event, values)
        else:
            if key[0] == "udhcpc6" and interface in FAR_ENDS:
                prepare_ipv6(interface, values)
            self.start(scripts[0], event, lease(key[0], interface, values))
        return True

    def answer_ppp(self, pid, interface, scripts, event, values):
        up, down, up6, down6 = scripts[:4]
        mark = STARTED.parent / f"up.{pid}"
        env = {"IFNAME": interface, "IPLOCAL": values.get("ip", ""), "USEPEERDNS": "1",
               "IPREMOTE": values.get("router", ""), "DNS1": values.get("dns1", ""),
               "DNS2": values.get("dns2", "")}
        if event == "down":
            mark.unlink(missing_ok=True)
        else:
            make_interfaces({interface}, {})
            mark.touch()
        for script in (down, down6) if event == "down" else (up, up6):
            if script:
                self.start(script, "", env)


def lease(program, interface, values):
    """What the client's script finds in its environment."""
    if program == "udhcpc6":
        return {"interface": interface, "ipv6": values.get("ipv6", ""),
                "dns": " ".join(filter(None, (values.get("dns1_6"), values.get("dns2_6"))))}
    subnet = values.get("subnet", "")
    mask = sum(int(part).bit_count() for part in subnet.split(".")) if "." in subnet else 32
    return {"interface": interface, "ip": values.get("ip", ""), "subnet": subnet, "mask": str(mask),
            "router": values.get("router", ""),
            "dns": " ".join(filter(None, (values.get("dns1"), values.get("dns2"))))}


def prepare_ipv6(interface, values):
    """The kernel's part: the address of a router advertisement, which the stateless script looks
    for, and its default route, which both do."""
    if values.get("ipv6"):
        run("ip", "-6", "address", "replace", f"{values['ipv6']}/64", "dev", interface, "nodad")
    deadline = time.monotonic() + 2
    while not has_advertised_route(interface) and time.monotonic() < deadline:
        advertise(interface, values.get("gateway6") or "fe80::1")
        time.sleep(0.05)
