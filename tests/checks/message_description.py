#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds the description of the messages to itself and to the public headers.

    message_description.py DESCRIPTION COMPILER INCLUDE_DIR[,INCLUDE_DIR...]

Itself: keys and kinds are known, names that elements refer to stand before them, offsets follow one
another without gaps. The headers: statuses, value types, functions and types exist; every field lies
where its struct has it, and every byte of a struct is described.
"""
import json
import subprocess
import sys

FIELD_KEYS = {"name", "at", "type", "width", "meaning", "order", "format", "member", "default"}
ELEMENT_KEYS = {
    "fields": {"name", "struct", "bytes", "room", "fields"},
    "cell": {"name", "at", "meaning", "default", "format"},
    "string": {"name", "at", "meaning", "room", "cell_order"},
    "value": {"name", "meaning", "type", "room", "condition"},
    "bytes": {"name", "meaning", "length", "as", "type", "room"},
    "mask": {"name", "meaning", "bits"},
    "repeat": {"name", "meaning", "count", "elements", "struct", "size", "order", "unique",
               "after_each", "after_last"},
    "length": {"least", "status", "text"},
    "check": {"name", "field", "equals", "not", "status", "text"},
    "end": set(),
}
MESSAGE_KEYS = {"name", "title", "types", "direction", "order", "header", "struct", "size",
                "functions", "elements", "notes"}
ROOMS = {"fields": ("all", "more", "none"), "string": ("all", "none"), "value": ("all", "cell"),
         "bytes": ("all", "none")}
CELL_BYTES = 8
HEADER_BYTES = 40


class Checker:
    def __init__(self, description):
        self.description = description
        self.wrong = []
        self.asserts = []  # C expressions that must hold

    def expect(self, condition, text):
        if not condition:
            self.wrong.append(text)

    def expanded(self, elements):
        """The elements with every `use` replaced by what it stands for."""
        for element in elements:
            if "use" in element:
                yield from self.expanded(self.description["groups"][element["use"]])
            else:
                yield element

    def member(self, struct, name, at, width, where):
        """A field of a struct. @return the bytes of the struct that it takes"""
        if name == "":
            return 0
        if struct is None:
            self.wrong.append(f"{where}: {name} has an offset, but nothing says in which struct")
            return 0
        self.asserts.append((f"offsetof({struct}, {name}) == {at}", where))
        self.asserts.append((f"sizeof((({struct}*)0)->{name}) == {width}", where))
        return width

    def fields(self, element, struct, position, where):
        """@return the bytes of the enclosing struct that these fields take"""
        struct = element.get("struct", struct)
        covered, at = 0, position
        for field in element["fields"]:
            here = f"{where}: {field['name']}"
            self.expect(set(field) <= FIELD_KEYS, f"{here}: unknown key in {sorted(field)}")
            self.expect(field["at"] == at, f"{here}: stands at {field['at']}, the one before ends at {at}")
            self.expect(field["type"] in ("u32", "bytes"), f"{here}: type {field['type']}")
            self.expect(field["type"] == "bytes" or field["width"] % 4 == 0, f"{here}: width")
            self.expect(field.get("meaning"), f"{here}: no meaning")
            at += field["width"]
            covered += self.member(struct, field.get("member", field["name"]), field["at"],
                                   field["width"], here)
        self.expect(at == position + element["bytes"],
                    f"{where}: fields end at {at}, {element['bytes']} bytes from {position}")
        return covered

    def walk(self, elements, struct, size, outer, where):
        """One scope: a message or an entry of it. `outer` are the names known around it."""
        known, fixed, position = set(outer), 0, 0
        own = set()
        for element in self.expanded(elements):
            kind = element.get("kind")
            self.expect(kind in ELEMENT_KEYS, f"{where}: kind {kind}")
            extra = set(element) - ELEMENT_KEYS.get(kind, set()) - {"kind"}
            self.expect(not extra, f"{where}: {kind} has {sorted(extra)}")
            self.expect(element.get("room", "all") in ROOMS.get(kind, ("all",)), f"{where}: room")
            for key in ("type", "length", "bits", "count", "field"):
                if key in element:
                    self.expect(element[key] in known, f"{where}: {kind} refers to {element[key]}")
            if "name" in element and kind not in ("check",):
                self.expect(element["name"] not in own, f"{where}: {element['name']} twice")
                own.add(element["name"])
                known.add(element["name"])
            if kind == "fields":
                fixed += self.fields(element, struct, position or 0, where)
                position = None if position is None else position + element["bytes"]
                if "name" not in element:
                    names = [field["name"] for field in element["fields"]]
                    self.expect(not own & set(names), f"{where}: {own & set(names)} twice")
                    own.update(names)
                    known.update(names)
            elif "at" in element:
                self.expect(element["at"] == position, f"{where}: {element['name']} at {position}")
                fixed += self.member(struct, element["name"], element["at"], CELL_BYTES, where)
                position = position + CELL_BYTES if kind == "cell" else None
            elif kind not in ("check", "length", "end"):
                position = None
            if kind == "check":
                self.expect(("equals" in element) != ("not" in element), f"{where}: check")
            if "status" in element:
                self.expect(element["status"] in self.description["statuses"], f"{where}: status")
                self.expect(element.get("text"), f"{where}: a check without text")
            if kind == "repeat":
                self.walk(element["elements"], element.get("struct"), element.get("size"), known,
                          f"{where}, {element['name']}")
        if size is not None:
            self.asserts.append((f"sizeof({struct}) == {size}", where))
            self.expect(fixed == size, f"{where}: {fixed} bytes of {struct} are described, of {size}")

    def message(self, message):
        name = message["name"]
        extra = set(message) - MESSAGE_KEYS
        self.expect(not extra, f"{name}: unknown keys {sorted(extra)}")
        self.expect(message["order"] in ("network", "host", "marker"), f"{name}: order")
        self.expect(message["direction"] in ("request", "reply", "notification", "part"),
                    f"{name}: direction")
        self.expect(bool(message["types"]) <= (message["direction"] == "request"), f"{name}: types")
        self.walk(message["elements"], message.get("struct"), message.get("size"), (), name)

    def program(self):
        """A C program that compiles when everything said about the headers is so."""
        headers = sorted({message["header"] for message in self.description["messages"]})
        lines = ["#include <stddef.h>", *(f'#include "{header}"' for header in headers)]
        hold = [*self.asserts]
        hold += [(f"{name} == {value}u", "statuses")
                 for name, value in self.description["statuses"].items()]
        hold += [(f"KELVO_VALUE_{entry['name']} == {number}", "value types")
                 for number, entry in self.description["value_types"].items()]
        hold += [(f"{number} < KELVO_MSG_TYPE_COUNT", "types")
                 for message in self.description["messages"] for number in message["types"]]
        lines += [f'_Static_assert({expression}, "{where}");' for expression, where in hold]
        functions = sorted({function for message in self.description["messages"]
                            for names in message["functions"].values() for function in names})
        lines += [f"void* const reference_{at} = (void*)&{function};"
                  for at, function in enumerate(functions)]
        return "\n".join(lines) + "\n"

    def check(self):
        messages = self.description["messages"]
        names = [message["name"] for message in messages]
        types = [number for message in messages for number in message["types"]]
        self.expect(len(set(names)) == len(names), "two messages of one name")
        self.expect(len(set(types)) == len(types), "two messages of one type")
        self.expect(set(self.description["kinds"]) == set(ELEMENT_KEYS), "kinds")
        for message in messages:
            self.message(message)


def main():
    path, compiler, include_dirs = sys.argv[1:]
    with open(path, encoding="utf-8") as file:
        checker = Checker(json.load(file))
    checker.check()
    includes = [f"-I{directory}" for directory in include_dirs.split(",")]
    run = subprocess.run([compiler, "-xc", "-std=c11", "-fsyntax-only", *includes, "-"],
                         input=checker.program(), capture_output=True, text=True)
    if run.returncode != 0:
        checker.wrong.append(run.stderr)
    for text in checker.wrong:
        print(text)
    print(f"{len(checker.description['messages'])} messages, {len(checker.asserts)} offsets and sizes, "
          f"{len(checker.wrong)} failures")
    return bool(checker.wrong)


if __name__ == "__main__":
    sys.exit(main())
