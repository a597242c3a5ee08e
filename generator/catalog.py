# SPDX-License-Identifier: MIT
"""
Reads and checks the catalog: one TOML file per table, redundant on purpose, so that a mistake in an
interface number is an error with a line and not a silent change of layout.
"""

import difflib
import json
import re
import tomllib
from dataclasses import dataclass, field
from pathlib import Path

import field_types
import names
import toml_lines
from field_types import FieldType
from operations import exported_functions

QUIRKS = ("no_null_tests", "svc_fields_split", "trailing_separator")
MAX_RECORD = 8192  # a limit for straight-line copies and records on the stack
SERVICE_FIELDS = ("svcStatus", "svcErrcode", "glbSvcCtx", "svcCtx")
RESERVED_NAME = re.compile(r"(resv|rsv|rev|res)\d*")
# C11 and C++20 keywords that look like field names in lower camel case.
KEYWORDS = frozenset(
    "alignas alignof and asm auto bitand bitor bool break case catch char class compl concept const "
    "consteval constexpr constinit continue decltype default delete do double else enum explicit "
    "export extern false float for friend goto if inline int long mutable namespace new noexcept "
    "not nullptr operator or private protected public register requires restrict return short "
    "signed sizeof static struct switch template this throw true try typedef typeid typename union "
    "unsigned using virtual void volatile while xor "
    # Lower-case names that GNU compilers and the C library define.
    "complex errno linux typeof unix".split()
)


@dataclass
class Field:
    id: int
    offset: int
    type: str
    name: str
    printed: bool
    line: int
    stored_offset: int
    shape: FieldType
    count: int  # the N of the type's name

    @property
    def width(self) -> int:
        return self.shape.unit * self.count

    @property
    def alignment(self) -> int:
        return self.shape.alignment

    @property
    def kind(self) -> str:
        return self.shape.kind

    @property
    def declaration(self) -> str:
        return self.shape.declaration.format(name=self.name, count=self.count) + ";"

    @property
    def ids(self) -> int:
        """Service arrays are declared as two elements and take two field ids."""
        return 2 if self.kind in ("pair", "context") else 1

    @property
    def reserved(self) -> bool:
        return RESERVED_NAME.fullmatch(self.name) is not None


@dataclass
class Key:
    name: str
    index: int
    members: list  # of Field, in key order
    line: int

    @property
    def infix(self) -> str:
        return names.infix(self.name, self.index)

    @property
    def length(self) -> int:
        return sum(member.width for member in self.members)

    @property
    def flags(self) -> int:
        return 9 if self.index else 1

    @property
    def word(self) -> int:
        return self.index << 24 | self.flags << 16 | self.length


@dataclass
class Table:
    name: str
    path: Path
    shown: str  # the path as messages show it
    about: str = field(init=False)
    version: int = field(init=False)
    typed: bool = field(init=False)
    record_size: int = field(init=False)
    stored_size: int = field(init=False)
    quirks: list = field(default_factory=list)
    fields: list = field(default_factory=list)
    keys: list = field(default_factory=list)
    lines: dict = field(default_factory=dict)  # of the catalog file's entries

    @property
    def camel(self) -> str:
        return names.camel(self.name)

    @property
    def short(self) -> str:
        return names.short(self.name)

    @property
    def key_buffer(self) -> int:
        """Length of the fast iterator's key buffer in the control block."""
        return align_up(self.keys[0].length, 8)

    @property
    def control_block_size(self) -> int:
        return 16 + self.key_buffer + 176

    @property
    def gaps(self) -> list:
        """Alignment bytes of the caller record, as (first, last)."""
        ends = [item.offset + item.width for item in self.fields]
        begins = [*(item.offset for item in self.fields[1:]), self.record_size]
        return [(end, begin - 1) for end, begin in zip(ends, begins) if begin > end]

    @property
    def schema_hash(self) -> int:
        """The value that l2vpn_schema_hash (l2vpn_db.h) returns for the table's schema descriptor."""
        def text(word: str) -> bytes:
            return word.encode("ascii") + b"\0"

        def word(value: int) -> bytes:
            return value.to_bytes(8, "little")

        data = text(self.name) + word(self.record_size << 32 | len(self.keys) << 16 | len(self.fields))
        for item in self.fields:
            data += text(item.name) + word(item.offset << 32 | item.width << 16 | item.id)
        for key in self.keys:
            data += text(key.name) + word(key.index) + word(len(key.members))
            data += b"".join(text(item.name) for item in key.members)
        value = 0xCBF29CE484222325
        for byte in data:
            value = (value ^ byte) * 0x100000001B3 % 2**64
        return value

    def field_named(self, name: str):
        return next((item for item in self.fields if item.name == name), None)

    def line(self, *where) -> int:
        """Of an entry, or of row i of an entry's list."""
        return self.lines.get(where if len(where) > 1 else where[0], 1)


def align_up(value: int, alignment: int) -> int:
    return -(-value // alignment) * alignment


def describe(value) -> str:
    """A value approximately as the catalog's author wrote it."""
    if isinstance(value, bool):
        return str(value).lower()
    return json.dumps(value, ensure_ascii=False) if isinstance(value, str) else str(value)


def similar(word: str, known) -> str | None:
    return next(iter(difflib.get_close_matches(word, known, cutoff=0.5)), None)


def suggestion(word: str, known) -> str:
    close = similar(word, known)
    return f'; did you mean "{close}"?' if close else ""


def is_integer(value) -> bool:
    return isinstance(value, int) and not isinstance(value, bool)


def is_comment(text) -> bool:
    """Whether it is one line that may appear in a C comment."""
    return isinstance(text, str) and text.strip() != "" and text.isprintable() \
        and "/*" not in text and "*/" not in text


def read_toml(path: Path, report):
    """The entries of a TOML file and their lines, or None, with a diagnostic, if it is invalid."""
    try:
        text = path.read_bytes().decode("utf-8").replace("\r\n", "\n")
        return tomllib.loads(text), toml_lines.locate(text)
    except OSError as error:
        report(1, "file", describe(error.strerror), "a file that can be read")
    except UnicodeDecodeError as error:
        report(1, "encoding", str(error), "UTF-8")
    except tomllib.TOMLDecodeError as error:
        place = re.search(r" \(at line (\d+), column \d+\)$", str(error))
        report(int(place[1]) if place else text.count("\n") + 1, "syntax", error, "valid TOML")
    return None


class Diagnostics:
    """Collects the errors of one file."""

    def __init__(self, shown: str, errors: list):
        self.shown, self.errors = shown, errors

    def report(self, line: int, what: str, found, expected: str) -> None:
        self.errors.append(f"{self.shown}:{line}: {what}: found {found}, expected {expected}")


class Reader(Diagnostics):
    """Reads one catalog file."""

    ENTRIES = ("about", "version", "access", "record_size", "stored_size", "quirks", "fields", "keys")

    def __init__(self, path: Path, root: Path, errors: list):
        super().__init__(str(path.relative_to(root)), errors)
        self.table = Table(path.stem, path, self.shown)
        self.line = self.table.line
        # Whether every row of "fields" could be read; errors that follow from an invalid row are not reported.
        self.fields_known = False
        self.ends = []  # where the last field may end

    def read(self) -> Table:
        if document := read_toml(self.table.path, self.report):
            entries, self.table.lines = document
            self.check(entries)
        return self.table

    def check(self, entries: dict) -> None:
        table = self.table
        if not re.fullmatch(r"l2vpn(_[a-z0-9]+)+", table.name):
            self.report(1, "table name", describe(table.name),
                        'a file named l2vpn_<words in lower snake case>.toml')
        elif table.name.split("_")[1] in ("db", "dal", "ast"):
            # L2vpnDb..., L2vpnDal... and L2vpnAst... are the shared header's, and so is its file.
            self.report(1, "table name", describe(table.name),
                        "a name that does not begin with l2vpn_db, l2vpn_dal or l2vpn_ast")
        self.check_entries(entries)
        self.read_fields(entries.get("fields"))
        self.read_keys(entries.get("keys"))
        self.read_quirks(entries.get("quirks", []))
        self.check_sizes(entries)

    def check_entries(self, entries: dict) -> None:
        table = self.table
        access = entries.get("access")
        # If access is invalid, the other entries decide, so that only access is reported.
        table.typed = access == "typed" or access != "format" and "stored_size" in entries
        for name in entries:
            if name not in self.ENTRIES:
                self.report(self.line(name), "unknown entry", describe(name),
                            "one of " + ", ".join(self.ENTRIES) + suggestion(name, self.ENTRIES))
        wanted = ["about", "access", "record_size", "fields", "keys"]
        if table.typed:
            wanted.append("stored_size")
        elif "stored_size" in entries:
            self.report(self.line("stored_size"), "stored_size", "a stored size",
                        'none in a table without access = "typed"')
        misspelt = {similar(name, self.ENTRIES) for name in entries if name not in self.ENTRIES}
        for name in wanted:
            if name not in entries and name not in misspelt:
                self.report(1, f"entry {name}", "none", f"an entry {name} = ...")
        if "access" in entries and access not in ("typed", "format"):
            self.report(self.line("access"), "access", describe(access), '"typed" or "format"')
        version = entries.get("version", 1)
        if not is_integer(version) or not 0 < version < 0x10000:
            self.report(self.line("version"), "version", describe(version), "a number from 1 to 65535")
        else:
            table.version = version
        about = entries.get("about", "-")
        if not is_comment(about):
            self.report(self.line("about"), "about", describe(about), "one line that describes the table")
        else:
            table.about = about.strip()

    def check_sizes(self, entries: dict) -> None:
        table = self.table
        if not self.fields_known:
            return
        alignment = max(item.alignment for item in table.fields)
        sizes = {
            "record_size": [align_up(end, alignment) for end in self.ends],
            "stored_size": [sum(item.width for item in table.fields)],
        }
        (table.record_size, *_), (table.stored_size,) = sizes.values()
        for name, readings in sizes.items():
            found = entries.get(name, readings[0])
            if not is_integer(found) or found not in readings:
                self.report(self.line(name), name, describe(found), str(readings[0]))

    def read_fields(self, rows) -> None:
        if rows is None:
            return
        if not isinstance(rows, list) or not rows:
            self.report(self.line("fields"), "fields", describe(rows), "a list with one row per field")
            return
        # Values allowed in the next row. After a wrong number, two readings are allowed: only that
        # number is wrong, or all later ones are shifted. So one mistake causes one message.
        next_ids, ends, stored = [0], [0], 0
        seen, self.fields_known = {}, True
        for number, row in enumerate(rows):
            line = self.line("fields", number)
            if (not isinstance(row, list) or len(row) not in (4, 5)
                    or not is_integer(row[0]) or not is_integer(row[1])
                    or not isinstance(row[2], str) or not isinstance(row[3], str)):
                self.report(line, f"field row {number}", describe(row),
                            '[id, offset, "type", "name"] or [id, offset, "type", "name", "print"]')
                next_ids, ends, self.fields_known = [], [], False
                continue
            field_id, _, type_name, name = row[:4]
            what = f'field "{name}"'
            self.check_field_name(name, line, what, seen)
            if field_id not in (next_ids or [field_id]):
                self.report(line, f"{what}, id", field_id,
                            f"{next_ids[0]} (ids count up from 0; a service array takes two)")
            shape = field_types.find(type_name)
            if shape is None:
                self.report(line, f"{what}, type", describe(type_name), f"one of {field_types.described()}"
                            + suggestion(type_name, field_types.NAMES))
                next_ids, ends, self.fields_known = [field_id + 1, field_id + 2], [], False
                continue
            item = Field(*row[:4], len(row) == 5, line, stored, *shape)
            self.table.fields.append(item)
            offsets = [align_up(end, item.alignment) for end in ends] or [item.offset]
            if item.offset not in offsets:
                self.report(line, f"{what}, offset", item.offset, str(offsets[0]))
            if item.printed and row[4] != "print":
                self.report(line, what, describe(row[4]), '"print" or nothing after the name')
            else:
                self.check_printable(item, what)
            next_ids = self.readings(item.id, next_ids, item.ids)
            ends = self.readings(item.offset, offsets, item.width)
            stored += item.width
            if offsets[0] <= MAX_RECORD < ends[0]:
                self.report(line, what, f"an end at {ends[0]}", f"records of at most {MAX_RECORD} bytes")
        self.ends = ends
        if self.fields_known and not any(item.printed for item in self.table.fields):
            self.report(self.line("fields"), "fields", "none to be printed", 'at least one with "print"')
        batch = self.table.field_named("batchVersion")
        if batch and self.table.typed and batch.type != "u32":
            self.report(batch.line, 'field "batchVersion", type', describe(batch.type), '"u32"')

    @staticmethod
    def readings(found: int, expected: list, step: int) -> list:
        """Values allowed after a row: the successors of its expected and, if it differs, its actual value."""
        return [found + step] if found in (expected or [found]) else [expected[0] + step, found + step]

    def check_field_name(self, name: str, line: int, what: str, seen: dict) -> None:
        if not re.fullmatch(r"[a-z][A-Za-z0-9]*", name):
            self.report(line, what, describe(name), "a name in lower camel case")
        elif name in KEYWORDS:
            self.report(line, what, "a C or C++ keyword", "a name that a structure member can have")
        elif name in seen:
            self.report(line, what, f"a second field with that name (first in line {seen[name]})", "each field once")
        seen.setdefault(name, line)

    def check_printable(self, item: Field, what: str) -> None:
        if not item.printed:
            return
        if item.reserved:
            self.report(item.line, what, "a printed reserved field", 'no "print"')
        elif item.type == "u64":
            self.report(item.line, what, "a printed field of 8 bytes",
                        'no "print": integers of 1, 2 and 4 bytes can be printed')
        elif item.kind in ("context", "bytes") and item.width % 4:
            self.report(item.line, what, f"a printed field of {item.width} bytes",
                        'no "print", or a width that is a multiple of 4 (it prints as 32-bit words)')

    def read_keys(self, rows) -> None:
        if rows is None:
            return
        if not isinstance(rows, list) or not 0 < len(rows) <= 256:
            self.report(self.line("keys"), "keys", describe(rows), "a list with 1 to 256 rows, one per key")
            return
        lines, infixes = {}, {}
        by_name = {item.name: item for item in reversed(self.table.fields)}
        for index, row in enumerate(rows):
            line = self.line("keys", index)
            if (not isinstance(row, list) or len(row) < 2
                    or not all(isinstance(word, str) for word in row)):
                self.report(line, f"key row {index}", describe(row), '["name", "member", ...]')
                continue
            what = f'key "{row[0]}"'
            members = []
            for name in row[1:]:
                member = by_name.get(name)
                if member is None and not self.fields_known:
                    continue
                if member is None:
                    self.report(line, f"{what}, member", describe(name),
                                "a field of the table" + suggestion(name, by_name))
                elif member in members:
                    self.report(line, f"{what}, member", f'"{name}" twice', "each member once")
                elif member.ids == 2:
                    self.report(line, f"{what}, member", f'"{name}", a service array',
                                "an integer, a MAC address or opaque bytes")
                else:
                    members.append(member)
            key = Key(row[0], index, members, line)
            self.check_key_name(key, what, lines, infixes)
            self.table.keys.append(key)

    def check_key_name(self, key: Key, what: str, lines: dict, infixes: dict) -> None:
        if not re.fullmatch(r"[A-Za-z][A-Za-z0-9]*(_[A-Za-z0-9]+)*", key.name):
            self.report(key.line, what, describe(key.name), "words joined by underscores")
        elif key.name in lines:
            self.report(key.line, what, f"a second key of that name (first in line {lines[key.name]})",
                        "each key once")
        elif not key.infix:
            self.report(key.line, what, "no word besides key", "a name that functions can be named after")
        elif key.infix in infixes:
            self.report(key.line, what, f'the function infix "{key.infix}" of key "{infixes[key.infix]}"',
                        "a unique infix")
        elif key.infix == "FastPri":
            self.report(key.line, what, 'the function infix "FastPri" of the fast primary iterator',
                        "a unique infix")
        lines.setdefault(key.name, key.line)
        infixes.setdefault(key.infix, key.name)

    def read_quirks(self, quirks) -> None:
        line = self.line("quirks")
        if not isinstance(quirks, list) or not all(isinstance(quirk, str) for quirk in quirks):
            self.report(line, "quirks", describe(quirks), "a list of names")
            return
        for number, quirk in enumerate(quirks):
            if quirk not in QUIRKS:
                self.report(line, "quirk", describe(quirk),
                            "one of " + ", ".join(QUIRKS) + suggestion(quirk, QUIRKS))
            elif quirk in quirks[:number]:
                self.report(line, "quirk", f'"{quirk}" twice', "each quirk once")
            elif quirk != "trailing_separator" and not self.table.typed:
                self.report(line, "quirk", describe(quirk), 'it only in tables with access = "typed"')
        if "svc_fields_split" in quirks and self.table.typed and self.fields_known and not any(
                self.table.field_named(name) for name in SERVICE_FIELDS):
            self.report(line, "quirk", '"svc_fields_split" without service fields',
                        "at least one of " + ", ".join(SERVICE_FIELDS))
        self.table.quirks = quirks


def exported_objects(table: Table) -> list:
    return [f"g_l2vpn{table.camel}Intf", f"g_l2vpn{table.camel}GlbCb"] if table.typed else []


def header_names(table: Table) -> list:
    """Types and constants that a table's header declares."""
    macro = table.name.upper()
    types = [table.camel] + ([f"{table.camel}GlbCb"] if table.typed else [])
    return types + [f"{macro}_SCHEMA_VERSION", f"{macro}_SCHEMA_HASH"] + [
        f"{macro}_FIELD_{item.name}" for item in table.fields] + [
        f"{macro}_KEY_{key.name}" for key in table.keys]


def check_exports(tables: list, errors: list) -> None:
    """Rejects tables that share a C name, such as two whose names differ only in underscores."""
    owners = {}
    for table in tables:
        for name in (*header_names(table), *exported_functions(table), *exported_objects(table)):
            owner = owners.setdefault(name, table)
            if owner is not table:
                errors.append(f"{table.shown}:1: table name: found {name}, also defined by "
                              f"{owner.shown}, expected unique names")
                break


def load(root: Path, errors: list) -> list:
    """All tables in alphabetical order."""
    folder = root / "schema/catalog"
    paths = sorted(folder.glob("*.toml"), key=lambda path: path.stem)
    if not paths:
        errors.append(f"{folder}: found no catalog files, expected one l2vpn_<table>.toml per table")
    tables = [Reader(path, root, errors).read() for path in paths]
    if not errors:
        check_exports(tables, errors)
    return tables
