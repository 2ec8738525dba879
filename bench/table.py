#!/usr/bin/env python3
"""Turns measurements into the tables, the summary and the data of the plot.

    bench/table.py RESULTS SUMMARY DETAILS
    bench/table.py --instructions RESULTS      only prints what callgrind has counted

RESULTS is the folder with the measurements. The tables go to standard output, one figure to a row into
SUMMARY, both sides with their spread into DETAILS, and RESULTS/list.dat holds what performance.gnuplot
draws. Exit status 1: a measurement is missing or found its own results wrong.
"""

import collections
import json
import pathlib
import re
import statistics
import sys

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}

# Key, what, group of benchmarks, ours, reference, what that is. Ratios to system calls tell of the
# kernel as much as of the library: they are for information.
RATIOS = [
    ("log_suppressed", "a suppressed Log call", "log_suppressed", "log_suppressed/ours",
     "log_suppressed/reference", "spdlog's disabled level"),
    ("log_line_floor", "a written log line", "log_line", "log_line/ours", "log_line/floor",
     "one fstat, one write"),
    ("log_line_bound", "a written log line", "log_line", "log_line/ours", "log_line/bound",
     "what any line is bound to"),
    ("log_line_spdlog", "a written log line", "log_line", "log_line/ours", "log_line/spdlog",
     "spdlog, flushed, and fstat"),
    ("read_nvme", "one reading, NVMe", "read_nvme", "read_nvme/ours", "read_nvme/reference",
     "bare system calls"),
    ("read_sandisk", "one reading, SanDisk", "read_sandisk", "read_sandisk/ours",
     "read_sandisk/reference", "bare system calls"),
    ("read_stats", "one reading, statistics", "read_stats", "read_stats/ours",
     "read_stats/reference", "bare system calls"),
    ("list_1", "list request, 1 drive", "list_1", "list/ours", "list/reference",
     "bare system calls"),
    ("list_10", "list request, 10 drives", "list_10", "list/ours", "list/reference",
     "bare system calls"),
    ("list_100", "list request, 100 drives", "list_100", "list/ours", "list/reference",
     "bare system calls"),
    ("enum_100", "enumerate instances, 100 drives", "enum_100", "enum/ours", "enum/reference",
     "the list request alone"),
    ("load", "loading the library", "load", "load/ours", "load/reference", "an empty C++ library"),
]

# Key, what, ours, divided by, compared with, what that is, at most so many instructions.
INSTRUCTIONS = [
    ("ir_suppressed", "a suppressed Log call", "suppressed", 1, "suppressed-spdlog",
     "spdlog's disabled level", None),
    ("ir_line", "a written log line", "line", 1, "line-spdlog", "spdlog, flushed", None),
    ("ir_read_nvme", "one reading, NVMe", "nvme", 1, "nvme-bare", "bare system calls", 687),
    ("ir_read_sandisk", "one reading, SanDisk", "sandisk", 1, "sandisk-bare", "bare system calls",
     1636),
    ("ir_models", "finding a drive's row of 200", "models", 1, "models-file",
     "reading them, once", None),
    ("ir_read_stats", "one reading, statistics", "statistics", 1, "statistics-bare",
     "bare system calls", 3876),
    ("ir_list", "a drive in a list of 100", "list", 100, "list-bare", "bare system calls", None),
]
INSTANCE_GOAL = 1551


def spread(values):
    """Median, and the range in which eight of ten values lie."""
    if len(values) == 1:
        return values * 3
    tenths = statistics.quantiles(values, n=10, method="inclusive")
    return [statistics.median(values), tenths[0], tenths[-1]]


def duration(nanoseconds):
    for unit, size, digits in (("ns", 1, 1), ("us", 1e3, 2), ("ms", 1e6, 2)):
        if nanoseconds < size * 1e3 or unit == "ms":
            return f"{nanoseconds / size:.{digits}f} {unit}"


def benchmarks(results, group):
    """Nanoseconds of each repetition by the benchmark's name, all rounds joined."""
    runs = collections.defaultdict(list)
    for file in sorted(results.glob(group + ".[0-9]*.json")):
        for run in json.loads(file.read_text())["benchmarks"]:
            name = "/".join(run["run_name"].split("/")[:2])
            if run.get("error_occurred"):
                sys.exit(f"bench: {name}: {run.get('error_message', '')}")
            if run["run_type"] == "iteration":
                # Processor time, unless the benchmark has timed itself: other work stays out.
                clock = "real_time" if "manual_time" in run["name"] else "cpu_time"
                runs[name].append(run[clock] * NANOSECONDS[run["time_unit"]])
    return runs


def quotients(ours, reference):
    if len(ours) != len(reference) or not ours:
        sys.exit("bench: a benchmark and its reference were not repeated equally often")
    return [a / b for a, b in zip(ours, reference)]


def row(key, what, ours, against, figure, goal=None, remark=""):
    met = None if goal is None or figure is None else figure[0] <= goal
    return dict(key=key, what=what, ours=ours, compared_with=against, figure=figure, goal=goal,
                met=met, remark=remark)


def ratio_rows(results):
    for key, what, group, ours, reference, text in RATIOS:
        runs = benchmarks(results, group)
        yield row(key, what, duration(statistics.median(runs[ours])),
                  f"{text}, {duration(statistics.median(runs[reference]))}",
                  spread(quotients(runs[ours], runs[reference])))
    one = benchmarks(results, "list_1")["list/ours"]
    hundred = [cost / 100 for cost in benchmarks(results, "list_100")["list/ours"]]
    yield row("list_growth", "list request, per drive among 100",
              duration(statistics.median(hundred)),
              f"1 drive alone, {duration(statistics.median(one))}",
              spread(quotients(hundred, one)), 1.1)


def peer_rows(results):
    peers = json.loads((results / "peers.json").read_text())
    for key, what, command in (
            ("vs_smartctl", "one reading, statistics, real kernel", "smartctl -j -A -l devstat"),
            ("vs_nvme_cli", "one reading, NVMe, real kernel", "nvme smart-log -o json")):
        if key not in peers:
            yield row(key, what, "-", command, None, 0.02, peers.get("reason", "not measured"))
            continue
        ours, reference = peers[key]["ours_ns"], peers[key]["reference_ns"]
        yield row(key, what, duration(statistics.median(ours)),
                  f"{command}, {duration(statistics.median(reference))}",
                  spread(quotients(ours, reference)), 0.02)


def process_rows(results):
    idle, few, many = (json.loads((results / (name + ".json")).read_text())
                       for name in ("idle", "rss_few", "rss_many"))
    wakeups = idle["wakeups"] / idle["seconds"]
    yield row("idle_wakeups", "wake-ups per second, 100 drives idle", f"{wakeups:.2f}",
              "one per drive and second", spread([wakeups / idle["drives"]]), 1.02)
    memory = (many["rss_kib"] - few["rss_kib"]) / (many["drives"] - few["drives"])
    yield row("rss_per_drive_kib", "resident memory per further drive", f"{memory:.1f} KiB", "",
              spread([memory]), 48)
    size = (results / "libvekssdprov.so.0.stripped").stat().st_size / 1024
    yield row("so_kib", "stripped size of the library", f"{size:.1f} KiB", "", spread([size]), 160)


def instructions(results, name):
    """What callgrind has counted for one repetition: in all, and in each object file itself."""
    total = 0
    names, own = {}, collections.Counter()
    where, called = None, False
    for line in (results / (name + ".callgrind")).read_text().splitlines():
        if match := re.fullmatch(r"(c?ob)=\((\d+)\)(?: (.*))?", line):
            kind, number, path = match.groups()
            if path:
                names[number] = pathlib.Path(path).name
            where = number if kind == "ob" else where
        elif line.startswith("calls="):
            called = True  # the next cost is what was called
        elif match := re.fullmatch(r"[-+*\d]\S* (\d+)", line):
            if not called:
                own[where] += int(match[1])
            called = False
        elif match := re.fullmatch(r"(?:summary|totals): (\d+)", line):
            total = int(match[1])
    count = int((results / (name + ".count")).read_text())
    return total / count, {names[n]: cost / count for n, cost in own.items() if n in names}


def instruction_rows(results):
    for key, what, ours, parts, reference, text, goal in INSTRUCTIONS:
        counted = instructions(results, ours)[0] / parts
        bare = instructions(results, reference)[0] / parts
        yield row(key, what, f"{counted:.0f}", f"{text}, {bare:.0f}", spread([counted]), goal)
    library = "libbench_provider.so"
    whole, list_alone = (instructions(results, name) for name in ("enumeration",
                                                                  "enumeration-list"))
    own = (whole[1][library] - list_alone[1][library]) / 100
    with_host = (whole[0] - list_alone[0]) / 100
    yield row("ir_instance", "an instance made, of 100", f"{own:.0f}",
              f"with the embedded host's share and the C library's, {with_host:.0f}",
              spread([own]), INSTANCE_GOAL)


def figure_text(entry):
    if entry["figure"] is None:
        return entry["remark"]
    median, low, high = entry["figure"]
    digits = 4 if median < 0.1 else 2 if median < 10 else 1 if median < 100 else 0
    return f"{median:.{digits}f}" + (f" ({low:.{digits}f}..{high:.{digits}f})" if low != high else "")


def goal_text(entry):
    if entry["goal"] is None:
        return ""
    text = f"at most {entry['goal']:g}"
    return text if entry["met"] else text + ("  not measured" if entry["met"] is None else "  MISSED")


def print_table(rows, *, ratios):
    lines = [("key", "what", "ours", "compared with", *["ratio"] * ratios, "goal")]
    lines += [(e["key"], e["what"], e["ours"], e["compared_with"], *[figure_text(e)] * ratios,
               goal_text(e)) for e in rows]
    widths = [max(map(len, column)) for column in zip(*lines)]
    lines.insert(1, tuple("-" * width for width in widths))
    for line in lines:
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(line, widths)) + " |")
    print()


def print_instructions(results):
    rows = list(instruction_rows(results))
    print("User-space instructions:\n")
    print_table(rows, ratios=False)
    return rows


def main(results, summary, details):
    counted = print_instructions(results)
    timed = [*ratio_rows(results), *peer_rows(results), *process_rows(results)]
    print("Times, as ratios of two things measured side by side:\n")
    print_table(timed, ratios=True)
    rows = counted + timed
    summary.write_text(json.dumps({e["key"]: e["figure"] and e["figure"][0] for e in rows},
                                  indent=2) + "\n")
    details.write_text(json.dumps({e.pop("key"): e for e in rows}, indent=2) + "\n")
    with (results / "list.dat").open("w") as data:
        for drives in (1, 10, 100):
            runs = benchmarks(results, f"list_{drives}")
            costs = [c / 1e3 for name in ("list/ours", "list/reference") for c in spread(runs[name])]
            print(drives, *costs, file=data)


if __name__ == "__main__":
    try:
        if len(sys.argv) == 3 and sys.argv[1] == "--instructions":
            print_instructions(pathlib.Path(sys.argv[2]))
        elif len(sys.argv) == 4:
            main(*map(pathlib.Path, sys.argv[1:]))
        else:
            sys.exit(__doc__)
    except (OSError, ValueError, KeyError) as error:
        sys.exit(f"bench: {error.__class__.__name__}: {error}")
