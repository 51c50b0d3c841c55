# SPDX-License-Identifier: Apache-2.0
"""Runs test programs with a mutant chosen: which programs come to which mutants, and which of those
find out."""
import collections
import concurrent.futures
import dataclasses
import itertools
import json
import os
import pathlib
import resource
import signal
import subprocess
import sys
import time

MOST_SECONDS = 300.0
LEAST_SECONDS = 10.0
TIMES_SLOWER = 6.0
UNTRIED = object()
MOST_FILE_BYTES = 64 << 30
MOST_MEMORY_BYTES = 24 << 30


@dataclasses.dataclass
class Program:
    path: pathlib.Path
    seconds: float
    reached: bytes


def show(text, end=False):
    """How far the work has come, on a terminal only."""
    if sys.stderr.isatty():
        sys.stderr.write(f"\r\033[K{text}" + ("\n" if end else ""))
        sys.stderr.flush()


def limit():
    os.nice(10)
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (MOST_FILE_BYTES, MOST_FILE_BYTES))
    resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY_BYTES, MOST_MEMORY_BYTES))


def run(program, seconds, **environment):
    """Runs a test program up to its first failure. @return whether it passed in time"""
    process = subprocess.Popen(
        [program, "--gtest_fail_fast", "--gtest_brief=1"], preexec_fn=limit,
        start_new_session=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL, env={**os.environ, **environment}, cwd=program.parent)
    try:
        return process.wait(seconds) == 0
    except subprocess.TimeoutExpired:
        return False
    finally:
        try:  # what it has started, too
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()


def record(programs, libraries, count, folder, jobs):
    """Runs every program once without a mutant, unless nothing has changed since it was run.
    @return those that pass, with what they reach, and the names of the others"""
    folder.mkdir(exist_ok=True)

    def record_one(path):
        marks, taken = folder / path.name, folder / f"{path.name}.seconds"
        changed = max(file.stat().st_mtime for file in (path, *libraries))
        if not taken.exists() or taken.stat().st_mtime < changed:
            marks.write_bytes(bytes(count + 1))
            begin = time.monotonic()
            if not run(path, MOST_SECONDS, KELVO_MUTANTS_REACHED=str(marks)):
                return None
            taken.write_text(str(time.monotonic() - begin))
        return Program(path, float(taken.read_text()), marks.read_bytes())

    recorded, failed = [], []
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for path, program in zip(programs, pool.map(record_one, programs)):
            show(f"recorded {path.name}, {len(recorded) + 1} of {len(programs)}")
            if program is None:
                failed.append(path.name)
            else:
                recorded.append(program)
    show("")
    return recorded, failed


def killer(number, programs):
    """The first of the programs that finds a mutant, or none."""
    for program in programs:
        seconds = max(LEAST_SECONDS, TIMES_SLOWER * program.seconds)
        if not run(program.path, seconds, KELVO_MUTANT=str(number)):
            return program.path.name
    return None


def try_all(mutants, programs, jobs, minutes, results):
    """Tries mutants in this order while there is time. Of the programs that come to one, the quick
    ones are asked first, and those that have found others in the same file.
    @return {number: name of the program that found it, or None} of those that were tried, up to the
    first that was not"""
    found = {m.number: results.killer(m) for m in mutants if results.knows(m)}
    left = [mutant for mutant in mutants if mutant.number not in found]
    kills = collections.Counter((m.file, found[m.number]) for m in mutants if m.number in found)
    begin = time.monotonic()

    def attempt(mutant):
        if minutes is not None and time.monotonic() - begin > 60 * minutes:
            return mutant, UNTRIED
        reaching = [p for p in programs if p.reached[mutant.number]]
        reaching.sort(key=lambda p: p.seconds / (1 + kills[mutant.file, p.path.name]))
        return mutant, killer(mutant.number, reaching)

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for mutant, name in pool.map(attempt, left):
            if name is UNTRIED:
                continue
            found[mutant.number] = name
            kills[mutant.file, name] += 1
            results.add(mutant, name)
            alive = sum(1 for value in found.values() if value is None)
            show(f"{len(found)} of {len(mutants)} mutants, {alive} alive,"
                 f" {time.monotonic() - begin:.0f} s")
    show("")
    tried = itertools.takewhile(lambda mutant: mutant.number in found, mutants)
    return {mutant.number: found[mutant.number] for mutant in tried}


class Results:
    """What was found of each mutant, kept in a file as it comes in. With `resume`, what an earlier
    run has found stands, but for mutants that it has not killed and that are not in `listed`."""

    def __init__(self, path, resume, listed):
        self.killers = {}
        self.listed = listed
        if resume and path.exists():
            rows = [json.loads(line) for line in path.read_text().splitlines()]
            self.killers = {row["key"]: row["killer"] for row in rows}
        self.file = open(path, "a" if resume else "w", encoding="utf-8")

    @staticmethod
    def key(mutant):
        return f"{mutant.file}: {mutant.source}: {mutant.shown}: {mutant.alike}"

    def killer(self, mutant):
        return self.killers.get(self.key(mutant))

    def knows(self, mutant):
        key = self.key(mutant)
        return key in self.killers and (self.killers[key] is not None
                                        or self.listed.row(mutant) is not None)

    def add(self, mutant, name):
        self.file.write(json.dumps({"key": self.key(mutant), "killer": name}) + "\n")
        self.file.flush()
