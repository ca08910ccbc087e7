"""The servers, and the command line as somebody who publishes or plays, for script/test-network.

Clocks are the machine's monotonic one in milliseconds, as in the command line's events.
"""
import json
import os
import pathlib
import subprocess
import time

from hosts import NOBODY, SERVER

ROOT = pathlib.Path(__file__).resolve().parents[2]
PORTS = {"MEDIA": 1935, "UPLOAD": 8080, "SERVICE": 8883, "FEED": 1936}
FEWEST_PICTURES = 5  # a second, of a stream that flows
OLDEST_PICTURE = 4000


class Fault(Exception):
    """Something that must not be, for people."""


def now():
    return time.clock_gettime(time.CLOCK_MONOTONIC) * 1000


class Servers:
    """They listen on every address of their host: the media server's own checks need 127.0.0.1
    and everybody else the host's address. The addresses in servers.env are written before the
    first start, which keeps them."""

    def __init__(self, network, folder):
        self.network = network
        self.folder = folder / "servers"
        self.folder.mkdir(mode=0o700)
        self.write_settings("servers.env", SERVER, SERVER)

    def write_settings(self, name, service, media):
        """Settings for the command line, with the given hosts. The path of the file."""
        path = self.folder / name
        path.write_text(
            f"VAXO_APP_ID=42\nVAXO_KEY_FILE={self.folder}/keys/42\n"
            f"VAXO_SERVICE_URL=mqtts://{service}:{PORTS['SERVICE']}\n"
            f"VAXO_MEDIA_URL=rtmp://{media}:{PORTS['MEDIA']}/live\n"
            f"VAXO_UPLOAD_URL=http://{media}:{PORTS['UPLOAD']}/upload\n"
            f"VAXO_HTTP_URL=http://{media}:{PORTS['UPLOAD']}\n"
            f"VAXO_FEED=rtmp://127.0.0.1:{PORTS['FEED']}/hls\n")
        path.chmod(0o600)
        return path

    def start(self):
        result = self._call("start")
        if result.returncode != 0:
            raise Fault(f"the servers did not start: {result.stderr.strip()}")
        self.here = self.folder / "servers.env"
        self.away = self.write_settings("away.env", NOBODY, NOBODY)
        self.media_away = self.write_settings("media-away.env", SERVER, NOBODY)

    def are_running(self):
        return self._call("status").returncode == 0

    def _call(self, command):
        return subprocess.run(
            self.network.command("servers", ["env", "VAXO_BIND=0.0.0.0",
                                             str(ROOT / "script" / "servers"), command,
                                             str(self.folder)]),
            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60)


class Person:
    """One run of the command line on a host, with its events."""

    living = []  # whoever has not ended

    def __init__(self, network, app, folder, host, name, settings, words):
        self.name = name
        self.events_file = folder / f"{name}.events"
        command = [str(app), *words, "--channel", "room", "--user", name, "--config",
                   str(settings), "--events", str(self.events_file), "--log",
                   str(folder / f"{name}.log")]
        with open(folder / f"{name}.out", "w", encoding="utf-8") as out:
            self.process = subprocess.Popen(network.command(host, command), text=True,
                                            stdin=subprocess.PIPE, stdout=out, stderr=out)
        Person.living.append(self)

    def events(self, since=0):
        """What has happened since a moment. A line that is not whole yet does not count."""
        try:
            text = self.events_file.read_text(encoding="utf-8")
        except FileNotFoundError:
            return []
        lines = text[:text.rfind("\n") + 1].splitlines()
        return [event for event in map(json.loads, lines) if event["ms"] >= since]

    def first(self, since=0, **fields):
        """The clock of the first event with these fields, or None."""
        for event in self.events(since):
            if all(event.get(field) == value for field, value in fields.items()):
                return event["ms"]
        return None

    def stats(self, since=0, until=float("inf")):
        return [e for e in self.events(since) if e["event"] == "stats" and e["ms"] < until]

    def must_live(self):
        status = self.process.poll()
        if status is not None:
            raise Fault(f"{self.name} ended with status {status}: {self.last_words()}")

    def saw_the_end(self):
        """The stream was taken from the channel's list, and so its play is over."""
        return bool(self.first(event="stream-gone") and self.first(event="play", state="END"))

    def last_words(self):
        failed = [e["reason"] for e in self.events() if e["event"] == "failed"]
        states = [e["state"] for e in self.events() if e["event"] in ("publish", "play")]
        return "; ".join(failed) or f"states {' '.join(states) or 'none'}"

    def type(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def await_end(self, seconds):
        try:
            status = self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            raise Fault(f"{self.name} does not end") from None
        Person.living.remove(self)
        self.process.stdin.close()
        return status

    def leave(self):
        """Properly: within 10 s, with the channel told."""
        self.type("stop")
        status = self.await_end(10)
        if status != 0 or self.first(event="left", error=0) is None:
            raise Fault(f"{self.name} left with status {status}: {self.last_words()}")

    def kill(self):
        self.process.kill()
        self.await_end(10)

    # --- how it goes ---

    def is_well(self, stats):
        """By one reading, and the last state told before it."""
        states = [e["state"] for e in self.events()
                  if e["event"] in ("publish", "play") and e["ms"] <= stats["ms"]]
        if not stats["connected"] or states[-1:] != ["BEGIN"]:
            return False
        if stats["publishing"]:
            return stats["fps"] >= FEWEST_PICTURES
        return any(play["fps"] >= FEWEST_PICTURES and play["latency"] < OLDEST_PICTURE
                   for play in stats["plays"])

    def well_since(self, since):
        """From when on two readings in a row say so, or None."""
        readings = self.stats(since)
        for one, other in zip(readings, readings[1:]):
            if self.is_well(one) and self.is_well(other):
                return one["ms"]
        return None

    def signs(self, since, until):
        """What it told of trouble: pairs of clock and text, the first of each kind."""
        found = {}
        for event in self.events(since):
            if event["ms"] >= until:
                break
            text = self._sign(event)
            if text and text not in found:
                found[text] = event["ms"]
        return [(clock, text) for text, clock in found.items()]

    def _sign(self, event):
        if event["event"] in ("publish", "play") and event["state"] != "BEGIN":
            return event["state"].lower()
        if event["event"] == "stream-gone":
            return "stream gone"
        if event["event"] == "disconnected":
            return "channel lost"
        if event["event"] == "stats" and any(p["fps"] < 2 for p in event["plays"]):
            return "picture stands"
        return None

    def pictures(self, since):
        """A second, sent or shown: the mean of the readings."""
        found = [e["fps"] if e["publishing"] else sum(p["fps"] for p in e["plays"])
                 for e in self.stats(since)]
        return sum(found) / max(1, len(found))

    def kilobits(self, since, until):
        """The mean of the readings, sent or received; None without any."""
        found = [e["bitrate"] if e["publishing"] else sum(p["bitrate"] for p in e["plays"])
                 for e in self.stats(since, until)]
        return round(sum(found) / len(found) / 1000) if found else None


def end_everybody():
    for person in list(Person.living):
        person.kill()


def listed(network, app, folder, settings):
    """The streams of the channel, as somebody new sees them."""
    words = [str(app), "list", "--channel", "room", "--user", "cleo", "--quiet", "--config",
             str(settings)]
    result = subprocess.run(network.command("player", words), stdin=subprocess.DEVNULL,
                            capture_output=True, text=True, timeout=20, cwd=folder)
    if result.returncode != 0:
        raise Fault(f"the list could not be had: {result.stderr.strip()}")
    return [line.split()[0] for line in result.stdout.splitlines()]


def find_app():
    """Built here, unless VAXO_NETWORK_APP names one."""
    given = os.environ.get("VAXO_NETWORK_APP")
    if given:
        return pathlib.Path(given).resolve()
    if subprocess.run([ROOT / "script" / "build", "app"]).returncode != 0:
        raise Fault("the command line could not be built")
    return ROOT / "build" / "app" / "apps" / "vaxolive" / "vaxolive"
