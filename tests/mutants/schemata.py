# SPDX-License-Identifier: Apache-2.0
"""A copy of the tree in which every mutant is there and none is active until the environment names
it, so that all of them are built at once."""
import collections
import dataclasses
import pathlib
import re
import shutil
import subprocess

HEADER = pathlib.Path(__file__).with_name("kelvo_mutants.h")
BLOCK = 128
OUTERMOST = {"skip": 0, "drop": 1, "value": 2, "after": 3}


@dataclasses.dataclass
class Mutant:
    number: int
    file: str
    line: int
    source: str
    shown: str
    alike: int  # how many before it read the same
    change: object


@dataclasses.dataclass
class Node:
    """A piece of text with the mutants that replace all of it, and the pieces inside."""
    start: int
    end: int
    form: str
    mutants: list
    inside: list


def number_all(root, changes):
    """The mutants of all files, numbered from 1. Each file has blocks of numbers of its own, so that
    a small change in one does not renumber, and so rebuild, the others."""
    mutants = []
    alike = collections.Counter()
    last = 0
    for path in sorted(changes):
        text = path.read_text(encoding="ascii")
        lines = text.splitlines()
        last = (last + BLOCK - 1) // BLOCK * BLOCK
        for change in sorted(changes[path].values(), key=lambda c: (c.start, c.end, c.shown)):
            last += 1
            line = text.count("\n", 0, change.start) + 1
            reads = path, lines[line - 1].strip(), change.shown
            mutants.append(Mutant(last, str(path.relative_to(root)), line,
                                  reads[1], change.shown, alike[reads], change))
            alike[reads] += 1
    return mutants


def nodes_of(mutants):
    """The tree of pieces: what starts first and ends last is outside."""
    pieces = {}
    for mutant in mutants:
        change = mutant.change
        key = (change.start, -change.end, OUTERMOST[change.form])
        node = pieces.setdefault(key, Node(change.start, change.end, change.form, [], []))
        node.mutants.append(mutant)
    top = Node(0, 1 << 60, "top", [], [])
    around = [top]
    for _, node in sorted(pieces.items(), key=lambda item: item[0]):
        while node.start >= around[-1].end:
            around.pop()
        if node.end > around[-1].end:
            continue  # overlaps without being inside: a macro's doing
        around[-1].inside.append(node)
        around.append(node)
    return top


class Writer:
    """Writes one file, and knows on which line each mutant is found."""

    def __init__(self, text):
        self.text = text

    def piece(self, start, end, inside):
        out = []
        for node in inside:
            out.append(self.text[start:node.start])
            out.append(self.node(node))
            start = node.end
        out.append(self.text[start:end])
        return "".join(out)

    def node(self, node):
        inner = self.piece(node.start, node.end, node.inside)
        asked = [(f"kelvo_mutant({m.number})", m.change.text) for m in node.mutants]
        if node.form == "value":
            return "(" + "".join(f"{ask} ? ({text}) : " for ask, text in asked) + f"({inner}))"
        if node.form == "drop":
            return f"({asked[0][0]} ? (void)0 : (void)({inner}))"
        if node.form == "skip":
            return f"if ({asked[0][0]}) {{}} else {inner}"
        name = re.search(r"(\w+)\s*=", self.text[node.start:node.end]).group(1)
        choices = "".join(f"{ask} ? ({text}) : " for ask, text in asked)
        return f"{inner}; {choices}!!{name}"

    def file(self, mutants, header):
        top = nodes_of(mutants)
        body = self.piece(0, len(self.text), top.inside)
        return (f'#pragma GCC system_header\n#include "{header}"\n#line 1\n{body}')


def copy_tree(root, tree, mutated):
    """All files of the project but the mutated ones; those that did not change keep their time."""
    listed = subprocess.run(["git", "-C", root, "ls-files", "-z", "--cached", "--others",
                             "--exclude-standard"], capture_output=True, check=True).stdout
    for name in filter(None, listed.decode().split("\0")):
        source, target = root / name, tree / name
        if not source.is_file() or name in mutated or name == "cmake/options.cmake":
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        if not target.exists() or target.read_bytes() != source.read_bytes():
            shutil.copy(source, target)  # newer than what was built from it before


def write_if_changed(path, text):
    if not path.exists() or path.read_text() != text:
        path.write_text(text)


def write_sources(root, tree, mutants):
    by_file = {}
    for mutant in mutants:
        by_file.setdefault(mutant.file, []).append(mutant)
    header = tree / "tests/mutants/kelvo_mutants.h"
    for file, own in by_file.items():
        text = (root / file).read_text(encoding="ascii")
        write_if_changed(tree / file, Writer(text).file(own, header))
    # A mutant may be odd code, but is not to be refused for that. What it leaves unwritten holds a
    # pattern, unless the compiler takes it for the value that it should have, and what is not to be
    # come to ends the program: otherwise the compiler would leave the choice of such a mutant out.
    options = (root / "cmake/options.cmake").read_text()
    odd = ("\ntarget_compile_options(kelvo_shared_object INTERFACE -w -fpermissive -Wno-narrowing"
           " -ftrivial-auto-var-init=pattern -fsanitize=unreachable -fsanitize-undefined-trap-on-error)\n")
    write_if_changed(tree / "cmake/options.cmake", options + odd)


def refused(tree, log, mutants):
    """The mutants on the lines where the compiler found an error, one each: the smallest there."""
    wrong = set()
    for match in re.finditer(r"^(\S+?):(\d+):(\d+): (?:fatal )?error: (.*)$", log, re.M):
        path = pathlib.Path(match[1])
        path = path if path.is_absolute() else tree / "build/release" / path
        line, column = int(match[2]), int(match[3])
        try:
            file = str(path.resolve().relative_to(tree.resolve()))
        except ValueError:
            continue
        wrong |= innermost(tree / file, file, line, column, mutants)
    return wrong


def innermost(path, file, line, column, mutants):
    """The mutants whose choice encloses a place of a written file."""
    text = path.read_text().split("\n")[line + 2]
    best, best_size = set(), 1 << 60
    for match in re.finditer(r"\(?(?:if \()?kelvo_mutant\((\d+)\)", text):
        start = match.start()
        if start > column:
            continue
        end = closing(text, start)
        if column <= end + 1 and end - start < best_size:
            best, best_size = {int(match[1])}, end - start
        elif column <= end + 1 and end - start == best_size:
            best.add(int(match[1]))
    known = {m.number for m in mutants if m.file == file}
    if not best:  # the error is beside the choices of the line: all of them go
        best = {int(n) for n in re.findall(r"kelvo_mutant\((\d+)\)", text)}
    return best & known


def closing(text, start):
    """Where the parenthesis that opens at or before this place closes, or the line ends."""
    depth = 0
    for at in range(start, len(text)):
        depth += {"(": 1, ")": -1}.get(text[at], 0)
        if depth <= 0 and at > start:
            return at
    return len(text)
