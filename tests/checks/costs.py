#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks what the operations on received buffers cost, in instructions and in memory.

usage: costs.py hostile|growth COST_OF_OPERATIONS VALGRIND RESULT
       costs.py plain [--record] COST_OF_OPERATIONS VALGRIND BUDGET

hostile  messages in which every word in turn claims 2^32 - 1: work and memory stay within bounds that
         the bytes received set
growth   about a thousand to a million pairs, names, items and entries: each costs the same, however
         many there are

plain    every operation on a valid message, its guard, and calls that programs make all the time, each
         against its budget in BUDGET; --record writes what they take now in its place

Instructions are those of the library and of what it calls, counted by callgrind; they are the same in
every run. RESULT receives the figures as JSON. What is measured: tests/cost/cost_of_operations.cpp.
"""
import collections
import json
import pathlib
import subprocess
import sys
import tempfile

INSTRUCTIONS_PER_BYTE, INSTRUCTIONS = 64, 20_000
MEMORY_PER_BYTE, MEMORY = 16, 4096
# What plain work may take more than its budget: other processors and C libraries differ by that.
SLACK, SLACK_INSTRUCTIONS = 1.05, 20
# What an element may cost more among many than among a thousand.
GROWTH = 1.03

LIBRARY = "libkelvoutils.so"
# What the program calls to release a result, which is the caller's work.
RELEASES = {"kelvo_common_startup_list_free"}
GUARD = "kelvo_common_msg_guard"

Case = collections.namedtuple("Case", "number kind operation received elements memory")


def read_cases(text):
    for line in text.splitlines():
        number, kind, operation, received, elements, memory = line.split("\t")
        yield Case(int(number), kind, operation, int(received), int(elements), int(memory))


def calls_of_library(lines):
    """Yields (case, function, instructions) for each function of the library that the program calls.

    The format: name lines give "(id) name" once and "(id)" from then on. After "calls=" stands a line
    with the position and what the calls cost, the callees' callees included.
    """
    names = {}

    def name_of(kind, text):
        number, _, name = text.rstrip("\n").partition(" ")
        if name:
            names[kind, number] = name
        return names[kind, number]

    case, caller, callee, function, costs_next = 0, "", "", "", False
    for line in lines:
        if costs_next:
            costs_next = False
            if LIBRARY in callee and "/lib" not in caller:
                yield case, function, int(line.split()[1])
            callee = caller
        elif line.startswith("calls="):
            costs_next = True
        elif line.startswith("desc: Trigger: Client Request: "):
            case = int(line.rsplit(" ", 1)[1])
        elif line.startswith("cob="):
            callee = name_of("file", line[4:])
        elif line.startswith("cfn="):
            function = name_of("function", line[4:])
        elif line.startswith("ob="):
            caller = callee = name_of("file", line[3:])
        elif line.startswith("fn="):
            name_of("function", line[3:])


def instructions(valgrind, program, what):
    """What each case cost, as {case: {function: instructions}}."""
    costs = collections.defaultdict(collections.Counter)
    with tempfile.TemporaryDirectory() as directory:
        out = pathlib.Path(directory) / "callgrind"
        command = [valgrind, "--tool=callgrind", f"--callgrind-out-file={out}", "--combine-dumps=yes",
                   "--collect-atstart=no", "--dump-line=no", "--quiet"]
        if what != "hostile":  # only the operations are watched, not how their messages are made
            command.append("--instr-atstart=no")
        if subprocess.run([*command, program, what], stdout=subprocess.DEVNULL).returncode != 0:
            sys.exit(f"{valgrind} could not run {program}")
        with out.open() as lines:
            for case, function, cost in calls_of_library(lines):
                costs[case][function] += cost
    return costs


def check_bounds(case, costs, problems):
    """The guard and the operation are one entry point each."""
    guard = costs.get(GUARD, 0)
    operation = sum(cost for name, cost in costs.items() if name not in RELEASES) - guard
    bound = case.received * INSTRUCTIONS_PER_BYTE + INSTRUCTIONS
    for name, cost in (GUARD, guard), (case.operation, operation):
        if cost > bound:
            problems.append(f"case {case.number}: {name} takes {cost} instructions for "
                            f"{case.received} bytes; {bound} are allowed")
    bound = case.received * MEMORY_PER_BYTE + MEMORY
    if case.memory > bound:
        problems.append(f"case {case.number}: {case.operation} takes {case.memory} bytes of memory for "
                        f"{case.received} bytes; {bound} are allowed")
    return guard, operation


def summarize_hostile(measured):
    rows = {}
    for case, guard, operation in measured:
        row = rows.setdefault(case.operation, {"operation": case.operation, "messages": 0,
                                               "instructions": 0, "guard_instructions": 0, "memory": 0})
        row["messages"] += 1
        row["instructions"] = max(row["instructions"], operation)
        row["guard_instructions"] = max(row["guard_instructions"], guard)
        row["memory"] = max(row["memory"], case.memory)
    rows = list(rows.values())
    worst = max(rows, key=lambda row: row["instructions"])
    print(f"{len(measured)} messages that claim 2^32 - 1 somewhere; at most {worst['instructions']} "
          f"instructions ({worst['operation']}), {max(row['guard_instructions'] for row in rows)} of "
          f"the guard, {max(row['memory'] for row in rows)} bytes of memory")
    return rows


def summarize_growth(measured, problems):
    rows = {}
    for case, guard, operation in measured:
        rows.setdefault(case.operation, []).append(
            {"elements": case.elements, "bytes": case.received,
             "instructions_per_element": round(operation / case.elements, 2),
             "guard_instructions_per_element": round(guard / case.elements, 2),
             "memory_per_byte": round(case.memory / case.received, 2)})
    for name, points in rows.items():
        print(f"{name}: {', '.join(str(point['instructions_per_element']) for point in points)} "
              f"instructions for each of {', '.join(str(point['elements']) for point in points)}")
        for what in "instructions_per_element", "guard_instructions_per_element":
            first = points[0][what]
            for point in points[1:]:
                # Half an instruction is what rounding and the fixed part come to.
                if point[what] > first * GROWTH + 0.5:
                    problems.append(f"{name}: {point[what]} {what.replace('_', ' ')} with "
                                    f"{point['elements']}, but {first} with {points[0]['elements']}")
    return [{"operation": name, "points": points} for name, points in rows.items()]


def check_budget(cases, costs, budget_file, record):
    """Plain work against the file of budgets; a piece of work without one, or the reverse, is a problem."""
    taken = {}
    for case in cases:
        calls = {name: cost for name, cost in costs.get(case.number, {}).items() if name not in RELEASES}
        if guard := calls.pop(GUARD, 0):
            taken["guard of " + case.operation] = guard
        taken[case.operation] = sum(calls.values())
    if record:
        budget_file.write_text(json.dumps(taken, indent=1) + "\n")
    budget = json.loads(budget_file.read_text())
    problems = []
    for name in sorted(taken.keys() | budget.keys()):
        if name not in budget or name not in taken:
            problems.append(f"{name}: {'has no budget' if name in taken else 'is not measured'}")
        elif taken[name] == 0 < budget[name]:
            problems.append(f"{name}: callgrind has counted nothing")
        elif taken[name] > budget[name] * SLACK + SLACK_INSTRUCTIONS:
            problems.append(f"{name}: {taken[name]} instructions; the budget is {budget[name]}")
    print(f"{len(taken)} pieces of plain work, {sum(taken.values())} instructions, of {sum(budget.values())}")
    if problems:
        print(*problems, "If that is meant: cmake --build build/release --target record_costs", sep="\n")
    return problems


def main():
    what, record = sys.argv[1] if len(sys.argv) > 1 else "", "--record" in sys.argv
    arguments = [argument for argument in sys.argv[2:] if argument != "--record"]
    if len(arguments) != 3 or what not in ("hostile", "growth", "plain") or (record and what != "plain"):
        sys.exit(__doc__)
    program, valgrind, result = arguments
    run = subprocess.run([program, what], check=True, capture_output=True, text=True)
    cases = list(read_cases(run.stdout))
    costs = instructions(valgrind, program, what)
    if what == "plain":
        sys.exit(bool(check_budget(cases, costs, pathlib.Path(result), record)))

    problems, measured = [], []
    for case in cases:
        measured.append((case, *check_bounds(case, costs.get(case.number, {}), problems)))
    if not any(guard for _, guard, _ in measured) or not any(cost for *_, cost in measured):
        sys.exit("callgrind has counted nothing")
    rows = summarize_hostile(measured) if what == "hostile" else summarize_growth(measured, problems)
    bounds = {"instructions": [INSTRUCTIONS_PER_BYTE, INSTRUCTIONS], "memory": [MEMORY_PER_BYTE, MEMORY]}
    pathlib.Path(result).write_text(json.dumps({"kind": what, "cases": len(cases), "bounds": bounds,
                                                "operations": rows}, indent=1) + "\n")
    for problem in problems[:50]:
        print(problem)
    sys.exit(bool(problems))


if __name__ == "__main__":
    main()
