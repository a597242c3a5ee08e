# SPDX-License-Identifier: MIT
"""Shared by the tool's tests: runs the tool, and reads the expected facts of the tables."""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "support"))
import expectations  # noqa: E402  # pylint: disable=wrong-import-position

EXAMPLE = HERE.parents[1] / "examples" / "provider_edge.json"
RECORDS = json.loads(EXAMPLE.read_text(encoding="utf-8"))
EXAMPLE_LOADED = f"{EXAMPLE}: {sum(map(len, RECORDS.values()))} records stored in {len(RECORDS)} tables"
PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
DONE, NO, BAD_INPUT, FAILED = 0, 1, 2, 3


FILES = expectations.whole()


def expected(name: str) -> list[dict]:
    head, *rows = FILES[name]
    return [dict(zip(head, row)) for row in rows]


TABLES = {row["table"]: row for row in expected("tables")}
TYPED = [name for name, row in TABLES.items() if row["access"] == "typed"]
FORMAT_ONLY = [name for name in TABLES if name not in TYPED]


def fields_of(table: str) -> list[dict]:
    """The table's fields, with their offsets in the stored record, which has no padding."""
    fields, stored = [], 0
    for row in expected("fields"):
        if row["table"] == table:
            field = {"name": row["field"], "id": int(row["id"]), "offset": int(row["offset"]),
                     "width": int(row["width"]), "elements": row["elements"], "stored": stored}
            stored += field["width"]
            fields.append(field)
    return fields


def keys_of(table: str) -> list[dict]:
    return [{**row, "members": row["members"].split(",")} for row in expected("keys")
            if row["table"] == table]


class ToolTest(unittest.TestCase):
    maxDiff = None

    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_tool(self, *arguments: object, stdin: str = "", code: int | None = DONE, **environment):
        result = subprocess.run(
            [PROGRAM, *map(str, arguments)], input=stdin.encode("utf-8", "surrogateescape"),
            capture_output=True, timeout=120, check=False, cwd=self.folder,
            env={**os.environ, **environment})
        out, err = (text.decode("utf-8") for text in (result.stdout, result.stderr))
        if code is not None:
            self.assertEqual(result.returncode, code, f"{arguments}\n{out}{err}")
        return out, err

    def output(self, *arguments: object, **more) -> str:
        """Returns standard output. Expects nothing on standard error."""
        out, err = self.run_tool(*arguments, **more)
        self.assertEqual(err, "", arguments)
        return out

    def lines(self, *arguments: object, **more) -> list[str]:
        return self.output(*arguments, **more).splitlines()

    def json_lines(self, *arguments: object, **more) -> list[dict]:
        objects = [json.loads(line) for line in self.lines(*arguments, "--json", **more)]
        for each in objects:
            self.assertEqual(each.pop("version"), 1, arguments)
        return objects

    def json(self, *arguments: object, **more) -> dict:
        objects = self.json_lines(*arguments, **more)
        self.assertEqual(len(objects), 1, arguments)
        return objects[0]

    def rejected(self, *arguments: object, code: int = BAD_INPUT, **more) -> str:
        """Returns the diagnostic of a failing call. Expects nothing on standard output."""
        out, err = self.run_tool(*arguments, code=code, **more)
        self.assertEqual(out, "", arguments)
        self.assertTrue(err.startswith("l2vpn-db: "), err)
        return err.removeprefix("l2vpn-db: ").rstrip("\n")

    def generated(self, *arguments: object) -> tuple[pathlib.Path, dict]:
        """Generates a file with records of every table. Returns its path and the records by table."""
        path = self.write("generated", self.output("generate", *arguments))
        records = {table: [] for table in TYPED}
        for line in path.read_text(encoding="utf-8").splitlines():
            for table, found in json.loads(line).items():
                if table != "version":
                    records[table] += found
        return path, records

    def write(self, name: str, text: str) -> pathlib.Path:
        path = self.folder / name
        path.write_bytes(text.encode("utf-8", "surrogateescape"))
        return path


def main() -> None:
    unittest.main(argv=sys.argv[:1])
