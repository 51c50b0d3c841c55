#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""kelvo resolve --explain: the walk is the library's, and the rules account for every answer."""
import itertools
import random
import re

import kelvo

SEVERAL_NODES = """
node = { id = "0_2_0"; name = "lc2"; card_type = "%s"; sub_cards = [ "0_2_16" ]; };
nodes = ( { id = "0_1_0"; name = "rp0"; sub_cards = [ "0_1_16" ]; node_type = "rack"; } );
single_node = %s;
interfaces = ( { name = "port1"; node = "0_1_0"; }, { name = "port2"; node = "0_2_0"; },
               { name = "bundle1"; node = "none"; } );
"""

OPTIONS = ("--regex", "--management", "--server", "--unversioned", "--unverified")


def some_paths(count):
    """Paths of components that mean something to the resolver, and some that do not."""
    chance = random.Random(1)
    tops = ("cfg", "data", "shadow", "oper", "action", "admin", "debug", "ipc", "foo", "gsr", "i", "zz")
    inner = ("gl", "if", "node", "act", "pre", "tem", "iptv", "io", "ifg", "config", "startup", "local",
             "0_1_0", "0_2_0", "0_1_16", "9_9_9", "port1", "port2", "bundle1", "10", "q", "[0-9]", "",
             "diag-timer-ntp-test", "rack", "ipc", "oper", "x" * 600)
    for _ in range(count):
        middle = chance.choice(([], [], ["node", "act"], ["if", "act"], ["net", "node"]))
        last = chance.choices(inner, k=chance.randrange(5 - len(middle)))
        path = "/".join([chance.choice(tops), *middle, *last])
        yield chance.choice(("", "", "", "remote/3/", "remote", "r", "/")) + path


class Rules(kelvo.ToolTest):
    def explain(self, *arguments, **environment):
        """The rules given for one path, and what the library logged."""
        run = self.run_tool("resolve", "--explain", "--json", *arguments, **environment)
        record = run.records[0]
        return record["because"], record["logged"]

    def test_account_for_every_answer(self):
        paths = self.write("paths", "".join(path + "\n" for path in some_paths(800)))
        cards = ("route-processor", "line-card", "local-only")
        platforms = [self.write(card + single, SEVERAL_NODES % (card, single))
                     for card in cards for single in ("true", "false")]
        ways = list(itertools.product(itertools.product((False, True), repeat=len(OPTIONS)), platforms,
                                      ("other", "kelvoshow", "kelvo_mc")))
        seen = set()
        for chosen, platform, process in random.Random(2).sample(ways, 96):
            options = list(itertools.compress(OPTIONS, chosen))
            run = self.run_tool("resolve", "--explain", "--json", "--process", process, *options,
                                "--file", paths, KELVO_PLATFORM_CONFIG=platform)
            self.assertEqual(run.err, "")
            for record in run.records:
                self.assertEqual(record["because_status"], record["status"],
                                 (record, options, platform, process))
                seen.add(record["status"])
                if record["status"] != "success" and record["walk"] is None:
                    self.assertEqual(record["status"], "KELVO_ERR_BAD_PATH")
                self.assertTrue(record["because"] or record["status"] == "success", record)
        self.assertEqual(seen, {"success", "KELVO_ERR_NO_OWNER", "KELVO_ERR_BAD_PATH",
                                "KELVO_ERR_REMOTE_LOCAL_BIND"})

    def test_one_by_one(self):
        several = {"KELVO_PLATFORM_CONFIG": self.write("several", SEVERAL_NODES %
                                                       ("line-card", "false"))}
        one = {"KELVO_PLATFORM_CONFIG": self.write("one", SEVERAL_NODES % ("local-only", "true"))}
        sub_card = "it is the processor that serves the sub-card 0_1_16"
        for rule, arguments, platform in (
                ("neither the path nor its prefix may begin with '/': leave it out", ["/cfg"], {}),
                ("the empty path is ambiguous, not invalid", ["/"], {}),
                ("'cgf' is not cfg, data, shadow, oper, action, admin, debug, ipc, foo or gsr, the "
                 "names that may stand here (did you mean 'cfg'?)", ["cgf/gl"], {}),
                ("the path stops above the level that decides its owner; gl, if or node may follow",
                 ["cfg"], {}),
                ("the path stops above the level that decides its owner; any component may follow",
                 ["oper/net"], {}),
                ("no server owns the path that stops here", ["admin/oper"], {}),
                ("the path is deprecated, which changes nothing for this process", ["foo"], {}),
                ("the path is deprecated, and the show tool is refused such paths",
                 ["--process", "kelvoshow", "foo"], {}),
                ("an unverified configuration request goes to the CCV server, whatever its path",
                 ["--unverified", "zz"], {}),
                ("a server takes every node and interface for its own",
                 ["--server", "cfg/if/act/x"], {}),
                ("'e.*' is a regular expression where one name is expected: it stands for several, so "
                 "the result is LOCAL", ["--regex", "cfg/if/act/e.*"], {}),
                ("'[g]l' is a regular expression, which ends the walk of a management client that may "
                 "use them", ["--regex", "--management", "cfg/[g]l"], {}),
                ("for a management client the path is ambiguous instead of invalid",
                 ["--management", "admin/oper"], {}),
                ("a component of more than 511 bytes is not tested for a regular expression",
                 ["--regex", "--management", "cfg/" + "x" * 600], {}),
                ("requests on the path carry no version information", ["ipc/gl/x"], {}),
                ("the caller asked for an answer that is not versioned",
                 ["--unversioned", "cfg/gl"], {}),
                ("an ambiguous path that begins with the letter 'i' (behind 'admin/', if it has it) is "
                 "not versioned", ["ipc"], {}),
                ("a line, service or local-only card gets its local server for an ambiguous path",
                 ["cfg"], several),
                ("'0_1_0' is not on this node, 0_2_0, and this process may bind to no other node's "
                 "local server on a system of several nodes (a management client may: --management)",
                 ["--process", "kelvo_mc", "cfg/node/act/0_1_0"], several),
                (sub_card, ["cfg/node/act/0_1_16"], several),
                (sub_card, ["cfg/node/act/110"], several),
                ("the interface database finds 'port1' on node 0_1_0", ["cfg/if/act/port1"], several),
                ("the node is a rack: a management client of a system of one node gets all local "
                 "servers of the rack", ["--management", "cfg/node/act/0_1_0"], one),
                ("a local-only card may not reach the shared plane, where the path's owner is",
                 ["cfg/gl"], one)):
            with self.subTest(rule):
                self.assertIn(rule, self.explain(*arguments, **platform)[0])

    def test_what_the_library_logs(self):
        self.assertEqual(self.explain("foo/x")[1],
                         ["DEPRECATED_PATH: Kelvo path 'foo/x/' is deprecated"])
        self.assertEqual(self.explain("cfg/if/act/nothing")[1], [
            "PARSE_FAILED: Unable to parse node from interface name ('nothing' from "
            "'cfg/if/act/nothing/') (IFDB_UNKNOWN_INTERFACE: no such interface is known)"])
        self.assertEqual(self.explain("cfg/gl")[1], [])


class Walks(kelvo.ToolTest):
    def test_are_those_of_the_library(self):
        """The library's own debug lines name each transition."""
        for options in ([], ["--regex"], ["--regex", "--management"]):
            for path in some_paths(60):
                run = self.run_tool("resolve", "--explain", "--json", "--process", "kelvo_mc", *options,
                                    "--", path, KELVO_DEBUG="node-resolver/dfa")
                walk = run.records[0]["walk"]
                moves = re.findall(r"Transition from state (\d+) to state (\d+)", run.err)
                if walk is None:
                    self.assertEqual(moves, [])
                    continue
                states = [state for component in walk["components"] for state in component["states"]]
                states += walk["states_at_end"]
                # The channel is looked up too, so the library walks twice when there is an answer.
                times = 2 if run.records[0]["status"] == "success" else 1
                expected = [(str(a), str(b)) for a, b in zip(states, states[1:])] * times
                self.assertEqual(moves, expected, (path, options))

    def test_hashes(self):
        components = self.run_tool("resolve", "--explain", "--json",
                                   "oper/\u00e4/x").records[0]["walk"]["components"]
        self.assertEqual([(item["text"], item["hash"], item["known_as"]) for item in components],
                         [("oper", "0x003ec7f6", "oper"), ("\u00e4", "0xfffff7c7", ""),
                          ("x", "0x00000078", "")])


if __name__ == "__main__":
    kelvo.main()
