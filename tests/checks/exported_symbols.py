#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares what a shared object exports with what its headers declare.

    exported_symbols.py LIBRARY COMPILER INCLUDE_DIR[,INCLUDE_DIR...] HEADER...

Every declaration that carries the export mark is exported, and nothing else is. The compiler expands
the headers first, so that declarations made by macros count.
"""
import re
import subprocess
import sys

sys.dont_write_bytecode = True
from public_headers import MARK, own_lines  # noqa: E402


def exported(library):
    table = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True,
                           text=True).stdout
    names = set()
    for line in table.splitlines():
        _, kind, name = line.split()
        if kind != "A":  # the version node itself
            names.add(name.split("@")[0])
    return names


def declared(compiler, include_dirs, headers):
    names = set()
    for header in headers:
        for chunk in " ".join(own_lines(compiler, include_dirs, header)).split(MARK)[1:]:
            declaration = re.split(r"[;{]", chunk)[0]
            declaration = re.sub(r"\[[^\]]*\]", "", declaration)
            function = re.search(r"(\w+)\s*\(", declaration)
            names.add(function.group(1) if function else re.findall(r"\w+", declaration)[-1])
    return names


def main():
    library, compiler, include_dirs, *headers = sys.argv[1:]
    have = exported(library)
    want = declared(compiler, include_dirs.split(","), headers)
    for name in sorted(have - want):
        print(f"exported but not declared: {name}")
    for name in sorted(want - have):
        print(f"declared but not exported: {name}")
    print(f"{len(have)} symbols exported, {len(want)} declared")
    return have != want


if __name__ == "__main__":
    sys.exit(main())
