# SPDX-License-Identifier: MIT
"""Compiles each file here twice: as it is, which must succeed, and with MISTAKE defined, which must fail
with the message named at its head. The C files use the public headers and are compiled as C and as C++;
the files in internal/ use the library's internal headers."""

import argparse
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wsign-conversion",
            "-Wno-missing-field-initializers", "-Werror"]
DISCARD = ["-S", "-o", os.devnull]  # -fsyntax-only misses some of the mistakes


def compile_once(command):
    result = subprocess.run(command, capture_output=True, text=True, check=False,
                            env={**os.environ, "LC_ALL": "C"})
    return result.returncode, result.stderr


def check(path, command):
    """A description of the failure, or None."""
    head = re.search(r"message: (.*?)(?: \*/)?$", path.read_text(), re.MULTILINE)
    if head is None:
        return "names no message at its head"
    failed, message = compile_once(command)
    if failed:
        return "does not compile without the mistake:\n" + message
    failed, message = compile_once([*command, "-DMISTAKE"])
    if not failed:
        return "compiles with the mistake"
    if re.search(head[1], message) is None:
        return f"fails, but not with '{head[1]}':\n{message}"
    return None


def main():
    parser = argparse.ArgumentParser()
    for name in ("cc", "cxx", "root", "generated"):
        parser.add_argument("--" + name, required=True)
    options = parser.parse_args()
    public = ["-I", f"{options.root}/include"]
    languages = {
        "C11": [options.cc, "-std=c11", "-x", "c"],
        "C++20": [options.cxx, "-std=c++20", "-x", "c++"],
    }
    cases = []
    for path in sorted(HERE.glob("*.c")):
        cases += [(path, language, [*command, *WARNINGS, *public, *DISCARD, str(path)])
                  for language, command in languages.items()]
    internal = sorted(HERE.glob("internal/*.cpp"))
    with_internals = [*languages["C++20"][:-2], *WARNINGS, *public, "-I", options.root, "-I", f"{options.root}/src",
                      "-I", options.generated]
    with tempfile.TemporaryDirectory() as folder:
        # Precompile the internal headers.
        headers = pathlib.Path(folder) / "headers.h"
        headers.write_text("".join(sorted({
            line + "\n" for path in internal for line in path.read_text().splitlines()
            if line.startswith("#include")})))
        failed, message = compile_once([*with_internals, "-x", "c++-header", str(headers)])
        if failed:
            sys.exit(message)
        cases += [(path, "C++20", [*with_internals, "-include", str(headers),
                                   *DISCARD, str(path)]) for path in internal]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            found = list(pool.map(lambda case: check(case[0], case[2]), cases))
    for (path, language, _), wrong in zip(cases, found):
        if wrong:
            print(f"{path.relative_to(HERE)} in {language} {wrong}")
    failures = sum(wrong is not None for wrong in found)
    print(f"{len(cases)} cases, {failures} failures")
    sys.exit(failures != 0 or len(cases) < 80)


if __name__ == "__main__":
    main()
