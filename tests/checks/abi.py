#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the binary interface of a shared object with the one on record (needs Debian's abigail-tools
and a library built with debug information).

    abi.py [--write] RECORD LIBRARY INCLUDE_DIR[,INCLUDE_DIR...]

The record holds each exported function and object with the types that it takes, as the compiler laid
them out. Types that the headers do not define, lines of the sources and names of folders are left out,
so gcc and clang, with and without optimisation, agree on it. --write makes it anew.
"""
import re
import subprocess
import sys
import tempfile

OPTIONS = ["--exported-interfaces-only", "--drop-private-types", "--drop-undefined-syms", "--no-show-locs",
           "--no-corpus-path", "--no-comp-dir-path", "--no-architecture", "--no-elf-needed",
           "--type-id-style", "hash"]

# What abidiff's exit status says, bit by bit.
FAILED = 1 | 2
CHANGED = 4 | 8

BREAKS = """
{library}: programs that were built before may break on what is removed or changed above. Take the change
back, or give the library a new SONAME and its symbols a new version; then record that interface.
"""
GROWS = """
{library}: the additions above are not on record. If they are meant, record them and commit:
    cmake --build build/release --target record_interface
"""


def interface(library, include_dirs):
    headers = [option for directory in include_dirs for option in ("--headers-dir", directory)]
    dump = subprocess.run(["abidw", *OPTIONS, *headers, library], check=True, capture_output=True,
                          text=True).stdout
    return re.sub(r" path='[./]*/([^']*)'", r" path='\1'", dump)


def has_debug_information(library):
    sections = subprocess.run(["readelf", "-WS", library], check=True, capture_output=True, text=True).stdout
    return ".debug_info" in sections


def compare(record, library, include_dirs):
    # Both sides are read from the same form: abidiff takes a type without its place for a private one
    # where it knows the headers.
    with tempfile.NamedTemporaryFile("w", suffix=".abi") as now:
        now.write(interface(library, include_dirs))
        now.flush()
        run = subprocess.run(["abidiff", record, now.name], check=False, capture_output=True, text=True)
    sys.stdout.write(run.stdout)
    if run.returncode & FAILED:
        print(f"{library}: abidiff cannot compare it with {record}\n{run.stderr}")
        return True
    if not run.returncode & CHANGED:
        print(f"{library}: the interface on record")
        return False
    counts = re.findall(r"(\d+) (?:\(\d+ filtered out\) )?(?:Removed|Changed)", run.stdout)
    print((BREAKS if any(map(int, counts)) or "SONAME" in run.stdout else GROWS).format(library=library))
    return True


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--write"]
    record, library, include_dirs = arguments[0], arguments[1], arguments[2].split(",")
    if not has_debug_information(library):
        print(f"{library}: has no debug information, so its types cannot be seen; configure with "
              "CMAKE_BUILD_TYPE RelWithDebInfo or Debug")
        return True
    if "--write" not in sys.argv:
        return compare(record, library, include_dirs)
    with open(record, "w", encoding="utf-8") as file:
        file.write(interface(library, include_dirs))
    return False


if __name__ == "__main__":
    sys.exit(main())
