#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""kelvo resolve: what it says of paths. Why it says so is explain_test.py's."""
import itertools
import time

import kelvo

LINE_CARD = """
node = { id = "0_2_0"; name = "lc2"; card_type = "line-card"; sub_cards = [ "0_2_16" ]; };
nodes = ( { id = "0_1_0"; name = "rp0"; }, { id = "1_1_0"; name = "rp1"; } );
interfaces = ( { name = "port1"; node = "0_1_0"; }, { name = "port2"; node = "0_2_0"; },
               { name = "bundle1"; node = "none"; } );
"""


class Answers(kelvo.ToolTest):
    def expect_answers(self, answers, *options, **environment):
        """Each path is answered with its line."""
        run = self.run_tool("resolve", *options, *answers, **environment)
        self.assertEqual(run.out.splitlines(),
                         [f"{path}: {answer}" for path, answer in answers.items()])
        self.assertEqual(run.err, "")
        refused = any(answer.startswith("refused") for answer in answers.values())
        self.assertEqual(run.code, 1 if refused else 0)

    def test_owners(self):
        self.expect_answers({
            "cfg/gl/x": "shared, server shared_sc, versioned",
            "data/gl/x": "shared, server shared_data_nc, versioned",
            "oper/net/gl": "shared, server admin, versioned",
            "debug/gl/LR/ALL/kelvo/x": "all_shared, server local, versioned",
            "admin/cfg/gl": "admin, server local, versioned",
            "admin/ipc/gl/x": "admin, server local, not versioned",
            "ipc/local/x": "node 0_0_1, server local, channel /dev/kelvosvr-local, not versioned",
            "cfg/if/act": "node 0_0_1, server local, channel /dev/kelvosvr-local, versioned",
            "cfg/node/act/0_0_1/a":
                "node 0_0_1, server local, channel /dev/kelvosvr-local, versioned",
            "cfg/node/act/10/a": "node 0_0_16, server local, channel /dev/kelvosvr-local, versioned",
            "remote/3/cfg/gl/a": "shared, server shared_sc, logical router 3, versioned",
            "cfg": "shared, server shared_sc, versioned, ambiguous",
            "ipc": "shared, server admin, not versioned, ambiguous",
            "/": "shared, server admin, versioned, ambiguous",
        })

    def test_refusals(self):
        no_owner = "refused: KELVO_ERR_NO_OWNER, no server owns the path"
        bad_path = "refused: KELVO_ERR_BAD_PATH, a path or prefix is malformed for resolution"
        self.expect_answers({
            "cfg/zzz": no_owner, "cfg/node/10/a": no_owner, "cfg/node/act/x_y/a": no_owner,
            "cfg/if/act/nothing": no_owner, "admin": no_owner,
            "/cfg/gl": bad_path, "rules/x": bad_path, "remote/3/cfg/node/act/10": bad_path})

    def test_options(self):
        self.expect_answers({"cfg": "all_lr, server local, versioned, ambiguous",
                             "admin/cfg": "admin, server local, versioned, ambiguous",
                             "cfg/if/act": "all_local, server local, versioned"}, "--management")
        self.expect_answers({"cfg/gl/x": "ccv, server ccv, no channel (KELVO_ERR_BAD_NODE_TYPE), "
                                         "versioned"}, "--unverified")
        self.expect_answers({"cfg/gl/x": "shared, server shared_sc, not versioned"}, "--unversioned")
        own = "node 0_0_1, server local, channel /dev/kelvosvr-local, versioned"
        self.expect_answers({"cfg/if/act/nothing/x": own, "cfg/node/act/zz/x": own}, "--server")
        self.expect_answers({"cfg/if/act/eth.*": own}, "--regex")
        self.expect_answers({"cfg/if/act/eth.*": "all_local, server local, versioned",
                             "cfg/[gi].*/x": "all_lr, server local, versioned, ambiguous"},
                            "--regex", "--management")

    def test_prefix(self):
        run = self.run_tool("resolve", "--prefix", "cfg/", "gl/x", "if/act")
        self.expect(run, out=(
            "cfg/gl/x: shared, server shared_sc, versioned\n"
            "cfg/if/act: node 0_0_1, server local, channel /dev/kelvosvr-local, versioned\n"))

    def test_another_card_in_a_system_of_several_nodes(self):
        platform = self.write("platform.conf", LINE_CARD)
        here = "node 0_2_0, server local, channel /dev/kelvosvr-local, versioned"
        there = "node 0_1_0, server local, channel /dev/kelvosvr-local.d/rp0, versioned"
        unnamed = "node 9_9_9, server local, no channel (KELVO_ERR_NODE_NAME), versioned"
        answers = {"cfg": here + ", ambiguous", "cfg/if/act/port1": there, "cfg/if/act/port2": here,
                   "cfg/node/act/0_2_16": here, "cfg/node/act/0_1_0/x": there,
                   "cfg/node/act/9_9_9": unnamed}
        self.expect_answers(answers, KELVO_PLATFORM_CONFIG=platform)

    def test_processes(self):
        platform = self.write("platform.conf", LINE_CARD)
        refused = ("refused: KELVO_ERR_REMOTE_LOCAL_BIND, a bind to another node's local namespace "
                   "is refused")
        here = "node 0_2_0, server local, channel /dev/kelvosvr-local, versioned"
        path = "cfg/node/act/0_1_0/x"
        for process in ("kelvoshow", "kelvo_mc"):
            self.expect_answers({path: refused, "cfg/node/act/0_2_0/x": here}, "--process", process,
                                KELVO_PLATFORM_CONFIG=platform)
        self.expect_answers({path: "node 0_1_0, server local, channel /dev/kelvosvr-local, versioned"},
                            "--process", "kelvoshow", "--node", "0_1_0",
                            KELVO_PLATFORM_CONFIG=platform)
        self.expect_answers({"foo/x": "refused: KELVO_ERR_NO_OWNER, no server owns the path"},
                            "--process", "kelvoshow")

    def test_local_only_card(self):
        platform = self.write("platform.conf", 'node = { id = "0_0_1"; card_type = "local-only"; };')
        refused = "refused: KELVO_ERR_NO_OWNER, no server owns the path"
        self.expect_answers({"cfg/gl/x": refused, "cfg/if/act/lo": refused},
                            KELVO_PLATFORM_CONFIG=platform)

    def test_json(self):
        run = self.run_tool("resolve", "--json", "cfg/node/act/0_0_1", "remote/7/cfg/gl", "cfg/x")
        self.assertEqual(run.code, 1)
        self.assertEqual(run.records, [
            {"path": "cfg/node/act/0_0_1", "status": "success", "code": 0, "owner": "node",
             "node_type": 0, "node": "0_0_1", "node_id": 1, "logical_router": None,
             "server": "local", "server_type": 0, "channel": "/dev/kelvosvr-local",
             "channel_status": "success", "versioned": True, "ambiguous": False},
            {"path": "remote/7/cfg/gl", "status": "success", "code": 0, "owner": "shared",
             "node_type": 1000000000, "node": None, "node_id": 7, "logical_router": 7,
             "server": "shared_sc", "server_type": 1, "channel": "", "channel_status": "success",
             "versioned": True, "ambiguous": False},
            {"path": "cfg/x", "status": "KELVO_ERR_NO_OWNER", "code": 0xa0813800,
             "meaning": "no server owns the path"}])

    def test_names_that_are_not_utf8(self):
        self.write("paths", b"cfg/gl/\xff\xc3\xa4\n")
        run = self.run_tool("resolve", "--file", "paths", text=False, stdin=b"")
        self.assertEqual(run.out, b"cfg/gl/\xff\xc3\xa4: shared, server shared_sc, versioned\n")
        run = self.run_tool("resolve", "--json", "--file", "paths")
        self.assertEqual(run.records[0]["path"], "cfg/gl/\ufffd\u00e4")

    def test_paths_that_look_like_lists_of_arguments(self):
        self.expect_answers({"[c,d]": "all_lr, server local, versioned, ambiguous"},
                            "--regex", "--management")


class CommandLine(kelvo.ToolTest):
    def test_mistakes(self):
        usage = "Try 'kelvo resolve --help'.\n"
        self.expect(self.run_tool("resolve", "--process", "kelvo_cm", "cfg"), code=2, err=(
            "kelvo resolve: --process: 'kelvo_cm' is not one of other, kelvoshow, kelvo_mc (did you "
            "mean 'kelvo_mc'?)\n" + usage))
        self.expect(self.run_tool("resolve", "--node", "0_1_0", "cfg"), code=2, err=(
            "kelvo resolve: --node: only the show tool is told its node (--process kelvoshow); every "
            "other process asks the platform\n" + usage))
        self.expect(self.run_tool("resolve", "--node", "01_0", "--process", "kelvoshow", "x"), code=2,
                    err=("kelvo resolve: --node: '01_0' is no node id: PLATFORM_HOST_ERR_NODE_ID: the "
                         "text or number is not a node id\n" + usage))

    def test_a_platform_in_error(self):
        run = self.run_tool("resolve", "cfg", KELVO_PLATFORM_CONFIG="/nonexistent")
        self.assertEqual((run.out, run.code), ("", 5))
        self.assertEqual(run.err.splitlines()[1], (
            "kelvo resolve: the platform does not say which node this is: PLATFORM_HOST_ERR_CONFIG: "
            "the platform's configuration is in error; 'kelvo platform check' says what is wrong"))


class ManyPaths(kelvo.ToolTest):
    PATHS = [f"{top}/{second}/act/{third}/x{number}" for top, second, third, number in
             itertools.product(("cfg", "oper", "data", "admin", "zz"), ("gl", "if", "node", "q"),
                               ("lo", "0_0_1"), range(250))]

    def test_same_from_everywhere(self):
        self.expect_same_from_everywhere("resolve", self.PATHS[::97])
        self.expect_same_from_everywhere("resolve", self.PATHS[::97], "--json")

    def test_ten_thousand_paths_in_one_run(self):
        self.assertEqual(len(self.PATHS), 10_000)
        paths = self.write("paths", "".join(path + "\n" for path in self.PATHS))
        begin = time.monotonic()
        few = self.run_tool("resolve", *self.PATHS[:10])
        started = time.monotonic() - begin
        begin = time.monotonic()
        run = self.run_tool("resolve", "--file", paths)
        seconds = time.monotonic() - begin
        lines = run.out.splitlines()
        self.assertEqual([line.split(":")[0] for line in lines], self.PATHS)
        self.assertEqual(lines[:10], few.out.splitlines())
        print(f"10 paths in {started:.3f} s, 10000 in {seconds:.3f} s")
        # A thousand times the paths, and the price of not many starts of the program.
        self.assertLess(seconds, 60 * started + 1)

    def test_progress_on_a_terminal(self):
        """The bar shows only on a terminal, only when the results go elsewhere, and goes away."""
        lines = "".join(path + "\n" for path in self.PATHS)
        begin = time.monotonic()
        self.run_tool("resolve", "--explain", "--file", self.write("paths", lines))
        times = int(3 / (time.monotonic() - begin)) + 1
        paths = self.write("paths", lines * times)
        with open("/dev/null", "wb") as nowhere:
            shown, code = self.run_on_terminal("resolve", "--explain", "--file", paths, stdout=nowhere)
        self.assertEqual(code, 1)
        self.assertRegex(shown, r"^\r\[#* *\] +\d+ %, \d+ done, \d+ a second\x1b\[K")
        self.assertTrue(shown.endswith("\r\x1b[K"))
        self.assertEqual(self.run_shell(f"kelvo resolve --file {paths} 2>&1 >/dev/null").stdout, "")


if __name__ == "__main__":
    kelvo.main()
