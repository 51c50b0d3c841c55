#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What tshark shows of messages is what kelvo decode says of them.

    dissector_test.py TSHARK KELVO MAKE_CAPTURE PLUGIN SERVER CLIENT CORPUS SCRATCH

Captures hold the corpus, every hostile variant of it, messages made up and damaged by chance, and what the
example server saw on a tour. Both programs' answers are brought into one form,
a list of (path, what stands there) in wire order, and compared one by one.
"""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as xml

tshark, kelvo, make_capture, plugin, server, client, corpus, scratch = sys.argv[1:9]
scratch = pathlib.Path(scratch)


# --- kelvo decode ---------------------------------------------------------------------------------------


def flatten(prefix, value, out):
    """The pieces of a decoded message, entries under the name of their list."""
    if isinstance(value, dict) and not is_content(value):
        for name, inner in value.items():
            if name == "order" and prefix.count(".") > 1:
                out.append(("kelvo.entry.order", inner))
            else:
                flatten(f"{prefix}.{name}", inner, out)
    elif isinstance(value, list):
        for inner in value:
            if isinstance(inner, dict):
                out.append((prefix, "entry"))
            flatten(prefix, inner, out)
    elif isinstance(value, dict):
        content = value.get("text", value.get("hex", value.get("value", "")))
        if isinstance(content, str) and content.endswith("\0"):
            content = content[:-1]
        out.append((prefix, content))
        if "length" in value:
            out.append((prefix + ".length", value["length"]))
    else:
        out.append((prefix, value))


def is_content(value):
    """Whether an object stands for one piece: what is unusual about a cell, a text or a value."""
    return bool(value) and set(value) <= {"value", "fill", "length", "cell_fill", "text", "hex"}


def decoded(capture):
    run = subprocess.run([kelvo, "decode", "--json", "--file", capture], stdout=subprocess.PIPE, check=False)
    for line in run.stdout.splitlines():
        message = json.loads(line)
        about = [("kelvo." + name, message[name]) for name in ("message", "order", "sender", "length", "status")]
        failed = message.get("failed", {})
        about += [("kelvo.failed." + name, failed[name]) for name in ("check", "found", "field", "at") if name in failed]
        pieces = []
        flatten("kelvo." + message["message"], message["fields"], pieces)
        rest = [("kelvo.rest", message["rest"])] if message.get("rest") else []
        yield about + pieces + rest


# --- tshark ---------------------------------------------------------------------------------------------


def unescape(text):
    """The text behind what tshark escapes."""
    single = {"a": 7, "b": 8, "f": 12, "n": 10, "r": 13, "t": 9, "v": 11, "\\": 92, '"': 34}

    def character(match):
        escaped = match.group(1)
        return bytes([int(escaped, 8) if escaped[0].isdigit() else int(escaped[1:], 16) if escaped[0] == "x"
                      else single[escaped]]).decode("latin-1")

    return re.sub(r"\\([0-7]{3}|x[0-9a-f]{2}|[abfnrtv\\\"])", character, text)


def shown(field, out):
    name, show, value = field.get("name"), field.get("show", ""), field.get("value", "")
    children = [child for child in field if child.get("name", "").startswith("kelvo.")]
    if name.startswith("kelvo."):
        if name.endswith(".hex"):
            out.append((name[:-4], value))
        elif name.endswith(".number"):
            out.append((name[:-7], show))
        elif name == "kelvo.rest":
            out.append((name, value))
        else:
            out.append((name, show))
    for child in children:
        shown(child, out)


def dissected(capture):
    environment = dict(os.environ, HOME=str(scratch / "home"))
    shutil.rmtree(scratch / "home", ignore_errors=True)
    plugins = scratch / "home/.local/lib/wireshark/plugins"
    plugins.mkdir(parents=True)
    shutil.copy(plugin, plugins)
    run = subprocess.run([tshark, "-n", "-r", capture, "-T", "pdml"], env=environment, stdout=subprocess.PIPE,
                         stderr=subprocess.PIPE, check=True)
    errors = run.stderr.decode()
    if "Lua" in errors:
        sys.exit(f"tshark says: {errors}")
    for packet in xml.fromstring(run.stdout):
        for proto in packet:
            if "Lua Error" in proto.get("showname", ""):
                sys.exit(f"an error in the dissector: {proto.get('showname')}")
        out = []
        for proto in packet:
            if proto.get("name", "").startswith("kelvo"):
                for field in proto:
                    shown(field, out)
        yield out


# --- the comparison -------------------------------------------------------------------------------------


def same(expected, actual):
    """Whether tshark shows what kelvo says: numbers in any base, texts as it escapes them."""
    name, value = expected
    if name != actual[0]:
        return False
    if value == "entry":
        return True
    show = actual[1]
    if isinstance(value, int):
        return re.fullmatch(r"0x[0-9a-f]+|\d+", show) is not None and int(show, 0) == value
    # A number with something unusual around it is said as its bytes.
    if show.isdigit() and re.fullmatch(r"([0-9a-f]{4}|[0-9a-f]{8}|[0-9a-f]{16})", value):
        number = bytes.fromhex(value)
        return show == value or int(show) in (int.from_bytes(number, "big"), int.from_bytes(number, "little"))
    # Line ends and tabs in an attribute of XML read as blanks.
    value = re.sub(r"[\n\r\t]", " ", value)
    return value in (show, unescape(show), show.replace(":", ""))


def compare(expected, actual):
    """The first difference between two lists of pieces."""
    at = 0
    for one in expected:
        # The length that a cell claims is shown always, and said only when it is unusual.
        if at < len(actual) and actual[at][0].endswith(".length") and actual[at][0] != one[0]:
            at += 1
        other = actual[at] if at < len(actual) else "nothing more"
        if not same(one, other):
            return f"kelvo says {one}, tshark shows {other}"
        at += 1
    left = [piece for piece in actual[at:] if not piece[0].endswith(".length")]
    return f"kelvo says nothing more, tshark shows {left[0]}" if left else None


def check(capture, least):
    """Compares what both programs say of a capture. Returns the messages' names."""
    said, seen = list(decoded(capture)), list(dissected(capture))
    failures = []
    if len(said) != len(seen) or len(said) < least:
        failures.append(f"{len(said)} messages decoded, {len(seen)} dissected, at least {least} expected")
    for number, (expected, actual) in enumerate(zip(said, seen), 1):
        difference = compare(expected, actual)
        if difference:
            failures.append(f"packet {number} ({expected[0][1]}): {difference}")
    print(f"{len(said)} messages, {sum(map(len, said))} pieces compared, {len(failures)} differ")
    if failures:
        sys.exit("\n".join(failures[:20]))
    return {pieces[0][1] for pieces in said}


def tour(capture):
    """The example client's tour of the example server, captured."""
    with tempfile.TemporaryDirectory(prefix="kelvo-capture.") as runtime:
        environment = dict(os.environ, KELVO_RUNTIME_DIR=runtime)
        serving = subprocess.Popen([server, "--capture", capture], env=environment, stdout=subprocess.PIPE)
        serving.stdout.readline()
        subprocess.run([client], env=environment, stdout=subprocess.DEVNULL, check=True, timeout=120)
        serving.terminate()
        serving.communicate(timeout=60)
        if serving.returncode != 0:
            sys.exit(f"the server ended with {serving.returncode}")


scratch.mkdir(parents=True, exist_ok=True)
for name, least, options in ("corpus", 50, []), ("hostile", 2000, ["--mutate", "all"]):
    capture = str(scratch / f"{name}.pcap")
    subprocess.run([kelvo, "encode", "--to", "pcap", "-o", capture, "--file", corpus, *options], check=True)
    check(capture, least)
subprocess.run([make_capture, str(scratch / "messages.pcap")], check=True)
check(str(scratch / "messages.pcap"), 1000)
tour(str(scratch / "tour.pcap"))
names = check(str(scratch / "tour.pcap"), 50)
if "other" in names and len(names) < 20:
    sys.exit(f"the capture of the tour names few messages: {sorted(names)}")
