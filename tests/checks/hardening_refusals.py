#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks the check of hardening: a small library that lacks one thing is refused for that thing alone,
and the one that lacks nothing passes.

    hardening_refusals.py COMPILER SCRATCH_DIR
"""
import platform
import subprocess
import sys
from pathlib import Path

SOURCE = r"""
#include <stdio.h>
#include <string.h>
#ifdef MIXED
__attribute__((section(".mixed,\"awx\",@progbits#")))
#endif
int written = 1;
int copy(const char *text) {
    char copied[64];
    strcpy(copied, text);
    return printf("%s %d\n", copied, written);
}
"""
X86 = platform.machine() == "x86_64"

OPTIONS = ["-O2", "-U_FORTIFY_SOURCE", "-D_FORTIFY_SOURCE=2", "-fstack-protector-strong",
           *(["-fcf-protection=full"] if X86 else ["-mbranch-protection=standard"]), "-nostartfiles",
           "-Wl,-z,relro", "-Wl,-z,now", "-Wl,-z,noexecstack", "-Wl,-rpath,$ORIGIN"]

# What takes an option's place, what the check says.
CASES = [
    ("", "", None),
    ("-fstack-protector-strong", "-fno-stack-protector", "guarded frame"),
    ("-D_FORTIFY_SOURCE=2", "-D_FORTIFY_SOURCE=0", "no fortified function"),
    ("-Wl,-z,relro", "-Wl,-z,norelro", "read-only after relocation"),
    ("-Wl,-z,now", "-Wl,-z,lazy", "when they are first called"),
    ("-Wl,-z,noexecstack", "-Wl,-z,execstack", "stack without code"),
    ("-Wl,-rpath,$ORIGIN", "-Wl,-rpath,/opt/elsewhere", "looks for libraries in '/opt/elsewhere'"),
    ("-Wl,-rpath,$ORIGIN", "-DMIXED", "both written and executed"),
]
if X86:
    CASES.append(("-fcf-protection=full", "-fcf-protection=return", "no mark 'x86 feature: IBT, SHSTK'"))


def main():
    compiler, scratch = sys.argv[1], Path(sys.argv[2])
    scratch.mkdir(parents=True, exist_ok=True)
    source, library = scratch / "copy.c", scratch / "libcopy.so"
    source.write_text(SOURCE)
    wrong = 0
    for lacks, instead, says in CASES:
        options = [instead if option == lacks else option for option in OPTIONS]
        subprocess.run([compiler, "-shared", "-fPIC", *options, "-o", library, source], check=True)
        run = subprocess.run([sys.executable, Path(__file__).with_name("hardening.py"), library],
                             check=False, capture_output=True, text=True)
        complaints = run.stdout.splitlines()[:-1]  # the last line counts relocations
        fits = len(complaints) == 1 and says in complaints[0] if says else not complaints
        if not fits or (run.returncode != 0) != bool(says):
            wrong += 1
            print(f"with {instead or 'everything'}: should say '{says}', says\n{run.stdout}{run.stderr}")
    print(f"{len(CASES)} libraries, {wrong} judged wrongly")
    return wrong != 0


if __name__ == "__main__":
    sys.exit(main())
