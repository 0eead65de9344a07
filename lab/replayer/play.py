"""play.py [check] RECORDING [SPEED]: checks a recording, or plays it in the router that this runs in."""
import json
import os
import pathlib
import signal
import subprocess
import sys
import time
from collections import Counter

import plan
import recording
import router

PATIENCE = float(os.environ.get("PATIENCE", "20"))
LOOK_EVERY = 0.004
QUIET = 0.5  # what the daemon may still do once all is done that the recording has


class Progress:
    """What the replay's own recording says has happened so far."""

    def __init__(self, writers):
        self.counts, self.lives, self.writers = Counter(), plan.Lives(), writers
        self.rest, self.file, self.is_live, self.number = b"", None, False, 0

    def look(self):
        self.file = self.file or open(router.RECORDING, "rb")
        *lines, self.rest = (self.rest + self.file.read()).split(b"\n")
        for raw in lines:
            self.number += 1
            if self.number > 1:
                self.note(recording.parse_event(self.number, raw))

    def note(self, event):
        is_start = self.lives.note(event)
        counted = plan.lane(event, self.writers, is_start) if self.is_live else None
        self.is_live = self.is_live or event.kind == "live"
        if counted:
            self.counts[counted] += 1


class Player:
    def __init__(self, planned, writers, speed):
        self.plan, self.speed, self.writers = planned, speed, writers
        self.bus, self.clients = router.Bus(), router.StandIns()
        self.daemon, self.recorder, self.progress = None, None, None
        self.missing = set()  # what did not come in time is not waited for again
        self.extra_lives = Counter()

    # ---- waiting

    def look(self):
        self.bus.drain()
        self.clients.look()
        if self.progress:
            self.progress.look()
        if self.daemon:
            self.daemon.poll()

    def pass_time(self, until):
        while True:
            self.look()
            left = until - time.monotonic()
            if left <= 0:
                return
            time.sleep(min(left, LOOK_EVERY))

    def wait_for(self, what, holds, patience=PATIENCE):
        deadline = time.monotonic() + patience
        while not holds():
            if time.monotonic() > deadline:
                if what:
                    sys.exit(f"replay: {what} does not come")
                return False
            time.sleep(LOOK_EVERY)
            self.look()
        return True

    def behind(self, wanted):
        return [lane for lane, count in wanted.items()
                if self.progress.counts[lane] < count and lane not in self.missing]

    def catch_up(self, wanted):
        """Waits until the daemon has done what it had done in the recording."""
        if not self.wait_for("", lambda: not self.behind(wanted), min(PATIENCE, 5)):
            late = self.behind(wanted)
            self.missing.update(late)
            print("replay: goes on without", ", ".join(" ".join(map(str, lane)) for lane in late),
                  file=sys.stderr)

    # ---- the start

    def start_daemon(self):
        env = dict(router.ENV)
        if self.speed > 1 and os.path.exists("/usr/sbin/fast_sleep.so"):
            env |= {"LD_PRELOAD": "/usr/sbin/fast_sleep.so", "TIMES_FASTER": str(int(self.speed))}
        with open("/var/log/uplinkd.out", "ab") as out:
            self.daemon = subprocess.Popen(["uplinkd"], env=env, stdin=subprocess.DEVNULL,
                                           stdout=out, stderr=out)

    def end_daemon(self):
        if self.daemon:
            self.daemon.kill()
            self.daemon.wait()
            self.daemon = None

    def start_recorder(self):
        self.recorder = subprocess.Popen(["uplinkctl", "record", str(router.RECORDING)],
                                         env=router.ENV)
        self.wait_for("the recorder", lambda: router.RECORDING.exists() and
                      b'"kind":"live"' in router.RECORDING.read_bytes())
        self.progress = Progress(self.writers)

    def restore(self):
        for event in self.plan.start:
            self.change(event)

    def warm_up(self):
        """A daemon that ran before the recording began has seen the state at its start: it is told of
        it, its clients have what they had learned, and whatever that changed is put back."""
        self.start_daemon()
        log = pathlib.Path("/var/log/uplinkd/uplinkd.log")
        says = lambda text: log.exists() and text in log.read_text("utf-8", "replace")
        self.wait_for("the end of the daemon's start", lambda: says("uplinkd_init finish!"))
        for message in (0x5303, 0x5302, 0xF000):
            self.bus.send(message, "unknown")
        self.wait_for("an idle daemon", lambda: says("recv msg(0xF000)"))
        for key, values in self.plan.first_clients.items():
            lives = len(self.clients.lives.get(key, ()))
            if lives:
                self.clients.answer(key, lives, "bound", values)
                self.extra_lives[key] = lives - 1
        self.wait_for("the clients' scripts", lambda: not self.clients.scripts)
        self.bus.send(0x5301, "unknown")
        self.bus.send(0xF001, "unknown")
        self.wait_for("an idle daemon", lambda: says("recv msg(0xF001)"))
        self.restore()

    # ---- the inputs

    def change(self, event):
        if event.kind == "setting":
            router.set_setting(event.name, event.new)
        elif event.kind == "item":
            router.set_item(event.id, event.new)
        elif event.kind == "items":
            for item, value in event.stored:
                router.set_item(item, value)
        elif event.kind == "flag":
            router.set_flag(event.name, event.new)
        elif event.kind == "file":
            router.set_file(event.name, event.new)
        elif event.kind == "sibling":
            self.bus.register(event.name, event.new)
        elif event.kind == "message":
            self.bus.send(event.id, event.sender)
        elif event.kind == "daemon":
            # What a script tells nobody is not to reach the next daemon.
            self.wait_for("", lambda: not self.clients.scripts, 5)
            self.end_daemon()
            if event.state == "started":
                self.start_daemon()
        elif event.kind == "answer":
            life = event.life + self.extra_lives[event.key]
            self.wait_for("", lambda: len(self.clients.lives.get(event.key, ())) >= life, 2)
            if not self.clients.answer(event.key, life, event.event, event.values):
                print(f"replay: no {event.key[0]} of WAN {event.key[1]} to answer at {event.t} s",
                      file=sys.stderr)

    def play(self):
        router.make_interfaces(self.plan.interfaces, self.plan.macs)
        self.restore()
        if self.plan.was_running:
            self.warm_up()
        self.start_recorder()
        before, t = time.monotonic(), 0.0
        for event in self.plan.inputs:
            gap = max(event.t - t, 0) / self.speed
            self.catch_up(event.after)
            self.pass_time(before + gap)
            before, t = time.monotonic(), max(event.t, t)
            self.change(event)
        self.catch_up(self.plan.counts)
        self.pass_time(time.monotonic() + QUIET)
        self.recorder.send_signal(signal.SIGINT)
        if self.recorder.wait() != 0:
            sys.exit("replay: the recorder has failed")


def main(words):
    is_check = words[:1] == ["check"]
    path, *rest = words[is_check:]
    try:
        writers = router.item_writers(os.environ if is_check else router.ENV)
        planned = plan.Planner(recording.read(path), writers)
    except (recording.Malformed, OSError) as error:
        sys.exit(f"replay: {path}: {error}" if isinstance(error, recording.Malformed) else
                 f"replay: {error}")
    if not is_check:
        Player(planned, writers, float(rest[0])).play()


if __name__ == "__main__":
    main(sys.argv[1:])
