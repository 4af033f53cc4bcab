#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws how cost grows.

    growth_bench --benchmark_format=json >growth.json
    plot.py growth.json growth.svg

A benchmark is named "<panel>/<line>/<item>/<size>" and counts its items. Each
panel shows the time of one item against the size, both in powers of ten.
"""

import collections
import json
import math
import sys
from xml.sax.saxutils import escape

COLUMNS = 3
WIDTH, HEIGHT = 330, 260
LEFT, RIGHT, TOP, BOTTOM = 58, 14, 34, 66
COLOURS = ("#1f77b4", "#d62728", "#2ca02c", "#9467bd")


def panels_of(report):
    """{panel: (item, {line: [(size, nanoseconds)]})}"""
    panels = collections.OrderedDict()
    for entry in report["benchmarks"]:
        if entry.get("run_type") == "aggregate":
            continue
        panel, line, item, size = entry["name"].split("/")[:4]
        lines = panels.setdefault(panel, (item, collections.OrderedDict()))[1]
        lines.setdefault(line, []).append((int(size), 1e9 / entry["items_per_second"]))
    return panels


def readable(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("us", 1e3), ("ns", 1)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:g} {unit}"
    return f"{nanoseconds:g} ns"


class Axis:
    """Maps a range of values, widened to powers of ten, to pixels."""

    def __init__(self, values, begin, end):
        self.low = math.floor(math.log10(min(values)) + 1e-9)
        self.high = max(math.ceil(math.log10(max(values)) - 1e-9), self.low + 1)
        self.begin, self.end = begin, end

    def at(self, value):
        share = (math.log10(value) - self.low) / (self.high - self.low)
        return self.begin + share * (self.end - self.begin)

    def powers(self):
        return range(self.low, self.high + 1)


def text(x, y, content, anchor="middle", size=11, colour="#333"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-size="{size}" '
            f'fill="{colour}">{escape(content)}</text>')


def panel_svg(name, item, lines):
    points = [point for line in lines.values() for point in line]
    x_axis = Axis([size for size, _ in points], LEFT, WIDTH - RIGHT)
    y_axis = Axis([time for _, time in points], HEIGHT - BOTTOM, TOP)
    parts = [text((LEFT + WIDTH - RIGHT) / 2, 20, name, size=14, colour="#000")]
    for power in x_axis.powers():
        x = x_axis.at(10**power)
        parts.append(f'<line x1="{x:.1f}" y1="{TOP}" x2="{x:.1f}" y2="{HEIGHT - BOTTOM}"/>')
        parts.append(text(x, HEIGHT - BOTTOM + 15, f"1e{power}" if power > 3 else str(10**power), size=10))
    for power in y_axis.powers():
        y = y_axis.at(10.0**power)
        parts.append(f'<line x1="{LEFT}" y1="{y:.1f}" x2="{WIDTH - RIGHT}" y2="{y:.1f}"/>')
        parts.append(text(LEFT - 5, y + 4, readable(10.0**power), "end", 10))
    x = LEFT
    for colour, (line, values) in zip(COLOURS, lines.items()):
        path = " ".join(f"{x_axis.at(size):.1f},{y_axis.at(time):.1f}" for size, time in values)
        parts.append(f'<polyline points="{path}" stroke="{colour}"/>')
        parts.extend(f'<circle cx="{x_axis.at(size):.1f}" cy="{y_axis.at(time):.1f}" r="2.5" fill="{colour}"/>'
                     for size, time in values)
        parts.append(text(x, HEIGHT - 12, line, "start", 11, colour))
        x += 8 + 6.2 * len(line)
    parts.append(text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 32, f"{item}s; time of one", size=11))
    return parts


def draw(panels):
    rows = -(-len(panels) // COLUMNS)
    svg = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {COLUMNS * WIDTH} {rows * HEIGHT}" '
           'font-family="sans-serif">',
           "<style>line{stroke:#ddd}polyline{fill:none;stroke-width:1.8}</style>",
           '<rect width="100%" height="100%" fill="#fff"/>']
    for index, (name, (item, lines)) in enumerate(panels.items()):
        x, y = index % COLUMNS * WIDTH, index // COLUMNS * HEIGHT
        svg.append(f'<g transform="translate({x},{y})">')
        svg.extend(panel_svg(name, item, lines))
        svg.append("</g>")
    svg.append("</svg>")
    return "\n".join(svg) + "\n"


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: plot.py REPORT.json PICTURE.svg")
    with open(sys.argv[1], encoding="utf-8") as file:
        report = json.load(file)
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        file.write(draw(panels_of(report)))


if __name__ == "__main__":
    main()
