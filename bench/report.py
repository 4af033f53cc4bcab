#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs benchmark programs and prints how each work compares with its peers.

    report.py [--repetitions N] [--min-time S] [--filter REGEX] PROGRAM...
    report.py --json FILE...          tables of results that were kept

A benchmark is named "<work>/<who>", where <who> is "ours" or the peer's name;
<work> may hold slashes itself. The table gives the median time of ours, of each
peer, and ours / peer: below 1 we are ahead.
"""

import argparse
import collections
import json
import statistics
import subprocess
import sys

OURS = "ours"
TO_NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def run(program, options):
    """The JSON report of one benchmark program."""
    command = [
        program,
        "--benchmark_format=json",
        f"--benchmark_repetitions={options.repetitions}",
        f"--benchmark_min_time={options.min_time}",
        # Ours and the peers take turns, so that both see the same machine.
        "--benchmark_enable_random_interleaving=true",
    ]
    if options.filter:
        command.append(f"--benchmark_filter={options.filter}")
    finished = subprocess.run(command, stdout=subprocess.PIPE, check=True)
    return json.loads(finished.stdout) if finished.stdout.strip() else {"benchmarks": []}


def medians(report):
    """{work: {who: nanoseconds}}"""
    samples = collections.defaultdict(lambda: collections.defaultdict(list))
    for entry in report["benchmarks"]:
        if entry.get("run_type") == "aggregate" or entry.get("error_occurred"):
            continue
        work, _, who = entry.get("run_name", entry["name"]).rpartition("/")
        if not work:
            continue
        nanoseconds = entry["cpu_time"] * TO_NANOSECONDS[entry.get("time_unit", "ns")]
        samples[work][who].append(nanoseconds)
    return {
        work: {who: statistics.median(times) for who, times in peers.items()}
        for work, peers in samples.items()
    }


def readable(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def rows_of(works):
    for work, times in sorted(works.items()):
        ours = times.get(OURS)
        peers = sorted(who for who in times if who != OURS)
        if ours is None:
            continue
        if not peers:
            yield work, readable(ours), "", "", ""
        for who in peers:
            yield work, readable(ours), who, readable(times[who]), f"{ours / times[who]:.2f}"


def print_table(rows):
    table = [("work", OURS, "peer", "peer's", "ours/peer"), *rows]
    widths = [max(len(row[i]) for row in table) for i in range(len(table[0]))]
    table.insert(1, tuple("-" * width for width in widths))
    for row in table:
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("files", nargs="+", help="benchmark programs, or reports with --json")
    parser.add_argument("--json", action="store_true", help="the files are kept JSON reports")
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--min-time", type=float, default=0.05, help="seconds for each repetition")
    parser.add_argument("--filter", default="", help="regular expression on the names")
    options = parser.parse_args()

    rows = []
    for name in options.files:
        if options.json:
            with open(name, encoding="utf-8") as file:
                report = json.load(file)
        else:
            report = run(name, options)
        rows.extend(rows_of(medians(report)))
    print_table(rows)
    return 0


if __name__ == "__main__":
    sys.exit(main())
