#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""kelvo graph. That the picture is the state machine is tests/checks/resolver_graph.py's."""
import re
import xml.etree.ElementTree as ElementTree

import kelvo

# The states that `kelvo resolve --explain cfg/gl` names.
STATES = [165, 164, 32, 31, 30, 0]


class Pictures(kelvo.ToolTest):
    def test_nothing_is_highlighted_without_a_path(self):
        run = self.run_tool("graph")
        self.assertEqual((run.err, run.code), ("", 0))
        self.assertEqual(len(re.findall(r"^  s\d+ \[label", run.out, re.M)), 167)
        self.assertNotIn("gold", run.out)
        self.assertNotIn("red", run.out)

    def test_a_walk(self):
        for path in ("cfg/gl", "cfg/gl/"):
            run = self.run_tool("graph", "--only", path)
            self.expect(run, out=(
                'digraph resolver {\n  start [shape=point];\n  start -> s165;\n'
                '  s0 [label="0\\nSHARED" shape=doublecircle style=filled fillcolor=gold];\n'
                '  s30 [label="30\\nis it gl?" shape=diamond style=filled fillcolor=gold];\n'
                '  s30 -> s0 [color=red penwidth=3];\n'
                '  s31 [label="31\\nlevel" shape=box style=filled fillcolor=gold];\n'
                '  s31 -> s30 [color=red penwidth=3];\n'
                '  s32 [label="32\\nnext component" shape=box style=filled fillcolor=gold];\n'
                '  s32 -> s31 [color=red penwidth=3];\n'
                '  s164 [label="164\\nis it cfg?" shape=diamond style=filled fillcolor=gold];\n'
                '  s164 -> s32 [color=red penwidth=3];\n'
                '  s165 [label="165\\nlevel" shape=box style=filled fillcolor=gold];\n'
                '  s165 -> s164 [color=red penwidth=3];\n}\n'))

    def test_paths_from_files(self):
        walk = self.run_tool("graph", "--only", "cfg/gl", "nobody").out
        self.expect(self.run_tool("graph", "--only", "-f", "-", stdin="cfg/gl\nnobody\n"), out=walk)
        self.expect(self.run_tool("graph", "--only", "nobody", "-f", self.write("p", "cfg/gl\n")),
                    out=walk)

    def test_a_walk_among_all_states(self):
        text = self.run_tool("graph", "cfg/gl", "nobody").out
        self.assertEqual(len(re.findall(r"^  s\d+ \[label", text, re.M)), 167)
        self.assertIn("  s164 -> s32 [color=red penwidth=3];\n"
                      "  s164 -> s163 [style=dashed color=red penwidth=3];\n", text)

    def test_options_change_the_walk(self):
        plain = self.run_tool("graph", "--only", "cfg/[gi]").out
        self.assertIn("INVALID", plain)
        ended = self.run_tool("graph", "--only", "--regex", "--management", "cfg/[gi]").out
        self.assertNotIn("INVALID", ended)

    def test_json(self):
        record = self.run_tool("graph", "--json", "cfg/gl").records[0]
        self.assertEqual(record["start"], 165)
        self.assertEqual([state["number"] for state in record["states"]], list(range(167)))
        self.assertEqual([state["number"] for state in record["states"] if state["walked"]],
                         sorted(STATES))
        self.assertEqual(record["states"][164], {
            "number": 164, "operation": "0x49a0c013", "argument": "0x0001b2b0", "on_success": 32,
            "on_failure": 163, "label": "is it cfg?", "walked": True})

    def test_svg(self):
        run = self.run_tool("graph", "--svg", "cfg/gl")
        self.assertEqual((run.err, run.code), ("", 0))
        root = ElementTree.fromstring(run.out)
        nodes = root.findall(".//{http://www.w3.org/2000/svg}g[@class='node']")
        self.assertEqual(len(nodes), 168)
        self.assertEqual(run.out.count('fill="gold"'), 6)

    def test_without_graphviz(self):
        run = self.run_tool("graph", "--svg", PATH="/nonexistent")
        self.assertEqual((run.out, run.code), ("", 6))
        self.assertEqual(run.err.splitlines()[-1], (
            "kelvo graph: dot did not draw the picture: is Graphviz (Debian's package graphviz) "
            "installed?"))

    def test_a_picture_that_nobody_takes(self):
        self.assertEqual(self.run_shell("{ kelvo graph --svg; echo $? >&2; } | head -c 0").stdout,
                         "141\n")
        self.assertEqual(self.run_shell("kelvo graph --svg >/dev/full; echo $?").stdout, (
            "kelvo graph: standard output: No space left on device\n4\n"))

    def test_mistakes(self):
        usage = "Try 'kelvo graph --help'.\n"
        self.expect(self.run_tool("graph", "--only"), code=2, err=(
            "kelvo graph: --only leaves nothing to draw without a PATH\n" + usage))
        self.expect(self.run_tool("graph", "--svg", "--json"), code=2,
                    err="kelvo graph: --json excludes --svg\n" + usage)


if __name__ == "__main__":
    kelvo.main()
