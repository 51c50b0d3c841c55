#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the symbols list of a Debian package with what the shared object exports.

    package_symbols.py [--write] LIST LIBRARY PACKAGE VERSION

The list says since which version a program that uses a symbol needs the package. --write adds symbols
that are new, with the present version, and takes out those that are gone.
"""
import re
import subprocess
import sys
from pathlib import Path


def readelf(option, library):
    return subprocess.run(["readelf", "-W", option, library], check=True, capture_output=True,
                          text=True).stdout


def exported(library):
    """Each symbol with the name of its version, and the version itself."""
    table = readelf("--dyn-syms", library)
    names = set(re.findall(r" (\w+@)@(\w+)", table))
    return {name + version for name, version in names} | {f"{version}@{version}" for _, version in names}


def listed(path):
    return dict(line.split() for line in path.read_text().splitlines()[1:]) if path.exists() else {}


def main():
    record, library, package, version = [argument for argument in sys.argv[1:] if argument != "--write"]
    have, since = exported(library), listed(Path(record))
    if "--write" in sys.argv:
        soname = re.search(r"\(SONAME\).*\[(.*)\]", readelf("-d", library)).group(1)
        lines = [f"{soname} {package} #MINVER#"] + [f" {name} {since.get(name, version)}" for name in sorted(have)]
        Path(record).write_text("\n".join(lines) + "\n")
        return False
    for name in sorted(have - since.keys()):
        print(f"{record}: does not list {name}; build the target record_interface and commit")
    for name in sorted(since.keys() - have):
        print(f"{record}: lists {name}, which is not exported; programs that use it would break")
    print(f"{package}: {len(since)} symbols on the list, {len(have)} exported")
    return have != since.keys()


if __name__ == "__main__":
    sys.exit(main())
