# SPDX-License-Identifier: MIT
"""
Compares instructions per operation and bytes of code with baseline.json.

  python3 bench/baseline.py check BUILD...     fails on a deviation of more than 2 %, up or down
  python3 bench/baseline.py record BUILD...    records the current figures

BUILD is a build folder, for this processor or 64-bit ARM. Figures that are not recorded, such as those
of a new table, are not checked.
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
    """The current figures by unit."""
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


def deviations(before: Figures, now: Figures) -> list[str]:
    """Describes each figure that differs by more than the tolerance."""
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
    differences = deviations(record["figures"], measured(folder))
    for difference in differences:
        print(f"{processor}, {difference}")
    if differences:
        print("If this is intended, run ./dev bench --record-baseline and commit bench/baseline.json.")
    return 1 if differences else 0


def main() -> int:
    command, *folders = sys.argv[1:] or [""]
    if command not in ("check", "record") or not folders:
        sys.exit(__doc__)
    recorded = json.loads(FILE.read_text(encoding="utf-8")) if FILE.exists() else {}
    if command == "check":
        return max(check(Path(folder), recorded) for folder in folders)
    for folder in map(Path, folders):
        recorded[instructions.processor_of(folder)] = {
            "compiler": instructions.compiler_of(folder), "figures": measured(folder)}
    FILE.write_text(json.dumps(recorded, indent=1, sort_keys=True) + "\n", encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
