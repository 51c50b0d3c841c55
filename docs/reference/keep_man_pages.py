#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Leaves in a folder of man pages those of headers, records and functions: keep_man_pages.py FOLDER HEADER...

Doxygen also makes a page for each field and macro ("error.3", "base.3"), which would stand in the way of
other packages' pages. What they say is on their header's page. Of the pages that stay, a line of text
that begins with a quote is marked as text, for groff would take it for a command.
"""
import pathlib
import re
import sys

folder, headers = pathlib.Path(sys.argv[1]), [pathlib.Path(name) for name in sys.argv[2:]]
text = "\n".join(header.read_text() for header in headers)
text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
named = set(re.findall(r"\b(\w+)\(", " ".join(re.findall(r"KELVO_API[^;{]*?\b\w+\(", text))))
named |= set(re.findall(r"^typedef struct (\w+) \{", text, re.M))
named -= {"__attribute__"}
named |= {header.name for header in headers}

pages = list(folder.iterdir())
for page in pages:
    if page.stem not in named:
        page.unlink()
    else:
        page.write_text(re.sub(r"^'(?!\\\")", r"\\&'", page.read_text(), flags=re.M))
missing = named - {page.stem for page in folder.iterdir()}
if missing:
    sys.exit(f"no man page for {', '.join(sorted(missing))}")
