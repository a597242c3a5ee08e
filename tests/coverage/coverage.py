#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads what llvm-cov exports, joins the instantiations of each template, and refuses any line,
branch or condition that no test ran.

A line whose code no caller can reach within the contract ends in "// unreachable: REASON"; it must
then really not be reached in full."""

import argparse
import json
import re
import sys
from collections import defaultdict
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FOLDERS = ("frame", "schema", "tables", "dal", "format", "platform")
UNREACHABLE = re.compile(r"// unreachable: \S+")


class Source:
    """What was found out about one file: for each place, whether the tests were there."""

    def __init__(self, path: Path):
        self.path = path
        self.lines = {}
        self.branches = defaultdict(lambda: [0, 0])
        self.conditions = defaultdict(bool)
        self.excused = {number for number, line in enumerate(path.read_text().splitlines(), 1)
                        if UNREACHABLE.search(line)}

    def add_segments(self, segments: list) -> None:
        """A line counts as run if the code it begins in or any code that begins in it was."""
        starts = defaultdict(list)
        for segment in segments:
            starts[segment[0]].append(segment)
        current = None
        for number in range(segments[0][0], segments[-1][0] + 1) if segments else ():
            here = starts.get(number, [])
            counts = [s[2] for s in here if s[3] and s[4] and not s[5]]
            opens_gap = here and here[0][3] and here[0][4] and here[0][5]
            if current is not None and current[3] and not opens_gap and (counts or not current[5]):
                counts.append(current[2])
            if counts:
                self.lines[number] = max(counts) > 0
            if here:
                current = here[-1]

    def add_function(self, function: dict, file_id: int) -> None:
        folded = set()
        times = defaultdict(int)
        for branch in function["branches"]:
            if branch[6] != file_id:
                continue
            place = tuple(branch[:4])
            # A fold expression has one place for all its operands.
            times[place] += 1
            key = (*place, times[place])
            if len(branch) > 8 and branch[8] == 4 and branch[4] == branch[5] == 0:
                folded.add(place)
            self.branches[key][0] += branch[4]
            self.branches[key][1] += branch[5]
        for record in function.get("mcdc_records", ()):
            for number, shown in enumerate(record[-1]):
                key = (*record[:4], len(record[-1]), number)
                self.conditions[key] |= shown

    def report(self, kind: str, places: dict, failures: list) -> tuple:
        """How many of the places were reached, and how many there are."""
        reached = total = 0
        for place, done in sorted(places.items()):
            if place[0] in self.excused:
                continue
            total += 1
            reached += done
            if not done:
                at = ":".join(map(str, place[:2]))
                failures.append(f"{self.path.relative_to(ROOT)}:{at}: {kind} not reached {place}")
        return reached, total


def read(export: dict) -> dict:
    sources = {}

    def source(name: str):
        path = Path(name)
        if not path.is_relative_to(ROOT) or path.relative_to(ROOT).parts[0] not in FOLDERS:
            return None
        return sources.setdefault(path, Source(path))

    for data in export["data"]:
        for file in data["files"]:
            if found := source(file["filename"]):
                found.add_segments(file["segments"])
        for function in data["functions"]:
            for file_id, name in enumerate(function["filenames"]):
                if found := source(name):
                    found.add_function(function, file_id)
    return sources


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("export", type=Path, help="what llvm-cov export wrote")
    arguments = parser.parse_args()
    sources = read(json.loads(arguments.export.read_text()))
    failures = []
    for path, source in sorted(sources.items()):
        lines = source.report("line", {(n,): done for n, done in source.lines.items()}, failures)
        branches = source.report("branch", {(*k, side): c > 0 for k, v in source.branches.items()
                                            for side, c in enumerate(v)}, failures)
        conds = source.report("condition", source.conditions, failures)
        print(f"{str(path.relative_to(ROOT)):40}", *(f"{a:4}/{b:<4}" for a, b in (lines, branches, conds)))
    for failure in failures:
        print(failure)
    return 1 if failures else 0


sys.exit(main())
