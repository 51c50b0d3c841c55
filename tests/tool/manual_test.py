#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The manual page kelvo(1), which the program writes itself."""
import re

import kelvo


class Manual(kelvo.ToolTest):
    def setUp(self):
        super().setUp()
        page = self.run_tool("man-page")
        self.assertEqual((page.err, page.code), ("", 0))
        run = kelvo.subprocess.run(["groff", "-man", "-Kutf8", "-Tascii", "-P-cbou", "-ww", "-rLL=300n"],
                                   input=page.out, capture_output=True, text=True, check=True)
        self.assertEqual(run.stderr, "")
        self.text = run.stdout

    def test_sections(self):
        self.assertEqual(re.findall(r"^[A-Z][A-Z ]+$", self.text, re.M), [
            "NAME", "SYNOPSIS", "DESCRIPTION", "VERBS", "EXIT STATUS", "ENVIRONMENT"])

    def test_every_verb_with_its_usage_and_examples(self):
        overview = self.run_tool("--help").out
        for verb in re.findall(r"^  ([a-z]\w*(?: \w+)?)  ", overview, re.M):
            with self.subTest(verb):
                page = self.run_tool(*verb.split(), "--help").out
                self.assertRegex(self.text, rf"(?m)^   {verb}$")
                self.assertIn(page.splitlines()[0][len("usage: "):], self.text)
                lines = {line.strip() for line in self.text.splitlines()}
                for line in page[page.index("\nExamples:"):].splitlines()[2:]:
                    if len(line) < 200:
                        self.assertIn(line.strip(), lines)

    def test_exit_codes(self):
        for line in self.run_tool("--help").out.split("Exit codes:\n")[1].splitlines():
            self.assertRegex(self.text, r"(?m)^ +" + re.sub(r" +", " +", re.escape(line.strip())
                                                            .replace(r"\ ", " ")) + "$")


if __name__ == "__main__":
    kelvo.main()
