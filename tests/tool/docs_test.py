#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The page on the program: its examples show what the program prints, its tables what it has."""
import os
import re

import kelvo

PAGE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../docs/kelvo.md")


class Page(kelvo.ToolTest):
    def setUp(self):
        super().setUp()
        with open(PAGE, encoding="utf-8") as file:
            self.text = file.read()

    def test_examples(self):
        """They run in the page's order, in one directory."""
        commands = 0
        for block in re.findall(r"^```console\n(.*?)^```$", self.text, re.M | re.S):
            for part in re.split(r"^\$ ", block, flags=re.M)[1:]:
                command, shown = part.split("\n", 1)
                commands += 1
                with self.subTest(command):
                    self.assertEqual(self.run_shell(command).stdout, shown)
        self.assertGreater(commands, 10)

    def test_exit_codes(self):
        table = re.findall(r"^\| (\d) \| (.*) \|$", self.text, re.M)
        listed = self.run_tool("--help").out.split("Exit codes:\n")[1]
        self.assertEqual("".join(f"  {code}  {meaning}\n" for code, meaning in table), listed)

    def test_every_verb_is_in_the_table(self):
        table = self.text[self.text.index("| Verb |"):self.text.index("`kelvo VERB --help`")]
        named = re.findall(r"`([a-z]+(?: [a-z]+)?)`", table)
        for verb in re.findall(r"^  ([a-z]\w*(?: \w+)?)  ", self.run_tool("--help").out, re.M):
            self.assertIn(verb, named)


if __name__ == "__main__":
    kelvo.main()
