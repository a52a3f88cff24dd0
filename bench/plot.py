#!/usr/bin/env python3
"""Draws what compare.py recorded as an SVG picture: wall time over file size, both logarithmic."""

import json
import math
import sys

WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 720, 420, 70, 130, 20, 50
COLOURS = ["#777777", "#0060c0", "#c05000", "#008050"]


class Scale:
    def __init__(self, values, start, end):
        self.low, self.high = math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))
        self.start, self.end = start, end

    def at(self, value):
        share = (math.log10(value) - self.low) / (self.high - self.low)
        return round(self.start + share * (self.end - self.start), 1)

    def ticks(self):
        return [10.0 ** power for power in range(self.low, self.high + 1)]


def size_label(size):
    return f"{size / 1e6:g} MB" if size >= 1e6 else f"{size / 1e3:g} kB"


def time_label(seconds):
    return f"{seconds:g} s" if seconds >= 1 else f"{seconds * 1e3:g} ms"


def text(x, y, anchor, content, colour="#000000"):
    return f'<text x="{x}" y="{y}" text-anchor="{anchor}" fill="{colour}">{content}</text>'


def main():
    rows = sorted((json.loads(line) for line in sys.stdin), key=lambda row: row["size"])
    labels = list(rows[0]["walls"])
    x = Scale([row["size"] for row in rows], LEFT, WIDTH - RIGHT)
    y = Scale([wall for row in rows for wall in row["walls"].values()], HEIGHT - BOTTOM, TOP)
    print(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" '
          'font-size="13">')
    print(f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#ffffff"/>')
    for size in x.ticks():
        print(f'<path d="M{x.at(size)} {TOP}V{HEIGHT - BOTTOM}" stroke="#dddddd"/>')
        print(text(x.at(size), HEIGHT - BOTTOM + 18, "middle", size_label(size)))
    for wall in y.ticks():
        print(f'<path d="M{LEFT} {y.at(wall)}H{WIDTH - RIGHT}" stroke="#dddddd"/>')
        print(text(LEFT - 8, y.at(wall) + 4, "end", time_label(wall)))
    print(text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 10, "middle", "size of the file"))
    for label, colour in zip(labels, COLOURS):
        points = [(x.at(row["size"]), y.at(row["walls"][label])) for row in rows]
        path = "M" + "L".join(f"{px} {py}" for px, py in points)
        print(f'<path d="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        for px, py in points:
            print(f'<circle cx="{px}" cy="{py}" r="3" fill="{colour}"/>')
        print(text(points[-1][0] + 10, points[-1][1] + 4, "start", label, colour))
    print("</svg>")


if __name__ == "__main__":
    main()
