#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""kelvo decode and kelvo encode: the corpus of messages, and hostile variants of each, there and back."""
import json
import os
import struct

import kelvo

PROTOCOL = os.path.join(os.path.dirname(__file__), "..", "..", "protocol")
CORPUS = os.path.join(PROTOCOL, "corpus.json")
LOCK = '{"message": "item_lock", "fields": {"path": "cfg/if"}}'
LOCK_HEX = "00" * 24 + "25000000" + "00" * 12 + "0000000700000000" + "6366672f69660000"


def pcap(link_type, *packets):
    """A capture of the classic format."""
    text = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, link_type)
    for packet in packets:
        text += struct.pack("<IIII", 0, 0, len(packet), len(packet)) + packet
    return text


def pcapng(link_type, *packets):
    """A capture of the newer format."""
    def block(kind, body):
        size = 12 + len(body)
        return struct.pack("<II", kind, size) + body + struct.pack("<I", size)
    text = block(0x0A0D0D0A, struct.pack("<IHHq", 0x1A2B3C4D, 1, 0, -1))
    text += block(1, struct.pack("<HHI", link_type, 0, 0))
    for packet in packets:
        padded = packet + b"\0" * (-len(packet) % 4)
        text += block(6, struct.pack("<IIIII", 0, 0, 0, len(packet), len(packet)) + padded)
    return text


def upper_pdu(name, message):
    padded = name.encode() + b"\0" * (-len(name) % 4)
    return struct.pack(">HH", 12, len(padded)) + padded + struct.pack(">HH", 0, 0) + message


class Corpus(kelvo.ToolTest):
    def test_has_every_message(self):
        with open(CORPUS, encoding="utf-8") as file:
            messages = {one["message"] for one in json.load(file)}
        with open(os.path.join(PROTOCOL, "messages.json"), encoding="utf-8") as file:
            described = {one["name"] for one in json.load(file)["messages"]}
        self.assertEqual(messages, described)

    def test_comes_back_as_it_was_encoded(self):
        capture = os.path.join(self.scratch, "corpus.pcap")
        self.expect(self.run_tool("encode", "-f", CORPUS, "--to", "pcap", "-o", capture))
        decoded = self.run_tool("decode", "--json", "-f", capture)
        self.assertEqual((decoded.err, decoded.code), ("", 0))
        self.assertEqual({record["status"] for record in decoded.records}, {"success"})
        with open(CORPUS, encoding="utf-8") as file:
            wanted = [one["message"] for one in json.load(file)]
        self.assertEqual([record["message"] for record in decoded.records], wanted)
        self.assertEqual(self.run_tool("encode", stdin=decoded.out).out,
                         self.run_tool("encode", "-f", CORPUS).out)

    def test_hostile_variants_come_back_and_meet_every_check(self):
        capture = os.path.join(self.scratch, "hostile.pcap")
        hostile = self.run_tool("encode", "-f", CORPUS, "--mutate", "all", "--json")
        self.assertEqual((hostile.err, hostile.code), ("", 0))
        self.expect(self.run_tool("encode", "-f", CORPUS, "--mutate", "all", "--to", "pcap",
                                  "-o", capture))
        decoded = self.run_tool("decode", "--json", "-f", capture)
        self.assertEqual((decoded.err, decoded.code), ("", 1))
        again = self.run_tool("encode", "--json", stdin=decoded.out)
        self.assertEqual([record["hex"] for record in again.records],
                         [record["hex"] for record in hostile.records])
        with open(os.path.join(PROTOCOL, "messages.json"), encoding="utf-8") as file:
            statuses = set(json.load(file)["statuses"])
        self.assertEqual({record["status"] for record in decoded.records}, statuses | {"success"})
        done = {record["mutation"].split("@")[0] for record in hostile.records}
        listed = self.run_tool("encode", "--mutate", "list", "--json").records
        self.assertEqual(done, {record["mutation"] for record in listed})

    def test_every_view_of_every_variant(self):
        hostile = self.run_tool("encode", "-f", CORPUS, "--mutate", "all").out
        for options in ((), ("--annotate",)):
            run = self.run_tool("decode", *options, stdin=hostile)
            self.assertEqual((run.err, run.code), ("", 1))
            self.assertNotIn("\x1b", run.out)
        self.assertEqual(run.out.count("^ expected"), run.out.count("order: KELVO_ERR_"))


class Forms(kelvo.ToolTest):
    def expect_lock(self, *arguments, **options):
        run = self.run_tool("decode", "--json", *arguments, **options)
        self.assertEqual((run.err, run.code), ("", 0))
        self.assertEqual([(record["message"], record["fields"]["path"]) for record in run.records],
                         [("item_lock", "cfg/if")])

    def test_hexadecimal_text(self):
        self.expect_lock(LOCK_HEX)
        self.expect_lock("0x" + LOCK_HEX.upper())
        self.expect_lock(stdin=f"# a lock\n{LOCK_HEX[:64]} # first half\r\n  {LOCK_HEX[64:]}\n\n")

    def test_dumps(self):
        message = bytes.fromhex(LOCK_HEX)
        rows = [message[i:i + 16] for i in range(0, len(message), 16)]
        xxd = "".join(f"{16 * i:08x}: {row.hex(' ', 2)}  {'.' * len(row)}\n"
                      for i, row in enumerate(rows))
        self.expect_lock(stdin=xxd)
        dump = "".join(f"{16 * i:08x}  {row[:8].hex(' ')}  {row[8:].hex(' ')}  |{'a' * len(row)}|\n"
                       for i, row in enumerate(rows))
        self.expect_lock(stdin=dump)
        self.expect_lock(stdin=f"{dump}{len(message):08x}\n")
        both = self.run_tool("decode", "--json", stdin=2 * f"{dump}{len(message):08x}\n")
        self.assertEqual([record["status"] for record in both.records], ["success", "success"])

    def test_rows_that_a_dump_leaves_out(self):
        # As hexdump -C prints 16 bytes of header, then 64 times "x" in a path.
        path = "cfg/gl/n" + 64 * "x"
        text = self.run_tool("encode", LOCK.replace("cfg/if", path)).out.strip()
        message = bytes.fromhex(text)
        rows = [message[i:i + 16].hex(" ") for i in range(0, len(message), 16)]
        self.assertEqual(rows[4:7], 3 * [rows[4]])
        dump = "".join(f"{16 * i:08x}  {row}  |.|\n" for i, row in enumerate(rows) if i not in (5, 6))
        dump = dump.replace("00000070 ", "*\n00000070 ") + f"{len(message):08x}\n"
        run = self.run_tool("decode", "--json", stdin=dump)
        self.assertEqual((run.err, run.code), ("", 0))
        self.assertEqual(run.records[0]["fields"]["path"], path)
        ended = self.run_tool("decode", "--as", "item_lock", "--json",
                              stdin="00000000: 0000 0000\n*\n00000020\n")
        self.assertEqual(ended.records[0]["length"], 32)
        for rest in ("", "\n", "0000", "00000002: 00"):
            wrong = self.run_tool("decode", stdin="00000000: 0000 0000\n*\n" + rest)
            line = 2 if rest == "" else 3
            self.expect(wrong, code=3, err=(
                f"kelvo decode: standard input: line {line}: an offset behind the rows before '*' is "
                "due, to tell how many it is for\n"))
        self.expect(self.run_tool("decode", stdin="00000000  00  |.|\n*\nffffffff\n"), code=3, err=(
            "kelvo decode: standard input: line 3: '*' would stand for 4294967294 bytes; at most "
            "67108864 can be left out\n"))
        self.expect(self.run_tool("decode", stdin="00000000: \n*\n00000010: 00"), code=3, err=(
            "kelvo decode: standard input: line 3: an offset behind the rows before '*' is due, to "
            "tell how many it is for\n"))

    def test_bytes(self):
        self.expect_lock("-f", self.write("lock.bin", bytes.fromhex(LOCK_HEX)))
        run = self.run_tool("encode", "--to", "binary", LOCK, text=False, stdin=b"")
        self.assertEqual(run.out, bytes.fromhex(LOCK_HEX))

    def test_captures(self):
        message = bytes.fromhex(LOCK_HEX)
        for name, text in (("user0", pcap(147, message)),
                           ("upper", pcap(252, upper_pdu("kelvo", message))),
                           ("named", pcap(252, upper_pdu("kelvo.item_lock", message))),
                           ("next", pcapng(252, upper_pdu("kelvo", message)))):
            with self.subTest(name):
                self.expect_lock("-f", self.write(name, text))

    def test_capture_of_something_else(self):
        file = self.write("ethernet.pcap", pcap(1, b"\0" * 60))
        self.expect(self.run_tool("decode", "-f", file), code=3, err=(
            f"kelvo decode: {file}: a capture of link type 1 (EN10MB); messages come in 252 "
            "(WIRESHARK_UPPER_PDU) or 147 (USER0)\n"))
        file = self.write("other.pcap", pcap(252, upper_pdu("http", b"GET")))
        self.expect(self.run_tool("decode", "-f", file), code=3, err=(
            f"kelvo decode: {file}: packet 1: it is for the dissector 'http'; kelvo and kelvo.NAME "
            "are due\n"))

    def test_colours_on_a_terminal_only(self):
        shown, code = self.run_on_terminal("decode", "--annotate", LOCK_HEX)
        self.assertEqual(code, 0)
        self.assertIn("\x1b[1m", shown)
        self.assertNotIn("\x1b", self.run_tool("decode", "--annotate", LOCK_HEX).out)

    def test_order(self):
        host = self.run_tool("encode", LOCK.replace("{", '{"order": "little", ', 1)).out.strip()
        found = self.run_tool("decode", "--json", host).records[0]
        self.assertEqual((found["order"], found["status"]), ("little", "success"))
        strict = self.run_tool("decode", "--json", "--order", "network", host)
        self.assertEqual((strict.records[0]["status"], strict.code), ("KELVO_ERR_MSG_LENGTH", 1))


class Mistakes(kelvo.ToolTest):
    def test_in_what_is_decoded(self):
        for text, wrong in (("123", "line 1: an odd number of hexadecimal digits"),
                            ("12\n3x", "line 2: 'x' is no hexadecimal digit"),
                            ("# nothing\n", "there is no message in it")):
            self.expect(self.run_tool("decode", stdin=text), code=3,
                        err=f"kelvo decode: standard input: {wrong}\n")

    def test_in_what_is_encoded(self):
        for fields, wrong in (
                ('{"path": 7}', "path: a text, or an object with hex, is due"),
                ('{"pth": ""}', "pth: no such field; there are: header, path"),
                ('{"header": {"type": -1}}', "header.type: -1 is not a number from 0 to 4294967295"),
                ('{"header": {"transport": "00"}}', "header.transport: 1 bytes; there are 20"),
                ('{"path": {"hex": "0"}}', "path.hex: an odd number of hexadecimal digits"),
                ('{"path": {"hex": "0g"}}', "path.hex: '0g' is not a pair of hexadecimal digits")):
            run = self.run_tool("encode", '{"message": "item_lock", "fields": ' + fields + "}")
            self.expect(run, code=3, err=f"kelvo encode: argument 1, message 1: {wrong}\n")

    def test_where_json_is_wrong(self):
        for text, wrong in (
                (LOCK + "\n[" + LOCK + ',{"message": 3}]',
                 "argument 1, message 3: message: an object with the name of a message is due"),
                (LOCK + '\n{"message":\n  "bind",}', "argument 1, line 3, column 10: no JSON: syntax "
                 "error while parsing object key - unexpected '}'; expected string literal"),
                (" \n", "argument 1: there is no JSON in it")):
            self.expect(self.run_tool("encode", text), code=3, err=f"kelvo encode: {wrong}\n")
        self.expect(self.run_tool("encode", "[]"))

    def test_in_options_of_one_another(self):
        for option, name in (("--to", "--to"), ("-o", "--output")):
            self.expect(self.run_tool("encode", "--json", option, "pcap", LOCK), code=2, err=(
                f"kelvo encode: --json excludes {name}\nTry 'kelvo encode --help'.\n"))
        self.expect(self.run_tool("decode", "--list", "00"), code=2, err=(
            "kelvo decode: --list shows names of messages, and decodes none\n"
            "Try 'kelvo decode --help'.\n"))

    def test_in_a_mutation(self):
        self.expect(self.run_tool("encode", "--mutate", "nul_missing@pth", LOCK), code=2, err=(
            "kelvo encode: 'nul_missing@pth' can be done nowhere in this item_lock; it can be at path\n"
            "Try 'kelvo encode --help'.\n"))
        self.expect(self.run_tool("encode", "--mutate", "length_mx", LOCK), code=2, err=(
            "kelvo encode: there is no mutation 'length_mx'; --mutate list shows them (did you mean "
            "'length_max'?)\nTry 'kelvo encode --help'.\n"))
        self.expect(self.run_tool("encode", "--mutate", "count_max", LOCK), code=2, err=(
            "kelvo encode: 'count_max' can be done nowhere in this item_lock\n"
            "Try 'kelvo encode --help'.\n"))

    def test_several_messages_as_bytes(self):
        self.expect(self.run_tool("encode", "--to", "binary", LOCK, LOCK), code=2, err=(
            "kelvo encode: --to binary takes one message; these are 2\nTry 'kelvo encode --help'.\n"))


if __name__ == "__main__":
    kelvo.main()
