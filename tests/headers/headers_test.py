# SPDX-License-Identifier: MIT
"""Compiles every public header on its own, included twice, with one compiler and standard."""

import argparse
import pathlib
import subprocess
import sys

WARNINGS = ["-Wall", "-Wextra", "-Wconversion", "-Wpedantic", "-Werror", "-fsyntax-only"]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--language", choices=("c", "c++"), required=True)
    parser.add_argument("--standard", required=True)
    parser.add_argument("--include", type=pathlib.Path, required=True)
    options = parser.parse_args()

    headers = sorted(path.name for path in options.include.glob("l2vpn_db/*.h"))
    if not {"l2vpn_db.h", "platform.h"} < set(headers):
        sys.exit(f"headers are missing in {options.include}")
    failures = 0
    for header in headers:
        command = [options.compiler, "-x", options.language, "-std=" + options.standard,
                   *WARNINGS, "-I", str(options.include), "-"]
        include = f'#include "l2vpn_db/{header}"\n'
        # ISO C forbids an empty translation unit.
        result = subprocess.run(command, input=include * 2 + "extern int used;\n", text=True)
        if result.returncode != 0:
            print(f"{header} does not compile on its own: {' '.join(command)}")
            failures += 1
    print(f"{len(headers)} headers, {failures} failures")
    sys.exit(failures != 0)


if __name__ == "__main__":
    main()
