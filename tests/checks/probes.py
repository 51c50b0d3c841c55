#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the probes that a library has with the ones that a page describes.

    probes.py LIBRARY PAGE

In the page's table, a row names a probe and its arguments: | `name` | `arg`, `arg` | ... |

A tracer tells the library by a semaphore that it watches. Each probe must have one, of two bytes that
are 0 and can be written, in the section .probes; that of `refused` is that of `interpreted`.
"""
import re
import subprocess
import sys
from pathlib import Path

PROBE = re.compile(r"Provider: (\w+)\s+Name: (\w+)\s+Location: [^\n]*Semaphore: 0x([0-9a-f]+)\s+Arguments: ?([^\n]*)")
SECTION = re.compile(r"\] \.probes\s+PROGBITS\s+([0-9a-f]+) ([0-9a-f]+) ([0-9a-f]+) \S+ +(\w+) ")


def readelf(option, library):
    return subprocess.run(["readelf", option, library], check=True, capture_output=True, text=True).stdout


def built_in(library):
    """Each probe: the numbers of arguments and the semaphores that its places have."""
    counts, semaphores, problems = {}, {}, []
    for provider, name, semaphore, arguments in PROBE.findall(readelf("-nW", library)):
        if provider != "kelvo":
            problems.append(f"{name}: its provider is {provider}")
        counts.setdefault(name, set()).add(len(re.findall(r"-?\d+@", arguments)))
        semaphores.setdefault(name, set()).add(int(semaphore, 16))
    return counts, semaphores, problems


def judge_semaphores(library, semaphores):
    """Yields what is wrong with them."""
    section = SECTION.search(readelf("-SW", library))
    if not section:
        yield "the library has no section .probes"
        return
    begin, offset, size = (int(number, 16) for number in section.groups()[:3])
    if section[4] != "WA":
        yield f".probes has the flags {section[4]}, not WA: a tracer could not write there"
    if any(Path(library).read_bytes()[offset:offset + size]):
        yield "a semaphore is not 0 from the beginning: its probes would work without a tracer"
    for name, addresses in sorted(semaphores.items()):
        if len(addresses) != 1 or not all(begin <= at <= begin + size - 2 for at in addresses):
            found = ", ".join(f"0x{at:x}" for at in sorted(addresses))
            yield f"{name}: its semaphore is at {found}; it should be one, in .probes"
    if semaphores.get("interpreted") != semaphores.get("refused"):
        yield "interpreted and refused have different semaphores: the library looks at one"
    if len({frozenset(addresses) for addresses in semaphores.values()}) != size // 2:
        yield f".probes has {size // 2} semaphores, not all of them a probe's"


def described(page):
    rows = re.findall(r"^\| `(\w+)` \| ([^|]*) \|", Path(page).read_text(encoding="utf-8"), re.M)
    return {name: {len(re.findall(r"`\w+`", arguments))} for name, arguments in rows}


def main():
    library, page = sys.argv[1:]
    have, semaphores, problems = built_in(library)
    want = described(page)
    problems += judge_semaphores(library, semaphores)
    for name in sorted(have.keys() | want.keys()):
        if have.get(name) != want.get(name):
            problems.append(f"{name}: {have.get(name, 'no')} arguments in the library, "
                            f"{want.get(name, 'no')} on the page")
    print("\n".join(problems) or ", ".join(f"{name} ({min(counts)})" for name, counts in sorted(have.items())))
    return bool(problems) or not have


if __name__ == "__main__":
    sys.exit(main())
