#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""kelvo types."""
import collections

import kelvo


class Types(kelvo.ToolTest):
    def test_all(self):
        records = self.run_tool("types", "--json").records
        kinds = collections.Counter(record["kind"] for record in records)
        self.assertEqual(kinds, {"message": 72, "value": 8, "node": 13, "server": 7})
        messages = [record["number"] for record in records if record["kind"] == "message"]
        self.assertEqual(messages, list(range(72)))
        self.assertEqual(len(self.run_tool("types").out.splitlines()), len(records))

    def test_by_number_and_name(self):
        self.expect(self.run_tool("types", "--kind", "message", "0x3b", "BULK_ABORT"), out=(
            "message  59  SET_SCAN_APPLY_ERR  no tag, 'SetScanAplyErr'\n"
            "message  71  BULK_ABORT  'BULK ABORT  ', 'bulk_abort'\n"))
        self.expect(self.run_tool("types", "13"), out=(
            "message  13  TRANS_ABORT  'TRANS_ABORT ', 'trans abort'\n"
            "value  13  INT8_ALT  8-byte integer, in network order on the wire\n"))
        self.expect(self.run_tool("types", "--", "-6"), out=(
            "node  -6  ALL_LOCAL_SAME_RACK  'all_local_same_rack', every local server in the caller's "
            "rack\n"))

    def test_widths_of_values(self):
        records = self.run_tool("types", "--json", "--kind", "value").records
        self.assertEqual({record["number"]: record["reversed_bytes"] for record in records},
                         {0: 0, 1: 4, 2: 8, 7: 0, 10: 2, 11: 2, 12: 4, 13: 8})

    def test_json(self):
        self.assertEqual(self.run_tool("types", "--json", "ITEM_GET", "CCV").records, [
            {"kind": "message", "number": 3, "name": "ITEM_GET", "tag": "ITEM_GET    ",
             "description": "get"},
            {"kind": "node", "number": 1000000002, "name": "CCV", "display": "ccv",
             "description": "the configuration-commit verifier server"},
            {"kind": "server", "number": 5, "name": "CCV", "display": "ccv"}])

    def test_what_is_no_type(self):
        self.expect(self.run_tool("types", "72", "PING"), code=1,
                    out="message  64  PING  'PING        ', 'ping'\n",
                    err="kelvo types: argument 1: '72' is no number or name of a type\n")
        self.expect(self.run_tool("types", "--kind", "server", "PHYSCAL"), code=1, err=(
            "kelvo types: argument 1: 'PHYSCAL' is no number or name of a type of the kind server\n"))
        self.expect(self.run_tool("types", "ITEMGET"), code=1, err=(
            "kelvo types: argument 1: 'ITEMGET' is no number or name of a type (did you mean "
            "'ITEM_GET'?)\n"))
        self.expect(self.run_tool("types", "item_get"), code=1, err=(
            "kelvo types: argument 1: 'item_get' is no number or name of a type (did you mean "
            "'ITEM_GET'?)\n"))
        self.expect(self.run_tool("types", "--tag", "x"), code=2, err=(
            "kelvo types: unknown option '--tag'\nTry 'kelvo types --help'.\n"))

    def test_from_files(self):
        ping = "message  64  PING  'PING        ', 'ping'\n"
        self.expect(self.run_tool("types", "-f", "-", stdin="PING\n\n64\n"), out=2 * ping)
        self.expect(self.run_tool("types", "-f", self.write("types.txt", "64\nPONG\n")), code=1,
                    out=ping, err=(f"kelvo types: {self.scratch}/types.txt:2: 'PONG' is no number or "
                                   "name of a type (did you mean 'PING'?)\n"))


if __name__ == "__main__":
    kelvo.main()
