#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs the programs and commands of a page of the documentation as they stand there.

    run_pages.py [--update] BUILD_DIR SCRATCH_DIR PAGE...

A block of C whose first line is a comment "/* name.c ... */" begins that file; a block of C without one
goes on with the file before it. A block marked "console" holds commands, each after "$ ", and below each
exactly what it prints. A line "..." stands for any lines. The commands of a page run in one directory,
in which the files were written, with the build installed to a prefix of its own.
With --update, what the commands print is written into the page.
"""
import argparse
import difflib
import os
import pathlib
import re
import shutil
import subprocess
import sys

parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("--update", action="store_true")
parser.add_argument("build", type=pathlib.Path)
parser.add_argument("scratch", type=pathlib.Path)
parser.add_argument("pages", nargs="+", type=pathlib.Path)
arguments = parser.parse_args()
scratch = arguments.scratch.resolve()

BLOCK = re.compile(r"^```(\w+)\n(.*?)^```$", re.S | re.M)
FILE_NAME = re.compile(r"/\* (\w+\.c)\b")


def install(build, prefix):
    """Installs the build; returns the environment in which a new user would work."""
    subprocess.run(["cmake", "--install", str(build), "--prefix", str(prefix)], check=True,
                   stdout=subprocess.DEVNULL)
    pkgconfig = next(prefix.rglob("kelvoutils.pc")).parent
    environment = dict(os.environ, PKG_CONFIG_PATH=str(pkgconfig), LD_LIBRARY_PATH=str(pkgconfig.parent),
                       PATH=f"{prefix}/bin:{os.environ['PATH']}", LC_ALL="C.UTF-8", TZ="UTC")
    for name in ("KELVO_DEBUG", "KELVO_JOB_ID", "KELVO_PLATFORM_CONFIG"):
        environment.pop(name, None)
    return environment


def agrees(expected, actual):
    """Whether lines are as expected, where "..." stands for any number of lines."""
    if not expected:
        return not actual
    if expected[0] == "...":
        return any(agrees(expected[1:], actual[i:]) for i in range(len(actual) + 1))
    return bool(actual) and expected[0] == actual[0] and agrees(expected[1:], actual[1:])


def run_console(text, directory, environment, where):
    """Runs the commands of a console block. Returns the block with what they print, and what differed."""
    result, failures = "", []
    for command, expected in re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", text, re.M):
        run = subprocess.run(command, shell=True, cwd=directory, env=environment, text=True, timeout=120,
                             stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        result += f"$ {command}\n{run.stdout}"
        if not agrees(expected.splitlines(), run.stdout.splitlines()):
            failures.append(f"{where}: $ {command}\n" + "\n".join(difflib.unified_diff(
                expected.splitlines(), run.stdout.splitlines(), "the page", "the command", lineterm="")))
    return result, failures


def run_page(page, directory, environment):
    shutil.rmtree(directory, ignore_errors=True)
    directory.mkdir(parents=True)
    text = page.read_text()
    files, current, failures, commands = {}, None, [], 0

    def block(match):
        nonlocal current, commands
        kind, body = match.groups()
        if kind == "c":
            name = FILE_NAME.match(body)
            current = name.group(1) if name else current
            if current is None:
                failures.append(f"{page}: a block of C belongs to no file: {body.splitlines()[0]}")
            else:
                files[current] = files.get(current, "") + ("" if name else "\n") + body
        if kind != "console":
            return match.group(0)
        for name, content in files.items():
            (directory / name).write_text(content)
        commands += body.count("$ ")
        printed, differences = run_console(body, directory, environment, page.name)
        if arguments.update and differences:
            return f"```console\n{printed}```"
        failures.extend(differences)
        return match.group(0)

    updated = BLOCK.sub(block, text)
    if arguments.update and updated != text:
        page.write_text(updated)
    if commands == 0:
        failures.append(f"{page}: no command in it")
    print(f"{page.name}: {len(files)} programs, {commands} commands")
    return failures


environment = install(arguments.build, scratch / "prefix")
environment["CFLAGS"] = "-Wall -Wextra -Werror"
differences = []
for page in arguments.pages:
    differences += run_page(page, scratch / page.stem, environment)
print("\n\n".join(differences))
sys.exit(1 if differences else 0)
