#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the interface that the headers declare with the one on record, so that no change of the
ABI happens unseen.

    recorded_interface.py [--write] RECORD COMPILER INCLUDE_DIR[,INCLUDE_DIR...] HEADER...

The record holds each constant, type, function and asserted offset of the headers, expanded, a line
each. --write makes it anew.
"""
import difflib
import os
import re
import sys

sys.dont_write_bytecode = True
from public_headers import MARK, own_lines  # noqa: E402


def declarations(lines):
    """Splits C text at the semicolons that stand outside of braces."""
    text = re.sub(r"\s+", " ", " ".join(line for line in lines if not line.startswith("#")))
    depth, begin, found = 0, 0, []
    for at, character in enumerate(text):
        depth += {"{": 1, "}": -1}.get(character, 0)
        if character == ";" and depth == 0:
            found.append(text[begin:at].strip())
            begin = at + 1
    return [plain(declaration) for declaration in found if declaration]


def plain(declaration):
    """A declaration as it reads whatever compiler expanded it and wherever its lines were broken."""
    if declaration.startswith("_Static_assert"):
        return "".join(re.findall(r'"([^"]*)"', declaration))
    declaration = declaration.replace(MARK, "KELVO_API")
    return re.sub(r" (?=[,)])|(?<=\() ", "", declaration)


def constants(lines):
    """Macros without parameters that stand for something; lists of rows are in what they expand to."""
    defines = (re.match(r"#define (KELVO|PLATFORM|IFDB)(\w*) (.+)", line) for line in lines)
    return [re.sub(r"\s+", " ", match.group(0)) for match in defines if match]


def interface(compiler, include_dirs, headers):
    record = []
    for header in sorted(headers, key=os.path.basename):
        lines = own_lines(compiler, include_dirs, header, "-dD")
        record += ["", f"== {os.path.basename(header)}", *constants(lines), *declarations(lines)]
    return [line + "\n" for line in record[1:]]


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--write"]
    record, compiler, include_dirs, *headers = arguments
    now = interface(compiler, include_dirs.split(","), headers)
    if "--write" in sys.argv:
        with open(record, "w", encoding="utf-8") as file:
            file.writelines(now)
        return False
    with open(record, encoding="utf-8") as file:
        changes = list(difflib.unified_diff(file.readlines(), now, record, "the headers", n=0))
    sys.stdout.writelines(changes)
    if changes:
        print("Programs that were built before may break on a line that is gone or changed: that takes\n"
              "a new SONAME. If the change is meant, build the target record_interface and commit.")
    else:
        print(f"{len(headers)} headers declare what is on record, {len(now)} lines")
    return bool(changes)


if __name__ == "__main__":
    sys.exit(main())
