#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""kelvo match."""
import itertools

import kelvo

USAGE = "Try 'kelvo match --help'.\n"


class Matching(kelvo.ToolTest):
    def expect_verdict(self, pattern, path, verdict, *options):
        run = self.run_tool("match", *options, "--", pattern, path)
        self.expect(run, out=f"{path}: {verdict}\n", code=0 if verdict.startswith("matches") else 1)

    def test_verdicts(self):
        for pattern, path, verdict in (
                ("cfg/gl", "cfg/gl", "matches: every component does"),
                ("cfg/gl/", "cfg/gl/a/b", "matches: it goes on below the pattern"),
                ("cfg/gl[0-9]/x", "cfg/", "matches: it stops on the way to the pattern's end"),
                ("cfg/gl", "cfg/gl/", "no match: component 2: 'gl/' is not 'gl': the '/' at the end "
                                      "counts"),
                ("cfg/gl/", "cfg/gl", "no match: component 2: 'gl' is not 'gl/': the '/' at the end "
                                      "counts"),
                ("cfg/gl", "cfg/if", "no match: component 2: 'if' is not 'gl'"),
                ("cfg/g[lm]", "cfg/gl/", "no match: component 2: 'gl/' ends in '/', and the regular "
                                         "expression 'g[lm]' is written without"),
                ("cfg/g[lm]", "cfg/gml", "no match: component 2: 'gml' does not match the regular "
                                         "expression 'g[lm]' as a whole"),
                ("[a,b]", "b", "matches: every component does"),
                ("a.c", "abc", "no match: component 1: 'abc' is not 'a.c'")):
            with self.subTest(pattern=pattern, path=path):
                self.expect_verdict(pattern, path, verdict)

    def test_dot(self):
        self.expect_verdict("a.c", "abc", "matches: every component does", "--dot")

    def test_the_reason_agrees_with_the_library(self):
        """The verdict is the library's; the reason is found beside it."""
        pieces = ("a", "a/", "b[0-9]*/", "b[0-9]*", "b1/", "b1", "(a|b1)/")
        paths = ["".join(parts) for parts in itertools.product(("a/", "b1/", "b1", "a"), repeat=2)]
        for parts in itertools.product(pieces, repeat=2):
            run = self.run_tool("match", "--json", "".join(parts), *paths)
            for record in run.records:
                self.assertEqual(record["matches"], not record["why"].startswith("component "), record)

    def test_explain(self):
        self.expect(self.run_tool("match", "-x", "cfg/(gl|if)/a", "cfg/if/b"), code=1, out=(
            "cfg/if/b: no match: component 3: 'b' is not 'a'\n"
            "  cfg/  cfg/      the same\n"
            "  if/   (gl|if)/  matches\n"
            "  b     a         no match\n"))

    def test_json(self):
        run = self.run_tool("match", "--json", "--explain", "a[12]/", "a1/x", "b/")
        self.assertEqual(run.code, 1)
        self.assertEqual(run.records, [
            {"path": "a1/x", "matches": True, "why": "it goes on below the pattern", "components": [
                {"component": "a1/", "pattern": "a[12]/", "is_regexp": True, "matches": True}]},
            {"path": "b/", "matches": False,
             "why": "component 1: 'b/' does not match the regular expression 'a[12]/' as a whole",
             "components": [
                 {"component": "b/", "pattern": "a[12]/", "is_regexp": True, "matches": False}]}])

    def test_files_and_standard_input(self):
        lines = "a/1\nb/1\n"
        expected = self.run_tool("match", "a/[0-9]", "a/1", "b/1")
        self.assertEqual(expected.code, 1)
        for run in (self.run_tool("match", "a/[0-9]", stdin=lines),
                    self.run_tool("match", "a/[0-9]", "--file", self.write("paths", lines))):
            self.expect(run, out=expected.out, code=1)

    def test_mistakes(self):
        self.expect(self.run_tool("match", "cfg/gl[/x", "a"), code=2, err=(
            "kelvo match: the pattern's component 2, 'gl[/', is not a valid regular expression, or "
            "one that is refused because it nests too deep\n" + USAGE))
        self.expect(self.run_tool("match", "", "a"), code=2,
                    err="kelvo match: the pattern is empty\n" + USAGE)
        self.expect(self.run_tool("match"), code=2, err="kelvo match: PATTERN is required\n" + USAGE)
        self.expect(self.run_tool("match", "a", ""), code=1, err=(
            "kelvo match: argument 1: the path is empty; a path has at least one component\n"))


if __name__ == "__main__":
    kelvo.main()
