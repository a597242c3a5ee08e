# SPDX-License-Identifier: MIT
"""The expectations for all tables: the handwritten rows of tests/expected and, for a table without
any, rows that tests/property/tables.py derives from its catalog file. Neither uses the generator.

usage: expectations.py OUTPUT [CATALOG]    writes them in the format of tests/expected
"""

import sys
from pathlib import Path

TESTS = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(TESTS / "property"))
import tables as model  # noqa: E402  # pylint: disable=wrong-import-position

CATALOG = TESTS.parent / "schema/catalog"


def parse(text: str) -> list:
    """The rows as tuples of cells, header first."""
    return [tuple(line.split("\t")) for line in text.splitlines() if line and not line.startswith("#")]


def written() -> dict:
    """The rows of each file of tests/expected, by file name."""
    return {path.stem: parse(path.read_text(encoding="utf-8")) for path in (TESTS / "expected").glob("*.tsv")}


def derived(names: set, catalog: Path = CATALOG) -> dict:
    """The same for the named tables, derived from their catalog files."""
    tables = [model.read(path) for path in sorted(catalog.glob("*.toml"), key=lambda path: path.stem)
              if path.stem in names]
    return {Path(name).stem: parse(text) for name, text in model.expected_files(tables).items()}


def whole(catalog: Path = CATALOG) -> dict:
    files = written()
    known = {table for table, *_ in files["tables"]}
    more = derived({path.stem for path in catalog.glob("*.toml")} - known, catalog)
    return {name: rows + more[name][1:] for name, rows in files.items()}


def main(output: Path, *catalog: Path) -> None:
    output.mkdir(parents=True, exist_ok=True)
    for name, rows in whole(*catalog).items():
        text = "".join("\t".join(row) + "\n" for row in rows)
        (output / f"{name}.tsv").write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main(*map(Path, sys.argv[1:]))
