#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads an llvm-cov export, merges the instantiations of each template, and fails if the tests missed
a line, branch or condition.

A line that no caller can reach within the contract ends in "// unreachable: REASON". The mark is an
error on a line that was fully covered."""

import argparse
import json
import re
import sys
from collections import defaultdict
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FOLDERS = (ROOT / "src/library", ROOT / "src/platform")
UNREACHABLE = re.compile(r"// unreachable: \S+")


class Source:
    """The coverage of one file, by place."""

    def __init__(self, path: Path):
        self.path = path
        self.lines = {}
        self.branches = defaultdict(lambda: [0, 0])
        self.conditions = defaultdict(set)
        self.missed_and_excused = set()
        self.excused = {number for number, line in enumerate(path.read_text().splitlines(), 1)
                        if UNREACHABLE.search(line)}

    def add_segments(self, segments: list) -> None:
        """A line is covered if the segment it starts in, or any segment that starts in it, was run."""
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
        times = defaultdict(int)
        for branch in function["branches"]:
            if branch[6] == file_id:
                place = tuple(branch[:4])
                times[place] += 1  # all operands of a fold expression share one place
                self.branches[(*place, times[place])][0] += branch[4]
                self.branches[(*place, times[place])][1] += branch[5]
        for record in function.get("mcdc_records", ()):
            if record[4] == file_id:
                covered = self.conditions[tuple(record[:4])]
                covered |= {number for number, independent in enumerate(record[-1]) if independent}

    def condition_coverage(self) -> dict:
        """One entry for each condition of a decision: whether an independent effect was shown (MC/DC).
        Conditions that are constant at compile time have no branch and are not counted."""
        found = {}
        for decision, covered in self.conditions.items():
            first, last = decision[:2], decision[2:]
            free = {place[:4] for place in self.branches if first <= place[:2] and place[2:4] <= last}
            for number in range(len(free)):
                found[(*decision, number)] = number < len(covered)
        return found

    def report(self, kind: str, places: dict, failures: list) -> tuple:
        """The numbers of covered places and of all places. Appends the missed ones to failures."""
        covered = total = 0
        for place, done in sorted(places.items()):
            if place[0] in self.excused:
                if not done:
                    self.missed_and_excused.add(place[0])
                continue
            total += 1
            covered += done
            if not done:
                at = ":".join(map(str, place[:2]))
                failures.append(f"{self.path.relative_to(ROOT)}:{at}: {kind} not covered")
        return covered, total


def read(export: dict) -> dict:
    sources = {}

    def source(name: str):
        path = Path(name)
        if not any(path.is_relative_to(folder) for folder in FOLDERS):
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
    parser.add_argument("export", type=Path, help="output of llvm-cov export")
    arguments = parser.parse_args()
    sources = read(json.loads(arguments.export.read_text()))
    failures, rows = [], []
    for path, source in sorted(sources.items()):
        lines = {(number,): done for number, done in source.lines.items()}
        branches = {(*place, side): count > 0 for place, counts in source.branches.items()
                    for side, count in enumerate(counts)}
        rows.append((path.relative_to(ROOT), *(source.report(kind, places, failures) for kind, places in (
            ("line", lines), ("branch", branches), ("condition", source.condition_coverage())))))
        failures += [f"{path.relative_to(ROOT)}:{number}: marked as unreachable, but fully covered"
                     for number in sorted(source.excused - source.missed_and_excused)]
    rows.append(("all", *((sum(row[i][0] for row in rows), sum(row[i][1] for row in rows))
                          for i in (1, 2, 3))))
    width = max(len(str(name)) for name, *_ in rows)
    print(f"{'file':<{width}}{'lines':>12}{'branches':>12}{'conditions':>12}")
    for name, *columns in rows:
        print(f"{str(name):<{width}}" + "".join(f"{f'{a}/{b}':>12}" for a, b in columns))
    print("\n".join(failures) or "all covered")
    return 1 if failures else 0


sys.exit(main())
