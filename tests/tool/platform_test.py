#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""kelvo platform check."""
import os
import re

import kelvo

HEADER = os.path.join(os.path.dirname(__file__), "../../platform/include/kelvo_platform.h")
CONFIG = """node = {
  id = "0_2_0"; name = "lc2";
  card_type = "line-card"; };
nodes = ( { id = "0_1_0"; } );
interfaces = ( { name = "port1"; node = "0_1_0"; } );
boot_media = [ "%s/", "/nonexistent/" ];
job_id = "211";
debug = [ "node-resolver" ];
"""


class Good(kelvo.ToolTest):
    def check(self, text, **environment):
        path = self.write("platform.conf", text)
        run = self.run_tool("platform", "check", "--json", KELVO_PLATFORM_CONFIG=path, **environment)
        self.assertEqual((run.err, run.code), ("", 0))
        record = run.records[0]
        self.assertTrue(record["good"])
        return ({row["key"]: (row["value"], row["source"]) for row in record["configuration"]},
                {row["service"]: (row["value"], row["source"]) for row in record["services"]}, path)

    def test_values_and_where_they_come_from(self):
        values, services, path = self.check(CONFIG % self.scratch, KELVO_JOB_ID="12")
        self.assertEqual(values["node.id"], ("0_2_0", path + ":2"))
        self.assertEqual(values["node.card_type"], ("line-card", path + ":3"))
        self.assertEqual(values["single_node"][0], "false")
        self.assertEqual(values["job_id"], ("12", "environment KELVO_JOB_ID"))
        self.assertEqual(values["log.level"], ("notice", "default"))
        self.assertEqual(values["interface lo"], ("0_2_0", "kernel"))
        for service, answer in {
                "platform_my_nodeid": ("0_2_0 (0x00000200)", path + ":2"),
                "platform_node_name": ("lc2", path + ":2"),
                "platform_type": ("2 (line-card)", path + ":3"),
                "platform_is_single_node": ("0", "default"),
                "procmgr_get_job_id": ("12", "environment KELVO_JOB_ID"),
                "platform_get_boot_media(1)": (self.scratch + "/", path + ":6"),
                "platform_get_boot_media(2)":
                    ("/nonexistent/ (No such file or directory)", path + ":6"),
                "platform_debug_register": ("node-resolver", path + ":8"),
                "errcode_strerror":
                    ("KELVO_ERR_NO_OWNER: no server owns the path", "built in")}.items():
            with self.subTest(service):
                self.assertEqual(services[service], answer)
        self.assertRegex(services["ifname_to_location"][0], r"^(\d+) of \1 interfaces? found$")

    def test_every_service_is_there(self):
        with open(HEADER, encoding="utf-8") as file:
            declared = set(re.findall(r"^KELVO_API [^(]*?\b(\w+)\(", file.read(), re.M))
        self.assertGreater(len(declared), 30)
        _, services, _ = self.check("")
        self.assertEqual({service.split("(")[0] for service in services}, declared)

    def test_text(self):
        run = self.run_tool("platform", "check")
        self.assertEqual((run.err, run.code), ("", 0))
        self.assertTrue(run.out.startswith(
            "configuration:\n"
            "  node.id                     0_0_1                         default\n"))
        self.assertIn("\nservices:\n  platform_my_nodeid          0_0_1 (0x00000001)            default\n",
                      run.out)

    def test_another_file_is_read_and_not_used(self):
        path = self.write("other.conf", 'node = { id = "0_9_0"; };')
        run = self.run_tool("platform", "check", "--json", "--config", path)
        record = run.records[0]
        self.assertEqual(record["services"], [])
        self.assertIn({"key": "node.id", "value": "0_9_0", "source": path + ":1"},
                      record["configuration"])


class Problems(kelvo.ToolTest):
    def test_with_line_and_key(self):
        for text, problem in (
                ("\nlog = { levle = \"error\"; };",
                 "2: log.levle: unknown key; the keys here are destination, level"),
                ('node = { id = "0_2_0";\n card_type = "linecard"; };',
                 "2: node.card_type: 'linecard' is not one of route-processor, distributed-processor, "
                 "line-card, standby-processor, local-only, service-card"),
                ('node = { card_type = "line-card"; };', "1: node: has no id")):
            with self.subTest(problem):
                path = self.write("platform.conf", text)
                self.expect(self.run_tool("platform", "check", "--config", path), code=1,
                            out=f"{path}:{problem}\n")
                run = self.run_tool("platform", "check", "--json", KELVO_PLATFORM_CONFIG=path)
                self.assertEqual(run.records, [{"good": False, "problem": f"{path}:{problem}"}])
                self.assertEqual((run.err, run.code), ("", 1))

    def test_a_file_that_is_not_there(self):
        self.expect(self.run_tool("platform", "check", "--config", "/nonexistent"), code=1,
                    out="/nonexistent: cannot be read: No such file or directory\n")

    def test_mistakes(self):
        self.expect(self.run_tool("platform"), code=2, err=(
            "kelvo platform: a second word is missing: check\nTry 'kelvo platform --help'.\n"))
        self.expect(self.run_tool("platform", "check", "x"), code=2, err=(
            "kelvo platform check: unexpected argument 'x'; usage: kelvo platform check [OPTION]...\n"
            "Try 'kelvo platform check --help'.\n"))


if __name__ == "__main__":
    kelvo.main()
