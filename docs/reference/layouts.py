#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes the page of message layouts from their description: layouts.py MESSAGES.json OUTPUT_FOLDER

Writes layouts.md and a drawn byte map of each message, layout-<name>.svg.
"""
import html
import json
import pathlib
import sys
import textwrap

ROW = 8          # bytes in a row of a map
BYTE = 58        # width of a byte in the drawing
HEIGHT = 30      # height of a row
MARGIN = 64      # room for the offsets on the left
INDENT = 18      # how far entries stand inside what repeats them
LETTER = 7.25    # width of a letter

COLOURS = {"word": "#dbe9f6", "ignored": "#eef0f2", "cell": "#fbe8c8", "text": "#dff0dc", "value": "#e9def2",
           "fill": "#f6f6f6"}


def expand(elements, groups):
    """The elements with `use` replaced by what it stands for."""
    for element in elements:
        if "use" in element:
            yield from expand(groups[element["use"]], groups)
        elif "elements" in element:
            yield {**element, "elements": list(expand(element["elements"], groups))}
        else:
            yield element


def order(message, field):
    """How a field travels, in a word."""
    if field["type"] != "u32":
        return "as it is"
    return {"sender": "sender's"}.get(field.get("order", message["order"]), message["order"])


# --- the drawing ---------------------------------------------------------------------------------------


class Drawing:
    """Boxes in rows of eight bytes; what follows a piece of variable length has no fixed offset."""

    def __init__(self):
        self.parts, self.y, self.column, self.offset, self.depth = [], 8, 0, 0, 0

    def box(self, width, label, colour, dashed=False):
        """A box over `width` bytes from the current column."""
        x = MARGIN + self.depth * INDENT + self.column * self.byte()
        w = width * self.byte()
        style = ' stroke-dasharray="4 3"' if dashed else ""
        self.parts.append(f'<rect x="{x:g}" y="{self.y}" width="{w:g}" height="{HEIGHT}" '
                          f'fill="{COLOURS[colour]}" stroke="#44546a"{style}/>')
        room = int(w / LETTER)
        if len(label) > room:
            label = label[:max(room - 1, 1)] + "…"
        self.parts.append(f'<text x="{x + w / 2:g}" y="{self.y + 19}" text-anchor="middle">'
                          f'{html.escape(label)}</text>')

    def byte(self):
        return (BYTE * ROW - self.depth * INDENT) / ROW

    def mark(self, text):
        self.parts.append(f'<text x="{MARGIN - 8}" y="{self.y + 19}" text-anchor="end" class="at">{text}</text>')

    def field(self, label, width, colour):
        """A fixed field, drawn over as many rows as it takes; a long one is cut short."""
        first = True
        while width > 0:
            if self.column == 0:
                self.mark("" if self.offset is None else str(self.offset))
            piece = min(width, ROW - self.column)
            skipped = 0
            if not first and width > 2 * ROW:
                skipped = (width - ROW) // ROW * ROW
            self.box(piece, label if first else ("⋮" if skipped else "″"), colour)
            self.forward(piece + skipped)
            width -= piece + skipped
            first = False

    def forward(self, count):
        self.column += count if count < ROW else count % ROW or ROW - self.column
        if self.offset is not None:
            self.offset += count
        if self.column >= ROW:
            self.column = 0
            self.y += HEIGHT

    def align(self):
        if self.column:
            self.column, self.y = 0, self.y + HEIGHT

    def variable(self, label, colour, filled=True):
        """A piece of variable length, with its fill if it has one."""
        self.align()
        width = ROW * 0.7 if filled else ROW
        self.box(width, label, colour, dashed=True)
        if filled:
            self.column = width
            self.box(ROW - width, "fill", "fill", dashed=True)
        self.column, self.offset = 0, None
        self.y += HEIGHT

    def repeat(self, title, draw_inside):
        self.align()
        self.y += 6
        offset = self.offset
        for line in textwrap.wrap(title, int(ROW * self.byte() / LETTER)):
            self.parts.append(f'<text x="{MARGIN + self.depth * INDENT}" y="{self.y + 13}" class="times">'
                              f'{html.escape(line)}</text>')
            self.y += 16
        self.y += 4
        top = self.y
        self.depth += 1
        self.offset = 0
        draw_inside()
        self.align()
        self.depth -= 1
        self.offset = None
        x = MARGIN + self.depth * INDENT + 6
        self.parts.append(f'<path d="M{x} {top}V{self.y}" stroke="#c55a11" stroke-width="3" fill="none"/>')
        self.y += 6
        return offset

    def svg(self, title):
        self.align()
        width, height = MARGIN + BYTE * ROW + 10, self.y + 10
        return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
                f'viewBox="0 0 {width} {height}" role="img">\n<title>{html.escape(title)}</title>\n'
                '<style>text{font:12px "DejaVu Sans Mono",monospace;fill:#1f2a36}.at{fill:#7a8795}'
                '.times{fill:#a04a0d;font-weight:bold}</style>\n' + "\n".join(self.parts) + "\n</svg>\n")


def draw(drawing, elements):
    for element in elements:
        kind = element["kind"]
        if kind == "fields":
            for field in element["fields"]:
                words = field["type"] == "u32"
                drawing.field(field["name"], field["width"], "word" if words else "ignored")
        elif kind == "cell":
            drawing.field(element["name"], 4, "cell")
            drawing.field("", 4, "ignored")
        elif kind in ("string", "value"):
            drawing.field(f"{element['name']} length", 4, "cell")
            drawing.field("", 4, "ignored")
            drawing.variable(element["name"] + (", NUL" if kind == "string" else ""),
                             "text" if kind == "string" else "value")
        elif kind == "bytes":
            drawing.variable(element["name"], "text" if element.get("as") == "text" else "value")
        elif kind == "mask":
            drawing.variable(f"{element['name']}: ({element['bits']} + 31) / 32 words", "word", filled=False)
        elif kind == "repeat":
            times = f"{element['count']} times" if "count" in element else "up to the end"
            drawing.repeat(f"{element['meaning']}: {times}", lambda e=element: draw(drawing, e["elements"]))


# --- the tables ----------------------------------------------------------------------------------------


def rows(message, elements, prefix=""):
    """(offset, bytes, name, order, meaning) of everything that travels, in wire order."""
    for element in elements:
        kind = element["kind"]
        if kind == "fields":
            for field in element["fields"]:
                yield (f"{prefix}{field['at']}", str(field["width"]), f"`{field['name']}`",
                       order(message, field), field["meaning"])
        elif kind == "cell":
            yield (f"{prefix}{element['at']}" if "at" in element else "", "8", f"`{element['name']}`",
                   message["order"], element["meaning"])
        elif kind in ("string", "value"):
            text = "text with its NUL" if kind == "string" else f"value of type `{element['type']}`"
            at = f"{prefix}{element['at']}" if "at" in element else ""
            meaning = f"{element['meaning']}: length cell, {text}, fill"
            if "condition" in element:
                meaning += f"; {element['condition']}"
            yield (at, "8 + n + fill", f"`{element['name']}`", element.get("cell_order", message["order"]), meaning)
        elif kind == "bytes":
            yield ("", "n + fill", f"`{element['name']}`", "by its type" if "type" in element else "as it is",
                   f"{element['meaning']}, as long as `{element['length']}` says")
        elif kind == "mask":
            yield ("", "4 each", f"`{element['name']}`", message["order"],
                   f"{element['meaning']}: one bit for each of `{element['bits']}`, in words")
        elif kind == "repeat":
            times = f"`{element['count']}` times" if "count" in element else "up to the end"
            yield ("", "", f"**{element['name']}**", "", f"{element['meaning']}, {times}:")
            yield from rows(message, element["elements"], "+")


def checks(elements, kinds, inside=""):
    """What a receiver checks, in its order: (status, what must hold)."""
    for element in elements:
        kind = element["kind"]
        where = inside + (f"`{element['name']}`: " if "name" in element else "")
        if kind == "check":
            yield element["status"], inside + element["text"]
        elif kind == "length":
            least = f"at least {element['least']} bytes"
            yield element.get("status", "KELVO_ERR_MSG_LENGTH"), inside + element.get("text", least)
        elif kind == "fields":
            for check in kinds["fields"]["checks"]:
                if check["name"] == element.get("room", "all"):
                    yield check["status"], where + check["text"].replace("bytes", str(element["bytes"]))
        elif kind == "repeat":
            asked = {element.get("after_each"), element.get("after_last"),
                     "duplicate" if "unique" in element else None}
            for check in kinds["repeat"]["checks"]:
                if check["name"] in asked:
                    yield check["status"], where + check["text"]
            yield from checks(element["elements"], kinds, f"{inside}each of `{element['name']}`: ")
        elif element.get("room") != "none":
            cell_only = element.get("room") == "cell"
            for check in kinds[kind].get("checks", []):
                if not (cell_only and check["name"] != "cell"):
                    yield check["status"], where + check["text"]


def page(messages):
    out = ["# Message layouts {#layouts}", "",
           "Every message of the protocol, byte by byte. A row of a picture is eight bytes; offsets stand on its",
           "left. Blue words are converted with the message's order, grey bytes are not looked at; a yellow cell",
           "holds a length or count, and green texts and violet values are as long as the cell before them says,",
           "with zero bytes up to a multiple of eight. What stands right of an orange line is repeated.", "",
           "In the checks, `left` is the number of bytes from where the reader stands to the end, `n` the length in",
           "the cell; the first check that fails decides the status.", "",
           "| Message | Types | Direction |", "|---|---|---|"]
    for message in messages["messages"]:
        types = ", ".join(map(str, message.get("types", []))) or "by the conversation"
        out.append(f"| @ref layout_{message['name']} \"{message['title']}\" | {types} | {message['direction']} |")
    for message in messages["messages"]:
        elements = message["elements"]
        out += ["", f"## {message['title']} {{#layout_{message['name']}}}", "",
                f"![{message['title']}](layout-{message['name']}.svg)", ""]
        structure = f", fixed part ::{message['struct']}" if "struct" in message else ""
        out += [f"Order: {message['order']}. Declared in {message['header']}{structure}.", "",
                "| Offset | Bytes | Field | Order | Meaning |", "|---|---|---|---|---|"]
        out += [f"| {' | '.join(row)} |" for row in rows(message, elements)]
        listed = list(checks(elements, messages["kinds"]))
        if listed:
            out += ["", "Checks, in this order:", ""]
            out += [f"{number}. {text} — otherwise ::{status}" for number, (status, text) in enumerate(listed, 1)]
        if message.get("notes"):
            out += [""] + [f"> {note}" for note in message["notes"]]
        if message.get("functions"):
            out += ["", "Functions: " + ", ".join(f"{name}()" for names in message["functions"].values()
                                                   for name in names) + "."]
    return "\n".join(out) + "\n"


def main():
    source, folder = map(pathlib.Path, sys.argv[1:3])
    messages = json.loads(source.read_text())
    for message in messages["messages"]:
        message["elements"] = list(expand(message["elements"], messages["groups"]))
    folder.mkdir(parents=True, exist_ok=True)
    for message in messages["messages"]:
        drawing = Drawing()
        draw(drawing, message["elements"])
        (folder / f"layout-{message['name']}.svg").write_text(drawing.svg(message["title"]))
    (folder / "layouts.md").write_text(page(messages))


main()
