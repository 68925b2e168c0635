#!/usr/bin/env python3
"""Reads the results of grallocutils_bench and compares every benchmark with its floor.

    report.py RESULTS.json                       prints the table of ratios
    report.py RESULTS.json --docs docs/performance.md
                                                 puts it between the document's marks as well
    report.py GROWTH.json --plot FILE.svg        draws the cost of a hit over the cache's size

A repetition takes both sides in turns and gives one ratio; the table holds the median of these.
Exit status 1 when a target is missed.
"""
import argparse
import collections
import datetime
import json
import platform
import statistics
import sys

# Row, its title, target ratio. "at least" rows are throughputs.
ROWS = [
    ("hit_reused", "cache hit, record reused", 1.3),
    ("hit_called", "the same, floor behind a virtual call", None),
    ("hit_fresh", "cache hit, fresh record", 1.3),
    ("miss", "cache miss", 1.05),
    ("closed_debug", "closed debug statement", None),
    ("lock_unlock", "lock and unlock through the helper", 1.10),
    ("mapper_lock_unlock", "lock and unlock through `MapperV5`", 1.10),
    ("ycbcr_lock", "YCbCr lock through `MapperV5`", 1.10),
    ("ycbcr_lock_stack", "the same, floor reads through the stack", None),
    ("format_name", "pixel format name", 2),
    ("usage_name", "usage name", 2),
    ("dataspace_name", "dataspace name", 2),
    ("hdr_set", "HDR set", 1.5),
    ("hdr_get", "HDR get", 1.5),
    ("hdr_get_rule", "the same, floor reads into a vector", None),
    ("hit_two_threads", "hits per second, two threads", -0.9),
    ("first_call", "first accessor call", 1.05),
    ("first_call_properties", "the same, floor reads the properties too", None),
    ("checked_frame", "a frame with the checker, floor without", 5),
    ("unchecked_frame", "a frame without it, floor has no place for one", 1.05),
    ("unchecked_lock", "the same, lock and unlock alone", None),
    ("profile_load", "loading a profile of 4,000 samples, floor parses its JSON", 1),
]
BEGIN, END = "<!-- ratios: written by scripts/bench -->\n", "<!-- end of ratios -->\n"

# The medians over the repetitions: nanoseconds and allocations an operation of both sides, the ratio
# and its relative interquartile range.
Pair = collections.namedtuple("Pair", "ours floor ours_allocations floor_allocations ratio spread")

def read(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def pair(runs):
    ratios = [run["ours"] / run["floor"] for run in runs]
    ratio = statistics.median(ratios)
    quarters = statistics.quantiles(ratios, n=4) if len(ratios) > 1 else [ratio] * 3
    medians = [statistics.median(run[name] for run in runs) for name in Pair._fields[:4]]
    return Pair(*medians, ratio, (quarters[2] - quarters[0]) / ratio)


def pairs(results):
    """{case: Pair}, cases in the order of their names."""
    runs = collections.defaultdict(list)
    for run in results["benchmarks"]:
        if run["run_type"] == "iteration":
            case = run["run_name"].removesuffix("/manual_time").split("/iterations:")[0]
            runs[case].append(run)
    return {case: pair(runs[case]) for case in sorted(runs, key=natural)}


def natural(case):
    """Sorts numbers in names as numbers."""
    return [(int(part), "") if part.isdigit() else (0, part) for part in case.split("/")]


def verdict(ratio, target):
    """The ratio as it is compared with the target, the target, and whether it is met: None for a row
    that only explains another."""
    if target is None:
        return f"{ratio:.2f}", "", None
    if target < 0:
        return f"{1 / ratio:.2f}", f"at least {-target}", 1 / ratio >= -target
    return f"{ratio:.2f}", f"at most {target}", ratio <= target


def table(cases):
    """The lines of the table, as Markdown, and how many targets are missed."""
    lines = ["| case | ours, ns | floor, ns | ratio | spread | target | | allocations, ours / floor |",
             "|---|---:|---:|---:|---:|---|---|---:|"]
    missed = 0
    for row, title, target in ROWS:
        for case, pair in cases.items():
            if case.split("/")[0] != row:
                continue
            ratio, wanted, met = verdict(pair.ratio, target)
            missed += met is False
            result = {None: "", True: "met", False: "**missed**"}[met]
            variant = ", ".join(case.split("/")[1:])
            lines.append(f"| {title}{': ' + variant if variant else ''} | {pair.ours:,.1f} "
                         f"| {pair.floor:,.1f} | {ratio} | {pair.spread:.0%} | {wanted} "
                         f"| {result} "
                         f"| {pair.ours_allocations:.0f} / {pair.floor_allocations:.0f} |")
    return lines, missed


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        names = [line.split(":")[1].strip() for line in file if line.startswith("model name")]
    return names[0] if names else platform.machine()


def circumstances(results):
    context = results["context"]
    load = ", ".join(f"{value:.1f}" for value in context.get("load_avg", []))
    date = datetime.datetime.fromisoformat(context["date"]).strftime("%Y-%m-%d %H:%M UTC%z")
    repetitions = max(run.get("repetitions", 1) for run in results["benchmarks"])
    return (f"Measured {date} on {processor()}, {context['num_cpus']} processors, "
            f"{platform.freedesktop_os_release()['PRETTY_NAME']}; load at the start (1, 5 and 15 "
            f"minutes): {load}; medians over {repetitions} repetitions.")


def write_docs(path, text):
    with open(path, encoding="utf-8") as file:
        document = file.read()
    head, rest = document.split(BEGIN)
    tail = rest.split(END)[1]
    with open(path, "w", encoding="utf-8") as file:
        file.write(head + BEGIN + text + END + tail)


def plot(cases, path):
    """Both curves over a logarithmic number of entries, as SVG."""
    width, height, left, bottom, top, right = 720, 400, 60, 50, 20, 110
    sizes = [int(case.split("/")[1]) for case in cases]
    steps = max(size.bit_length() - 1 for size in sizes)
    highest = max(max(pair.ours, pair.floor) for pair in cases.values())
    unit = next(u for u in (10, 20, 50, 100, 200, 500, 1000) if highest / u <= 8)
    ceiling = unit * (int(highest / unit) + 1)

    def x(entries):
        return left + (entries.bit_length() - 1) * (width - left - right) / steps

    def y(time):
        return height - bottom - time * (height - bottom - top) / ceiling

    def text(at_x, at_y, words, anchor="middle", extra=""):
        return f'<text x="{at_x:.1f}" y="{at_y:.1f}" text-anchor="{anchor}"{extra}>{words}</text>'

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
             'font-family="sans-serif" font-size="12" fill="#222">',
             f'<rect width="{width}" height="{height}" fill="#fff"/>']
    for time in range(0, ceiling + 1, unit):
        parts.append(f'<path d="M{left} {y(time):.1f}H{width - right}" stroke="#ddd"/>')
        parts.append(text(left - 8, y(time) + 4, time, "end"))
    for step in range(0, steps + 1, 2):
        parts.append(text(x(1 << step), height - bottom + 18, f"{1 << step:,}"))
    parts.append(text((left + width - right) / 2, height - 10, "entries in the cache"))
    parts.append(text(16, (top + height - bottom) / 2, "nanoseconds a hit",
                      extra=f' transform="rotate(-90 16 {(top + height - bottom) / 2:.1f})"'))
    for index, label, colour in ((0, "library", "#c0392b"), (1, "floor", "#2c3e50")):
        points = [(x(size), y(pair[index])) for size, pair in zip(sizes, cases.values())]
        parts.append(f'<polyline fill="none" stroke="{colour}" stroke-width="2" points="'
                     + " ".join(f"{px:.1f},{py:.1f}" for px, py in points) + '"/>')
        parts += [f'<circle cx="{px:.1f}" cy="{py:.1f}" r="3" fill="{colour}"/>' for px, py in points]
        parts.append(text(points[-1][0] + 10, points[-1][1] + 4, label, "start",
                          f' style="fill:{colour}"'))
    with open(path, "w", encoding="utf-8") as file:
        file.write("\n".join(parts + ["</svg>\n"]))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("results")
    parser.add_argument("--docs", metavar="FILE")
    parser.add_argument("--plot", metavar="FILE")
    arguments = parser.parse_args()
    results = read(arguments.results)
    cases = pairs(results)
    if arguments.plot:
        plot(cases, arguments.plot)
        return 0
    lines, missed = table(cases)
    text = "\n".join([circumstances(results), "", *lines]) + "\n"
    print(text, end="")
    if arguments.docs:
        write_docs(arguments.docs, text)
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
