#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Help: every verb has a page, and every example on it shows what the program prints."""
import re

import kelvo


def verbs(overview):
    """The verbs that the overview lists."""
    listed = re.search(r"^Verbs:\n((?:  .*\n)+)", overview, re.M).group(1)
    return re.findall(r"^  (\w+(?: \w+)*)  ", listed, re.M)


def examples(page):
    """The commands of a page and what the page says that each prints."""
    text = page[page.index("\nExamples:\n") + len("\nExamples:\n"):]
    for block in re.split(r"(?:^|\n)  \$ ", text)[1:]:
        command, *shown = block.split("\n")
        yield command, "".join(line[2:] + "\n" for line in shown).rstrip("\n") + "\n"


class Pages(kelvo.ToolTest):
    def test_every_verb_has_a_page_with_examples(self):
        overview = self.run_tool("--help")
        self.assertEqual((overview.code, overview.err), (0, ""))
        self.assertIn("status", verbs(overview.out))
        for verb in verbs(overview.out):
            with self.subTest(verb):
                page = self.run_tool(*verb.split(), "--help")
                self.assertEqual((page.code, page.err), (0, ""))
                self.assertTrue(page.out.startswith(f"usage: kelvo {verb} "))
                self.assertGreaterEqual(len(list(examples(page.out))), 2)
                self.assertEqual(self.run_tool("help", *verb.split()).out, page.out)
                too_wide = [line for line in page.out.split("\nExamples:")[0].splitlines()
                            if len(line) > 79]
                self.assertEqual(too_wide, [])

    def test_examples_show_what_the_program_prints(self):
        for verb in verbs(self.run_tool("--help").out):
            for command, shown in examples(self.run_tool(*verb.split(), "--help").out):
                with self.subTest(command):
                    run = self.run_shell(command)
                    self.assertEqual((run.stdout, run.returncode), (shown, 0))

    def test_every_page_has_the_one_table_of_exit_codes(self):
        overview = self.run_tool("--help").out
        table = overview[overview.index("Exit codes:"):]
        self.assertEqual(re.findall(r"^  (\d)  \S", table, re.M), list("0123456"))
        for verb in verbs(overview):
            self.assertIn(table, self.run_tool(*verb.split(), "--help").out)


class CommandLine(kelvo.ToolTest):
    def test_without_a_verb(self):
        run = self.run_tool()
        self.expect(run, err=self.run_tool("--help").out, code=2)

    def test_unknown_verb(self):
        self.expect(self.run_tool("statsu"), code=2, err=(
            "kelvo: unknown verb 'statsu' (did you mean 'status'?)\nTry 'kelvo --help'.\n"))
        self.expect(self.run_tool("xyzzyxyzzy"), code=2, err=(
            "kelvo: unknown verb 'xyzzyxyzzy'\nTry 'kelvo --help'.\n"))

    def test_unknown_option(self):
        self.expect(self.run_tool("status", "--jsno", "0"), code=2, err=(
            "kelvo status: unknown option '--jsno' (did you mean '--json'?)\n"
            "Try 'kelvo status --help'.\n"))

    def test_values_of_options(self):
        usage = "Try 'kelvo order --help'.\n"
        self.expect(self.run_tool("order", "--json=yes", "a"), code=2,
                    err="kelvo order: '--json' takes no value\n" + usage)
        self.expect(self.run_tool("order", "a", "--by"), code=2,
                    err="kelvo order: --by: 1 required WORD missing\n" + usage)
        self.expect(self.run_tool("order", "--by", "nothing", "--by=names", "bb", "a"), code=2, err=(
            "kelvo order: --by: 'nothing' is not one of paths, names, items, comma-items\n" + usage))
        self.expect(self.run_tool("order", "--by", "items", "--by=names", "b/a", "aa"), out="aa\nb/a\n")
        self.expect(self.run_tool("order", "--", "--json=yes"), out="--json=yes\n")

    def test_version(self):
        run = self.run_tool("--version")
        self.assertRegex(run.out, r"^kelvo \d+\.\d+\.\d+\n$")
        self.assertEqual((run.err, run.code), ("", 0))


class Ending(kelvo.ToolTest):
    def test_output_that_cannot_be_written(self):
        run = self.run_shell("kelvo status --list >/dev/full; echo $?")
        self.assertEqual(run.stdout,
                         "kelvo status: standard output: No space left on device\n4\n")

    def test_colours_on_a_terminal_alone(self):
        shown, code = self.run_on_terminal("status", "0")
        self.assertEqual((shown, code), ("\x1b[1msuccess\x1b[0m  0x00000000  success\n", 0))
        plain = "success  0x00000000  success\n"
        self.assertEqual(self.run_on_terminal("status", "0", NO_COLOR="1"), (plain, 0))
        self.assertEqual(self.run_on_terminal("status", "0", TERM="dumb"), (plain, 0))
        self.expect(self.run_tool("status", "0"), out=plain)


if __name__ == "__main__":
    kelvo.main()
