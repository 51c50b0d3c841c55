#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Completion of command lines, in a bash that has read the completion file."""
import os
import re

import kelvo

FILE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools/kelvo/kelvo.bash")


class Completion(kelvo.ToolTest):
    def complete(self, *words):
        """What bash offers in place of the last word."""
        script = ('. "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); compopt() { echo "compopt $*"; };'
                  ' _kelvo "$1"; printf "%s\\n" "${COMPREPLY[@]}"')
        run = kelvo.subprocess.run(["bash", "-uc", script, FILE, "kelvo", *words], capture_output=True,
                                   text=True, env=self.environment, cwd=self.scratch, check=True)
        self.assertEqual(run.stderr, "")
        return run.stdout.split("\n")[:-1]

    def test_verbs(self):
        overview = self.run_tool("--help").out
        listed = set(re.findall(r"^  ([a-z]\w*)(?: \w+)?  ", overview, re.M))
        self.assertEqual(set(self.complete("")), listed | {"help", "--help", "--version"})
        self.assertEqual(self.complete("res"), ["resolve"])
        self.assertEqual(self.complete("name", ""), ["decode", "encode"])
        self.assertEqual(self.complete("help", "name", "d"), ["decode"])
        self.assertEqual(self.complete("platform", ""), ["check"])

    def test_options(self):
        self.assertEqual(self.complete("resolve", "--"), [
            "--explain", "--file", "--help", "--json", "--management", "--node", "--prefix",
            "--process", "--regex", "--server", "--unverified", "--unversioned"])
        self.assertEqual(self.complete("resolve", "cfg/gl", "--unver"),
                         ["--unverified", "--unversioned"])
        self.assertEqual(self.complete("name", "encode", "--t"), ["--type"])

    def test_every_option_of_every_page(self):
        for verb in re.findall(r"^  ([a-z]\w*(?: \w+)?)  ", self.run_tool("--help").out, re.M):
            page = self.run_tool(*verb.split(), "--help").out
            options = re.findall(r"^  (?:-\w, )?(--[\w-]+)", page, re.M)
            self.assertEqual(self.complete(*verb.split(), "--"), sorted(options), verb)

    def test_words_that_an_option_takes(self):
        self.assertEqual(self.complete("order", "--by", ""), ["comma-items", "items", "names", "paths"])
        self.assertEqual(self.complete("order", "--by", "=", "n"), ["names"])
        self.assertEqual(self.complete("order", "--by", "="),
                         ["comma-items", "items", "names", "paths"])
        self.assertEqual(self.complete("resolve", "--process", "kelvo_"), ["kelvo_mc"])

    def test_arguments(self):
        self.assertEqual(self.complete("resolve", "--json", "--regex", "cf"),
                         ["compopt -o nospace", "cfg/"])
        self.assertEqual(self.complete("status", "NO_O"), ["NO_OWNER"])
        self.assertEqual(self.complete("types", "BULK_A"), ["BULK_ABORT"])

    def test_names_of_files_are_left_to_the_shell(self):
        self.assertEqual(self.complete("resolve", "--file", ""), [""])
        with open(FILE, encoding="utf-8") as file:
            self.assertIn("complete -o bashdefault -o default -F _kelvo kelvo\n", file.read())

    def test_the_beginning_of_a_path_is_not_ended(self):
        self.assertEqual(self.complete("resolve", "cf"), ["compopt -o nospace", "cfg/"])

    def test_nonsense(self):
        self.assertEqual(self.complete("nobody", ""), [""])
        self.expect(self.run_tool("complete"))
        self.expect(self.run_tool("complete", "--"))


if __name__ == "__main__":
    kelvo.main()
