# SPDX-License-Identifier: Apache-2.0
"""Runs the program for the tests of this directory.

KELVO_TOOL names the program. Every run sees an empty platform configuration (a system of one node)
unless a test says otherwise, and an environment in which nothing asks for colours.
"""
import json
import os
import pty
import subprocess
import tempfile
import unittest

PROGRAM = os.environ["KELVO_TOOL"]


class Run:
    """What a run of the program printed, and how it ended."""

    def __init__(self, done):
        self.code, self.out, self.err = done.returncode, done.stdout, done.stderr

    @property
    def records(self):
        return [json.loads(line) for line in self.out.splitlines()]


class ToolTest(unittest.TestCase):
    """A test in a directory of its own, which goes when the test is over."""

    maxDiff = None

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.scratch = scratch.name
        self.environment = {
            "PATH": os.path.dirname(PROGRAM) + ":/usr/bin:/bin", "LC_ALL": "C.UTF-8", "TERM": "xterm",
            **{name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}}
        self.environment["KELVO_PLATFORM_CONFIG"] = self.write(".platform.conf", "")

    def write(self, name, text):
        """Writes a file into the test's directory. Gives its path."""
        path = os.path.join(self.scratch, name)
        with open(path, "wb") as file:
            file.write(text if isinstance(text, bytes) else text.encode())
        return path

    def run_tool(self, *arguments, stdin="", text=True, **environment):
        return Run(subprocess.run([PROGRAM, *arguments], input=stdin, capture_output=True, text=text,
                                  cwd=self.scratch, env={**self.environment, **environment},
                                  timeout=120, check=False))

    def run_shell(self, command, stdin=subprocess.DEVNULL):
        """Runs a line of shell, its errors among its output."""
        return subprocess.run(["/bin/sh", "-c", command], stdin=stdin, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, cwd=self.scratch,
                              env=self.environment, timeout=120, check=False)

    def run_on_terminal(self, *arguments, stdout=None, **environment):
        """Runs with standard error, and standard output unless given, on a terminal. Gives what the
        terminal shows and the exit code."""
        terminal, end = pty.openpty()
        child = subprocess.Popen([PROGRAM, *arguments], stdin=subprocess.DEVNULL, stdout=stdout or end,
                                 stderr=end, cwd=self.scratch, env={**self.environment, **environment})
        os.close(end)
        shown = b""
        try:
            while piece := os.read(terminal, 65536):
                shown += piece
        except OSError:  # the last program on the terminal has ended
            pass
        os.close(terminal)
        return shown.decode().replace("\r\n", "\n"), child.wait(timeout=120)

    def expect(self, run, out="", err="", code=0):
        """The whole outcome of a run, to the letter."""
        self.assertEqual((run.out, run.err, run.code), (out, err, code))

    def expect_same_from_everywhere(self, verb, texts, *options):
        """The same records as arguments, as a file and on standard input are answered alike."""
        lines = "".join(text + "\n" for text in texts)
        from_arguments = self.run_tool(*verb.split(), *options, "--", *texts)
        from_file = self.run_tool(*verb.split(), *options, "--file", self.write("records", lines))
        from_stdin = self.run_tool(*verb.split(), *options, stdin=lines)
        self.assertNotEqual(from_arguments.out, "")
        for other in (from_file, from_stdin):
            self.assertEqual((other.out, other.code), (from_arguments.out, from_arguments.code))


main = unittest.main
