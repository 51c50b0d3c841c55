#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs the benchmarks and writes down what they say: measure.py BUILD_FOLDER RESULT [NAME...]

NAMEs are of rows, growths, "memory" or "startup"; without any, everything. What RESULT holds of
others is kept.

The contenders of a row run in one process on one processor, in an order that is drawn anew for each
repetition, so that whatever else the machine does meets all of them alike. Each row runs in several
processes, since where a program lies in memory can favour one contender. What is taken of each
contender is the median of the processor time of a run.
"""
import json
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import tempfile

PROCESSES, REPETITIONS, SECONDS = 4, 15, 0.01
GROWTH_PROCESSES, GROWTH_REPETITIONS = 2, 5


def progress(text):
    if sys.stderr.isatty():
        print(f"\r\033[K{text}", end="", file=sys.stderr, flush=True)


def only_processor():
    """The last of those that the process may run on: interrupts tend to go to the first."""
    return max(os.sched_getaffinity(0))


def run(program, name, repetitions):
    """Times of every contender of a row, or size of a growth, in nanoseconds: {name: [times]}."""
    with tempfile.NamedTemporaryFile() as out:
        done = subprocess.run([program, f"--benchmark_filter=^{re.escape(name)}/", f"--benchmark_repetitions={repetitions}",
                               f"--benchmark_min_time={SECONDS}", "--benchmark_enable_random_interleaving=true",
                               f"--benchmark_out={out.name}", "--benchmark_out_format=json"],
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        if done.returncode != 0:
            sys.exit(f"{name} could not be measured:\n{done.stderr}")
        report = json.load(out)
    times = {}
    for result in report["benchmarks"]:
        if result.get("error_occurred"):
            sys.exit(f"{result['name']}: {result['error_message']}")
        if result["run_type"] == "iteration":
            assert result["time_unit"] == "ns"
            times.setdefault(result["run_name"].removeprefix(name + "/"), []).append(result["cpu_time"])
    return times


def several(program, name, processes, repetitions):
    all_times = {}
    for _ in range(processes):
        for contender, times in run(program, name, repetitions).items():
            all_times.setdefault(contender, []).extend(times)
    return all_times


def measure_row(program, row):
    times = several(program, f"row/{row['name']}", PROCESSES, REPETITIONS)
    for contender in row["contenders"]:
        low, middle, high = statistics.quantiles(times[contender["name"]], n=4)
        contender["ns"] = round(middle / row["pieces"], 3)
        contender["spread"] = round((high - low) / middle, 3)
    return row


def measure_growth(program, growth):
    times = several(program, f"growth/{growth['name']}", GROWTH_PROCESSES, GROWTH_REPETITIONS)
    points = [{"size": size, "ns": round(statistics.median(times[str(size)]), 2)} for size in growth.pop("sizes")]
    return {**growth, "points": points}


def measure_memory(program):
    return json.loads(subprocess.run([program, "--memory"], check=True, capture_output=True, text=True).stdout)


def measure_startup(build):
    """What the shared object costs a process before it is used."""
    library = build / "common/libkelvoutils.so"
    relocations = subprocess.run(["readelf", "--relocs", "--wide", library], check=True, capture_output=True, text=True).stdout
    kinds = [line.split()[2] for line in relocations.splitlines() if re.match(r"[0-9a-f]{8,} ", line)]
    symbols = subprocess.run(["readelf", "--dyn-syms", "--wide", library], check=True, capture_output=True, text=True).stdout
    segments = subprocess.run(["size", "-A", "-d", library], check=True, capture_output=True, text=True).stdout
    sizes = {cells[0]: int(cells[1]) for cells in map(str.split, segments.splitlines()) if len(cells) == 3 and cells[1].isdigit()}
    dynamic = subprocess.run(["readelf", "--dynamic", "--wide", library], check=True, capture_output=True, text=True).stdout
    os.sync()  # pages of a file that was just linked count as changed until they are written
    loaded = json.loads(subprocess.run([build / "bench/kelvo_loaded"], check=True, capture_output=True, text=True).stdout)
    return {"relocations": len(kinds), "relative_relocations": sum(kind.endswith("RELATIVE") for kind in kinds),
            "called_functions": len(re.findall(r" FUNC +\w+ +DEFAULT +UND ", symbols)),
            "indirect_functions": sum("IRELATIV" in kind for kind in kinds),
            "constructors": len(re.findall(r"\((?:INIT|INIT_ARRAY)\)", dynamic)),
            "loaded_bytes": sum(size for name, size in sizes.items() if not name.startswith((".debug", ".comment", ".stapsdt", ".note.stapsdt"))),
            "code_bytes": sizes[".text"], **loaded}


def machine():
    model = next(line.split(":")[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name"))
    return {"processor": f"{model}, {os.cpu_count()} processors", "system": platform.freedesktop_os_release()["PRETTY_NAME"],
            "compiler": subprocess.run(["c++", "--version"], check=True, capture_output=True, text=True).stdout.splitlines()[0]}


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    build, result, wanted = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3:]
    program = build / "bench/kelvo_bench"
    there = json.loads(subprocess.run([program, "--rows"], check=True, capture_output=True, text=True).stdout)
    os.sched_setaffinity(0, {only_processor()})

    work = [("rows", row["name"], lambda row=row: measure_row(program, row)) for row in there["rows"]]
    work += [("growths", growth["name"], lambda growth=growth: measure_growth(program, growth)) for growth in there["growths"]]
    work += [("memory", "memory", lambda: measure_memory(program)), ("startup", "startup", lambda: measure_startup(build))]
    unknown = set(wanted) - {name for _, name, _ in work}
    if unknown:
        sys.exit(f"measure: there is no {', '.join(sorted(unknown))}; there are {', '.join(name for _, name, _ in work)}")

    figures = json.loads(result.read_text()) if result.exists() else {}
    figures["machine"] = machine()
    for kind in "rows", "growths":
        known = [part["name"] for part in there[kind]]
        figures[kind] = {part["name"]: part for part in figures.get(kind, []) if part["name"] in known}
    todo = [part for part in work if not wanted or part[1] in wanted]
    for number, (kind, name, measure) in enumerate(todo, 1):
        progress(f"measuring {number} of {len(todo)}: {name}")
        measured = measure()
        if kind == name:
            figures[kind] = measured
        else:
            figures[kind][name] = measured
        ordered = {kind: [figures[kind][part["name"]] for part in there[kind] if part["name"] in figures[kind]]
                   for kind in ("rows", "growths")}
        result.write_text(json.dumps({**figures, **ordered}, indent=1) + "\n")
    progress("")


main()
