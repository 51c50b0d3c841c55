#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes the page of trust from its frame and the recorded figures: trust.py [--check] DOCS_FOLDER

With --check nothing is written; the page that is there must be what would be.
"""
import json
import pathlib
import sys


def table(head, rows):
    return "\n".join(["| " + " | ".join(head) + " |", "|" + "---|" * len(head)] +
                     ["| " + " | ".join(map(str, row)) + " |" for row in rows])


def number(value):
    return f"{value:,}" if isinstance(value, int) else str(value)


def coverage(figures):
    rows = [(group["name"], f"{group['taken']:,} of {group['branches']:,}", f"{group['percent']:.2f} %",
             f"{group['bound']} %", group["excluded"]) for group in figures["groups"]]
    return ("### Branches that the tests take\n\n`scripts/coverage` measures, and fails below the bounds. Exclusions stand with "
            "their reasons in `tests/coverage/bounds.toml`.\n\n" +
            table(("Code", "Branches", "Taken", "At least", "Excluded"), rows))


def mutants(figures):
    rows = [("changes that can be made", number(figures["mutants"])),
            ("tried", number(figures["tried"])),
            ("noticed", f"{figures['killed']:,}, {figures['percent']:.2f} % (at least {figures['bound']:.0f} %)"),
            ("not noticed, each with its reason", len([s for s in figures["survivors"] if s["reason"]])),
            ("files left out, each with its reason", len(figures["excluded"]))]
    return ("### Changes that the tests notice\n\n`scripts/mutate` changes the library in small ways, each by itself: "
            "conditions inverted, numbers off by one, calls dropped. Reasons stand in "
            "`tests/mutants/survivors.toml`.\n\n" + table(("What", "How many"), rows))


def cost(hostile, growth):
    def worst(key):
        return number(max(row[key] for row in hostile["operations"]))

    def growth_of(row, key):
        """What an element costs among the most, against what it costs among the fewest."""
        first, *others = [point[key] for point in row["points"]]
        return max((other / first for other in others), default=1) if first else 1

    per_byte, constant = hostile["bounds"]["instructions"]
    memory_per_byte, memory = hostile["bounds"]["memory"]
    curves = max(growth_of(row, key) for row in growth["operations"]
                 for key in ("instructions_per_element", "guard_instructions_per_element"))
    rows = [("hostile messages run", number(hostile["cases"]), ""),
            ("most instructions of an operation on one of them", worst("instructions"),
             f"{per_byte} for each byte received, and {constant:,}"),
            ("most instructions of the guard", worst("guard_instructions"), "likewise"),
            ("most bytes allocated", worst("memory"), f"{memory_per_byte} for each byte received, and {memory:,}"),
            ("operations whose growth is measured", len(growth["operations"]), ""),
            ("what an element costs among up to a million, against among a thousand", f"{curves:.3f}", "1.03")]
    return ("### What hostile messages cost\n\n`ctest -R cost_of` counts under callgrind, where the machine's load does "
            "not matter. In every message each count and length in turn is 2^32 - 1.\n\n" +
            table(("What", "Measured", "At most"), rows))


def fuzzing(figures):
    rows = [(target["name"], number(target["runs"]), number(target["per_second"]), target["found"])
            for target in figures["targets"]]
    return (f"### Inputs that a fuzzer made up\n\n`scripts/fuzz NAME SECONDS`; what each target holds true stands in "
            f"`docs/fuzzing.md`. {figures['note']}\n\n" + table(("Target", "Inputs", "A second", "Found"), rows))


def measured(figures):
    return ("### Others\n\n" +
            table(("What", "Measured", "By"), [(row["what"], row["measured"], f"`{row['by']}`") for row in figures]))


def page(docs):
    load = lambda name: json.loads((docs / "figures" / f"{name}.json").read_text())
    reach = table(("Operation (KELVO_OPERATION_...)", "Beyond the length", "The guard answers"), load("reach"))
    figures = [coverage(load("coverage")), mutants(load("mutants")), cost(load("hostile"), load("growth")), fuzzing(load("fuzzing")),
               measured(load("others"))]
    text = (docs / "reference/trust.md.in").read_text()
    return text.replace("@REACH@", reach).replace("@FIGURES@", "\n\n".join(figures))


def main():
    check, docs = sys.argv[1] == "--check", pathlib.Path(sys.argv[-1])
    made = page(docs)
    if not check:
        (docs / "trust.md").write_text(made)
    elif (docs / "trust.md").read_text() != made:
        sys.exit("docs/trust.md is not what docs/figures say: run scripts/figures --page")


main()
