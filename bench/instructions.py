# SPDX-License-Identifier: MIT
"""Instructions per operation, counted by callgrind: what the library itself executes, and what the
platform and the C library do on its behalf."""

import argparse
import json
import re
import subprocess
import sys
import tempfile
from collections import Counter
from pathlib import Path

OWNERS = {"libl2vpn_db.so": "library", "_platform.so": "platform"}


def counted(profile: str) -> tuple[str, Counter]:
    """The name that a profile was dumped under, and its instructions by who executed them."""
    objects: dict[str, str] = {}
    owner, called, amounts, name = "", False, Counter(), ""
    for line in profile.splitlines():
        if match := re.match(r"desc: Trigger: Client Request: (.*)", line):
            name = match[1]
        elif match := re.match(r"ob=(\(\d+\))(?: (.*))?", line):
            path = objects.setdefault(match[1], match[2] or "")
            owner = next((who for part, who in OWNERS.items() if part in path), "libc")
            if "l2vpn" in Path(path).name and owner == "libc":
                owner = "harness"
        elif match := re.match(r"cob=(\(\d+\)) (.*)", line):
            objects.setdefault(match[1], match[2])
        elif line.startswith("calls="):
            called = True  # the next line is what the callee cost; it says so itself, too
        elif re.match(r"[+\-*\d]", line):
            if not called:
                amounts[owner] += int(line.split()[1])
            called = False
    return name, amounts


def measure(program: str) -> dict[str, dict[str, float]]:
    """Instructions per call: operation, then who executed them."""
    with tempfile.TemporaryDirectory() as folder:
        result = subprocess.run(
            ["valgrind", "--tool=callgrind", "--collect-atstart=no",
             f"--callgrind-out-file={folder}/out", program],
            capture_output=True, text=True, check=False)
        if result.returncode != 0:
            sys.exit(result.stderr)
        times = dict(line.rsplit(" ", 1) for line in result.stdout.splitlines())
        table = {}
        for number in range(1, len(times) + 1):
            name, amounts = counted(Path(f"{folder}/out.{number}").read_text(encoding="utf-8"))
            table[name] = {who: amount / int(times[name]) for who, amount in amounts.items()}
    return table


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("folder", help="where l2vpn_instructions and l2vpn_store_instructions are")
    parser.add_argument("--json", metavar="FILE", help="also writes the figures there")
    arguments = parser.parse_args()
    alone = measure(f"{arguments.folder}/l2vpn_instructions")
    stored = measure(f"{arguments.folder}/l2vpn_store_instructions")
    columns = ("library", "platform", "libc")
    print(f"{'':42}{'no platform':>14}{'embedded platform':>32}")
    print(f"{'instructions per operation':42}{'library':>14}" + "".join(f"{c:>12}" for c in columns))
    for name, amounts in stored.items():
        print(f"{name:42}{alone[name].get('library', 0):14.0f}" +
              "".join(f"{amounts.get(column, 0):12.0f}" for column in columns))
    if arguments.json:
        Path(arguments.json).write_text(
            json.dumps({"noop_platform": alone, "embedded_platform": stored}, indent=1) + "\n",
            encoding="utf-8")


if __name__ == "__main__":
    main()
