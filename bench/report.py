"""The figures of script/bench as one Markdown page.

A case is (topic, case); its figures are {who: {"time": nanoseconds, counters...}}, where who is
"vaxo" or a peer. The time is the median of single operations where they were timed singly,
else the mean of many.
"""
import re

ADDED = re.compile(r"^(iterations|repeats|min_time|min_warmup_time|threads):|"
                   r"^(manual_time|real_time|process_time)$")
UNITS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
TITLES = {
    "PostAndRun": "Posting a job and running it, ns a job",
    "SharedWord": "Adding one to a word, alone and while the other processor does, ns",
    "Post": "Posting a job: the caller's share, ns",
    "RoundTrip": "A round trip to a worker, ns",
    "Call": "A call on the proxy: the caller's share, ns",
    "CallToEngine": "From the call to the engine, ns",
    "Drain": "Waiting commands that are let go, ns a command",
    "Event": "An event from the engine to the application, ns",
    "Array": "vaxostl::vector beside std::vector, ns",
    "Map": "vaxostl::map beside std::map, ns",
    "String": "vaxo::strutf8 beside std::string, ns",
}


def read_cases(output):
    cases = {}
    for run in output["benchmarks"]:
        # One repetition alone has no aggregates.
        if run.get("run_type") == "aggregate" and run["aggregate_name"] != "median":
            continue
        if run.get("error_occurred"):
            raise SystemExit(f"bench: {run['name']}: {run.get('error_message')}")
        parts = [p for p in run.get("run_name", run["name"]).split("/") if not ADDED.search(p)]
        topic, case, who = parts[0], "/".join(parts[1:-1]), parts[-1]
        time = run["real_time"] * UNITS[run["time_unit"]]
        figures = {"time": run.get("p50", run.get("ns_per_job", time))}
        figures.update({name: run[name] for name in ("p99",) if name in run})
        cases.setdefault((topic, case), {})[who] = figures
    return cases


def as_json(cases):
    return [{"topic": topic, "case": case, **whos} for (topic, case), whos in cases.items()]


def number(value):
    return f"{value:.2f}" if value < 10 else f"{value:.0f}"


def peers(whos, figure="time"):
    return {who: values[figure] for who, values in whos.items()
            if who != "vaxo" and figure in values}


def ratio(whos, figure="time", peer=None):
    """vaxo against the named or the fastest peer; None without both."""
    others = peers(whos, figure)
    if peer is not None:
        others = {peer: others[peer]} if peer in others else {}
    if "vaxo" not in whos or not others:
        return None
    return whos["vaxo"][figure] / min(others.values())


def in_order(cases):
    """By topic as TITLES has them, then by name, numbers as numbers: cases are run shuffled."""
    topics = list(TITLES)

    def key(item):
        topic, case = item[0]
        parts = re.split(r"(\d+)", case)
        return (topics.index(topic) if topic in topics else len(topics), parts[::2],
                [int(number) for number in parts[1::2]])

    return dict(sorted(cases.items(), key=key))


def tables(cases):
    lines = []
    for topic in dict.fromkeys(topic for topic, _ in cases):
        mine = {case: whos for (other, case), whos in cases.items() if other == topic}
        columns = list(dict.fromkeys(who for whos in mine.values() for who in whos))
        columns.sort(key=lambda who: who != "vaxo")
        figures = [figure for figure in ("time", "p99")
                   if any(figure in values for whos in mine.values() for values in whos.values())]
        for figure in figures:
            title = TITLES.get(topic, topic) + (", 99th percentile" if figure == "p99" else "")
            lines += [f"### {title}", "",
                      "| | " + " | ".join(columns) + " | vaxo / fastest peer |",
                      "|---|" + "---:|" * (len(columns) + 1)]
            for case, whos in mine.items():
                cells = [number(whos[who][figure]) if figure in whos.get(who, {}) else ""
                         for who in columns]
                against = ratio(whos, figure) if figure in whos.get("vaxo", {}) else None
                lines.append(f"| {case} | " + " | ".join(cells) + " | "
                             f"{'' if against is None else f'{against:.2f}'} |")
            lines.append("")
    return lines


def aims(cases):
    """[what, figure, limit, met]"""
    found = []

    def aim(what, value, limit):
        if value is not None:
            found.append([what, round(value, 2), limit, value <= limit])

    for (topic, case), whos in cases.items():
        if topic == "PostAndRun":
            aim(f"post and run, {case}: / the fastest peer", ratio(whos), 1.0)
        elif topic == "RoundTrip" and case.startswith("idle"):
            aim(f"round trip, {case}: / futex, median", ratio(whos, "time", "futex"), 1.25)
        elif topic == "Call" and case in ("log:off/waiting:0", "log:off/waiting:8"):
            # A bare post knows of nobody who waits, and is measured once.
            bare = cases.get((topic, "log:off/waiting:0"), {}).get("asio-post")
            if bare and "vaxo" in whos:
                aim(f"call, {case}: / a bare post", whos["vaxo"]["time"] / bare["time"], 1.5)
        elif topic in ("Call", "CallToEngine") and case.startswith("log:file3"):
            aim(f"{topic}, {case}: / the hand-written peer", ratio(whos, "time", "marshal"), 1.0)
        elif topic in ("Array", "Map", "String"):
            aim(f"{topic} {case}: / the standard library", ratio(whos), 1.0)

    order = ["post", "roun", "call", "Call", "drai"]
    found.sort(key=lambda row: order.index(row[0][:4]) if row[0][:4] in order else len(order))

    def vaxo(topic, case):
        return cases.get((topic, case), {}).get("vaxo", {}).get("time")

    many, few = vaxo("Drain", "log:off/waiting:10000"), vaxo("Drain", "log:off/waiting:100")
    if many and few:
        aim("draining 10,000: / draining 100, a command", many / few, 3.0)
    for small, large in ((64, 1000), (1000, 10000)):
        one, other = vaxo("Call", f"log:off/waiting:{small}"), vaxo("Call",
                                                                    f"log:off/waiting:{large}")
        if one and other:
            aim(f"a call with {large:,} waiting: / with {small:,}, / the commands consulted",
                other / one / (large / small), 1.0)
    return found


def memory_lines(memory):
    if not memory:
        return []
    lines = ["### Memory and size", "", "| | |", "|---|---:|"]

    def walk(prefix, value):
        if isinstance(value, dict):
            for name, inner in value.items():
                walk(f"{prefix} {name}".strip(), inner)
        else:
            lines.append(f"| {prefix.replace('_', ' ')} | {value} |")

    walk("", memory)
    return [*lines, ""]


def write(cases, memory, load):
    cases = in_order(cases)
    lines = [*tables(cases), *memory_lines(memory)]
    wanted = aims(cases)
    if wanted:
        lines += ["### Aims", "", "| | measured | at most | |", "|---|---:|---:|---|"]
        lines += [f"| {what} | {value} | {limit} | {'met' if met else '**missed**'} |"
                  for what, value, limit, met in wanted]
    lines += ["", f"Load of the machine when it began: {load:.2f}.", ""]
    return "\n".join(lines)
