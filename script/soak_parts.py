"""What a long run (script/soak) is made of: members, servers, faults and changes by lot."""
import json
import os
import signal
import subprocess
import threading
import time

import soak_report
from soak_report import CHANNEL, MEDIA, PLAY, Fault

PID_FILES = {MEDIA: "nginx.pid", CHANNEL: "mosquitto.pid"}
RECOVERY = 45  # the longest pause between attempts, an attempt, and room
SETTLING = 3  # seconds after everybody is back


class Failure(Exception):
    pass


def say(text):
    print(f"{time.strftime('%H:%M:%S')} {text}", flush=True)


class Process(soak_report.Member):
    """A member that runs."""

    def __init__(self, program, folder, name, clip=None):
        super().__init__(name, clip is not None)
        words = [program, "publish" if clip else "play", f"{folder}/servers/servers.env", name,
                 f"{folder}/{name}.log"] + ([str(clip)] if clip else [])
        self.errors = open(f"{folder}/{name}.err", "w")
        self.process = subprocess.Popen(words, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=self.errors, text=True)
        self.began = threading.Event()
        self.lines = open(f"{folder}/{name}.jsonl", "w")
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            self.lines.write(line)
            said = json.loads(line)
            self.take(said)
            if said.get("began"):
                self.began.set()

    def tell(self, order):
        try:
            self.process.stdin.write(order + "\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            pass  # whoever is gone is found by its status

    def await_begin(self):
        if not self.began.wait(40):
            raise Failure(f"{self.name} did not begin")

    def leave(self):
        self.stopping = time.monotonic()
        self.tell("stop")
        try:
            status = self.process.wait(40)
        except subprocess.TimeoutExpired:
            status = "none after 40 s"
        self.reader.join(5)
        return status

    def end(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self.reader.join(5)
        for file in (self.lines, self.errors):
            file.close()


class Servers:
    def __init__(self, script, folder):
        self.script, self.folder = script, folder / "servers"
        self.folder.mkdir()
        # Ends them, and removes the keys, when this process is gone, however it ends.
        self.guard = subprocess.Popen([self.script, "guard", self.folder], stdin=subprocess.PIPE,
                                      start_new_session=True)
        self.do("start")

    def do(self, command):
        # They outlive the script and would keep a pipe open: the output goes into a file.
        log = self.folder.parent / "servers.log"
        with open(log, "a") as output:
            if subprocess.run([self.script, command, self.folder], stdin=subprocess.DEVNULL,
                              stdout=output, stderr=output).returncode != 0:
                raise Failure(f"script/servers {command}: see {log}")

    def signal(self, link, number):
        os.killpg(int((self.folder / PID_FILES[link]).read_text()), number)

    def end(self):
        self.guard.stdin.close()
        self.guard.wait(60)


class Faults:
    """One after the other; go() is called again and again and never waits for long."""

    def __init__(self, lot, pause, servers, members, stop_at):
        self.lot, self.pause, self.servers, self.stop_at = lot, pause, servers, stop_at
        self.members = members
        self.all = []
        self.steps = self.run()
        self.over = False

    def go(self):
        self.over = self.over or next(self.steps, "over") == "over"

    def run(self):
        kinds = []
        while True:
            pause = self.lot.uniform(*self.pause)
            if time.monotonic() + pause > self.stop_at:
                return
            yield from self.wait(pause)
            if not kinds:  # each comes before any comes again
                kinds = [self.kill, self.freeze_long, self.freeze_short, self.halt]
                kinds = [(kind, link) for kind in kinds for link in (MEDIA, CHANNEL)]
                self.lot.shuffle(kinds)
            kind, link = kinds.pop()
            yield from kind(link)

    def wait(self, seconds):
        until = time.monotonic() + seconds
        while time.monotonic() < until:
            yield

    def begin(self, link, text, members, touched=None):
        fault = Fault(link, text, time.monotonic(), {m.name for m in members},
                      {m.name for m in touched or self.members})
        self.all.append(fault)
        say(f"fault {len(self.all)}: {text}")
        return fault

    def finish(self, fault):
        healed = time.monotonic()
        waiting = [m for m in self.members if m.name in fault.members]
        while waiting:
            waiting = [m for m in waiting if not m.came_back(fault)]
            if time.monotonic() > healed + RECOVERY:
                fault.end = time.monotonic()
                raise Failure("did not come back after "
                              f"{fault.text}: {', '.join(m.name for m in waiting)}")
            yield
        say(f"fault {len(self.all)}: over {time.monotonic() - healed:.1f} s after it was healed")
        yield from self.wait(SETTLING)
        fault.end = time.monotonic()

    def kill(self, link):
        away = self.lot.uniform(1, 8)
        fault = self.begin(link, f"{link} server killed, back after {away:.1f} s", self.members)
        self.servers.signal(link, signal.SIGKILL)
        yield from self.wait(away)
        self.servers.do(f"start-{link}")
        yield from self.finish(fault)

    def freeze(self, link, seconds, members):
        fault = self.begin(link, f"{link} server frozen for {seconds:.1f} s", members)
        self.servers.signal(link, signal.SIGSTOP)
        yield from self.wait(seconds)
        self.servers.signal(link, signal.SIGCONT)
        yield from self.finish(fault)

    def freeze_long(self, link):
        """Longer than anybody may take to notice."""
        yield from self.freeze(link, self.lot.uniform(*{MEDIA: (7, 10), CHANNEL: (13, 16)}[link]),
                               self.members)

    def freeze_short(self, link):
        """Nobody needs to notice."""
        yield from self.freeze(link, self.lot.uniform(1, 2.5), [])

    def halt(self, _):
        member = self.lot.choice([m for m in self.members if not m.publishes])
        away = self.lot.uniform(1, 8)
        fault = self.begin(PLAY, f"{member.name} stops playing for {away:.1f} s", [member],
                           [member])
        member.tell("play off")
        yield from self.wait(away)
        member.tell("play on")
        yield from self.finish(fault)


class Changes:
    """A setting of the publisher every few seconds."""

    def __init__(self, lot, publisher):
        self.lot, self.publisher = lot, publisher
        self.due = time.monotonic() + 3
        self.off = None

    def go(self):
        if time.monotonic() < self.due:
            return
        self.due = time.monotonic() + self.lot.uniform(2, 6)
        if self.off:  # without picture or sound there is nothing to measure for long
            order, self.off = f"{self.off} on", None
        else:
            order = self.lot.choice([
                f"bitrate {self.lot.randrange(200, 1200) * 1000}",
                f"fps {self.lot.choice([15, 20, 24, 30])}",
                f"size {self.lot.choice(['256x144', '320x180', '480x270', '640x360'])}",
                f"filter {self.lot.randrange(9)}",  # the last one turns flashes into darkness
                f"beautify {self.lot.randrange(8)}",
                f"rotation {self.lot.choice([0, 90, 180, 270])}", "mic off", "cam off"])
            self.off = order.split()[0] if order.endswith("off") else None
        self.publisher.tell(order)
