#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the probes that a library has with the ones that a page describes.

    probes.py LIBRARY PAGE

In the page's table, a row names a probe and its arguments: | `name` | `arg`, `arg` | ... |
"""
import re
import subprocess
import sys
from pathlib import Path

PROBE = re.compile(r"Provider: (\w+)\s+Name: (\w+)\s+Location: [^\n]*Semaphore: (0x[0-9a-f]+)\s+Arguments: ?([^\n]*)")


def built_in(library):
    """Each probe with the numbers of arguments that its places have."""
    notes = subprocess.run(["readelf", "-nW", library], check=True, capture_output=True, text=True).stdout
    found, problems = {}, []
    for provider, name, semaphore, arguments in PROBE.findall(notes):
        if provider != "kelvo":
            problems.append(f"{name}: its provider is {provider}")
        if int(semaphore, 16) != 0:
            problems.append(f"{name}: asks whether a tracer is there")
        found.setdefault(name, set()).add(len(re.findall(r"-?\d+@", arguments)))
    return found, problems


def described(page):
    rows = re.findall(r"^\| `(\w+)` \| ([^|]*) \|", Path(page).read_text(encoding="utf-8"), re.M)
    return {name: {len(re.findall(r"`\w+`", arguments))} for name, arguments in rows}


def main():
    library, page = sys.argv[1:]
    have, problems = built_in(library)
    want = described(page)
    for name in sorted(have.keys() | want.keys()):
        if have.get(name) != want.get(name):
            problems.append(f"{name}: {have.get(name, 'no')} arguments in the library, "
                            f"{want.get(name, 'no')} on the page")
    print("\n".join(problems) or ", ".join(f"{name} ({min(counts)})" for name, counts in sorted(have.items())))
    return bool(problems) or not have


if __name__ == "__main__":
    sys.exit(main())
