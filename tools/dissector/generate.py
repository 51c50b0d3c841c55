#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes the Wireshark dissector from the description: generate.py MESSAGES.json INCLUDE_DIR TEMPLATE OUTPUT"""
import json
import pathlib
import re
import sys

IDENTIFIER = re.compile(r"[A-Za-z_]\w*\Z")
KEYWORDS = {"and", "break", "do", "else", "elseif", "end", "false", "for", "function", "goto", "if", "in", "local",
            "nil", "not", "or", "repeat", "return", "then", "true", "until", "while"}


def lua(value, indent=""):
    """A value as Lua writes it."""
    inner = indent + " "
    if isinstance(value, dict):
        pieces = [f"{key if IDENTIFIER.match(key) and key not in KEYWORDS else f'[{json.dumps(key)}]'} = "
                  f"{lua(item, inner)}" for key, item in value.items()]
    elif isinstance(value, list):
        pieces = [lua(item, inner) for item in value]
    else:
        return json.dumps(value, ensure_ascii=True)
    flat = "{ " + ", ".join(pieces) + " }"
    return flat if len(flat) + len(indent) < 110 and "\n" not in flat else (
        "{\n" + "".join(f"{inner}{piece},\n" for piece in pieces) + indent + "}")


def expand(elements, groups):
    """The elements with `use` replaced by what it stands for, without what only people read."""
    for element in elements:
        if "use" in element:
            yield from expand(groups[element["use"]], groups)
            continue
        element = {key: item for key, item in element.items() if key not in ("meaning", "struct", "condition")}
        if "elements" in element:
            element["elements"] = list(expand(element["elements"], groups))
        if "fields" in element:
            element["fields"] = [{key: item for key, item in field.items() if key in ("name", "type", "width", "order", "format")}
                                 for field in element["fields"]]
        yield element


def constant(headers, name):
    """A number that a public header defines."""
    text = "".join(header.read_text() for header in headers)
    return int(re.search(rf"\b{name}\b\s*=?\s*(0x[0-9a-f]+|\d+)u?\b", text).group(1), 0)


def main():
    source, include, template, output = map(pathlib.Path, sys.argv[1:5])
    headers = sorted(include.glob("*.h"))
    described = json.loads(source.read_text())
    messages = []
    for message in described["messages"]:
        elements = list(expand(message["elements"], described["groups"]))
        messages.append({"name": message["name"], "title": message["title"], "types": message.get("types", []),
                         "order": message["order"],
                         "has_header": any(element.get("name") == "header" for element in elements),
                         "elements": elements})
    kinds = {name: {"checks": kind.get("checks", [])} for name, kind in described["kinds"].items()}
    data = {"native": sys.byteorder, "type_count": constant(headers, "KELVO_MSG_TYPE_COUNT"),
            "longest_name": constant(headers, "KELVO_BULK_NAME_MAX"),
            "converted": constant(headers, "KELVO_MSG_CONVERTED"),
            "value_types": described["value_types"], "kinds": kinds, "messages": messages}
    text = template.read_text().replace("@KELVO_DESCRIPTION@", lua(data))
    output.parent.mkdir(parents=True, exist_ok=True)
    output.write_text(text)


main()
