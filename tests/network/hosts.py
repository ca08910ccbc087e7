"""Three hosts on this machine and the cables between them, for script/test-network.

A host is a network namespace. The servers' host has one address, that of the servers; the
publisher's and the player's host have a cable each to it. Names hold the process id, so two
runs never meet. Needs root.

A cable is a veth pair where the kernel has netem, and a pair of tap devices with a Wire
between them where it has not. Bandwidth (tbf) and cuts are the kernel's in both.

    network = Network()
    network.make()                  NotPossible says what this machine lacks
    network.cables["publisher"]     see Cable
    network.command("player", [...])    what runs it there
    network.close()                 ends whatever still runs on the hosts, and removes them;
                                    also when it was made in part or not at all
"""
import os
import signal
import subprocess
import time

from wire import Wire

SERVER = "10.73.0.1"
NOBODY = "10.73.0.9"  # the servers' host gets what is sent there and says nothing
PLACES = {"publisher": 1, "player": 2}  # the third number of a cable's addresses


class NotPossible(Exception):
    """What the machine lacks, for people."""


def run(*words):
    result = subprocess.run(words, capture_output=True, text=True, timeout=20)
    if result.returncode != 0:
        said = " ".join(result.stderr.split()) or f"status {result.returncode}"
        raise NotPossible(f"{' '.join(words)}: {said}")
    return result.stdout


class Cable:
    """From a client's host to the servers' host."""

    def __init__(self, host, servers, place, has_netem):
        self.has_netem = has_netem
        self.wire = None
        self.place = place
        self.near = (host, f"{host}c")  # namespace and device
        self.far = (servers, f"{host}s")
        if has_netem:
            run("ip", "link", "add", self.near[1], "type", "veth", "peer", "name", self.far[1])
        else:
            self.wire = Wire(self.near[1], self.far[1])
        for (namespace, device), number in ((self.near, 2), (self.far, 1)):
            run("ip", "link", "set", device, "netns", namespace)
            run("ip", "-n", namespace, "address", "add", f"10.73.{place}.{number}/24",
                "dev", device)
        run("ip", "-n", servers, "link", "set", self.far[1], "up")
        self.join()

    def impair(self, delay=0, jitter=0, loss=0):
        """In both directions: milliseconds, and lost packets in a hundred."""
        if self.wire:
            self.wire.impair(delay / 1000, jitter / 1000, loss / 100)
            return
        for namespace, device in (self.near, self.far):
            run("tc", "-n", namespace, "qdisc", "replace", "dev", device, "root", "netem",
                "limit", "10000", "delay", f"{delay}ms", f"{jitter}ms", "loss", f"{loss}%")

    def narrow(self, kilobits):
        """What the client sends; the queue in front of it holds 300 ms."""
        run("tc", "-n", self.near[0], "qdisc", "replace", "dev", self.near[1], "root",
            "tbf", "rate", f"{kilobits}kbit", "burst", "10kb", "latency", "300ms")

    def cut(self):
        """On the client's side."""
        run("ip", "-n", self.near[0], "link", "set", self.near[1], "down")

    def join(self):
        """After a cut. The system has forgotten the way to other networks by then."""
        run("ip", "-n", self.near[0], "link", "set", self.near[1], "up")
        run("ip", "-n", self.near[0], "route", "replace", "default",
            "via", f"10.73.{self.place}.1")

    def heal(self):
        """Neither impaired nor narrow any more."""
        if self.wire:
            self.wire.impair(0, 0, 0)
        for namespace, device in (self.near, self.far):
            # Refused where there is nothing to take away.
            subprocess.run(("tc", "-n", namespace, "qdisc", "del", "dev", device, "root"),
                           capture_output=True, timeout=20)


class Network:
    def __init__(self):
        self.cables = {}
        self.names = {}
        self.has_netem = False

    def make(self):
        if os.geteuid() != 0:
            raise NotPossible("only root may make network namespaces")
        try:
            self._make()
        except FileNotFoundError as error:
            raise NotPossible(f"{error.filename} is missing (package iproute2)") from None
        except (OSError, subprocess.TimeoutExpired) as error:
            raise NotPossible(str(error)) from None

    def _make(self):
        for host in ("servers", "publisher", "player"):
            name = f"vx{os.getpid()}{host[:2]}"
            self.names[host] = name
            run("ip", "netns", "add", name)
            run("ip", "-n", name, "link", "set", "lo", "up")
        servers = self.names["servers"]
        run("ip", "-n", servers, "address", "add", f"{SERVER}/32", "dev", "lo")
        self.has_netem = self._can_shape(servers, "netem", "delay", "1ms")
        if not self._can_shape(servers, "tbf", "rate", "1mbit", "burst", "10kb", "latency", "1s"):
            raise NotPossible("the kernel has no tbf")
        if not self.has_netem and not os.path.exists("/dev/net/tun"):
            raise NotPossible("the kernel has neither netem nor tap devices")
        for host, place in PLACES.items():
            self.cables[host] = Cable(self.names[host], servers, place, self.has_netem)

    @staticmethod
    def _can_shape(namespace, *words):
        shape = ("tc", "-n", namespace, "qdisc", "add", "dev", "lo", "root", *words)
        if subprocess.run(shape, capture_output=True, timeout=20).returncode != 0:
            return False
        run("tc", "-n", namespace, "qdisc", "del", "dev", "lo", "root")
        return True

    def command(self, host, words):
        return ["ip", "netns", "exec", self.names[host], *words]

    def repair(self):
        for cable in self.cables.values():
            cable.heal()
            cable.join()

    def close(self):
        for name in self.names.values():
            self._end_all(name)
        for cable in self.cables.values():
            if cable.wire:
                cable.wire.close()
        for name in self.names.values():
            subprocess.run(("ip", "netns", "del", name), capture_output=True, timeout=20)
        self.cables, self.names = {}, {}

    @staticmethod
    def _end_all(name):
        """Nobody but this run has processes in its namespaces."""
        for _ in range(20):
            found = subprocess.run(("ip", "netns", "pids", name), capture_output=True, text=True,
                                   timeout=20).stdout.split()
            if not found:
                return
            for pid in found:
                try:
                    os.kill(int(pid), signal.SIGKILL)
                except ProcessLookupError:
                    pass
            time.sleep(0.1)
