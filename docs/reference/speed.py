#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes the page of speed from its frame and the recorded figures: speed.py [--check|--table] DOCS_FOLDER

With --check nothing is written; the page that is there must be what would be. With --table the rows
are printed for a terminal.
"""
import json
import pathlib
import sys


def table(head, rows):
    return "\n".join(["| " + " | ".join(head) + " |", "|" + "---|" * len(head)] +
                     ["| " + " | ".join(map(str, row)) + " |" for row in rows])


def nanoseconds(value):
    return f"{value:.3g}" if value < 100 else f"{value:,.0f}"


def of_kind(row, kind):
    return [c for c in row["contenders"] if c["kind"] == kind]


def held_to(row, kind):
    """(contender, ratio, target, whether it is met) for the best alternative, or for the floor."""
    contenders = of_kind(row, kind)
    if not contenders:
        return None
    best = min(contenders, key=lambda contender: contender["ns"])
    ratio = of_kind(row, "library")[0]["ns"] / best["ns"]
    target = row["targets"][kind]
    return best["name"], ratio, target, round(ratio, 2) <= target


def cells(row, kind):
    held = held_to(row, kind)
    if held is None:
        return "-", "-"
    name, ratio, target, met = held
    return (f"{ratio:.2f} of {name}" if met else f"**{ratio:.2f}** of {name}"), f"{target:g}"


def rows_table(rows):
    return table(("Work", "ns", "Against the best alternative", "At most", "Against the floor", "At most"),
                 [(row["title"], nanoseconds(of_kind(row, "library")[0]["ns"]), *cells(row, "alternative"), *cells(row, "floor"))
                  for row in rows])


def contenders_table(rows):
    return table(("Work", "Who", "ns", "Spread"),
                 [(row["title"] if number == 0 else "", contender["name"] + (" (floor)" if contender["kind"] == "floor" else ""),
                   nanoseconds(contender["ns"]), f"{100 * contender['spread']:.0f} %")
                  for row in rows for number, contender in enumerate(row["contenders"])])


def growths_table(growths):
    def points(growth):
        return ", ".join(f"{nanoseconds(point['ns'])} ({point['size']:,})" for point in growth["points"])
    return table(("Operation", "Pieces", "ns (pieces)"), [(g["title"], g["unit"], points(g)) for g in growths])


def memory_table(memory):
    return table(("Work", "Bytes", "At least", "Ratio"),
                 [(row["title"], f"{row['bytes']:,}", f"{row['floor']:,}",
                   f"{row['bytes'] / row['floor']:.2f}" if row["floor"] else "-") for row in memory])


def startup_table(startup):
    texts = (("loaded_bytes", "bytes of the shared object that are loaded"), ("code_bytes", "of them code"),
             ("relocations", "relocations"), ("called_functions", "of them functions that the library calls: of the C library, the platform, the engine of regular expressions"),
             ("relative_relocations", "of them relative: no symbol is looked up"),
             ("indirect_functions", "functions chosen when it is loaded"), ("constructors", "constructors"),
             ("private_dirty_bytes", "bytes of it that each process has for itself, once loaded"))
    return table(("What", "How much"), [(text, f"{startup[key]:,}") for key, text in texts])


def page(docs, figures):
    text = (docs / "reference/speed.md.in").read_text()
    machine = figures["machine"]
    parts = {"MACHINE": f"{machine['processor']}; {machine['system']}; {machine['compiler']}",
             "ROWS": rows_table(figures["rows"]), "CONTENDERS": contenders_table(figures["rows"]),
             "GROWTHS": growths_table(figures["growths"]), "MEMORY": memory_table(figures["memory"]),
             "STARTUP": startup_table(figures["startup"])}
    for name, part in parts.items():
        text = text.replace(f"@{name}@", part)
    return text


def print_rows(rows):
    colour = sys.stdout.isatty()
    for row in rows:
        print(f"{row['title']:62} {nanoseconds(of_kind(row, 'library')[0]['ns']):>8} ns", end="")
        for kind in "alternative", "floor":
            if held := held_to(row, kind):
                name, ratio, target, met = held
                shown = f"{ratio:6.2f} of {target:g}"
                print("   " + (shown if met or not colour else f"\033[31m{shown}\033[0m") + ("" if met else " !") +
                      (f" ({name})" if kind == "alternative" else ""), end="")
        print()


def main():
    mode, docs = sys.argv[1], pathlib.Path(sys.argv[-1])
    figures = json.loads((docs / "figures/speed.json").read_text())
    if mode == "--table":
        return print_rows(figures["rows"])
    made = page(docs, figures)
    if mode != "--check":
        (docs / "speed.md").write_text(made)
    elif (docs / "speed.md").read_text() != made:
        sys.exit("docs/speed.md is not what docs/figures/speed.json says: run scripts/bench --page")


main()
