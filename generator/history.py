# SPDX-License-Identifier: MIT
"""
Released schemas: schema/released/<version>.toml holds the schemas that a release added or changed.
Programs, stored records and readers depend on them permanently: fields and keys may be appended to a
table, and nothing else may change (docs/abi.md).
"""

import re
from dataclasses import dataclass
from pathlib import Path

from catalog import Diagnostics, Table, describe, read_toml

FOLDER = "schema/released"
VERSION = re.compile(r"(\d+)\.(\d+)\.(\d+)")


@dataclass
class Schema:
    version: int
    record_size: int
    fields: list  # of [id, offset, width, name]
    keys: list    # of [name, member, ...], the index is the place in the list

    def __post_init__(self):
        fields = all(isinstance(row, list) and [*map(type, row)] == [int, int, int, str] for row in self.fields)
        keys = all(isinstance(row, list) and len(row) > 1 and {*map(type, row)} == {str} for row in self.keys)
        if not (fields and keys and type(self.version) is type(self.record_size) is int):
            raise TypeError("a number or row of the wrong type")


@dataclass
class Release:
    name: str
    schemas: dict  # by table name; only those that differ from the previous release

    @property
    def number(self) -> tuple:
        return tuple(map(int, self.name.split(".")))


def schema_of(table: Table) -> Schema:
    return Schema(table.version, table.record_size,
                  [[item.id, item.offset, item.width, item.name] for item in table.fields],
                  [[key.name, *(item.name for item in key.members)] for key in table.keys])


def text_of(version: str, schemas: dict) -> str:
    def rows(values: list) -> str:
        return "".join("  [" + ", ".join(map(describe, row)) + "],\n" for row in values)

    return ("# SPDX-License-Identifier: MIT\n"
            f"# The schemas that l2vpn_db {version} added or changed. Written by ./dev release and not\n"
            "# changed afterwards. Fields: id, offset, width, name; keys: name, members.\n"
            + "".join(f"\n[{name}]\nversion = {schema.version}\nrecord_size = {schema.record_size}\n"
                      f"fields = [\n{rows(schema.fields)}]\nkeys = [\n{rows(schema.keys)}]\n"
                      for name, schema in schemas.items()))


def load(root: Path, errors: list) -> list:
    """The releases, oldest first."""
    releases = []
    for path in (root / FOLDER).glob("*.toml"):
        file = Diagnostics(str(path.relative_to(root)), errors)
        if not VERSION.fullmatch(path.stem):
            file.report(1, "file name", describe(path.name), "<major>.<minor>.<patch>.toml")
            continue
        entries, _ = read_toml(path, file.report) or ({}, {})
        try:
            releases.append(Release(path.stem, {name: Schema(**entry) for name, entry in entries.items()}))
        except TypeError as error:
            file.report(1, "file", error, "the output of ./dev release")
    return sorted(releases, key=lambda release: release.number)


def latest(releases: list) -> dict:
    """Each table's newest schema and the name of its release."""
    return {name: (schema, release.name) for release in releases for name, schema in release.schemas.items()}


def check(tables: list, releases: list, errors: list) -> None:
    by_name = {table.name: table for table in tables}
    broken = set()
    for release in releases:
        for name, schema in release.schemas.items():
            if name in broken:
                continue
            if name in by_name:
                found = Comparison(by_name[name], schema, release.name, errors).incompatible()
            else:
                found = True
                errors.append(f"schema/catalog/{name}.toml:1: table: found no file, expected one: programs "
                              f"built against l2vpn_db {release.name} read and describe its records")
            if found:
                broken.add(name)
    for name, (schema, release) in latest(releases).items():
        if name not in broken:
            Comparison(by_name[name], schema, release, errors).check_version()


class Comparison(Diagnostics):
    """A table of the catalog compared with a released schema of the same table."""

    def __init__(self, table: Table, old: Schema, release: str, errors: list):
        super().__init__(table.shown, errors)
        self.table, self.old, self.new = table, old, schema_of(table)
        self.users = f"programs built against l2vpn_db {release}"

    def report(self, line: int, what: str, found, expected: str) -> None:
        super().report(line, what, found, f'{expected} ("Changing a table" in docs/adding-a-table.md)')

    def incompatible(self) -> bool:
        """Whether something was changed or removed. Only the first difference is reported, as it causes later ones."""
        before = len(self.errors)
        self.check_fields()
        self.check_keys()
        return len(self.errors) > before

    def appended(self, what: str) -> list:
        return getattr(self.new, what)[len(getattr(self.old, what)):]

    def check_fields(self) -> None:
        for number, (at, offset, width, name) in enumerate(self.old.fields):
            row = self.new.fields[number] if number < len(self.new.fields) else None
            if row == [at, offset, width, name]:
                continue
            line = self.table.line("fields", number) if row else self.table.line("fields")
            if not row or row[3] != name:
                self.report(line, f"field row {number}", describe(row[3]) if row else "none",
                            f'"{name}" (id {at}, {width} bytes at {offset}; new fields go to the end): '
                            f"{self.users} use that field")
            elif row[0] != at:
                self.report(line, f'field "{name}", id', row[0], f"{at}: {self.users} name it by the old id")
            elif row[1] != offset:
                self.report(line, f'field "{name}", offset', row[1],
                            f"{offset}: {self.users} use it at the old offset")
            else:
                self.report(line, f'field "{name}", width', row[2],
                            f"{width}: {self.users} use it with the old width")
            return

    def check_keys(self) -> None:
        for index, (name, *members) in enumerate(self.old.keys):
            found, *found_members = self.new.keys[index] if index < len(self.new.keys) else [None]
            line = self.table.line("keys", index) if found else self.table.line("keys")
            if found != name:
                self.report(line, f"key row {index}", describe(found) if found else "none",
                            f'"{name}" (index {index}; new keys go to the end): {self.users} use that key')
            elif found_members != members:
                self.report(line, f'key "{name}", members', ", ".join(found_members),
                            f"{', '.join(members)}: {self.users} select records by the old members")
            else:
                continue
            return

    def check_version(self) -> None:
        appended = [f'field "{row[3]}"' for row in self.appended("fields")]
        appended += [f'key "{row[0]}"' for row in self.appended("keys")]
        expected = self.old.version + bool(appended)
        if self.table.version != expected:
            why = (f"take version {self.old.version} for a schema without {appended[0]}" if appended else
                   f"know this schema by version {self.old.version}")
            self.report(self.table.line("version"), "version", self.table.version,
                        f"{expected}: {self.users} {why}")


def record(tables: list, releases: list, root: Path, errors: list) -> None:
    """Records the schemas that the version in VERSION adds or changes."""
    path = root / "VERSION"
    file = Diagnostics(path.name, errors)
    try:
        version = path.read_text(encoding="utf-8").strip()
    except OSError as error:
        version = error.strerror
    if not VERSION.fullmatch(version):
        file.report(1, "version", describe(version), "<major>.<minor>.<patch>")
        return
    known = latest(releases)
    schemas = {table.name: schema_of(table) for table in tables
               if table.name not in known or schema_of(table) != known[table.name][0]}
    if not schemas:
        print("no schema differs from its released version")
        return
    new = Release(version, schemas)
    if releases and new.number <= releases[-1].number:
        file.report(1, "version", version, f"more than {releases[-1].name}, the latest release")
        return
    for table in tables:
        schema, release = known.get(table.name, (None, ""))
        if schema and len(table.fields) > len(schema.fields) and release.split(".")[0] == str(new.number[0]):
            grown = table.fields[len(schema.fields)]
            Diagnostics(table.shown, errors).report(
                grown.line, f'field "{grown.name}"', f"it in version {version}",
                f"it in version {new.number[0] + 1}.0.0: programs built against l2vpn_db {release} pass "
                f"records of {schema.record_size} bytes, without it; only a new SONAME rejects them")
    if not errors:
        path = root / FOLDER / f"{version}.toml"
        path.parent.mkdir(exist_ok=True)
        path.write_text(text_of(version, schemas), encoding="utf-8")
        print(f"wrote {path.relative_to(root)}: {len(schemas)} schemas")
