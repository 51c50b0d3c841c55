#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Changes the library in small ways and asks whether the tests notice.

Every change, a mutant, is a condition that is inverted, a comparison or another operator exchanged, a
constant off by one, a statement left out or another value returned. All mutants are built into one
copy of the tree (build/mutants) and chosen when a test runs; only the tests that come to a mutant are
run for it. Fails when fewer than 95 in a hundred of the library's are found, or when one that is not
found is not listed, with its reason, in tests/mutants/survivors.toml.
"""
import argparse
import fnmatch
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys
import tomllib

import points
import running
import schemata

BOUND = 95.0
HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent


def arguments_of(entry):
    """What clang has to know of a compiler's command."""
    words = shlex.split(entry["command"])
    kept = [word for word in words if word.startswith(("-I", "-D", "-std"))]
    for at, word in enumerate(words):
        if word == "-isystem":
            kept += words[at:at + 2]
    resources = subprocess.run(["clang", "-print-resource-dir"], capture_output=True, text=True,
                               check=True).stdout.strip()
    return kept + ["-isystem", resources + "/include"]


def find_mutants(directories, excluded, database):
    finder = points.Finder(ROOT, directories)
    units = [e for e in database
             if any(pathlib.Path(e["file"]).is_relative_to(ROOT / d) for d in directories)]
    for number, entry in enumerate(units):
        running.show(f"reading {number + 1} of {len(units)}: {pathlib.Path(entry['file']).name}")
        finder.read(pathlib.Path(entry["file"]), arguments_of(entry))
    running.show("")
    changes = {path: own for path, own in finder.changes.items()
               if str(path.relative_to(ROOT)) not in excluded}
    return schemata.number_all(ROOT, changes)


def call(command, **options):
    run = subprocess.run(command, capture_output=True, text=True, check=False, **options)
    return run.returncode, run.stdout + run.stderr


def configure(source, build):
    code, output = call(["cmake", "-G", "Ninja", "-S", source, "-B", build, "-DKELVO_BUILD_TESTS=ON",
                         "-DKELVO_BUILD_TOOLS=OFF", "-DKELVO_BUILD_EXAMPLES=OFF",
                         "-DCMAKE_BUILD_TYPE=RelWithDebInfo", "-DKELVO_MUTANTS=ON"])
    if code != 0:
        sys.exit(output)


def build_all(tree, build, mutants, jobs):
    """Builds, without the mutants that are no program. @return those that are one"""
    # What an earlier build has refused is not tried again.
    refused = build.parent / "refused"
    known = set(refused.read_text().splitlines()) if refused.exists() else set()
    mutants = [mutant for mutant in mutants if running.Results.key(mutant) not in known]
    schemata.write_sources(ROOT, tree, mutants)
    configure(tree, build)
    targets = ["kelvoutils", "kelvo_platform"]
    while True:
        running.show(f"building with {len(mutants)} mutants")
        code, log = call(["ninja", "-C", build, "-k", "0", f"-j{jobs}"] + targets)
        if code == 0 and targets == ["all"]:
            running.show("")
            return mutants
        if code == 0:
            targets = ["all"]
            continue
        wrong = schemata.refused(tree, log, mutants)
        if not wrong:
            sys.exit(f"mutate: the copy in {tree} does not build:\n{log[-4000:]}")
        known |= {running.Results.key(mutant) for mutant in mutants if mutant.number in wrong}
        refused.write_text("".join(f"{key}\n" for key in sorted(known)))
        mutants = [mutant for mutant in mutants if mutant.number not in wrong]
        schemata.write_sources(ROOT, tree, mutants)


class Survivors:
    """Mutants that need not be found, each with its reason. A row that names no mutant speaks of all
    those of its line, and one that does not say which of several that read the same, of all these."""

    def __init__(self, rows):
        self.rows = {}
        for row in rows:
            shown = row.get("mutant")
            for one in shown if isinstance(shown, list) else [shown]:
                self.rows[row["file"], row["source"], one, row.get("which")] = row["reason"]
        self.met = set()

    def row(self, mutant):
        """The row that speaks of a mutant, or None."""
        keys = [(mutant.file, mutant.source, shown, which)
                for shown in (mutant.shown, None) for which in (mutant.alike + 1, None)]
        return next((key for key in keys if key in self.rows), None)

    def reason(self, mutant):
        """Why a mutant that has been found alive may be."""
        key = self.row(mutant)
        self.met.add(key)
        return self.rows.get(key)


def by_chance(seed):
    """An order that no mutant has any part in but its own text: other mutants may come and go."""
    def place(mutant):
        return hashlib.sha256(f"{seed}: {running.Results.key(mutant)}".encode()).digest()
    return place


def judge(mutants, found, listed):
    files = {}
    survivors = []
    for mutant in mutants:
        entry = files.setdefault(mutant.file, {"file": mutant.file, "mutants": 0, "killed": 0,
                                               "listed": 0})
        entry["mutants"] += 1
        if found[mutant.number] is not None:
            entry["killed"] += 1
            continue
        reason = listed.reason(mutant)
        entry["listed"] += reason is not None
        survivors.append({"file": mutant.file, "line": mutant.line, "source": mutant.source,
                          "mutant": mutant.shown, "reason": reason})
    return [files[name] for name in sorted(files)], survivors


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--files", nargs="+", default=["*"],
                        help="only mutants in files like one of these patterns")
    parser.add_argument("--sample", type=int, help="only this many mutants, chosen by chance")
    parser.add_argument("--minutes", type=float, help="begin with no further mutant after this time")
    parser.add_argument("--seed", type=int, default=1, help="of the chance (default: %(default)s)")
    parser.add_argument("--platform", action="store_true", help="the host platform's mutants too")
    parser.add_argument("--jobs", type=int, default=2, help="programs run at a time")
    parser.add_argument("--resume", action="store_true",
                        help="try no mutant again that an earlier run has killed, or found alive as"
                             " listed")
    parser.add_argument("--json", type=pathlib.Path, help="write the result to this file too")
    options = parser.parse_args()

    lists = tomllib.loads((HERE / "survivors.toml").read_text())
    folder = ROOT / "build/mutants"
    tree, build = folder / "tree", folder / "tree/build/release"
    tree.mkdir(parents=True, exist_ok=True)
    configure(ROOT, folder / "plain")
    database = json.loads((folder / "plain/compile_commands.json").read_text())
    directories = ["common/src"] + (["platform/host"] if options.platform else [])
    excluded = {row["file"] for row in lists.get("excluded", [])}
    mutants = find_mutants(directories, excluded, database)
    schemata.copy_tree(ROOT, tree, {mutant.file for mutant in mutants})
    mutants = build_all(tree, build, mutants, options.jobs)

    programs = sorted(path for path in (build / "tests").iterdir()
                      if path.name.endswith("_test") and os.access(path, os.X_OK))
    libraries = [build / "common/libkelvoutils.so", build / "platform/libkelvo_platform.so"]
    recorded, failed = running.record(programs, libraries, max(m.number for m in mutants),
                                      folder / "reached", options.jobs)
    for name in failed:
        print(f"mutate: {name} fails without a mutant and takes no part", file=sys.stderr)
    chosen = [m for m in mutants if any(fnmatch.fnmatch(m.file, glob) for glob in options.files)]
    in_scope = len(chosen)
    chosen.sort(key=by_chance(options.seed))  # so that what is tried is a sample at any time
    chosen = chosen[:options.sample]
    if not chosen:
        sys.exit(f"mutate: no mutant in files like {' '.join(options.files)}")
    listed = Survivors(lists.get("survivor", []))
    results = running.Results(folder / "results", options.resume, listed)
    found = running.try_all(chosen, recorded, options.jobs, options.minutes, results)
    chosen = sorted((m for m in chosen if m.number in found), key=lambda m: m.number)

    files, survivors = judge(chosen, found, listed)
    killed = sum(entry["killed"] for entry in files)
    percent = 100.0 * killed / len(chosen)
    for entry in files:
        print(f"{entry['file']:60} {entry['killed']:5} of {entry['mutants']:5} killed,"
              f" {entry['listed']} listed")
    unlisted = [survivor for survivor in survivors if survivor["reason"] is None]
    for survivor in unlisted:
        print(f"\nalive: {survivor['file']}:{survivor['line']}\n    {survivor['source']}"
              f"\n    {survivor['mutant']}")
    stale = set(listed.rows) - listed.met
    whole = len(chosen) == len(mutants)
    for file, source, shown, _ in sorted(stale, key=str) if whole else []:
        print(f"\nlisted as alive, but is not: {file}\n    {source}\n    {shown or 'any mutant'}")
    print(f"\n{in_scope} mutants, {len(chosen)} tried, {killed} killed, {percent:.2f} %, at least {BOUND:.0f} % wanted;"
          f" {len(survivors)} alive, {len(unlisted)} of them without a reason")
    if options.json:
        options.json.write_text(json.dumps(
            {"mutants": in_scope, "tried": len(chosen), "killed": killed, "percent": round(percent, 2), "bound": BOUND,
             "seed": options.seed, "files": files,
             "survivors": survivors, "excluded": lists.get("excluded", [])}, indent=1) + "\n")
    is_of_all = options.files == ["*"]  # a file may have little else than what cannot be found
    sys.exit(1 if unlisted or (is_of_all and percent < BOUND) else 0)


if __name__ == "__main__":
    main()
