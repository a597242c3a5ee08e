# SPDX-License-Identifier: MIT
"""Meanings of field names, for the comments on the fields in the headers."""

import re
from pathlib import Path

from catalog import Diagnostics, Field, describe, is_comment, suggestion, read_toml


class Glossary:
    """A name without an entry is split into words."""

    def __init__(self, entries: dict):
        self.entries = entries

    def __getitem__(self, item: Field) -> str:
        if item.reserved:
            return "reserved"
        words = re.sub(r"([a-z0-9])([A-Z])", r"\1 \2", item.name).lower()
        return self.entries.get(item.name, words)


def load(root: Path, tables: list, errors: list) -> Glossary:
    path = root / "schema/glossary.toml"
    file = Diagnostics(str(path.relative_to(root)), errors)
    entries, lines = read_toml(path, file.report) or ({}, {})
    fields = {item.name for table in tables for item in table.fields if not item.reserved}
    for name, text in entries.items():
        if name not in fields:
            file.report(lines.get(name, 1), "name", describe(name),
                        "an unreserved field of a table" + suggestion(name, fields))
        elif not is_comment(text):
            file.report(lines.get(name, 1), f'name "{name}"', describe(text), "a few words in one line")
    return Glossary(entries)
