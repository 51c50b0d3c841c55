#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks what a shared object asks of the dynamic linker.

    loaded_libraries.py LIBRARY SONAME NEEDED[,NEEDED...] bound|replaceable

The library needs exactly the libraries named (and perhaps the dynamic linker itself, which finds
thread-local variables for it) and carries its SONAME. Calls to its own functions are bound when it is
linked, or left to the dynamic linker, so that a process can replace what they call.
"""
import re
import subprocess
import sys


def readelf(option, library):
    return subprocess.run(["readelf", "-W", option, library], check=True, capture_output=True,
                          text=True).stdout


def own_calls(library):
    """The functions of the library that it calls through the dynamic linker."""
    symbols = readelf("--dyn-syms", library)
    own = set(re.findall(r" FUNC +GLOBAL +DEFAULT +\d+ (\w+)@", symbols))
    bound = set(re.findall(r"_(?:JUMP_SLO|GLOB_DAT)\w* +\w+ +(\w+)", readelf("-r", library)))
    return own & bound


def main():
    library, soname, needed, calls = sys.argv[1:]
    dynamic = readelf("-d", library)
    found = set(re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic))
    found = {name for name in found if not name.startswith("ld-")}
    problems = []
    if found != set(needed.split(",")):
        problems.append(f"needs {sorted(found)}, should need {sorted(needed.split(','))}")
    if f"[{soname}]" not in dynamic:
        problems.append(f"SONAME is not {soname}")
    if re.search(r"\(SYMBOLIC\)", dynamic):
        problems.append("binds its own data symbolically")
    through_linker = own_calls(library)
    if calls == "bound" and through_linker:
        problems.append(f"calls its own functions through the dynamic linker: {sorted(through_linker)}")
    if calls == "replaceable" and not through_linker:
        problems.append("calls its own functions directly, so that nobody can replace them")
    for problem in problems:
        print(f"{library}: {problem}")
    if not problems:
        print(f"{soname}: needs {', '.join(sorted(found))}")
    return bool(problems)


if __name__ == "__main__":
    sys.exit(main())
