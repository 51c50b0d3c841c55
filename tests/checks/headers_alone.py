#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compiles each public header alone, as C11 and as C++17, with every warning an error.

    headers_alone.py C_COMPILER CXX_COMPILER INCLUDE_DIR[,INCLUDE_DIR...] HEADER...
"""
import subprocess
import sys

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Werror", "-fsyntax-only"]


def main():
    c_compiler, cxx_compiler, include_dirs, *headers = sys.argv[1:]
    includes = [f"-I{directory}" for directory in include_dirs.split(",")]
    failed = 0
    for header in headers:
        for command in ([c_compiler, "-xc", "-std=c11"], [cxx_compiler, "-xc++", "-std=c++17"]):
            run = subprocess.run([*command, *WARNINGS, *includes, "-"], input=f'#include "{header}"\n',
                                 capture_output=True, text=True)
            if run.returncode != 0:
                failed += 1
                print(f"{header} with {' '.join(command)}:\n{run.stderr}")
    print(f"{len(headers)} headers, {failed} failures")
    return failed != 0


if __name__ == "__main__":
    sys.exit(main())
