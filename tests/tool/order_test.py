#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""kelvo order."""
import kelvo

# The "/" behind a component counts: "a/" and "aa" are equally long, and so are "if10" and "if9/".
SORTED = ["a", "b", "a/b", "aa", "b/a", "b/a/a", "b/bb", "cfg/if2", "cfg/if9", "cfg/if10", "cfg/if9/x"]


class Sorting(kelvo.ToolTest):
    def test_paths(self):
        out = "".join(path + "\n" for path in SORTED)
        self.expect(self.run_tool("order", *reversed(SORTED)), out=out)
        self.expect(self.run_tool("order", "--reverse", *SORTED),
                    out="".join(path + "\n" for path in reversed(SORTED)))

    def test_names_and_items(self):
        self.expect(self.run_tool("order", "--by", "names", "aaa", "c/", "b", "a"),
                    out="a\nb\nc/\naaa\n")
        self.expect(self.run_tool("order", "--by", "items", "a,b", "a/b/c", "b"), out="b\na/b/c\na,b\n")
        self.expect(self.run_tool("order", "--by", "comma-items", "a,bb", "a/b", "a,b"),
                    out="a/b\na,b\na,bb\n")

    def test_bytes_above_ascii_come_first(self):
        self.write("names", b"a\n\xe4\n")
        run = self.run_tool("order", "--by", "names", "-f", "names", text=False, stdin=b"")
        self.assertEqual((run.out, run.code), (b"\xe4\na\n", 0))

    def test_json(self):
        self.assertEqual(self.run_tool("order", "--json", "b", "a").records, [
            {"text": "a", "where": "argument 2"}, {"text": "b", "where": "argument 1"}])

    def test_same_from_everywhere(self):
        self.expect_same_from_everywhere("order", list(reversed(SORTED)))

    def test_control_characters_stay_in_a_pipe_and_not_on_a_terminal(self):
        self.expect(self.run_tool("order", "a\x1b[1m"), out="a\x1b[1m\n")
        self.assertEqual(self.run_on_terminal("order", "a\x1b[1m"), ("a\\x1b[1m\n", 0))


class Checking(kelvo.ToolTest):
    def test_in_order(self):
        self.expect(self.run_tool("order", "--check", *SORTED), out="11 texts in order\n")
        self.expect(self.run_tool("order", "--check", "x", "x"), out="2 texts in order\n")
        self.assertEqual(self.run_tool("order", "--check", "--json", "a").records,
                         [{"in_order": True, "count": 1}])

    def test_not_in_order(self):
        self.expect(self.run_tool("order", "--check", "cfg/if10", "cfg/if9"), code=1, out=(
            "not in order: argument 2: 'cfg/if9' stands behind 'cfg/if10', but is before it: "
            "component 2 decides: 'if9' has 3 bytes, 'if10' has 4\n"))
        run = self.run_tool("order", "--check", "--json", stdin="b\na\n")
        self.assertEqual((run.records, run.code), ([{
            "in_order": False, "where": "standard input:2", "text": "a", "behind": "b",
            "why": "component 1 decides: 'a' and 'b' are equally long and differ in byte 1"}], 1))

    def test_the_other_way_round(self):
        self.expect(self.run_tool("order", "--check", "--reverse", "b", "a"), out="2 texts in order\n")
        self.assertEqual(self.run_tool("order", "--check", "--reverse", "a", "b").code, 1)


class Comparing(kelvo.ToolTest):
    def test_paths_and_names(self):
        for arguments, line in (
                (("a/b", "a/b"), "a/b is equal to a/b: they are equal"),
                (("a/b", "a"), "a/b is behind a: component 1 decides: 'a/' has 2 bytes, 'a' has 1"),
                (("a/", "a/b"), "a/ is before a/b: one ends where the other goes on"),
                (("--by", "names", "aa", "b"), "aa is behind b: 'aa' has 2 bytes, 'b' has 1"),
                (("--by", "items", "a/b", "a/c"),
                 "a/b is before a/c: their first pair of tokens that differs decides")):
            with self.subTest(arguments):
                self.expect(self.run_tool("order", "--compare", *arguments), out=line + "\n")

    def test_json(self):
        self.assertEqual(self.run_tool("order", "--compare", "--json", "b", "aa").records, [
            {"first": "b", "second": "aa", "order": -1,
             "why": "component 1 decides: 'b' has 1 byte, 'aa' has 2"}])

    def test_mistakes(self):
        usage = "Try 'kelvo order --help'.\n"
        self.expect(self.run_tool("order", "--compare", "a"), code=2,
                    err="kelvo order: --compare takes two texts, not 1\n" + usage)
        self.expect(self.run_tool("order", "--by", "path", "a"), code=2, err=(
            "kelvo order: --by: 'path' is not one of paths, names, items, comma-items (did you mean "
            "'paths'?)\n" + usage))
        self.expect(self.run_tool("order", "--check", "--compare", "a", "b"), code=2,
                    err="kelvo order: --check excludes --compare\n" + usage)


if __name__ == "__main__":
    kelvo.main()
