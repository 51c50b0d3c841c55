#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks that a shared object is hardened, as it is installed.

    hardening.py LIBRARY

What cmake/options.cmake asks of compiler and linker is lost without a word when an option is dropped,
an input is built otherwise, or the tree is installed in another way; so this reads the outcome. It also
says how many relocations the dynamic linker has to do when the library is loaded.
"""
import re
import subprocess
import sys
from collections import Counter

# Marks of control-flow protection, by machine. A machine that is not here has none.
CONTROL_FLOW = {
    "Advanced Micro Devices X86-64": r"x86 feature: IBT, SHSTK",
    "AArch64": r"AArch64 feature: BTI, PAC",
}


def readelf(option, library):
    return subprocess.run(["readelf", "-W", option, library], check=True, capture_output=True, text=True,
                          env={"LC_ALL": "C", "PATH": "/usr/bin:/bin"}).stdout


def flags_of(segment, segments):
    return re.findall(rf"^ +{segment} +(?:0x[0-9a-f]+ +){{5}}([RWE ]+?) +0x", segments, re.M)


def memory(segments, dynamic):
    """How the linker laid the library out."""
    if not flags_of("GNU_RELRO", segments):
        yield "has no data that is read-only after relocation: link with -z relro"
    if not re.search(r"\(FLAGS\).*BIND_NOW", dynamic) or not re.search(r"\(FLAGS_1\).*NOW", dynamic):
        yield "binds functions when they are first called, so their table stays writable: link with -z now"
    if flags_of("GNU_STACK", segments) != ["RW"]:
        yield "does not ask for a stack without code: link with -z noexecstack"
    if any("W" in flags and "E" in flags for flags in flags_of("LOAD", segments)):
        yield "has memory that is both written and executed"
    if re.search(r"\(TEXTREL\)|\(FLAGS\).*TEXTREL", dynamic):
        yield "has relocations in its code: compile with -fPIC"
    for path in re.findall(r"\((?:RPATH|RUNPATH)\).*\[(.*)\]", dynamic):
        if path != "$ORIGIN":
            yield f"looks for libraries in '{path}'; only $ORIGIN, its own folder, moves with it"


def code(library, symbols):
    """What the compiler put into its functions."""
    imported = set(re.findall(r" UND +(\w+)", symbols))
    if "__stack_chk_fail" not in imported:
        yield "has no function with a guarded frame: compile with -fstack-protector-strong"
    if not any(re.fullmatch(r"__\w+_chk", name) for name in imported):
        yield "calls no fortified function of libc: compile with -O and -D_FORTIFY_SOURCE=2"
    machine = re.search(r"Machine: +(.*)", readelf("-h", library)).group(1).strip()
    mark = CONTROL_FLOW.get(machine)
    if mark and not re.search(mark, readelf("-n", library)):
        yield f"has no mark '{mark}': some input is built without control-flow protection"


def main():
    library = sys.argv[1]
    problems = [*memory(readelf("-l", library), readelf("-d", library)),
                *code(library, readelf("--dyn-syms", library))]
    for problem in problems:
        print(f"{library}: {problem}")
    kinds = Counter(re.findall(r"^[0-9a-f]+ +[0-9a-f]+ R_(?:X86_64|[A-Z0-9]+)_(\w+)", readelf("-r", library), re.M))
    print(f"{library}: {sum(kinds.values())} relocations when it is loaded: "
          + ", ".join(f"{count} {kind}" for kind, count in kinds.most_common()))
    return bool(problems)


if __name__ == "__main__":
    sys.exit(main())
