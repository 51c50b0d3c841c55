#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks the picture of the resolver's state machine by walking some paths in it.

    resolver_graph.py PROGRAM
"""
import re
import subprocess
import sys

# Where a walk ends for a caller without regular expressions.
PATHS = {
    "cfg/gl/x": "SHARED",
    "cfg/if/act/eth0/a": "IFNAME",
    "cfg/if/act": "LOCAL",
    "oper/net/node/0_0_1": "NODE",
    "admin/cfg/gl/x": "ADMIN",
    "oper/config/startup": "SHARED",
    "cfg/gl": "SHARED",
    "cfg": "AMBIGUOUS",
    "nobody/knows": "INVALID",
}


def walk(labels, success, failure, at, path):
    components = path.split("/")
    while at in success:
        holds = True
        if labels[at] == "next component":
            components = components[1:]
            holds = bool(components)
        elif named := re.match(r"is it (.*)\?", labels[at]):
            holds = components[0] == named.group(1)
        at = success[at] if holds else failure[at]
    return labels[at]


def main():
    text = subprocess.run([sys.argv[1], "graph"], check=True, capture_output=True, text=True).stdout
    labels = dict(re.findall(r'^  (s\d+) \[label="\d+\\n(.*)" shape=\w+\];$', text, re.M))
    success = dict(re.findall(r"^  (s\d+) -> (s\d+);$", text, re.M))
    failure = dict(re.findall(r"^  (s\d+) -> (s\d+) \[style=dashed\];$", text, re.M))
    start = re.search(r"^  start -> (s\d+);$", text, re.M).group(1)
    problems = [f"{path} ends in {walk(labels, success, failure, start, path)}, should in {end}"
                for path, end in PATHS.items() if walk(labels, success, failure, start, path) != end]
    if len(labels) != 167 or "unknown" in text:
        problems.append(f"{len(labels)} states, or something unknown in them")
    missing = (set(success.values()) | set(failure.values())) - set(labels)
    problems += [f"{state} is not drawn" for state in sorted(missing)]
    print("\n".join(problems) or f"{len(labels)} states, {len(success) + len(failure)} edges")
    return bool(problems)


if __name__ == "__main__":
    sys.exit(main())
