# SPDX-License-Identifier: Apache-2.0
"""What the preprocessor makes of a public header, without what it includes."""
import re
import subprocess

# What KELVO_API stands for.
MARK = '__attribute__((visibility("default")))'


def own_lines(compiler, include_dirs, header, *options):
    includes = [f"-I{directory}" for directory in include_dirs]
    text = subprocess.run([compiler, "-E", "-x", "c", "-std=c11", "-D_GNU_SOURCE", *options, *includes,
                           header], check=True, capture_output=True, text=True).stdout
    own, inside = [], False
    for line in text.splitlines():
        marker = re.match(r'# \d+ "([^"]*)"', line)
        if marker:
            inside = marker.group(1) == header
        elif inside:
            own.append(line)
    return own
