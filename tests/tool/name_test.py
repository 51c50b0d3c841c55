#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""kelvo name encode and kelvo name decode."""
import kelvo

RESERVED = "'`\"<>()[]{}/\\&^!?~*%=,.+|"


class Encoding(kelvo.ToolTest):
    def test_reserved_characters(self):
        self.expect(self.run_tool("name", "encode", RESERVED),
                    out="".join(f"%{ord(character):02x}" for character in RESERVED) + "\n")
        self.expect(self.run_tool("name", "encode", "a Z_9-:#$;\u00e4"), out="a Z_9-:#$;\u00e4\n")

    def test_types(self):
        for kind, marker in (("0", "T00"), ("1", "T01"), ("4", "T03"), ("8", "T04"), ("16", "T05")):
            self.expect(self.run_tool("name", "encode", "--type", kind, "a*"),
                        out=f"CGROUP_{marker}_a%2a\n")

    def test_json(self):
        self.assertEqual(self.run_tool("name", "encode", "--json", "[a,b]").records,
                         [{"text": "[a,b]", "encoded": "%5ba%2cb%5d"}])

    def test_control_characters(self):
        run = self.run_tool("name", "encode", "good", "ba\td")
        self.expect(run, out="good\n", code=1, err=(
            "kelvo name encode: argument 2: byte 3 is the control character 0x09, which a name cannot "
            "have\n"))

    def test_same_from_everywhere(self):
        self.expect_same_from_everywhere("name encode", ["a/b", "*", "x y"])
        self.expect_same_from_everywhere("name decode", ["a%2fb", "%2A", "x y"], "--json")

    def test_mistakes(self):
        self.expect(self.run_tool("name", "encode", "--type", "2", "a"), code=2, err=(
            "kelvo name encode: --type: '2' is not one of 0, 1, 4, 8, 16 (did you mean '0'?)\n"
            "Try 'kelvo name encode --help'.\n"))
        self.expect(self.run_tool("name"), code=2, err=(
            "kelvo name: a second word is missing: encode or decode\nTry 'kelvo name --help'.\n"))
        self.expect(self.run_tool("name", "decod"), code=2, err=(
            "kelvo name: unknown verb 'decod'; after 'name' comes encode or decode (did you mean "
            "'decode'?)\nTry 'kelvo name --help'.\n"))
        self.assertIn("\nVerbs:\n  name encode  write any text", self.run_tool("name", "--help").out)


class Decoding(kelvo.ToolTest):
    def test_is_the_way_back(self):
        encoded = self.run_tool("name", "encode", RESERVED, "a b").out.splitlines()
        self.expect(self.run_tool("name", "decode", *encoded), out=RESERVED + "\na b\n")

    def test_accepts_more_than_encoding_produces(self):
        self.expect(self.run_tool("name", "decode", "%41%2F%2f.*"), out="A//.*\n")

    def test_markers(self):
        run = self.run_tool("name", "decode", "--markers", "CGROUP_T01_aCGROUP_T03_b", "CGROUP_T09_x",
                            "plain", "CGROUP_T00_y")
        self.expect(run, out="ab\ttypes 1 4\nx\ttypes 255\nplain\ny\ttypes 0\n")
        self.assertEqual(self.run_tool("name", "decode", "--markers", "--json", "CGROUP_T05_x").records,
                         [{"text": "CGROUP_T05_x", "decoded": "x", "marked": True, "types": [16]}])
        self.expect(self.run_tool("name", "decode", "CGROUP_T01_a"), out="CGROUP_T01_a\n")

    def test_bad_escapes(self):
        for text, why in (
                ("ab%2", "byte 3, '%2': two hexadecimal digits follow a '%'; a '%' itself is written "
                         "%25"),
                ("%25%zz", "byte 4, '%zz': two hexadecimal digits follow a '%'; a '%' itself is "
                           "written %25"),
                ("%e4", "byte 1, '%e4': bytes of 0x80 and above are not escaped"),
                ("a%0a", "byte 2, '%0a': a name cannot have a control character"),
                ("%00", "byte 1, '%00': a name cannot have a control character")):
            with self.subTest(text):
                self.expect(self.run_tool("name", "decode", text), code=1,
                            err=f"kelvo name decode: argument 1: {why}\n")


if __name__ == "__main__":
    kelvo.main()
