# SPDX-License-Identifier: MIT
"""Compares the debugger's facts with expectations that are independent of the generator."""

import re
import sys
import unittest

import expected_test

sys.path.insert(0, str(expected_test.ROOT / "generator"))
import debugger  # noqa: E402  # pylint: disable=wrong-import-position
import field_types  # noqa: E402  # pylint: disable=wrong-import-position

KINDS = {"-": "number", "2x1": "pair"}


def display(elements: str) -> str:
    return KINDS.get(elements, "array" if elements.startswith("2x") else "bytes")


def expected_facts(files: dict, table: str) -> dict:
    """The facts according to the files. A stored record is its fields without padding."""
    access, record_size, _, _, stored_size, *_ = files["tables"][table][0]
    fields, stored = [], 0
    addresses = dict(files["displays"][table])
    for _, name, offset, width, elements in files["fields"][table]:
        fields.append((name, addresses.get(name, display(elements)), int(width), int(offset), stored))
        stored += int(width)
    return {
        "record": "".join(word.capitalize() for word in table.split("_")),
        "record_size": int(record_size),
        "stored_size": int(stored_size) if access == "typed" else None,
        "fields": fields,
        "keys": [(key, *members.split(",")) for _, key, members, *_ in files["keys"][table]],
    }


class Debugger(unittest.TestCase):
    def test_facts(self):
        errors = []
        tables = expected_test.catalog.load(expected_test.ROOT, errors)
        self.assertEqual(errors, [])
        found = {}
        exec(debugger.facts(tables), found)  # pylint: disable=exec-used
        files = expected_test.expected()
        self.assertEqual(list(found["TABLES"]), sorted(files["tables"]))
        for table, facts in found["TABLES"].items():
            self.assertEqual(facts, expected_facts(files, table), table)


class Displays(unittest.TestCase):
    """Each display of generator/field_types.py has an enumerator, a printer and a test of its values."""

    def test_displays(self):
        wanted = {each.display for each in field_types.ALL}
        printers = (expected_test.ROOT / "src/debugger/printers.py").read_text(encoding="utf-8")
        body = re.search(r"^DISPLAYS = \{(.*?)^\}", printers, re.M | re.S)[1]
        self.assertEqual(set(re.findall(r'^    "(\w+)":', body, re.M)), wanted)
        header = (expected_test.ROOT / "src/records/table_functions.h").read_text(encoding="utf-8")
        body = re.search(r"enum class Display[^{]*\{(.*?)\};", header, re.S)[1]
        self.assertEqual(set(re.findall(r"^    (\w+),", body, re.M)), wanted)
        tests = (expected_test.ROOT / "tests/records/field_value_test.cpp").read_text(encoding="utf-8")
        self.assertEqual(set(re.findall(r"\bDisplay::(\w+)", tests)), wanted)

    def test_documented(self):
        guide = (expected_test.ROOT / "docs/adding-a-table.md").read_text(encoding="utf-8")
        for name in field_types.NAMES:
            self.assertIn(f"`{name}`", guide)


if __name__ == "__main__":
    unittest.main()
