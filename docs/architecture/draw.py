#!/usr/bin/env python3
"""Draws one-call.svg from one-call.log: one call's way through the threads.

    docs/architecture/draw.py            writes one-call.svg beside this file
    docs/architecture/draw.py --check    status 1 when the file is not what would be written

The log holds the lines of one PlayStream as the library wrote them, and the names of the
threads in lines "# thread ID NAME". What a thread hands to another one is drawn as an arrow;
which lines those are stands in HANDS below. The engine logs nothing about a play that goes
well: what it does is drawn as a box without a line of the log. To draw another run, put its
lines into one-call.log; every pattern must be found, or the script ends with an error.
"""
import html
import math
import pathlib
import re
import sys

HERE = pathlib.Path(__file__).resolve().parent
LINE = re.compile(r"\S+ (\d+):(\d+):(\d+)\.(\d+) (\d+) \d (\S+?):\d+ (.*)")

# Who runs on a lane, under the thread's name.
ROLES = {
    "application": "any thread",
    "QR.0": "worker 0",
    "vaxo-engine": "engine's loop",
    "vaxo-events": "engine's events",
    "QR.2": "worker 2",
}
# From the line that has the first text to the next one that has the second: what is handed on.
HANDS = [
    ("0: ", "StartCmdExecuteInner", "a pass"),
    (">> current executing", "call back state", "a delivery"),
    (">> current executing", "StartCmdExecuteInner", "a pass"),
]
ENGINE_FROM = "PopCmd"  # the pass that calls the engine ...
ENGINE_TO = "SetCmdExecuteCmdDone"  # ... and the first line that its event causes
ENGINE_TEXT = ["is it listed?", "player, server,", "first picture"]

WIDTH = 1120
LEFT, LANE, TOP, ROW, BOX = 96, 94, 92, 27, 96  # pixels
STYLE = """
  .paper { fill: #ffffff } text { fill: #1f2328; font: 13px sans-serif }
  .log { font: 11px monospace } .time, .role, .hand { fill: #59636e; font-size: 12px }
  .name { font-weight: bold } .lane, .guide { stroke: #d1d9e0 } .guide { stroke-dasharray: 2 4 }
  .arrow { stroke: #0969da; fill: none; stroke-width: 1.6 } .head, .dot { fill: #0969da }
  .box { fill: #ddf4ff; stroke: #0969da; stroke-dasharray: 4 3 }
  @media (prefers-color-scheme: dark) {
    .paper { fill: #0d1117 } text { fill: #f0f6fc }
    .time, .role, .hand { fill: #9198a1 } .lane, .guide { stroke: #3d444d }
    .arrow { stroke: #4493f8 } .head, .dot { fill: #4493f8 }
    .box { fill: #121d2f; stroke: #4493f8 }
  }
"""


def read(path):
    """The lanes' names in order, and the lines as (microseconds, lane, tag, text)."""
    lanes, numbers, lines = [], {}, []
    for raw in path.read_text().splitlines():
        thread = re.match(r"# thread (\d+) (\S+)", raw)
        if thread:
            numbers[thread[1]] = len(lanes)
            lanes.append(thread[2])
        elif not raw.startswith("#"):
            hour, minute, second, micro, tid, tag, text = LINE.match(raw).groups()
            time = ((int(hour) * 60 + int(minute)) * 60 + int(second)) * 10**6 + int(micro)
            lines.append((time, numbers[tid], tag, text))
    return lanes, lines


def find(lines, text, after=-1):
    """The index of the first line behind `after` that has the text."""
    for index in range(after + 1, len(lines)):
        if text in lines[index][3]:
            return index
    sys.exit(f"draw.py: no line with {text!r} behind line {after}")


class Drawing:
    def __init__(self, lanes, lines):
        self.lines = lines
        self.out = []
        self.called = find(lines, ENGINE_FROM)
        self.back = find(lines, ENGINE_TO)
        self.height = self.y(len(lines) - 1) + 40
        for lane, name in enumerate(lanes):
            self.lane(lane, name)

    def x(self, lane):
        return LEFT + LANE * lane + LANE // 2

    def y(self, index):
        return TOP + ROW * index + (BOX if index >= self.back else 0)

    def text(self, x, y, text, kind, anchor="start"):
        shown = html.escape(text, quote=False)
        self.out.append(f'<text class="{kind}" x="{x}" y="{y}" text-anchor="{anchor}">{shown}'
                        "</text>")

    def lane(self, lane, name):
        x = self.x(lane)
        self.text(x, 34, name, "name", "middle")
        self.text(x, 52, ROLES[name], "role", "middle")
        self.out.append(f'<line class="lane" x1="{x}" y1="64" x2="{x}" y2="{self.height - 16}"/>')

    def row(self, index):
        time, lane, tag, text = self.lines[index]
        y = self.y(index)
        edge = LEFT + LANE * 5 + 8
        self.out.append(f'<line class="guide" x1="{self.x(lane) + 8}" y1="{y}" x2="{edge}" '
                        f'y2="{y}"/>')
        self.out.append(f'<circle class="dot" cx="{self.x(lane)}" cy="{y}" r="4"/>')
        self.text(LEFT - 12, y + 4, f"{(time - self.lines[0][0]) / 1000:.3f}", "time", "end")
        self.text(edge + 8, y + 4, f"{tag}: {text}", "log")

    def arrow(self, start, end, label):
        (x1, y1), (x2, y2) = start, end
        away = 6 if x2 > x1 else -6  # the label stands above the line
        length = math.hypot(x2 - x1, y2 - y1)
        right, down = (x2 - x1) / length, (y2 - y1) / length
        x2, y2 = x2 - right * 7, y2 - down * 7
        feet = [f"{x2 - 9 * right + side * down:.1f} {y2 - 9 * down - side * right:.1f}"
                for side in (-4, 4)]
        self.out.append(f'<line class="arrow" x1="{x1}" y1="{y1}" x2="{x2:.1f}" y2="{y2:.1f}"/>')
        self.out.append(f'<path class="head" d="M{x2:.1f} {y2:.1f} L{feet[0]} L{feet[1]} Z"/>')
        self.text(round((x1 + x2) / 2) + away, round((y1 + y2) / 2) - 4, label, "hand",
                  "start" if away > 0 else "end")

    def engine(self):
        engine = 2
        top, bottom = self.y(self.back - 1) + 20, self.y(self.back) - 24
        x = self.x(engine)
        self.out.append(f'<rect class="box" x="{x - 46}" y="{top}" width="92" '
                        f'height="{bottom - top}" rx="4"/>')
        for number, text in enumerate(ENGINE_TEXT):
            self.text(x, top + 20 + 17 * number, text, "role", "middle")
        self.arrow((self.x(1), self.y(self.called)), (x - 20, top + 7), "a job")
        self.arrow((x + 20, bottom), (self.x(3), self.y(self.back)), "an event")
        gone = (self.lines[self.back][0] - self.lines[self.back - 1][0]) / 1000
        self.text(LEFT - 12, (top + bottom) // 2 + 4, f"+{gone:.0f} ms", "time", "end")
        self.text(LEFT + LANE * 5 + 16, (top + bottom) // 2 + 4,
                  "(the engine logs nothing about a play that goes well)", "role")

    def hands(self):
        last = -1
        for come, go, label in HANDS:
            start = find(self.lines, come, max(last, -1))
            end = find(self.lines, go, start)
            last = start - 1
            self.arrow((self.x(self.lines[start][1]), self.y(start)),
                       (self.x(self.lines[end][1]), self.y(end)), label)

    def svg(self):
        for index in range(len(self.lines)):
            self.row(index)
        self.engine()
        self.hands()
        self.text(LEFT - 12, 52, "ms", "role", "end")
        title = "One PlayStream, from the log of a run"
        return "\n".join(
            ['<svg xmlns="http://www.w3.org/2000/svg" '
             f'viewBox="0 0 {WIDTH} {self.height}" '
             f'width="{WIDTH}" height="{self.height}" role="img" aria-label="{title}">',
             f"<title>{title}</title>", f"<style>{STYLE}</style>",
             f'<rect class="paper" width="{WIDTH}" height="{self.height}"/>',
             *self.out, "</svg>", ""])


def main():
    svg = Drawing(*read(HERE / "one-call.log")).svg()
    target = HERE / "one-call.svg"
    if sys.argv[1:] == ["--check"]:
        return 0 if target.read_text() == svg else 1
    target.write_text(svg)
    return 0


if __name__ == "__main__":
    sys.exit(main())
