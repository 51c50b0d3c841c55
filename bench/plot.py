#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Draws the figures on record with gnuplot: plot.py FIGURES FOLDER

Two pictures: how long each contender of a row takes against the library, and what an operation takes
as it has more to do.
"""
import json
import pathlib
import subprocess
import sys

COLOURS = {"library": "#1f5a96", "floor": "#8a8a8a", "alternative": "#c8641e", "shown": "#cccccc"}
LINES = ("#1f5a96", "#c8641e", "#3c8c46", "#96468c", "#8a6d1f", "#3c9696", "#b43c3c", "#5a5a5a")


def gnuplot(script):
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def quoted(text):
    return '"' + text.replace('"', "'").replace("_", "\\\\_") + '"'


def draw_rows(rows, path):
    """One bar for each contender, as a multiple of the library's time, on a scale of powers."""
    bars, labels, at = [], [], 0
    for row in rows:
        own = next(c["ns"] for c in row["contenders"] if c["kind"] == "library")
        labels.append((at, row["title"], True))
        for contender in row["contenders"]:
            if contender["kind"] == "shown":
                continue
            at += 1
            labels.append((at, contender["name"], False))
            bars.append((at, contender["ns"] / own, COLOURS[contender["kind"]]))
        at += 1.6
    boxes = "\n".join(f"set object rectangle from 1,{y - 0.38} to {ratio},{y + 0.38} fc rgb '{colour}' fs solid noborder front"
                      for y, ratio, colour in bars)
    numbers = "\n".join(f"set label {quoted(f'{ratio:.2f}')} at {max(ratio, 1)},{y} left offset 0.6,0 font ',9'" for y, ratio, _ in bars)
    tics = ", ".join(f"{quoted('{/:Bold ' + text + '}' if head else text)} {y}" for y, text, head in labels)
    low, high = min(ratio for _, ratio, _ in bars) * 0.8, max(ratio for _, ratio, _ in bars) * 3
    gnuplot(f"""set terminal svg size 960,{int(60 + 17 * (at + 1))} font 'sans,11' background '#ffffff'
set output '{path}'
set logscale x
set xrange [{min(low, 0.1)}:{high}]
set yrange [{at}:-1]
set ytics ({tics}) scale 0
set xtics nomirror
set border 1
set xlabel 'time, as a multiple of the time of the library (a scale of powers)'
set arrow from 1,-1 to 1,{at} nohead lc rgb '{COLOURS["library"]}' front
unset key
{boxes}
{numbers}
plot NaN
""")


def draw_growths(growths, path):
    """A line for each operation on two scales of powers: straight ones go with the grid."""
    data, plots = "", []
    for number, growth in enumerate(growths):
        points = "\n".join(f"{point['size']} {point['ns']}" for point in growth["points"])
        data += f"$g{number} << EOD\n{points}\nEOD\n"
        title = f"{growth['title']} ({growth['unit']})"
        plots.append(f"$g{number} using 1:2 with linespoints lw 2 pt {5 + 2 * (number // len(LINES))} ps 0.5 "
                     f"lc rgb '{LINES[number % len(LINES)]}' title {quoted(title)}")
    gnuplot(f"""set terminal svg size 960,{560 + 9 * len(growths)} font 'sans,11' background '#ffffff'
set output '{path}'
set logscale xy
set format x '10^{{%T}}'
set format y '10^{{%T}}'
set xlabel 'pieces'
set ylabel 'nanoseconds of an operation'
set grid lc rgb '#dddddd'
set key below left Left reverse maxcols 2 font ',10'
{data}
plot {", ".join(plots)}
""")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    figures, folder = json.loads(pathlib.Path(sys.argv[1]).read_text()), pathlib.Path(sys.argv[2])
    draw_rows(figures["rows"], folder / "speed-rows.svg")
    draw_growths(figures["growths"], folder / "speed-growth.svg")


main()
