#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks the check of the binary interface: small libraries that differ from the one on record in one
thing each are refused, with the right advice, and one that differs in nothing that counts passes.

    abi_refusals.py COMPILER SCRATCH_DIR
"""
import subprocess
import sys
from pathlib import Path

HEADER = """
struct answer { unsigned type; unsigned id; };
struct memory;
int ask(const char *path, struct answer *answer);
int keep(struct memory *memory);
extern int answers;
"""
SOURCE = """
#include "answer.h"
struct memory { int count; };
int keep(struct memory *memory) { return memory->count++; }
int answers = 1;
int ask(const char *path, struct answer *answer) { answer->id = (unsigned)path[0]; return 0; }
"""
HIDDEN = '__attribute__((visibility("hidden"))) '

SAME, GROWS, BREAKS = "the interface on record", "are not on record", "may break"

# What changes, its words before and after in header and source, what the check says.
CASES = [
    ("nothing", "", "", SAME),
    ("a type that only the source defines", "{ int count;", "{ long count;", SAME),
    ("a function is new", "int answers = 1;", "int answers = 1; int tell(void) { return 0; }", GROWS),
    ("an object is new", "int answers = 1;", "int answers = 1; int questions = 1;", GROWS),
    ("a function is gone", "int ask(const char *path, struct answer *answer) {",
     HIDDEN + "int ask(const char *path, struct answer *answer) {", BREAKS),
    ("an object is gone", "int answers = 1;", HIDDEN + "int answers = 1;", BREAKS),
    ("a parameter is new", "const char *path, ", "const char *path, int more, ", BREAKS),
    ("a parameter changes", "const char *path, ", "const unsigned char *path, ", BREAKS),
    ("a result changes", "int ask(", "long ask(", BREAKS),
    ("a field changes", "unsigned id;", "unsigned long id;", BREAKS),
    ("a field is new", "unsigned id;", "unsigned id; unsigned more;", BREAKS),
    ("fields change places", "unsigned type; unsigned id;", "unsigned id; unsigned type;", BREAKS),
    ("an object changes", "int answers", "short answers", BREAKS),
]


def build(compiler, directory, before="", after="", debug="-g"):
    directory.mkdir(parents=True, exist_ok=True)
    (directory / "answer.h").write_text(HEADER.replace(before, after) if before else HEADER)
    source, library = directory / "answer.c", directory / "libanswer.so.1"
    source.write_text(SOURCE.replace(before, after) if before else SOURCE)
    subprocess.run([compiler, debug, "-shared", "-fPIC", "-Wl,-soname,libanswer.so.1", "-o", library, source],
                   check=True)
    return library


def check(*arguments):
    run = subprocess.run([sys.executable, Path(__file__).with_name("abi.py"), *arguments], check=False,
                         capture_output=True, text=True)
    return run.returncode, run.stdout + run.stderr


def main():
    compiler, scratch = sys.argv[1], Path(sys.argv[2])
    record = scratch / "answer.abi"
    first = build(compiler, scratch / "first")
    check("--write", record, first, scratch / "first")
    wrong = 0
    cases = [(*case, "-g") for case in CASES]
    cases.append(("no debug information", "", "", "has no debug information", "-g0"))
    for number, (what, before, after, says, debug) in enumerate(cases):
        assert not before or before in HEADER + SOURCE, what
        directory = scratch / str(number)
        code, text = check(record, build(compiler, directory, before, after, debug), directory)
        if says not in text or (code == 0) != (says == SAME):
            wrong += 1
            print(f"{what}: should say '{says}', ended with {code} and says\n{text}")
    print(f"{len(cases)} libraries, {wrong} judged wrongly")
    return wrong != 0


if __name__ == "__main__":
    sys.exit(main())
