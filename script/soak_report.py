"""What the members of a long run (script/soak) said, as figures, a table and complaints.

Times are seconds of the machine's monotonic clock.
"""
import bisect
import dataclasses
import statistics

BEGIN, END, BROKEN = 0, 1, 2  # states of a publish or a play
MEDIA, CHANNEL, PLAY = "media", "channel", "play"

MOST_GAP = 2.0  # seconds between two pictures outside of faults
MOST_OFFSET = 45  # ms between picture and sound at the end
MOST_GROWTH, MOST_MORE = 1.10, 8.0  # memory: factor, MiB
POOLS = 3  # of buffers that may be there at one time and not at another
LAST = 10.0  # seconds that count as "at the end"
WINDOW = 30.0  # of the worst median


@dataclasses.dataclass
class Fault:
    link: str  # what it takes away: MEDIA, CHANNEL, or PLAY of one member
    text: str
    begin: float
    members: set  # who must come back by itself
    touched: set  # whose figures it may spoil
    end: float = float("inf")


class Member:
    """The lines of one member, in the order they came."""

    def __init__(self, name, publishes):
        self.name = name
        self.publishes = publishes
        self.events = []
        self.samples = []  # (time, sample)
        self.refused = []  # orders
        self.stopping = float("inf")

    def take(self, line):
        at = line["ms"] / 1000
        if "event" in line:
            self.events.append((at, line["event"], line["value"]))
        elif "sample" in line:
            self.samples.append((at, line["sample"]))
        elif line.get("status"):
            self.refused.append(f"{line['order']}: status {line['status']}")

    def reconnects(self, link):
        """(lost, back) of each loss that ended."""
        lost, found = None, []
        for at, event, value in list(self.events):
            if link == CHANNEL:
                is_lost, is_back = event == "disconnected", event == "reconnected"
            else:
                told = event in ("publish", "play")
                is_lost, is_back = told and value == BROKEN, told and value == BEGIN
            if is_lost and lost is None:
                lost = at
            elif is_back and lost is not None:
                found.append((lost, at))
                lost = None
        return found

    def came_back(self, fault):
        if fault.link == PLAY:
            return any(fault.begin < at <= fault.end and event == "play" and value == BEGIN
                       for at, event, value in list(self.events))
        return any(fault.begin <= lost <= fault.end for lost, _ in self.reconnects(fault.link))


def is_inside(member, faults, begin, end):
    return any(member.name in fault.touched and begin < fault.end and end > fault.begin
               for fault in faults)


def unexpected(member, faults):
    found = list(member.refused)
    asked = member.reconnects(MEDIA) + member.reconnects(CHANNEL)
    backs = {back for _, back in asked}
    is_first = True
    for at, event, value in member.events:
        if at >= member.stopping:
            break
        links = {fault.link for fault in faults
                 if member.name in fault.touched and fault.begin <= at <= fault.end}
        if event in ("publish", "play"):
            fine = {BEGIN: is_first or at in backs or PLAY in links, BROKEN: MEDIA in links,
                    END: PLAY in links}.get(value, False)
            is_first = False
        elif event == "stream":
            fine = value in (0, 1) or (value == 2 and CHANNEL in links)
        elif event == "disconnected":
            fine = CHANNEL in links
        elif event == "reconnected":
            fine = at in backs
        else:
            fine = event in ("counts", "size") or value == 0
        if not fine:
            found.append(f"{event} {value} at {at:.1f}")
    return found


def gaps(member, faults):
    """The longest one outside and inside of faults."""
    outside, inside = 0.0, 0.0
    seen = [(s["gapEnd"] / 1000 - s["gap"] / 1000, s["gapEnd"] / 1000)
            for at, s in member.samples if s["gap"] > 0]
    if member.samples and member.samples[-1][1]["still"] > 0:
        at, sample = member.samples[-1]
        seen.append((at - sample["still"] / 1000, at))
    for begin, end in seen:
        if is_inside(member, faults, begin, end):
            inside = max(inside, end - begin)
        else:
            outside = max(outside, end - begin)
    return outside, inside


def median(values):
    return statistics.median(values) if values else None


def worst_of_windows(timed):
    """The median farthest from nothing of any stretch of WINDOW seconds with enough in it."""
    worst = None
    for number in {int(at // WINDOW) for at, _ in timed}:
        values = [value for at, value in timed if at // WINDOW == number]
        if len(values) >= 5 and (worst is None or abs(median(values)) > abs(worst)):
            worst = median(values)
    return worst


def latencies(member, publisher, faults):
    """From the encoder's entrance to the player's picture, ms, by the flashes."""
    given = sorted(flash for _, s in publisher.samples for flash in s["flashes"])
    found = []
    for _, sample in member.samples:
        for shown in sample["flashes"]:
            before = bisect.bisect_right(given, shown) - 1
            # Flashes are a second apart: more than that is told as too little, or not at all.
            if before >= 0 and shown - given[before] < 900 and not is_inside(
                    member, faults, shown / 1000, shown / 1000):
                found.append(shown - given[before])
    return found


class Report:
    def __init__(self, members, faults, begin, end):
        self.members, self.faults, self.begin, self.end = members, faults, begin, end
        self.rows, self.complaints = [], []
        self.figures = {m.name: {} for m in members}
        for member in members:
            if self.values(member, "rss", begin, end):
                self.measure(member)
            else:
                self.complain(member, "gave no sample")

    def complain(self, member, text):
        self.complaints.append(f"{member.name}: {text}")

    def values(self, member, name, begin, end, quiet=False):
        return [s[name] for at, s in member.samples if begin <= at <= end and
                not (quiet and is_inside(member, self.faults, at, at))]

    def put(self, member, name, text):
        self.figures[member.name][name] = text

    def measure(self, member):
        self.memory(member)
        self.counts(member, "threads", "threads")
        # A pool of buffers has two, and how many pools there are depends on the pictures' way.
        self.counts(member, "fds", "descriptors", POOLS * 2)
        for link in (MEDIA, CHANNEL):
            expected = sum(fault.link == link and member.name in fault.members
                           for fault in self.faults)
            self.put(member, f"{link} reconnects / expected",
                     f"{len(member.reconnects(link))} / {expected}")
        for fault in self.faults:
            if member.name in fault.members and not member.came_back(fault):
                self.complain(member, f"did not come back after: {fault.text}")
        outside, inside = gaps(member, self.faults)
        self.put(member, "longest gap outside / inside of faults, s", f"{outside:.2f} / {inside:.2f}")
        if outside > MOST_GAP:
            self.complain(member, f"{outside:.2f} s without a picture outside of faults")
        fps = median(self.values(member, "fps", self.begin, self.end))
        self.put(member, "pictures a second, median", f"{fps:.1f}")
        if not member.publishes:
            self.together(member)
            ages = latencies(member, self.members[0], self.faults)
            self.put(member, "latency, median / most, ms",
                     f"{median(ages):.0f} / {max(ages):.0f}" if ages else "-")
        strange = unexpected(member, self.faults)
        self.put(member, "events that were not expected", "; ".join(strange[:5]) +
                 (f" and {len(strange) - 5} more" if len(strange) > 5 else "") or "none")

    def memory(self, member):
        """An allocator with an arena for each thread grows for a while, and then no more; what is
        lost again and again does not stop. So the second half counts."""
        length = self.end - self.begin
        tenth, half = (self.begin + length / part for part in (10, 2))
        first, then = (median(self.values(member, "rss", at - LAST / 2, at + LAST / 2))
                       for at in (tenth, half))
        now = median(self.values(member, "rss", self.end - LAST, self.end))
        if None in (first, then, now):
            self.complain(member, "memory is not known")
            return
        first, then, now = first / 1024, then / 1024, now / 1024
        hourly = (now - then) / (self.end - half) * 3600
        self.put(member, "memory at 10 % / half / end, MiB (growth an hour since half)",
                 f"{first:.1f} / {then:.1f} / {now:.1f} ({hourly:+.1f})")
        if now > then * MOST_GROWTH + MOST_MORE:
            self.complain(member, f"memory grew from {then:.1f} to {now:.1f} MiB")

    def counts(self, member, name, title, room=0):
        every = self.values(member, name, self.begin, self.end)
        minute = self.begin + 60
        base = (self.values(member, name, minute - 15, minute + 15, quiet=True) or
                self.values(member, name, self.begin, minute))
        last = median(self.values(member, name, self.end - LAST, self.end))
        self.put(member, f"{title}, first / most / last",
                 f"{every[0]} / {max(every)} / {last if last is None else int(last)}")
        if base and (last is None or last > max(base) + room):
            self.complain(member, f"{title}: {last} at the end, {max(base)} after the first minute")

    def together(self, member):
        timed = [(at, value) for at, s in member.samples for value in s["av"]
                 if not is_inside(member, self.faults, at - 2, at)]
        middle, worst = median([value for _, value in timed]), worst_of_windows(timed)
        last = median([value for at, value in timed if at > self.end - WINDOW])
        show = lambda value: "-" if value is None else f"{value:+.0f}"
        self.put(member, "sound behind picture, median / worst of 30 s / end, ms",
                 f"{show(middle)} / {show(worst)} / {show(last)}")
        if last is None or abs(last) > MOST_OFFSET:
            self.complain(member, f"sound is {show(last)} ms behind the picture at the end")

    def table(self):
        titles = list(dict.fromkeys(t for figures in self.figures.values() for t in figures))
        names = [member.name for member in self.members]
        lines = ["| | " + " | ".join(names) + " |", "|---" * (len(names) + 1) + "|"]
        for title in titles:
            cells = [self.figures[name].get(title, "") for name in names]
            lines.append(f"| {title} | " + " | ".join(cells) + " |")
        return "\n".join(lines)
