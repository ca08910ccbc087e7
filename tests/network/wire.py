"""A cable between two tap devices that this process holds: delay, jitter and loss where the
kernel has no netem. As with netem, each frame has its own delay, so jitter changes their order.

The devices are made in this process's network namespace and may then be moved to others; they
vanish with the Wire or its process. A device that is down loses what is meant for it.
"""
import fcntl
import heapq
import os
import random
import select
import struct
import threading
import time

SET_INTERFACE = 0x400454CA  # TUNSETIFF
TAP_WITHOUT_HEADER = 0x1002  # IFF_TAP | IFF_NO_PI
LONGEST_FRAME = 65536
MOST_WAITING = 10000  # frames


def make_tap(name):
    end = os.open("/dev/net/tun", os.O_RDWR | os.O_NONBLOCK | os.O_CLOEXEC)
    try:
        fcntl.ioctl(end, SET_INTERFACE, struct.pack("16sH22x", name.encode(), TAP_WITHOUT_HEADER))
    except OSError:
        os.close(end)
        raise
    return end


class Wire:
    def __init__(self, one, other):
        self._ends = [make_tap(one)]
        try:
            self._ends.append(make_tap(other))
        except OSError:
            os.close(self._ends[0])
            raise
        self._other = dict(zip(self._ends, reversed(self._ends)))
        self._trouble = (0, 0, 0)  # replaced as a whole: the thread reads it without a lock
        self._closed = threading.Event()
        self._waiting = []
        self._thread = threading.Thread(target=self._carry, daemon=True)
        self._thread.start()

    def impair(self, delay, jitter, loss):
        """Seconds, seconds, and the share of lost frames. Any thread."""
        self._trouble = (delay, jitter, loss)

    def close(self):
        self._closed.set()
        self._thread.join()
        for end in self._ends:
            os.close(end)

    def _carry(self):
        number = 0
        while not self._closed.is_set():
            pause = 0.1
            if self._waiting:
                pause = min(pause, max(0, self._waiting[0][0] - time.monotonic()))
            for end in select.select(self._ends, [], [], pause)[0]:
                number += 1
                self._take(end, number)
            self._give()

    def _take(self, end, number):
        try:
            frame = os.read(end, LONGEST_FRAME)
        except OSError:  # the device has just gone down
            time.sleep(0.001)
            return
        delay, jitter, loss = self._trouble
        if random.random() < loss or len(self._waiting) >= MOST_WAITING:
            return
        due = time.monotonic() + max(0, delay + random.uniform(-jitter, jitter))
        heapq.heappush(self._waiting, (due, number, self._other[end], frame))

    def _give(self):
        while self._waiting and self._waiting[0][0] <= time.monotonic():
            _, _, end, frame = heapq.heappop(self._waiting)
            try:
                os.write(end, frame)
            except OSError:  # the device is down
                pass
