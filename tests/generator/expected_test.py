# SPDX-License-Identifier: MIT
"""Compares the catalog's facts and derived figures with expectations that are independent of the
generator."""

import random
import sys
import unittest
from collections import defaultdict
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "generator"), str(ROOT / "tests/support"), str(ROOT / "tests/property")]
import catalog  # noqa: E402  # pylint: disable=wrong-import-position
import expectations  # noqa: E402  # pylint: disable=wrong-import-position
import field_types  # noqa: E402  # pylint: disable=wrong-import-position
import tables as model  # noqa: E402  # pylint: disable=wrong-import-position


def expected() -> dict:
    """The rows by file and table."""
    files = {}
    for name, (_, *rows) in expectations.whole().items():
        by_table = files[name] = defaultdict(list)
        for table, *row in rows:
            by_table[table].append(tuple(row))
    return files


def joined(words) -> str:
    return ",".join(map(str, words)) or "-"


def elements(item) -> str:
    if item.kind == "integer":
        return "-"
    count = item.ids if item.ids > 1 else item.width
    return f"{count}x{item.width // count}"


def printed(item) -> str:
    kind = {"mac": ":address", "pair": ":pair", "context": f":{item.width // 4}", "bytes": f":{item.width // 4}"}
    return item.name + kind.get(item.kind, "")


def found(table) -> dict:
    """The rows for a table according to the catalog."""
    fields, keys, typed = table.fields, table.keys, table.typed

    def if_typed(*values):
        return tuple(str(value) if typed else "-" for value in values)

    conversion = (joined(f"{first}-{last}" for first, last in table.gaps),
                  joined(f"{item.name}:{item.width}" for item in fields if item.kind in ("mac", "bytes")),
                  joined(f"{item.name}:{elements(item)}{'*' if item.kind == 'context' else ''}"
                         for item in fields if item.ids > 1))
    batch = table.field_named("batchVersion")
    facts = {
        "tables": [("typed" if typed else "format", str(table.record_size), str(len(fields)), str(len(keys)),
                    *if_typed(table.stored_size, keys[0].length, table.record_size))],
        "fields": [(str(item.id), item.name, str(item.offset), str(item.width), elements(item)) for item in fields],
        "keys": [(str(key.index), key.name, joined(item.name for item in key.members),
                  *if_typed(key.infix, key.length, f"0x{key.word:08X}")) for key in keys],
        "displays": [(item.name, item.shape.display) for item in fields
                     if item.shape.display in ("ipv4", "ipv6", "mac")],
        "formats": [(joined(printed(item) for item in fields if item.printed),
                     joined(item.name for item in fields if not item.printed),
                     "yes" if "trailing_separator" in table.quirks else "no")],
    }
    if typed:
        facts["control_blocks"] = [(str(table.key_buffer), str(table.control_block_size),
                                    str(table.control_block_size - 88))]
        facts["conversions"] = [conversion]
        facts["updates"] = [(str(batch.id), str(batch.id), str(batch.offset), str(table.record_size)) if batch
                            else ("-", "-", "-", str(table.record_size))]
        facts["quirks"] = [(quirk,) for quirk in table.quirks if quirk != "trailing_separator"]
    return facts


def differences(tables: list, files: dict) -> list:
    """The differences between the tables and the files."""
    result = []
    for table in tables:
        facts = found(table)
        for name, rows in files.items():
            if rows.get(table.name, []) != facts.get(name, []):
                result.append(f"{name}.tsv, {table.name}: expected {rows.get(table.name)}, found {facts.get(name)}")
    return result


class ExpectedTest(unittest.TestCase):
    maxDiff = None

    def test_catalog_is_as_expected(self):
        errors = []
        tables = catalog.load(ROOT, errors)
        self.assertEqual(errors, [])
        files = expected()
        self.assertEqual(differences(tables, files), [])
        self.assertEqual([table.name for table in tables], sorted(files["tables"]))

    def test_derived_rows_equal_the_handwritten_ones(self):
        written = expectations.written()
        self.assertEqual(expectations.derived({table for table, *_ in written["tables"][1:]}), written)


class RandomTables(unittest.TestCase):
    def test_every_field_type_occurs(self):
        rng = random.Random(1)
        found = {field_types.find(model.random_type(rng))[0].name for _ in range(2000)}
        self.assertEqual(found, set(field_types.NAMES))


if __name__ == "__main__":
    unittest.main()
