#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Branches of the shared objects that the tests took.

Reads the profile of a test run and compares each group of sources with its bound in bounds.toml. A
condition in the source is two branches, true and false; the machine code made from it does not
matter, and the instantiations of a template count together. What the compiler decides itself is no
branch. Ends with 1 when a group is below its bound or an exclusion excludes nothing.
"""
import argparse
import collections
import fnmatch
import json
import os
import pathlib
import subprocess
import sys
import tomllib

OUTCOMES = ("true", "false")


def exported(profile, objects):
    """What the coverage tool knows, function by function."""
    command = ["llvm-cov", "export", "-format=text", f"-instr-profile={profile}", objects[0]]
    for further in objects[1:]:
        command += ["-object", further]
    run = subprocess.run(command, capture_output=True, text=True, check=False)
    if run.returncode != 0:
        sys.exit(f"coverage: {' '.join(command[:4])} ... failed:\n{run.stderr}")
    return json.loads(run.stdout)["data"][0]["functions"]


def count_branches(functions, root):
    """{file: {(line, column): [times true, times false]}}"""
    branches = collections.defaultdict(dict)
    for function in functions:
        for line, column, _, _, taken, not_taken, file, *_ in function["branches"]:
            path = pathlib.Path(os.path.normpath(function["filenames"][file]))
            if not path.is_relative_to(root):
                continue
            counts = branches[str(path.relative_to(root))].setdefault((line, column), [0, 0])
            counts[0] += taken
            counts[1] += not_taken
    return branches


class Exclusions:
    """Branches that no test has to take, each with its reason."""

    def __init__(self, rows):
        self.rows = rows
        self.used = [False] * len(rows)

    def reason(self, file, source, outcome):
        for number, row in enumerate(self.rows):
            if (row["file"], row["source"], row["never"]) == (file, source, outcome):
                self.used[number] = True
                return row["reason"]
        return None

    def unused(self):
        return [row for row, used in zip(self.rows, self.used) if not used]


def measure_file(root, file, branches, exclusions):
    lines = (root / file).read_text().splitlines()
    result = {"file": file, "branches": 0, "taken": 0, "excluded": 0, "missing": []}
    for (line, column), counts in sorted(branches.items()):
        for outcome, times in zip(OUTCOMES, counts):
            source = lines[line - 1].strip()
            if times == 0 and exclusions.reason(file, source, outcome):
                result["excluded"] += 1
                continue
            result["branches"] += 1
            if times != 0:
                result["taken"] += 1
            else:
                result["missing"].append(
                    {"line": line, "column": column, "never": outcome, "source": source})
    return result


def percent(entry):
    return 100.0 * entry["taken"] / entry["branches"] if entry["branches"] else 100.0


def measure(root, functions, bounds):
    branches = count_branches(functions, root)
    exclusions = Exclusions(bounds.get("exclusion", []))
    groups = []
    left = set(branches)
    for group in bounds["group"]:
        files = sorted(f for f in left if any(fnmatch.fnmatch(f, g) for g in group["files"]))
        left -= set(files)
        entry = {"name": group["name"], "bound": group["bound"],
                 "files": [measure_file(root, f, branches[f], exclusions) for f in files]}
        if not files:
            sys.exit(f"coverage: no branch of any file of the group '{group['name']}' was seen")
        for key in ("branches", "taken", "excluded"):
            entry[key] = sum(file[key] for file in entry["files"])
        entry["percent"] = round(percent(entry), 2)
        groups.append(entry)
    return groups, exclusions.unused()


def show(groups, unused):
    for group in groups:
        for file in group["files"]:
            print(f"{file['file']:60} {file['taken']:5} of {file['branches']:5}"
                  f" {percent(file):7.2f} %")
            for miss in file["missing"]:
                print(f"    {miss['line']}:{miss['column']} never {miss['never']}: {miss['source']}")
        verdict = "" if group["percent"] >= group["bound"] else "   BELOW ITS BOUND"
        print(f"== {group['name']}: {group['taken']} of {group['branches']} branches,"
              f" {group['percent']:.2f} %, at least {group['bound']} % wanted,"
              f" {group['excluded']} excluded{verdict}\n")
    for row in unused:
        print(f"coverage: an exclusion fits no branch that was missed: {row['file']}, never"
              f" {row['never']}: {row['source']}\nTake it out of tests/coverage/bounds.toml.",
              file=sys.stderr)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--root", type=pathlib.Path, required=True)
    parser.add_argument("--bounds", type=pathlib.Path, required=True)
    parser.add_argument("--profile", required=True)
    parser.add_argument("--json", type=pathlib.Path, help="write the figures to this file too")
    parser.add_argument("objects", nargs="+", help="programs and shared objects that were run")
    arguments = parser.parse_args()
    root = arguments.root.resolve()
    bounds = tomllib.loads(arguments.bounds.read_text())
    groups, unused = measure(root, exported(arguments.profile, arguments.objects), bounds)
    show(groups, unused)
    if arguments.json:
        arguments.json.write_text(json.dumps({"groups": groups}, indent=1) + "\n")
    below = [group for group in groups if group["percent"] < group["bound"]]
    sys.exit(1 if below or unused else 0)


if __name__ == "__main__":
    main()
