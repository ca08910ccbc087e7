"""What each row of script/test-network begins and ends with: two who meet in a channel, and leave
it. Fault says what is not as it must be."""
import re
import time

from people import Fault, Person, listed, now

KILOBITS, PICTURES = 1200, 20  # set for the picture
BACK, ANSWER = 20, 10  # seconds


def check(holds, text):
    if not holds:
        raise Fault(text)


class Stage:
    """The hosts and servers, and the two who meet there, anew for each row."""

    def __init__(self, network, app, servers, folder):
        self.network = network
        self.app = app
        self.servers = servers
        self.top = folder
        self.folder = folder

    def person(self, host, name, settings, *words):
        return Person(self.network, self.app, self.folder, host, name, settings, words)

    def make_folder(self, row):
        self.folder = self.top / re.sub(r"\W+", "-", row)
        self.folder.mkdir()

    def enter(self, row):
        self.make_folder(row)
        self.ann = self.person(
            "publisher", "ann", self.servers.here, "publish", "--stream", "show", "--interactive",
            "--video", "test:picture", "--audio", "test:tone", "--size", "480x270",
            "--fps", str(PICTURES), "--bitrate", f"{KILOBITS}k")
        self.await_well("ann", 0)
        self.bob = self.player("bob")
        self.await_well("bob", 0)

    def player(self, name):
        return self.person("player", name, self.servers.here, "play", "--stream", "show",
                           "--interactive")

    def warm_up(self):
        """On a machine that is too slow for it, nothing that follows would mean anything."""
        self.watch(4)
        for person in (self.ann, self.bob):
            rate = person.pictures(now() - 2500)
            check(rate > 0.8 * PICTURES, "nothing is wrong yet, and "
                  f"{person.name} has {rate:.0f} of {PICTURES} pictures: is the machine busy?")

    def watch(self, seconds):
        """Lets it go on. Nobody may end meanwhile."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            self.ann.must_live()
            if not self.bob.saw_the_end():
                self.bob.must_live()
            time.sleep(0.1)

    def play_again(self):
        """Where the player was told that the stream ended, and so left: as a viewer does who
        sees the stream in the list again."""
        if self.bob.saw_the_end():
            check(self.bob.await_end(ANSWER) == 0, "bob saw the stream's end and left with a fault")
            self.await_well("ann", now())
            self.bob = self.player("bob-again")

    def await_well(self, who, since, seconds=BACK):
        """When "ann" or "bob" was well, which must be at most so many seconds after a moment or
        now, whichever is later."""
        end = max(now(), since) + seconds * 1000
        while True:
            if who == "bob":
                self.play_again()
            person = getattr(self, who)
            well = person.well_since(since)
            if well is not None and well <= end:
                return well
            person.must_live()
            check(now() < end, f"{who} is not well in {seconds} s: {person.last_words()}")
            time.sleep(0.1)

    def leave(self):
        self.bob.leave()
        self.ann.leave()
        streams = listed(self.network, self.app, self.folder, self.servers.here)
        check(not streams, f"still in the channel's list: {' '.join(streams)}")
        check(self.servers.are_running(), "a server died")
