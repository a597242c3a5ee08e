# SPDX-License-Identifier: MIT
"""
Generates headers and sources from the catalog.

  python3 generator headers [--root DIR]          writes include/l2vpn_db/l2vpn_<table>.h
  python3 generator sources OUTPUT [--root DIR]   writes the sources that are built, not committed
  python3 generator check [--new-ok] [--root DIR] compares the catalog with the committed headers
  python3 generator release [--root DIR]          writes schema/released/<VERSION>.toml

All of them reject incompatible changes of released tables.
Exit codes: 0 success, 1 the catalog is invalid or something differs, 2 usage error.
"""

import argparse
import sys
from pathlib import Path

import catalog
import debugger
import glossary
import headers
import history
import sources


def write(path: Path, text: str) -> bool:
    """Writes the file unless it has this text already, to avoid rebuilds. Returns whether it has written it."""
    if path.exists() and path.read_text(encoding="utf-8") == text:
        return False
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")
    return True


def make_headers(tables: list, root: Path, errors: list) -> dict:
    words = glossary.load(root, tables, errors)
    folder = root / "include/l2vpn_db"
    return {folder / f"{table.name}.h": headers.header(table, words) for table in tables}


def left_over(wanted: dict, root: Path) -> list:
    """Headers of tables that are no longer in the catalog."""
    present = set((root / "include/l2vpn_db").glob("l2vpn_*.h")) - {root / "include/l2vpn_db/l2vpn_db.h"}
    return sorted(present - set(wanted))


def write_headers(tables: list, root: Path, errors: list) -> None:
    wanted = make_headers(tables, root, errors)
    if errors:
        return
    for path, text in wanted.items():
        if write(path, text):
            print(f"wrote {path.relative_to(root)}")
    for path in left_over(wanted, root):
        path.unlink()
        print(f"removed {path.relative_to(root)}: no catalog file")


def check(tables: list, root: Path, new_ok: bool, errors: list) -> None:
    wanted = make_headers(tables, root, errors)
    for path, text in wanted.items():
        shown = path.relative_to(root)
        if not path.exists():
            if new_ok:
                continue
            problem = "found no file, expected one"
        elif path.read_text(encoding="utf-8") != text:
            problem = "found other text than expected"
        else:
            continue
        errors.append(f"{shown}:1: {problem} from schema/catalog/{path.stem}.toml: run ./dev generate, "
                      "review the difference and commit it")
    for path in left_over(wanted, root):
        errors.append(f"{path.relative_to(root)}:1: found a header, expected none without "
                      f"schema/catalog/{path.stem}.toml: run ./dev generate")


def write_sources(tables: list, output: Path) -> None:
    texts = {
        "facts/longest_key.h": sources.longest_key(tables),
        "schemas.cpp": sources.schemas(tables),
        "interface_rows.cpp": sources.interface_rows(tables),
        "exports.map": sources.export_list(tables),
        "platform/record_objects.cpp": sources.record_objects(tables),
        "debugger/tables.py": debugger.facts(tables),
        "records/table_functions.cpp": sources.record_table_list(tables),
        "tests/table_list.cpp": sources.test_table_list(tables),
    }
    typed = [table for table in tables if table.typed]
    for table in tables:
        texts[f"facts/{table.name}.h"] = sources.facts(table, typed)
        texts[f"tables/{table.name}.cpp"] = sources.functions(table)
    for name, text in texts.items():
        write(output / name, text)
    for folder in ("facts", "tables"):
        for path in (output / folder).iterdir():
            if f"{folder}/{path.name}" not in texts:
                path.unlink()


def main(arguments: list) -> int:
    root_option = argparse.ArgumentParser(add_help=False)
    root_option.add_argument("--root", type=Path, default=Path(__file__).resolve().parent.parent)
    parser = argparse.ArgumentParser(prog="generator", description="Derives code from the catalog.")
    commands = parser.add_subparsers(dest="command", required=True)
    commands.add_parser("headers", parents=[root_option])
    commands.add_parser("sources", parents=[root_option]).add_argument("output", type=Path)
    commands.add_parser("check", parents=[root_option]).add_argument("--new-ok", action="store_true")
    commands.add_parser("release", parents=[root_option])
    options = parser.parse_args(arguments)
    root = options.root.resolve()

    errors = []
    tables = catalog.load(root, errors)
    releases = history.load(root, errors)
    if not errors:
        history.check(tables, releases, errors)
    if not errors:
        if options.command == "headers":
            write_headers(tables, root, errors)
        elif options.command == "check":
            check(tables, root, options.new_ok, errors)
        elif options.command == "release":
            history.record(tables, releases, root, errors)
        else:
            write_sources(tables, options.output)
    if errors:
        print("\n".join(errors), file=sys.stderr)
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
