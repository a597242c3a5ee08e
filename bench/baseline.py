# SPDX-License-Identifier: MIT
"""
Instructions per operation and bytes of code, against those recorded in baseline.json.

  python3 bench/baseline.py check BUILD...     fails if one is more than 2 % off, up or down
  python3 bench/baseline.py record BUILD...    records what is there

BUILD is a build's folder, for this processor or 64-bit ARM. What no record tells of, such as a new
table, is free.
"""

import json
import sys
from pathlib import Path

import instructions

FILE = Path(__file__).with_name("baseline.json")
TABLES = sorted(file.stem for file in (FILE.parents[1] / "schema" / "catalog").glob("*.toml"))
TOLERANCE = 0.02
SKIPPED = 77

Figures = dict[str, dict[str, float]]


def measured(folder: Path) -> Figures:
    """Of each unit, what is counted in it."""
    stub = instructions.instructions(folder, instructions.STUB)
    store = instructions.instructions(folder, instructions.STORE)
    tables = instructions.instructions(folder, instructions.TABLES)
    return {
        "instructions of the library": {
            name: round(amounts["library"], 1) for name, amounts in {**stub, **tables}.items()
            if "library" in amounts},
        "instructions of the embedded platform": {
            name: round(amounts["platform"], 1) for name, amounts in store.items() if "platform" in amounts},
        "bytes of the library's code": instructions.code_sizes(
            folder / instructions.LIBRARIES["library"], TABLES),
        "jumps in the library": instructions.jumps(folder),
    }


def moved(before: Figures, now: Figures) -> list[str]:
    """What differs by more than the tolerance, in words."""
    result = []
    for unit, figures in before.items():
        for name, old in figures.items():
            new = now[unit].get(name)
            if new is None:
                result.append(f"{unit}, {name}: {old:g} -> gone")
            elif abs(new - old) > TOLERANCE * old:
                change = f"{(new - old) / old:+.1%}" if old else "new"
                result.append(f"{unit}, {name}: {old:g} -> {new:g} ({change.replace('%', ' %')})")
    return result


def check(folder: Path, recorded: dict) -> int:
    processor, compiler = instructions.processor_of(folder), instructions.compiler_of(folder)
    record = recorded[processor]
    if compiler != record["compiler"]:
        print(f"{processor}: recorded with {record['compiler']}, built with {compiler}: not compared")
        return SKIPPED
    differences = moved(record["figures"], measured(folder))
    for difference in differences:
        print(f"{processor}, {difference}")
    if differences:
        print("If this is meant, run ./dev bench --record-baseline and commit bench/baseline.json.")
    return 1 if differences else 0


def main() -> int:
    what, *folders = sys.argv[1:] or [""]
    if what not in ("check", "record") or not folders:
        sys.exit(__doc__)
    recorded = json.loads(FILE.read_text(encoding="utf-8")) if FILE.exists() else {}
    if what == "check":
        return max(check(Path(folder), recorded) for folder in folders)
    for folder in map(Path, folders):
        recorded[instructions.processor_of(folder)] = {
            "compiler": instructions.compiler_of(folder), "figures": measured(folder)}
    FILE.write_text(json.dumps(recorded, indent=1, sort_keys=True) + "\n", encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
