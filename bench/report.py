# SPDX-License-Identifier: MIT
"""
Runs all measurements, timed and counted, and prints them as one table.

  python3 bench/report.py BUILD ARM64_BUILD [--quick] [--json FILE] [--html FILE]

docs/measurements.md describes the columns and the JSON.
"""

import argparse
import datetime
import json
import os
import subprocess
import sys
import tomllib
from collections.abc import Iterator
from pathlib import Path

import html_report
import instructions
import text_report

CATALOG = Path(__file__).resolve().parents[1] / "schema" / "catalog"
JSON_VERSION = 1
TIMED_UNITS = ("ratio", "microseconds")
PROGRAMS = ("l2vpn_bench_stub", "l2vpn_bench")

Row = dict


def timed_rows(folder: Path, quick: bool) -> Iterator[Row]:
    for program in PROGRAMS:
        with subprocess.Popen([folder / program] + ["--quick"] * quick, stdout=subprocess.PIPE, text=True) as process:
            yield from map(json.loads, process.stdout)
        if process.returncode:
            sys.exit(f"{program}: exit code {process.returncode}")


def has_mac_in_primary_key(table: str) -> bool:
    facts = tomllib.loads((CATALOG / f"{table}.toml").read_text(encoding="utf-8"))
    macs = {name for _, _, kind, name, *_ in facts["fields"] if kind == "mac"}
    return bool(macs.intersection(facts["keys"][0][1:]))


def counted(folder: Path) -> dict:
    """Instructions of each operation by program, and the bytes of code."""
    result = {program: instructions.instructions(folder, program)
              for program in (instructions.STUB, instructions.STORE, instructions.TABLES)}
    _, result["code"] = instructions.text_section(folder / instructions.LIBRARIES["library"])
    return result


def counted_rows(by_processor: dict) -> Iterator[Row]:
    """Rows with the figures of both processors, judged by those of x86-64."""
    pieces = by_processor["x86_64"][instructions.STUB]["format"]["pieces"]

    def keys(figures: dict, mac: bool) -> float:
        return max(amounts["library"] for name, amounts in figures[instructions.TABLES].items()
                   if name.endswith(": set primary key") and has_mac_in_primary_key(name.split(":")[0]) == mac)

    for subject, unit, goal, figure in (
            ("set primary key, no MAC address in it", "instructions", 14, lambda f: keys(f, False)),
            ("set primary key, a MAC address in it", "instructions", 28, lambda f: keys(f, True)),
            ("write, outside memcpy_s and the store", "instructions", 75,
             lambda f: f[instructions.STUB]["write, same keys"]["library"]),
            ("format, outside sprintf_s, per piece", "instructions", 14,
             lambda f: f[instructions.STUB]["format"]["library"] / pieces),
            ("code of the library, all tables", "bytes", 80_000, lambda f: f["code"])):
        figures = {processor: round(figure(f), 1) for processor, f in by_processor.items()}
        yield {"subject": subject, "unit": unit, "value": figures["x86_64"], "at_most": goal, unit: figures}


def complete(row: Row, by_processor: dict, quick: bool) -> Row:
    """Adds the subject's instructions and the verdict."""
    if operation := row.pop("operation", None):
        stub = {processor: figures[instructions.STUB][operation] for processor, figures in by_processor.items()}
        store = {processor: figures[instructions.STORE][operation] for processor, figures in by_processor.items()}
        row["instructions"] = {
            processor: round(stub[processor].get("library") or store[processor]["platform"], 1) for processor in stub}
    if not quick or row["unit"] not in TIMED_UNITS:
        if "at_most" in row:
            row["met"] = row["value"] <= row["at_most"]
        elif "at_least" in row:
            row["met"] = row["value"] >= row["at_least"]
    return row


def machine() -> dict:
    lines = Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines()
    model = next((text.split(": ", 1)[1] for text in lines if text.startswith("model name")), "unknown")
    return {"processor": model, "processors": os.cpu_count()}


def main() -> None:
    parser = argparse.ArgumentParser(description="Measures the library and the store.")
    parser.add_argument("build", type=Path)
    parser.add_argument("arm64_build", type=Path)
    parser.add_argument("--quick", action="store_true", help="a short run; timed figures are not judged")
    parser.add_argument("--json", type=Path, metavar="FILE")
    parser.add_argument("--html", type=Path, metavar="FILE")
    arguments = parser.parse_args()
    by_processor = {"x86_64": counted(arguments.build), "aarch64": counted(arguments.arm64_build)}
    rows = []
    print(text_report.HEAD)
    for source in (counted_rows(by_processor), timed_rows(arguments.build, arguments.quick)):
        for row in source:
            rows.append(complete(row, by_processor, arguments.quick))
            print(text_report.line(rows[-1]), flush=True)
    print("\n" + text_report.operations(by_processor))
    document = {
        "format": "l2vpn_db measurements", "version": JSON_VERSION,
        "date": str(datetime.date.today()), "quick": arguments.quick,
        "machine": machine() | {"compiler": instructions.compiler_of(arguments.build)},
        "rows": rows, "counted": by_processor}
    if arguments.json:
        arguments.json.write_text(json.dumps(document, indent=1) + "\n", encoding="utf-8")
    if arguments.html:
        arguments.html.write_text(html_report.html(document), encoding="utf-8")


if __name__ == "__main__":
    main()
