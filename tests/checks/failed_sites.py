#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks that every call with which a library asks for memory, or for a service of the platform that
can fail, has been made to fail by a test.

usage: failed_sites.py LIBRARY SITES_DIRECTORY [PLATFORM_HEADER]

Without PLATFORM_HEADER only calls for memory count.

Tests leave the return addresses of the calls that they refused in SITES_DIRECTORY (see
tests/platform/failed_sites.h). LIBRARY is disassembled for all such calls. A compiler may make
several calls of one in the source, so calls count as one where they stand in the same line and were
inlined in the same lines.
"""
import pathlib
import re
import subprocess
import sys

ALLOCATORS = {"malloc", "calloc", "realloc", "reallocarray", "aligned_alloc", "posix_memalign",
              "strdup", "strndup", "asprintf", "vasprintf", "getline", "open_memstream"}

# Services that cannot fail: those without an answer, and those that always have one.
NEVER_FAIL = {
    "buf_strncpy", "debug_print", "errcode_strerror", "ordered_tree_delete", "ordered_tree_insert",
    "ordered_tree_search", "platform_is_single_node", "platform_node_type", "platform_trace_record",
    "platform_type", "procmgr_get_job_id", "qor_errmsg", "thread_mark_mutex_block",
    "thread_unmark_mutex_block"}


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def services(header):
    return set(re.findall(r"\bKELVO_API\b[^;{]*?\b(\w+)\(", pathlib.Path(header).read_text()))


def calls(library, names):
    """Yields (return address, function called, function it stands in, whether it is a tail call)."""
    caller, pending, held = "", None, {}
    for line in output("objdump", "-d", "--no-show-raw-insn", library).splitlines():
        if match := re.match(r"[0-9a-f]+ <(.*)>:$", line):
            caller, pending, held = match[1], None, {}
            continue
        match = re.match(r"\s*([0-9a-f]+):\s+(?:bnd )?(\w+)\s*(.*)", line)
        if not match:
            continue
        if pending:
            yield int(match[1], 16), *pending
            pending = None
        # A register may hold the address of a function that is called several times.
        if load := re.search(r"\(%rip\),(%\w+) .*<(\w+)@", match[3]):
            held[load[1]] = load[2]
        if match[2] not in ("call", "callq", "jmp", "jmpq"):
            continue
        if target := re.search(r"<(\w+)@", match[3]):  # through the linkage table or past it
            called = target[1]
        else:
            called = held.get(match[3].strip().removeprefix("*"))
        if called in names:
            pending = called, caller, match[2].startswith("jmp")


def places(library, addresses):
    """The lines of the source that a call stands in, innermost first, by return address."""
    found = {}
    text = output("addr2line", "-a", "-i", "-e", library,
                  *(hex(address - 1) for address in addresses))
    for line in text.splitlines():
        if line.startswith("0x"):
            chain = found.setdefault(int(line, 16) + 1, [])
        else:
            chain.append(re.sub(r" \(discriminator.*|.*/", "", line))
    return {address: tuple(chain) for address, chain in found.items()}


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    library, directory, *headers = sys.argv[1:]
    can_fail = set()
    for header in headers:
        can_fail = services(header) - NEVER_FAIL
        if unknown := NEVER_FAIL - services(header):
            sys.exit(f"no services of the platform: {', '.join(sorted(unknown))}")
    files = list(pathlib.Path(directory).glob("*"))
    if not files:
        sys.exit(f"{directory} is empty: the tests of every failure have not run")
    refused = {tuple(line.split()) for file in files for line in file.read_text().splitlines()}
    name = re.sub(r"\.so.*", ".so", pathlib.Path(library).name)
    refused_here = {int(site, 16) for file, site in refused if file.startswith(name)}
    refused_elsewhere = len(refused_here) < len(refused)

    sites = list(calls(library, ALLOCATORS | can_fail))
    if not sites:
        sys.exit(f"{library} has no call to look for")
    where = places(library, [address for address, *_ in sites])
    failed, all_places = set(), {}
    for address, name, caller, is_tail in sites:
        place = (name, where[address])
        all_places[place] = caller
        # A tail call returns to the test itself.
        if address in refused_here or (is_tail and refused_elsewhere):
            failed.add(place)
    missing = sorted(set(all_places) - failed)
    for name, chain in missing:
        print(f"{all_places[name, chain]}: this call of {name} has never failed: "
              f"{', inlined in '.join(chain)}")
    if missing:
        sys.exit(f"{len(missing)} calls are left out; the tests that have run: "
                 f"{', '.join(sorted(file.name for file in files))}")
    print(f"{len(sites)} calls at {len(all_places)} places of the source, all made to fail")


if __name__ == "__main__":
    main()
