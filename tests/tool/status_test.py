#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""kelvo status."""
import kelvo

UNKNOWN = ("is no status: give a name (kelvo status --list shows them) or a number of 32 bits")


class Status(kelvo.ToolTest):
    def test_by_name_and_number(self):
        line = "KELVO_ERR_NO_OWNER  0xa0813800  no server owns the path\n"
        for text in ("KELVO_ERR_NO_OWNER", "NO_OWNER", "0xa0813800", "0xA0813800", "2692823040"):
            with self.subTest(text):
                self.expect(self.run_tool("status", text), out=line)

    def test_json(self):
        self.assertEqual(self.run_tool("status", "--json", "NO_MEMORY").records, [{
            "status": "NO_MEMORY", "known": True, "code": 0xc0818200, "hex": "0xc0818200",
            "name": "KELVO_ERR_NO_MEMORY", "meaning": "an allocation failed", "class": 6}])

    def test_codes_of_the_platform(self):
        self.expect(self.run_tool("status", "0x409b0400", "IFDB_UNKNOWN_INTERFACE"), out=(
            "PLATFORM_HOST_ERR_NODE_ID  0x409b0400  the text or number is not a node id\n"
            "IFDB_UNKNOWN_INTERFACE  0x809a3c00  the interface is unknown\n"))

    def test_a_code_with_an_errno(self):
        self.expect(self.run_tool("status", "0xa09b0a02"), out=(
            "PLATFORM_HOST_ERR_SYSTEM  0xa09b0a02  an operating-system call failed: No such file or "
            "directory\n"))

    def test_a_code_of_nobody(self):
        self.expect(self.run_tool("status", "0x81234600", "2"), out=(
            "unknown  0x81234600  unknown status 0x81234600\n"
            "unknown  0x00000002  No such file or directory\n"))
        record = self.run_tool("status", "--json", "0x81234600").records[0]
        self.assertEqual((record["known"], record["class"]), (False, 4))

    def test_what_is_no_status(self):
        for text in ("0x100000000", "-1", "12x", "", "NOTHING_LIKE_ANY_OF_THEM_AT_ALL"):
            with self.subTest(text):
                self.expect(self.run_tool("status", "--", text), code=1,
                            err=f"kelvo status: argument 1: '{text}' {UNKNOWN}\n")

    def test_the_good_ones_are_answered_all_the_same(self):
        run = self.run_tool("status", "--json", "bad", "0")
        self.assertEqual(run.code, 1)
        self.assertEqual(run.records[0], {"input": "bad", "where": "argument 1",
                                          "error": f"'bad' {UNKNOWN}"})
        self.assertEqual(run.records[1]["name"], "success")

    def test_list(self):
        names = [record["name"] for record in self.run_tool("status", "--list", "--json").records]
        self.expect(self.run_tool("status", "--list", "0"), code=2, err=(
            "kelvo status: --list shows all statuses, and takes no STATUS\n"
            "Try 'kelvo status --help'.\n"))
        self.assertEqual(names[0], "KELVO_ERR_NULL_PARAM")
        self.assertEqual(len(names), 36)
        self.assertEqual(len(set(names)), 36)


class Reading(kelvo.ToolTest):
    """What all verbs have in common that read records."""

    def test_same_from_everywhere(self):
        self.expect_same_from_everywhere("status", ["NO_OWNER", "0", "0x40818a00"])
        self.expect_same_from_everywhere("status", ["NO_OWNER", "0"], "--json")

    def test_lines_of_files(self):
        self.write("dos", "0\r\n\r\nNO_OWNER")
        self.expect(self.run_tool("status", "--file", "dos", "nobody", "-f", "-", stdin="\nx\n"), code=1,
                    out=("success  0x00000000  success\n"
                         "KELVO_ERR_NO_OWNER  0xa0813800  no server owns the path\n"),
                    err=(f"kelvo status: argument 1: 'nobody' {UNKNOWN}\n"
                         f"kelvo status: standard input:2: 'x' {UNKNOWN}\n"))

    def test_files_that_cannot_be_read(self):
        self.expect(self.run_tool("status", "--file", "missing"), code=3,
                    err="kelvo status: missing: No such file or directory\n")
        self.expect(self.run_tool("status", "--file", "."), code=3,
                    err="kelvo status: .: Is a directory\n")
        self.write("binary", "0\nNO\0OWNER\n")
        self.expect(self.run_tool("status", "--file", "binary"), code=3, out=(
            "success  0x00000000  success\n"),
                    err=("kelvo status: binary:2: the line has a NUL byte in it; texts have none (is "
                         "this a text file?)\n"))

    def test_a_line_longer_than_the_buffer(self):
        long = "9" * 200_000
        run = self.run_tool("status", stdin=f"0\n{long}\n0\n")
        self.assertEqual((run.out, run.code), ("success  0x00000000  success\n" * 2, 1))
        self.assertIn(f"standard input:2: '{long}' is no status", run.err)

    def test_nothing_to_answer_on_a_terminal(self):
        terminal, end = kelvo.pty.openpty()
        self.addCleanup(kelvo.os.close, terminal)
        self.addCleanup(kelvo.os.close, end)
        run = self.run_shell("kelvo status; echo $?", stdin=end)
        self.assertEqual(run.stdout, (
            "kelvo status: nothing to answer: give STATUS..., --file FILE or standard input\n"
            "Try 'kelvo status --help'.\n2\n"))

    def test_answers_are_sent_on_before_input_is_waited_for(self):
        child = kelvo.subprocess.Popen([kelvo.PROGRAM, "status"], stdin=kelvo.subprocess.PIPE,
                                       stdout=kelvo.subprocess.PIPE, env=self.environment)
        with child:
            child.stdin.write(b"0\n")
            child.stdin.flush()
            self.assertEqual(child.stdout.readline(), b"success  0x00000000  success\n")
            child.stdin.close()

    def test_a_named_pipe_is_opened_once(self):
        kelvo.os.mkfifo(self.scratch + "/pipe")
        run = self.run_shell("(echo 0; sleep 0.1; echo NO_OWNER) >pipe & kelvo status --file pipe")
        self.assertEqual(run.stdout, ("success  0x00000000  success\n"
                                      "KELVO_ERR_NO_OWNER  0xa0813800  no server owns the path\n"))

    def test_arguments_that_look_like_lists(self):
        self.expect(self.run_tool("status", "[a,b]"), code=1,
                    err=f"kelvo status: argument 1: '[a,b]' {UNKNOWN}\n")

    def test_control_characters_do_not_reach_the_terminal(self):
        self.expect(self.run_tool("status", "\x1b[2J"), code=1,
                    err=f"kelvo status: argument 1: '\\x1b[2J' {UNKNOWN}\n")


if __name__ == "__main__":
    kelvo.main()
