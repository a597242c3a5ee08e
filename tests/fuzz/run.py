# SPDX-License-Identifier: MIT
"""
Fuzzes each target for a time and prints a summary. Called by ./dev fuzz.

  python3 run.py BUILD [TARGET...] [--seconds N]

New inputs go to BUILD/fuzz/<target>/, failing ones to BUILD/fuzz/crashes/. --merge does not fuzz: it adds
the inputs found earlier that increase coverage to the committed corpus.
"""

import argparse
import os
import re
import subprocess
import sys
import tomllib
from pathlib import Path

HERE = Path(__file__).resolve().parent
CORPUS = HERE / "corpus"
CATALOG = HERE.parents[1] / "schema/catalog"
# The maximum input length, and a pattern for the names or source paths of the functions under test.
TARGETS = {
    "store": (600, r"/platform/store/|/platform/record_objects"),
    "print": (1200, r"/platform/runtime/|/formatter\.|L2VPN_AST_\w+Format"),
    "record_file": (1500, r"/src/records/"),
}
DIGITS = re.compile(r"stat::(\w+):\s+(\d+)")
FUNCTION = re.compile(r"(?:UN)?COVERED_FUNC: hits: \d+ edges: (\d+)/(\d+) (.*)")


def words() -> str:
    """A libFuzzer dictionary for record files."""
    found = {"null", "true", "-0", "[0, 1]", "00:1b:44:11:3a:b7", "192.0.2.1", "4294967296", "1e2", "\\\\u0001"}
    for path in CATALOG.glob("*.toml"):
        found |= {path.stem, *(row[3] for row in tomllib.loads(path.read_text(encoding="utf-8"))["fields"])}
    return "".join(f'"{word}"\n' for word in sorted(found))


def fuzz_program(name: str, build: Path, found: Path, crashes: Path, seconds: int) -> tuple:
    length, tested = TARGETS[name]
    options = [f"-max_total_time={seconds}", f"-max_len={length}", "-len_control=0",
               "-timeout=60", "-print_final_stats=1", "-print_coverage=1", f"-artifact_prefix={crashes}/{name}-"]
    if name == "record_file":
        dictionary = found.parent / "words"
        dictionary.write_text(words(), encoding="utf-8")
        options.append(f"-dict={dictionary}")
    log = found.parent / f"{name}.log"
    with log.open("wb") as output:
        failed = subprocess.run([build / f"fuzz_{name}", *options, found, CORPUS / name],
                                stdout=output, stderr=subprocess.STDOUT, check=False).returncode != 0
    text = log.read_text(encoding="utf-8", errors="replace")
    figures = dict(DIGITS.findall(text))
    edges = [(int(covered), int(total)) for covered, total, place in FUNCTION.findall(text)
             if re.search(tested, place)]
    if failed:
        print(text[-6000:], file=sys.stderr)
    return (int(figures.get("number_of_executed_units", 0)), int(figures.get("new_units_added", 0)),
            "edges", sum(covered for covered, _ in edges), sum(total for _, total in edges), failed)


def fuzz_catalog(found: Path, crashes: Path, seconds: int) -> tuple:
    result = subprocess.run(
        [sys.executable, "-B", HERE / "catalog_fuzz.py", CORPUS / "catalog", "--seconds", str(seconds),
         "--new", found, "--crashes", crashes], stdout=subprocess.PIPE, text=True, check=False)
    match = re.search(r"executions (\d+) .* covered (\d+) of (\d+) .* new (\d+)", result.stdout)
    executions, covered, total, new = map(int, match.groups()) if match else (0, 0, 0, 0)
    return executions, new, "lines", covered, total, result.returncode != 0


def merge(name: str, build: Path, found: Path) -> None:
    if name == "catalog":
        subprocess.run([sys.executable, "-B", HERE / "catalog_fuzz.py", CORPUS / name, "--merge", found],
                       check=True)
    else:
        subprocess.run([build / f"fuzz_{name}", "-set_cover_merge=1", "-use_counters=0",
                        f"-max_len={TARGETS[name][0]}", CORPUS / name, found], check=True)


def main() -> int:
    names = [*TARGETS, "catalog"]
    parser = argparse.ArgumentParser(description="Fuzzes the targets.")
    parser.add_argument("build", type=Path)
    parser.add_argument("targets", nargs="*", metavar="target", help=", ".join(names))
    parser.add_argument("--seconds", type=int, default=60, help="time for each target")
    parser.add_argument("--merge", action="store_true")
    options = parser.parse_args()
    if unknown := set(options.targets) - set(names):
        parser.error(f"unknown target {', '.join(sorted(unknown))}; choose from {', '.join(names)}")
    os.environ.setdefault("ASAN_SYMBOLIZER_PATH", "/usr/bin/llvm-symbolizer-19")
    crashes = options.build.resolve() / "fuzz/crashes"
    crashes.mkdir(parents=True, exist_ok=True)
    any_failed = False
    for name in options.targets or names:
        found = crashes.parent / name
        found.mkdir(exist_ok=True)
        if options.merge:
            merge(name, options.build, found)
            continue
        if name == "catalog":
            figures = fuzz_catalog(found, crashes, options.seconds)
        else:
            figures = fuzz_program(name, options.build, found, crashes, options.seconds)
        executions, new, unit, covered, total, failed = figures
        any_failed |= failed
        percent = 100 * covered / max(total, 1)
        print(f"{name:<12}{executions:>9} executions{executions / options.seconds:>8.0f}/s  "
              f"{covered} of {total} {unit} ({percent:.0f}%)  {new} new  {'FAILED' if failed else 'ok'}",
              flush=True)
    if any_failed:
        print(f"failing inputs are in {crashes}", file=sys.stderr)
    return 1 if any_failed else 0


if __name__ == "__main__":
    sys.exit(main())
