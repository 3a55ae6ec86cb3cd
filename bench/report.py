#!/usr/bin/env python3
"""Runs the benchmark programs, and makes tables and plots of what they print. `./dev bench` calls it.

    report.py run PROGRAMS [--against PROGRAMS --against-name REV] [--runs N] [--seconds N] [--json] [--publish] [--row ROW]
    report.py smoke PROGRAMS
    report.py plots

PROGRAMS is a folder of built programs. Each run starts every program anew, and each benchmark gives one time per run, the
quickest of three. A ratio is taken within one run, where both times lie side by side, and the table has the median over
the runs: how many times as long as velmora a peer takes. The spread is the distance of the quartiles. The gain over the
programs of another folder is taken within one run too, from short turns of both.

`--publish` writes docs/plots/results.json, draws docs/plots/*.svg and fills the tables of docs/performance.md; `plots`
does the last two from the results that are there. A table is filled between

    <!-- bench: ROW WORD... -->
    <!-- /bench -->

with the rows whose name starts with ROW, as find/ or read-xml do. With words, one of them is the row's variant or size.
Between <!-- goals --> and <!-- /goals --> comes what bench/goals.json aims at, beside what is reached.
"""

import argparse
import json
import math
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
PLOTS = ROOT / "docs" / "plots"
RESULTS = PLOTS / "results.json"
PAGE = ROOT / "docs" / "performance.md"
GOALS = ROOT / "bench" / "goals.json"
PROGRAMS = ["bench_readers", "bench_writers", "bench_text", "bench_numbers", "bench_format_double", "bench_serial",
            "bench_files", "bench_startup"]
OWN = "velmora"
SMOKE_SECONDS = 100   # for all programs
LEAST_SECONDS = 0.05  # that a benchmark takes in one run
REPETITIONS = 3       # into which they are divided; the quickest counts
TURNS = 3             # of two libraries in one run; the quickest of each counts


# ---- running ----

def parse_output(text):
    """The benchmarks of one program's JSON, also of one that was ended early."""
    start = text.find('"benchmarks": [')
    if start < 0:
        return []
    try:
        return json.loads(text)["benchmarks"]
    except json.JSONDecodeError:
        pass
    body = text[start + len('"benchmarks": ['):]
    end = body.rfind("\n    }")
    return json.loads("[" + body[:end] + "\n    }]") if end >= 0 else []


def parse_benchmark(entry):
    """(row, variant, size, contender), and what was measured."""
    name = entry["run_name"].split("/repeats:")[0]
    manual = name.endswith("/manual_time")
    row, variant, size, contender = name.removesuffix("/manual_time").split("/")
    nanoseconds = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[entry["time_unit"]]
    spent = entry["real_time" if manual else "cpu_time"] * nanoseconds
    return (row, variant, size, contender), {"time": spent, "bytes": entry.get("bytes", 0),
                                             "items": entry.get("items", 0), "note": entry.get("label", "")}


def ended(process, seconds):
    """What it wrote until its end, or until the time is over."""
    try:
        out, _ = process.communicate(timeout=seconds)
    except subprocess.TimeoutExpired:
        process.kill()
        out, _ = process.communicate()
        return out, True
    if process.returncode != 0:
        sys.exit(f"{process.args[0]} failed")
    return out, False


def run_program(path, row, least, largest, deadline):
    command = [str(path), "--benchmark_format=json", f"--benchmark_min_time={least / REPETITIONS:.4f}",
               f"--benchmark_repetitions={REPETITIONS}", f"--benchmark_filter=^({row})", f"--largest={largest}"]
    left = None if deadline is None else max(deadline - time.monotonic(), 0.1)
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=None, text=True)
    out, _ = ended(process, left)
    return parse_output(out)


def list_benchmarks(path, row):
    command = [str(path), "--benchmark_list_tests=true", f"--benchmark_filter=^({row})"]
    out = subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout
    return [line for line in out.splitlines() if "/" in line]


def largest_document(names, seconds):
    """The bytes of the largest documents that one run over these benchmarks has the time for."""
    # Roughly what a benchmark takes, with the making of its document.
    took = {"90MB": 6.0, "16MB": 1.2}
    for largest, left_out in ((90000000, ()), (16000000, ("90MB",)), (1000000, ("90MB", "16MB"))):
        sizes = [name.split("/")[2] for name in names]
        if sum(took.get(size, 0.15) for size in sizes if size not in left_out) <= seconds:
            break
    return largest


class Results:
    """Times by row, variant, size and contender; in nanoseconds, one per run. "new" has those of all contenders in turn,
    "now" and "old" those of the present library and of another one in turn."""

    def __init__(self):
        self.rows = {}

    def add(self, side, program, run, entries):
        for entry in entries:
            if entry.get("run_type") == "aggregate":
                continue
            key, measured = parse_benchmark(entry)
            row = self.rows.setdefault(key, {"program": program, "new": {}, "now": {}, "old": {}})
            row[side][run] = min(measured["time"], row[side].get(run, math.inf))
            if side == "new":
                row.update(bytes=measured["bytes"], items=measured["items"], note=measured["note"])

    def as_json(self, context):
        rows = []
        for (row, variant, size, contender), data in self.rows.items():
            if not data["new"]:
                continue
            line = {"row": row, "variant": variant, "size": size, "contender": contender,
                    "program": data["program"], "note": data["note"], "bytes": data["bytes"], "items": data["items"],
                    "ns": {str(run): round(spent, 3) for run, spent in sorted(data["new"].items())}}
            for side in ("now", "old"):
                if data[side]:
                    line[side + "_ns"] = {str(run): round(spent, 3) for run, spent in sorted(data[side].items())}
            rows.append(line)
        return {"context": context, "rows": rows}


def comparisons(path, row):
    """The beginnings of names that one comparison has in common."""
    heads = []
    for name in list_benchmarks(path, row):
        head = name.removesuffix("/manual_time").rsplit("/", 1)[0] + "/"
        if head not in heads:
            heads.append(head)
    return heads


def steps_of_a_run(run, name, new, old, row):
    """(side, program, rows, part of the time) in the order in which they run. The times of both libraries are taken in
    short turns, since the machine may be slower a second later; neither is always the first."""
    if old is None:
        yield "new", new / name, row, 1
        return
    for head in comparisons(new / name, row):
        turn = [("now", new / name, head + OWN, 1 / TURNS), ("old", old / name, head + OWN, 1 / TURNS)]
        for i in range(TURNS):
            yield from turn if (run + i) % 2 == 0 else turn[::-1]
        yield "new", new / name, head, 1


def measure(options):
    new = pathlib.Path(options.programs)
    old = pathlib.Path(options.against) if options.against else None
    programs = [name for name in PROGRAMS if (new / name).exists() and list_benchmarks(new / name, options.row)
                and (old is None or (old / name).exists())]
    if not programs:
        sys.exit(f"no benchmark is called {options.row}")
    least = LEAST_SECONDS
    largest = 90000000
    deadline = None
    if options.seconds:
        deadline = time.monotonic() + options.seconds
        names = [line for name in programs for line in list_benchmarks(new / name, options.row)]
        sides = 1 if old is None else 3
        largest = largest_document(names, options.seconds / options.runs / sides)
        # About half of the time goes into making documents and into the first, unmeasured rounds.
        least = min(least, options.seconds / (2 * options.runs * sides * len(names)))
    results = Results()
    finished = 0
    for run in range(options.runs):
        for name in programs:
            print(f"run {run + 1} of {options.runs}: {name}", file=sys.stderr)
            for side, program, row, part in steps_of_a_run(run, name, new, old, options.row):
                if deadline is None or time.monotonic() < deadline:
                    results.add(side, name, run, run_program(program, row, least * part, largest, deadline))
        if deadline is not None and time.monotonic() >= deadline:
            print(f"the time was over in run {run + 1} of {options.runs}", file=sys.stderr)
            break
        finished = run + 1
    return results.as_json(context_of(options, finished))


def context_of(options, runs):
    def output(*command):
        try:
            return subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                  text=True, cwd=ROOT).stdout.strip()
        except (OSError, subprocess.CalledProcessError):
            return ""
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    context = {"revision": output("git", "rev-parse", "--short=12", "HEAD"), "runs": runs,
               "processor": cpu.group(1) if cpu else platform.machine(), "processors": os.cpu_count(),
               "compiler": output("c++", "--version").split("\n")[0]}
    if options.against:
        context["against"] = options.against_name
    return context


# ---- numbers ----

def quartile_spread(values):
    """The distance of the quartiles as a part of the median; 0 of one value."""
    if len(values) < 2:
        return 0.0
    quarters = statistics.quantiles(values, n=4, method="inclusive")
    return (quarters[2] - quarters[0]) / statistics.median(values)


def paired_ratios(over, under):
    """Of the runs that both have."""
    return [over[run] / under[run] for run in over if run in under and under[run] > 0]


def families(document):
    """[(key, {contender: row})] of rows that are compared with one another, in the order of the results."""
    groups = {}
    for row in document["rows"]:
        groups.setdefault((row["row"], row["variant"], row["size"]), {})[row["contender"]] = row
    return list(groups.items())


def time_text(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}" if nanoseconds < 999.5 * size else f"{nanoseconds / size:.0f} {unit}"
    return f"{nanoseconds:.3g} ns"


def ratio_text(ratio):
    return f"{ratio:.0f}" if ratio >= 99.5 else f"{ratio:.1f}" if ratio >= 9.95 else f"{ratio:.2f}"


def median_text(ratios):
    return ratio_text(statistics.median(ratios)) if ratios else ""


def gains_of(own):
    """How many times as fast velmora is as at the other revision."""
    return paired_ratios(own.get("old_ns", {}), own.get("now_ns", {}))


# ---- the table on the terminal ----

def terminal_table(document):
    against = document["context"].get("against")
    lines = []
    head = f"{'':<37}{'':<20}{'median':>9}{'spread':>8}{'MB/s':>8}{'each':>9}{'ratio':>8}"
    lines.append(head + (f"{'old':>10}{'gain':>7}" if against else ""))
    for (row, variant, size), contenders in families(document):
        own = contenders.get(OWN)
        title = f"{row}/{variant}/{size}"
        for contender, data in contenders.items():
            values = list(data["ns"].values())
            median = statistics.median(values)
            speed = f"{data['bytes'] * 1e3 / median:.0f}" if data["bytes"] else ""
            each = time_text(median / data["items"]) if data["items"] else ""
            ratio = median_text(paired_ratios(data["ns"], own["ns"])) if own and own is not data else ""
            line = (f"{title:<37}{contender:<20}{time_text(median):>9}{quartile_spread(values) * 100:>6.1f} %"
                    f"{speed:>8}{each:>9}{ratio:>8}")
            old = data.get("old_ns")
            if against and old:
                line += f"{time_text(statistics.median(old.values())):>10}{median_text(gains_of(data)):>7}"
            lines.append((line + ("   " + data["note"] if data["note"] else "")).rstrip())
            title = ""
    lines.append("ratio: the peer's time over velmora's, above 1 velmora is faster"
                 + (f"; gain: velmora's time at {against} over the present one" if against else ""))
    return "\n".join(lines)


# ---- the tables of the page ----

def page_table(document, words):
    """One line per row, variant and size; velmora's time per item, its gain, and the peers' ratios."""
    chosen = [(key, contenders) for key, contenders in families(document)
              if "/".join(key).startswith(words[0]) and OWN in contenders
              and (len(words) == 1 or key[1] in words[1:] or key[2] in words[1:])]
    if not chosen:
        raise SystemExit(f"no result for the table {' '.join(words)}")
    peers = []
    for _, contenders in chosen:
        peers += [name for name in contenders if name != OWN and name not in peers]
    rows_differ = len({key[0] for key, _ in chosen}) > 1
    gain = ["gain"] if any(gains_of(contenders[OWN]) for _, contenders in chosen) else []
    lines = [" | ".join(["| ", OWN, "each"] + gain + peers) + " |", "|---" * (len(gain + peers) + 3) + "|"]
    for (row, variant, size), contenders in chosen:
        own = contenders[OWN]
        median = statistics.median(own["ns"].values())
        cells = [", ".join(([row] if rows_differ else []) + [variant, size]), time_text(median),
                 time_text(median / own["items"]) if own["items"] else ""]
        if gain:
            cells.append(median_text(gains_of(own)))
        for peer in peers:
            cells.append(median_text(paired_ratios(contenders[peer]["ns"], own["ns"])) if peer in contenders else "")
        lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines)


def goals_table(document, goals):
    """One line per goal: the peer's ratio at the other revision, now and as aimed at; the gain, and that aimed at."""
    lines = ["| | peer | before | now | goal | gain | goal |", "|---|---|---|---|---|---|---|"]
    rows = dict(families(document))
    for goal in goals:
        contenders = rows.get(tuple(goal["row"].split("/")), {})
        if goal["peer"] not in contenders:
            raise SystemExit(f"no result for the goal {goal['row']} beside {goal['peer']}")
        own = contenders[goal.get("own", OWN)]
        now, gains = statistics.median(paired_ratios(contenders[goal["peer"]]["ns"], own["ns"])), gains_of(own)
        before = ratio_text(now / statistics.median(gains)) if gains else ""
        cells = [goal["work"], goal["peer"], before, ratio_text(now), str(goal.get("ratio", "")), median_text(gains),
                 str(goal.get("gain", ""))]
        lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines)


def fill_page(text, document, goals=()):
    def table(match):
        return f"{match.group(1)}\n{page_table(document, match.group(2).split())}\n{match.group(3)}"
    def table_of_goals(match):
        return f"{match.group(1)}\n{goals_table(document, goals)}\n{match.group(2)}"
    text = re.sub(r"(<!-- bench: ([^>]*?) -->)\n.*?(<!-- /bench -->)", table, text, flags=re.DOTALL)
    return re.sub(r"(<!-- goals -->)\n.*?(<!-- /goals -->)", table_of_goals, text, flags=re.DOTALL)


# ---- plots ----

# Different for colour-blind eyes too, on both backgrounds.
COLOURS = ["#0072b2", "#d55e00", "#009e73", "#cc79a7", "#8a6d00", "#56b4e9", "#8250df", "#8b949e"]
STYLE = """<style>
text { font: 12px sans-serif; fill: #24292f; }
.title { font-weight: bold; font-size: 14px; }
.small { font-size: 11px; }
.page { fill: #ffffff; }
.grid { stroke: #d0d7de; stroke-width: 1; }
.one { stroke: #57606a; stroke-width: 1.5; }
.guide { stroke: #57606a; stroke-dasharray: 3 3; }
@media (prefers-color-scheme: dark) {
text { fill: #e6edf3; }
.page { fill: #0d1117; }
.grid { stroke: #30363d; }
.one, .guide { stroke: #8b949e; }
}
</style>"""


class Drawing:
    """An SVG, as lines of text that are the same for the same results."""

    def __init__(self, width, height):
        self.lines = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
                      f'viewBox="0 0 {width} {height}">', STYLE, f'<rect class="page" width="{width}" height="{height}"/>']

    def text(self, x, y, text, kind="", anchor="start", colour=""):
        text = text.replace("&", "&amp;").replace("<", "&lt;")
        style = f' style="fill:{colour}"' if colour else ""
        self.lines.append(f'<text x="{x:.1f}" y="{y:.1f}" class="{kind}" text-anchor="{anchor}"{style}>{text}</text>')

    def line(self, x1, y1, x2, y2, kind="", colour=""):
        stroke = f' stroke="{colour}" stroke-width="2"' if colour else ""
        self.lines.append(f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" class="{kind}"{stroke}/>')

    def dot(self, x, y, colour):
        self.lines.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="4" fill="{colour}"/>')

    def finished(self):
        return "\n".join(self.lines + ["</svg>"]) + "\n"


def logarithmic(low, high, start, end):
    low, high = math.log10(low), math.log10(high)
    return lambda value: start + (math.log10(value) - low) / (high - low) * (end - start)


def ratio_plot(document, title, begins, only_size=""):
    """The rows whose names begin so: a dot per peer at the median of its ratios, with a line from the least to the
    greatest."""
    chosen = []
    for key, contenders in families(document):
        own = contenders.get(OWN)
        if not own or not key[0].startswith(begins) or only_size not in ("", key[2]):
            continue
        dots = [(peer, paired_ratios(data["ns"], own["ns"])) for peer, data in contenders.items() if peer != OWN]
        if any(ratios for _, ratios in dots):
            chosen.append((key, [(peer, ratios) for peer, ratios in dots if ratios]))
    if not chosen:
        return None
    peers = []
    for _, dots in chosen:
        peers += [peer for peer, _ in dots if peer not in peers]
    colour = {peer: COLOURS[i % len(COLOURS)] for i, peer in enumerate(peers)}
    every = [ratio for _, dots in chosen for _, ratios in dots for ratio in ratios]
    low = min(10 ** math.floor(math.log10(min(every))), 0.1)
    high = max(10 ** math.ceil(math.log10(max(every))), 10)
    left, right, top, step = 270, 760, 74, 20
    height = top + step * len(chosen) + 40
    drawing = Drawing(800, height)
    drawing.text(16, 24, title, "title")
    x = 16
    for peer in peers:
        drawing.dot(x + 4, 44, colour[peer])
        drawing.text(x + 12, 48, peer, "small")
        x += 24 + 7 * len(peer)
    scale = logarithmic(low, high, left, right)
    bottom = top + step * len(chosen)
    power = low
    while power <= high * 1.001:
        drawing.line(scale(power), top - 10, scale(power), bottom, "one" if abs(power - 1) < 1e-9 else "grid")
        drawing.text(scale(power), bottom + 16, f"{power:g}", "small", "middle")
        power *= 10
    drawing.text(right, bottom + 32, "times as long as velmora: right of 1 velmora is faster", "small", "end")
    for i, ((row, variant, size), dots) in enumerate(chosen):
        y = top + step * i + step / 2
        label = f"{row} {variant}" if only_size else f"{row} {variant} {size}"
        drawing.text(left - 12, y + 4, label, "small", "end")
        for peer, ratios in dots:
            drawing.line(scale(min(ratios)), y, scale(max(ratios)), y, colour=colour[peer])
            drawing.dot(scale(statistics.median(ratios)), y, colour[peer])
    return drawing.finished()


SIZE_ROWS = ["read-xml-as-is", "read-json-as-is", "read-yaml-as-is", "write-xml", "write-json", "write-yaml",
             "position"]


def size_plot(document):
    """Time over size, both logarithmic: what takes linear time runs along the dashed line."""
    panels = []
    for name in SIZE_ROWS:
        series = {}
        for (row, variant, _), contenders in families(document):
            if row == name and variant == "records":
                for contender, data in contenders.items():
                    series.setdefault(contender, []).append((data["bytes"], statistics.median(data["ns"].values())))
        series = {contender: sorted(points) for contender, points in series.items() if len(points) > 1}
        if series:
            panels.append((name, series))
    if not panels:
        return None
    width, panel_width, panel_height = 900, 300, 260
    rows = (len(panels) + 2) // 3
    drawing = Drawing(width, 40 + panel_height * rows)
    drawing.text(16, 24, "Time over size of the document (dashed: linear)", "title")
    for i, (name, series) in enumerate(panels):
        left, top = 52 + panel_width * (i % 3), 66 + panel_height * (i // 3)
        right, bottom = left + panel_width - 72, top + panel_height - 70
        times = [spent for points in series.values() for _, spent in points]
        across = logarithmic(500, 2e8, left, right)
        upwards = logarithmic(10 ** math.floor(math.log10(min(times))), 10 ** math.ceil(math.log10(max(times))),
                              bottom, top)
        drawing.text(left, top - 8, name, "small")
        for power in range(3, 9):
            drawing.line(across(10 ** power), top, across(10 ** power), bottom, "grid")
            if power in (3, 6, 8):
                drawing.text(across(10 ** power), bottom + 14, {3: "1 KB", 6: "1 MB", 8: "100 MB"}[power], "small", "middle")
        for power in range(math.floor(math.log10(min(times))), math.ceil(math.log10(max(times))) + 1):
            drawing.line(left, upwards(10 ** power), right, upwards(10 ** power), "grid")
            if power % 3 == 0:
                drawing.text(left - 4, upwards(10 ** power) + 4, {0: "1 ns", 3: "1 us", 6: "1 ms", 9: "1 s"}.get(power, ""),
                             "small", "end")
        if OWN in series:
            (size, spent), (last, _) = series[OWN][0], series[OWN][-1]
            drawing.line(across(size), upwards(spent), across(last), upwards(spent * last / size), "guide")
        for j, (contender, points) in enumerate(series.items()):
            colour = COLOURS[j % len(COLOURS)]
            for (x1, y1), (x2, y2) in zip(points, points[1:]):
                drawing.line(across(x1), upwards(y1), across(x2), upwards(y2), colour=colour)
            for x, y in points:
                drawing.dot(across(x), upwards(y), colour)
            drawing.text(left + 6, top + 14 + 13 * j, contender, "small", colour=colour)
    return drawing.finished()


# File, title, beginnings of rows, and the size of documents; the plot of sizes has the others.
RATIO_PLOTS = [
    ("read-xml", "Reading XML, 16 MB", ("read-xml",), "16MB"),
    ("read-json", "Reading JSON, 16 MB", ("read-json",), "16MB"),
    ("read-yaml", "Reading YAML, 16 MB", ("read-yaml",), "16MB"),
    ("write", "Writing documents, 16 MB", ("write-",), "16MB"),
    ("utf8", "UTF-8 and UTF-16", ("check-utf8", "count-utf8", "utf8-to-utf16", "utf16-to-utf8"), ""),
    ("search", "Searches, and comparisons without case", ("find", "compare-", "equal-"), ""),
    ("numbers", "Numbers", ("text-to-", "format-double"), ""),
    ("memory", "Growing texts and vectors, values, messages", ("append", "push-back", "bag-", "message"), ""),
    ("files", "Files, and the start of a process", ("log-", "load-", "startup"), ""),
]


def write_plots(document):
    for name, title, begins, size in RATIO_PLOTS:
        plot = ratio_plot(document, title, begins, size)
        if plot:
            (PLOTS / f"{name}.svg").write_text(plot)
    plot = size_plot(document)
    if plot:
        (PLOTS / "sizes.svg").write_text(plot)
    PAGE.write_text(fill_page(PAGE.read_text(), document, json.loads(GOALS.read_text())))


# ---- commands ----

def smoke(folder):
    """Every benchmark once, with little data. Fails when contents differ or when it takes too long."""
    started = time.monotonic()
    for name in PROGRAMS:
        left = max(started + SMOKE_SECONDS - time.monotonic(), 0.1)
        process = subprocess.Popen([str(folder / name), "--smoke", "--benchmark_min_time=0", "--benchmark_format=json"],
                                   stdout=subprocess.PIPE, text=True)
        out, late = ended(process, left)
        if late:
            sys.exit(f"{name} has not ended {SMOKE_SECONDS} s after the start of the first program")
        count = len(parse_output(out))
        if count == 0:
            sys.exit(f"{name} has run nothing")
        print(f"{name}: {count} benchmarks")
    print(f"in {time.monotonic() - started:.1f} s")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(dest="command", required=True)
    run = commands.add_parser("run")
    run.add_argument("programs")
    run.add_argument("--against")
    run.add_argument("--against-name", default="the other")
    run.add_argument("--runs", type=int, default=5)
    run.add_argument("--seconds", type=float)
    run.add_argument("--json", action="store_true")
    run.add_argument("--publish", action="store_true")
    run.add_argument("--row", default="")
    check = commands.add_parser("smoke")
    check.add_argument("programs")
    commands.add_parser("plots")
    options = parser.parse_args()
    if options.command == "smoke":
        smoke(pathlib.Path(options.programs))
        return
    if options.command == "plots":
        if not RESULTS.exists():
            sys.exit("there are no results yet: ./dev bench --publish makes them")
        write_plots(json.loads(RESULTS.read_text()))
        return
    document = measure(options)
    print(json.dumps(document, indent=1) if options.json else terminal_table(document))
    if options.publish:
        PLOTS.mkdir(exist_ok=True)
        RESULTS.write_text(json.dumps(document, indent=1) + "\n")
        write_plots(document)


if __name__ == "__main__":
    main()
