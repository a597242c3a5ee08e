# SPDX-License-Identifier: MIT
"""Property test: injects one fault into a random catalog. The generator must reject it with one
diagnostic that names the file and the line, and write nothing. It must accept the valid catalogs.
"""

import argparse
import contextlib
import importlib.util
import io
import random
import re
import sys
import tempfile
import traceback
from pathlib import Path

import tables as model
from tables import Catalog, Field, quoted

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "generator"))
spec = importlib.util.spec_from_file_location("generator", ROOT / "generator/__main__.py")
generator = importlib.util.module_from_spec(spec)
spec.loader.exec_module(generator)


class NotApplicable(Exception):
    """The fault cannot be injected into this table."""


class Fault:
    """A table's catalog file, into which a fault is injected, and the expected diagnostic."""

    def __init__(self, rng: random.Random, table: model.Table):
        self.rng, self.table, self.name = rng, table, table.name
        self.catalog = Catalog(table)
        self.entries = self.catalog.entries
        self.others = {}  # further catalog files: name to text
        self.glossary = ""
        self.place = 1  # of the diagnostic: an entry, (entry, row), or a line
        self.several = False  # whether any number of diagnostics, in any places, is expected
        self.file = None  # of the diagnostic, if not the table's
        self.words = ()  # of the diagnostic
        self.rewrite = lambda text, lines: text  # injects a fault into the file's text

    def at(self, place, *words) -> None:
        self.place, self.words = place, words

    def choose(self, values):
        values = list(values)
        if not values:
            raise NotApplicable
        return self.rng.choice(values)

    def row(self, usable=lambda field: True) -> tuple:
        """The index, field and row of a random field."""
        at, field = self.choose((at, field) for at, field in enumerate(self.table.fields) if usable(field))
        return at, field, self.entries["fields"][at]

    def key(self, first: int = 0) -> tuple:
        at = self.choose(range(first, len(self.table.keys)))
        return at, self.table.keys[at], self.entries["keys"][at]

    def rename(self, old: str, new: str) -> None:
        """Renames a field everywhere."""
        for row in self.entries["fields"]:
            row[3] = quoted(new) if row[3] == quoted(old) else row[3]
        for row in self.entries["keys"]:
            row[1:] = [quoted(new) if word == quoted(old) else word for word in row[1:]]

    def relayout(self, change) -> None:
        """Changes the table's fields and recomputes all numbers."""
        change(self.table.fields)
        keys = [(key.name, [self.table.fields.index(member) for member in key.members]) for key in self.table.keys]
        self.table = model.Table(self.name, self.table.typed, self.table.fields, keys, self.table.quirks,
                                 self.table.version, self.table.about)
        self.catalog = Catalog(self.table)
        self.entries = self.catalog.entries

    def retype(self, at: int, type_name: str) -> Field:
        """Changes a field's type."""
        old = self.table.fields[at]
        new = Field(old.name, type_name, old.printed)
        for key in self.table.keys:
            key.members = [new if member is old else member for member in key.members]

        def change(fields):
            fields[at] = new
        self.relayout(change)
        return self.table.fields[at]


def is_free(fault: Fault):
    """A predicate: whether nothing else refers to the field."""
    used = fault.table.key_fields() | {*model.SERVICE, "batchVersion"}
    return lambda field: field.name not in used


# ---- Fields --------------------------------------------------------------------------------------

def wrong_id(fault):
    at, field, row = fault.row()
    wrong = fault.choose((field.id + 1, field.id - 1, field.id + 2, field.id + 10, 10 * field.id + 7))
    row[0] = str(wrong)
    fault.at(("fields", at), f'field "{field.name}", id: found {wrong}, expected {field.id} ')


def ids_shifted(fault):
    at, field, _ = fault.row()
    by = fault.choose((-1, 1, 2, 5))
    for other, row in zip(fault.table.fields[at:], fault.entries["fields"][at:]):
        row[0] = str(other.id + by)
    fault.at(("fields", at), f'field "{field.name}", id: found {field.id + by}, expected {field.id} ')


def wrong_offset(fault):
    at, field, row = fault.row()
    wrong = fault.choose((field.offset + 1, field.offset + 4, field.offset - 4, field.offset * 10 + 1, 70000))
    row[1] = str(wrong)
    fault.at(("fields", at), f'field "{field.name}", offset: found {wrong}, expected {field.offset}')


def offsets_shifted(fault):
    """Shifts the record size, too, as an author would."""
    at, field, _ = fault.row()
    for other, row in zip(fault.table.fields[at:], fault.entries["fields"][at:]):
        row[1] = str(other.offset + 8)
    fault.entries["record_size"] = str(fault.table.record_size + 8)
    fault.at(("fields", at), f'field "{field.name}", offset: found {field.offset + 8}, expected {field.offset}')


def unknown_type(fault):
    at, field, row = fault.row()
    wrong = fault.choose(("u12", "U32", "u128", "int", "2x0", "2x1", "2x", "2x02", "3x4", "2X4", "bytes",
                           "bytes0", "bytes1", "bytes4", "bytes8", "bytes03", "bytes-3", "macs", "Mac",
                           "pairs", "", " u8", "u8 ", "bytes3\\n"))
    row[2] = f'"{wrong}"'
    fault.at(("fields", at), f'field "{field.name}", type: found "{wrong}", expected one of u8, ')


def wrong_type(fault):
    """A valid type: the numbers do not match it, possibly in several places."""
    at, field, row = fault.row()
    wrong = fault.choose(("u8", "u16", "u32", "u64", "pair", "mac", "2x9", "bytes11"))
    if not fault.table.typed or Field("x", wrong).width == field.width:
        raise NotApplicable
    row[2] = quoted(wrong)
    fault.several = True


def malformed_row(fault):
    at, field, row = fault.row()
    whole = [str(field.id), str(field.offset), quoted(field.type), quoted(field.name)]
    fault.entries["fields"][at] = fault.choose((
        whole[:3], [], [*whole, quoted("print"), quoted("print")], ["true", *whole[1:]], [whole[0], "1.5", *whole[2:]],
        [quoted("1"), *whole[1:]], [*whole[:2], "32", whole[3]], [*whole[:3], "7"], whole[1:] + whole[:1], "7",
        quoted("row"), "{id = 1}", ["[" + ", ".join(whole) + "]"]))
    fault.at(("fields", at), f"field row {at}: found ", 'expected [id, offset, "type", "name"] or ')


def wrong_last_word(fault):
    at, field, row = fault.row()
    wrong = fault.choose(('"prnt"', '"Print"', '""', "1", "true", "[]"))
    row[4:] = [wrong]
    fault.at(("fields", at), f'field "{field.name}": found {wrong}, expected "print" or nothing after the name')


def invalid_field_name(fault):
    at, field, _ = fault.row(lambda field: field.name not in (*model.SERVICE, "batchVersion"))
    wrong = fault.choose((field.name.capitalize(), field.name + "_x", "_" + field.name, "9" + field.name, "",
                           field.name + " ", field.name[0] + "-" + field.name[1:], "größe"))
    fault.rename(field.name, wrong)
    fault.at(("fields", at), f'field "{wrong}": found "{wrong}", expected a name in lower camel case')


def reserved_word_as_field_name(fault):
    at, field, _ = fault.row(lambda field: field.name not in (*model.SERVICE, "batchVersion"))
    wrong = fault.choose(("default", "int", "class", "register", "not", "and", "this", "typeof", "unix", "linux",
                           "alignas", "constexpr", "concept", "requires", "true", "asm", "errno"))
    fault.rename(field.name, wrong)
    fault.at(("fields", at), f'field "{wrong}": found a C or C++ keyword')


def field_name_twice(fault):
    first, earlier, _ = fault.row(lambda field: not field.reserved)
    at, _, row = fault.choose((at, field, row) for at, (field, row) in enumerate(
        zip(fault.table.fields, fault.entries["fields"])) if at > first and is_free(fault)(field))
    row[3] = quoted(earlier.name)
    fault.at(("fields", at), f'field "{earlier.name}": found a second field with that name (first in line ')


def unprintable_field_printed(fault):
    at, field, row = fault.row(lambda field: not field.printable)
    row[4:] = [quoted("print")]
    fault.at(("fields", at), f'field "{field.name}": found a printed ', 'expected no "print"')


def nothing_printed(fault):
    for row in fault.entries["fields"]:
        del row[4:]
    fault.at("fields", "fields: found none to be printed, expected at least one")


def wrong_batch_version_type(fault):
    if not fault.table.typed:
        raise NotApplicable
    at, _, _ = fault.row(lambda field: field.name == "batchVersion")
    wrong = fault.choose(("u8", "u16", "mac", "bytes12"))
    fault.retype(at, wrong)
    fault.at(("fields", at), f'field "batchVersion", type: found "{wrong}", expected "u32"')


def record_too_long(fault):
    at, field, _ = fault.row(lambda field: is_free(fault)(field) and not field.printed)
    fault.retype(at, fault.choose(("2x4097", "bytes8193", "2x32768", "2x100000", "bytes65536", "bytes1000000")))
    fault.at(("fields", at), f'field "{field.name}": found an end at ', "expected records of at most 8192 bytes")


def fields_not_a_list(fault):
    wrong = fault.choose(("7", '"u32"', "[]", "true", "{}"))
    fault.entries["fields"] = wrong
    fault.at("fields", "fields: found ", "expected a list with one row per field")


# ---- Keys ----------------------------------------------------------------------------------------

def unknown_member(fault):
    at, key, row = fault.key()
    number = fault.choose(range(1, len(row)))
    wrong = fault.choose((key.members[number - 1].name + "y", "frobnicator", "", "VrIndex"))
    if fault.table.field(wrong):
        raise NotApplicable
    row[number] = quoted(wrong)
    fault.at(("keys", at), f'key "{key.name}", member: found "{wrong}", expected a field of the table')


def misspelt_member(fault):
    at, key, row = fault.key()
    number = fault.choose(range(1, len(row)))
    name = key.members[number - 1].name
    if len(name) < 6 or fault.table.field(name[:-1]):
        raise NotApplicable
    row[number] = quoted(name[:-1])
    fault.at(("keys", at), f'key "{key.name}", member: found "{name[:-1]}"', "; did you mean ")


def array_as_member(fault):
    at, key, row = fault.key()
    _, field, _ = fault.row(lambda field: field.array)
    row.insert(fault.choose(range(1, len(row) + 1)), quoted(field.name))
    fault.at(("keys", at), f'key "{key.name}", member: found "{field.name}", a service array, expected an integer')


def member_twice(fault):
    at, key, row = fault.key()
    again = fault.choose(row[1:])
    row.insert(fault.choose(range(1, len(row) + 1)), again)
    fault.at(("keys", at), f'key "{key.name}", member: found {again} twice, expected each member once')


def invalid_key_name(fault):
    at, key, row = fault.key()
    wrong = fault.choose(("a key", "9lives", "a__b", "_a", "a_", "", "a-b", "schlüssel"))
    row[0] = quoted(wrong)
    fault.at(("keys", at), f'key "{wrong}": found "{wrong}", expected words joined by underscores')


def duplicate_key_infix(fault):
    at, key, row = fault.key(2)
    other = fault.table.keys[fault.choose(range(1, at))].name
    wrong = fault.choose((other.upper(), other.capitalize(), other.removesuffix("_key"), other + "_key"))
    if model.infix(1, wrong) != model.infix(1, other) or wrong in ("key", *(key.name for key in fault.table.keys)):
        raise NotApplicable
    row[0] = quoted(wrong)
    fault.at(("keys", at), f'key "{wrong}": found the function infix ', "expected a unique infix")


def key_infix_of_a_function(fault):
    at, _, row = fault.key(1)
    wrong = fault.choose(("primary", "Primary_key", "primary_key", "fast_pri", "fast_pri_key", "FAST_PRI"))
    if wrong == fault.table.keys[0].name:
        raise NotApplicable
    row[0] = quoted(wrong)
    fault.at(("keys", at), f'key "{wrong}": found the function infix ', "expected a unique infix")


def key_name_of_the_primary_key(fault):
    at, _, row = fault.key(1)
    name = fault.table.keys[0].name
    if name in ("primary_key", "primary", "key") or model.infix(1, name) in {key.infix for key in fault.table.keys}:
        raise NotApplicable
    row[0] = quoted(name)
    fault.at(("keys", at), f'key "{name}": found a second key of that name', "expected each key once")


def key_named_key(fault):
    at, _, row = fault.key(1)
    row[0] = quoted("key")
    if "key" == fault.table.keys[0].name:
        raise NotApplicable
    fault.at(("keys", at), 'key "key": found no word besides key, expected a name that functions can be named after')


def malformed_key_row(fault):
    at, key, row = fault.key()
    fault.entries["keys"][at] = fault.choose(([quoted(key.name)], [], [*row, "7"], ["1", *row[1:]], quoted(key.name),
                                                "12", "true", [row[0], "[" + ", ".join(row[1:]) + "]"]))
    fault.at(("keys", at), f"key row {at}: found ", 'expected ["name", "member", ...]')


def keys_not_a_list(fault):
    fault.entries["keys"] = fault.choose(("7", '"vrIndex"', "[]", "false", "{}"))
    fault.at("keys", "keys: found ", "expected a list with 1 to 256 rows, one per key")


def too_many_keys(fault):
    member = fault.table.keys[0].members[0].name
    fault.entries["keys"] = [[quoted(f"k{number}x"), quoted(member)] for number in range(257)]
    fault.at("keys", "keys: found ", "expected a list with 1 to 256 rows, one per key")


# ---- Other entries -------------------------------------------------------------------------------

REQUIRED = ("about", "access", "record_size", "stored_size", "fields", "keys")


def entry_missing(fault):
    name = fault.choose(name for name in REQUIRED if name in fault.entries)
    if name == "access" and "stored_size" not in fault.entries and "quirks" in fault.entries:
        raise NotApplicable
    del fault.entries[name]
    fault.at(1, f"entry {name}: found none, expected an entry {name} = ...")


def unknown_entry(fault):
    wrong = fault.choose(("colour", "x", "id", "key_count", "sections", "9"))
    fault.entries[wrong] = fault.choose(("1", '"typed"', "[1, 2]"))
    fault.at(wrong, f'unknown entry: found "{wrong}", expected one of about, version, ')


def misspelt_entry(fault):
    name = fault.choose(fault.entries)
    wrong = fault.choose((name[:-1], name + "s", name.capitalize(), name[0] + name))
    if wrong in fault.entries:
        raise NotApplicable
    fault.entries = fault.catalog.entries = {wrong if key == name else key: value
                                               for key, value in fault.entries.items()}
    fault.at(wrong, f'unknown entry: found "{wrong}", ', f'; did you mean "{name}"?')


def wrong_access(fault):
    wrong = fault.choose(('"typd"', '"Typed"', '""', "1", "true", '["typed"]', '"formatted"'))
    fault.entries["access"] = wrong
    fault.at("access", f"access: found ", 'expected "typed" or "format"')


def typed_entries_without_typed_access(fault):
    """A table keeps entries that require typed access."""
    if not fault.table.typed or {*fault.table.quirks} - {"trailing_separator"}:
        raise NotApplicable
    fault.entries["access"] = quoted("format")
    fault.at("stored_size", "stored_size: found a stored size, expected none in a table without access")


def typed_access_without_stored_size(fault):
    batch = fault.table.field("batchVersion")
    if fault.table.typed or batch and batch.type != "u32":
        raise NotApplicable
    fault.entries["access"] = quoted("typed")
    fault.at(1, "entry stored_size: found none")


def wrong_size(fault):
    name = fault.choose(name for name in ("record_size", "stored_size") if name in fault.entries)
    right = int(fault.entries[name])
    wrong = fault.choose((str(right + 1), str(right - 1), str(-right), str(right * 10), f"{right}.0", f'"{right}"',
                           "true" if right != 1 else "false", "[]"))
    fault.entries[name] = wrong
    fault.at(name, f"{name}: found ", f"expected {right}")


def wrong_version(fault):
    fault.entries["version"] = fault.choose(("0", "-1", "65536", "1.0", "true", '"1"', "[1]"))
    fault.at("version", "version: found ", "expected a number from 1 to 65535")


def wrong_about(fault):
    fault.entries["about"] = fault.choose(('""', '"  "', '"a */ b"', '"a /* b"', '"two\\nlines"', '"""x\ny"""', "7",
                                             '["x"]', '"\\u0007"', '"tab\\t"', '"\\u202e"'))
    fault.at("about", "about: found ", "expected one line that describes the table")


def stored_size_without_typed_access(fault):
    if fault.table.typed:
        raise NotApplicable
    fault.entries["stored_size"] = str(fault.table.stored_size)
    fault.at("stored_size", "stored_size: found a stored size, expected none in a table without access")


def unknown_quirk(fault):
    wrong = fault.choose(("frob", "no_null_test", "trailing_seperator", "Svc_fields_split", ""))
    fault.entries["quirks"] = [*fault.entries.get("quirks", []), quoted(wrong)]
    fault.at("quirks", f'quirk: found "{wrong}", expected one of no_null_tests, svc_fields_split, trailing_separator')


def quirk_twice(fault):
    quirk = fault.choose(fault.table.quirks)
    fault.entries["quirks"].insert(fault.rng.randint(0, len(fault.table.quirks)), quoted(quirk))
    fault.at("quirks", f'quirk: found "{quirk}" twice, expected each quirk once')


def quirks_not_a_list(fault):
    fault.entries["quirks"] = fault.choose(('"trailing_separator"', "7", '["trailing_separator", 7]', "{}", "[[]]"))
    fault.at("quirks", "quirks: found ", "expected a list of names")


def quirk_without_typed_access(fault):
    if fault.table.typed:
        raise NotApplicable
    quirk = fault.choose(("no_null_tests", "svc_fields_split"))
    fault.entries["quirks"] = [*fault.entries.get("quirks", []), quoted(quirk)]
    fault.at("quirks", f'quirk: found "{quirk}", expected it only in tables with access = "typed"')


def split_without_service_fields(fault):
    if not fault.table.typed or any(field.name in model.SERVICE for field in fault.table.fields):
        raise NotApplicable
    fault.entries["quirks"] = [*fault.entries.get("quirks", []), quoted("svc_fields_split")]
    fault.at("quirks", 'quirk: found "svc_fields_split" without service fields, expected at least one of svcStatus, ')


# ---- TOML ----------------------------------------------------------------------------------------

def invalid_toml_line(fault):
    wrong = fault.choose(("<<<", "= 7", "about", "x = ", "x = 'open", 'x = "\\q"', "x = 012", "x = [1 2]", "x 1",
                           "x = 1 y = 2", 'x = "bell \x07"', "x = nope", "]", "[unclosed"))
    entry = fault.choose(fault.entries)

    def rewrite(text, lines):
        line = lines[entry]
        at = 0
        for _ in range(line - 1):
            at = text.index("\n", at) + 1
        fault.place = line
        return text[:at] + wrong + "\n" + text[at:]
    fault.rewrite = rewrite
    fault.words = ("syntax: found ", "expected valid TOML")


def entry_twice(fault):
    name, value = fault.choose((name, value) for name, value in fault.entries.items() if isinstance(value, str))

    def rewrite(text, lines):
        end = "" if text.endswith("\n") else "\n"
        fault.place = (text + end).count("\n") + 1
        return text + end + f"{name} = {value}\n"
    fault.rewrite = rewrite
    fault.words = ("syntax: found ", "expected valid TOML")


def missing_comma(fault):
    list_name = fault.choose(("fields", "keys"))
    at = fault.choose(range(len(fault.entries[list_name])))
    row = fault.entries[list_name][at]
    last = len(row) - 1
    row[last - 1:] = [f"{row[last - 1]} {row[last]}"]
    # The parser stops at the second of the two values.
    values = row[last - 1]
    row[last - 1] = "@@@"

    def rewrite(text, _):
        fault.place = text[:text.index("@@@")].count("\n") + 1
        return text.replace("@@@", values, 1)
    fault.rewrite = rewrite
    fault.words = ("syntax: found ", "expected valid TOML")


def truncated_file(fault):
    """The file ends within a list."""
    list_name = fault.choose(("fields", "keys"))
    at = fault.choose(range(len(fault.entries[list_name])))
    row = fault.entries[list_name][at]
    row[-1] = row[-1] + "@@@"

    def rewrite(text, _):
        text = text[:text.index("@@@")]
        fault.place = text.count("\n") + 1
        return text
    fault.rewrite = rewrite
    fault.words = ("syntax: found ", "expected valid TOML")


def invalid_utf8(fault):
    def rewrite(text, _):
        return text.encode("utf-8") + fault.choose((b"# \xff\n", b"\xc3\x28\n", b"x = '\xe4'\n"))
    fault.rewrite = rewrite
    fault.at(1, "encoding: found ", "expected UTF-8")


# ---- Files ---------------------------------------------------------------------------------------

def file_name(fault):
    fault.name = fault.choose(("vpls_x", "l2vpn", "l2vpn_", "L2vpn_x", "l2vpn_X", "l2vpn__x", "l2vpn_x_", "l2vpn_x y",
                                 "l2vpn_ü", "l2vpn-x"))
    fault.at(1, f'table name: found "{fault.name}", expected a file named l2vpn_<words in lower snake case>')


def table_name_of_the_shared_header(fault):
    fault.name = fault.choose(("l2vpn_db", "l2vpn_db_iter", "l2vpn_dal", "l2vpn_dal_intf", "l2vpn_ast_module"))
    fault.at(1, f'table name: found "{fault.name}", expected a name that does not begin with l2vpn_db, ')


def table_name_collision(fault):
    """Two files declare the same names: the second one is rejected."""
    text = Catalog(fault.table).written(fault.rng)[0]
    if fault.rng.random() < 0.5 and fault.table.typed:
        fault.name, other, shared = "l2vpn_twin_glb_cb", "l2vpn_twin", "L2vpnTwinGlbCb"
    else:
        other, fault.name, shared = fault.choose((("l2vpn_a1", "l2vpn_a_1", "L2vpnA1"),
                                                    ("l2vpn_ab12", "l2vpn_ab_12", "L2vpnAb12")))
        first, second = sorted((other, fault.name))
        other, fault.name = first, second
    fault.others[other] = text
    fault.at(1, f"table name: found {shared}, also defined by schema/catalog/{other}.toml, expected unique names")


# ---- The glossary --------------------------------------------------------------------------------

def glossary_names(fault) -> list:
    """Names of the table that the glossary may contain."""
    return [field.name for field in fault.table.fields if not field.reserved]


def glossary_line(fault, entry: str) -> None:
    before = "".join(f'{name} = "words"\n' for name in glossary_names(fault)[:fault.rng.randint(0, 3)])
    fault.glossary = f"# Words\n\n{before}{entry}\n" + fault.choose(("", "# the end\n", "\n\n"))
    fault.file = "schema/glossary.toml"
    fault.place = before.count("\n") + 3


def glossary_without_field(fault):
    name = fault.choose(("frobnicator", "RSV", "resv99", "VrIndex"))
    glossary_line(fault, f'{name} = "words"')
    fault.words = (f'name: found "{name}", expected an unreserved field of a table',)


def glossary_text(fault):
    name = fault.choose(glossary_names(fault)[3:])
    glossary_line(fault, f"{name} = " + fault.choose(("7", '""', '" "', '"a\\nb"', '"*/"', '"/* x"', "['x']",
                                                              "true")))
    fault.words = (f'name "{name}": found ', "expected a few words in one line")


def glossary_twice(fault):
    name = fault.choose(glossary_names(fault)[3:])
    glossary_line(fault, f'{name} = "x"\n{name} = "y"')
    fault.place += 1
    fault.words = ("syntax: found ", "expected valid TOML")


FAULTS = [
    wrong_id, ids_shifted, wrong_offset, offsets_shifted, unknown_type, wrong_type, malformed_row, wrong_last_word,
    invalid_field_name, reserved_word_as_field_name, field_name_twice, unprintable_field_printed, nothing_printed,
    wrong_batch_version_type, record_too_long, fields_not_a_list, unknown_member, misspelt_member, array_as_member,
    member_twice, invalid_key_name, duplicate_key_infix, key_infix_of_a_function, key_name_of_the_primary_key,
    key_named_key, malformed_key_row, keys_not_a_list, too_many_keys, entry_missing, unknown_entry, misspelt_entry,
    wrong_access, typed_entries_without_typed_access, typed_access_without_stored_size, wrong_size, wrong_version,
    wrong_about, stored_size_without_typed_access, unknown_quirk, quirk_twice, quirks_not_a_list,
    quirk_without_typed_access, split_without_service_fields, invalid_toml_line, entry_twice, missing_comma,
    truncated_file, invalid_utf8, file_name, table_name_of_the_shared_header, table_name_collision,
    glossary_without_field, glossary_text, glossary_twice,
]


def generate(project: model.Project, *arguments) -> tuple:
    """Runs the generator in this process. Returns its exit code and diagnostics."""
    out, err = io.StringIO(), io.StringIO()
    with contextlib.redirect_stdout(out), contextlib.redirect_stderr(err):
        code = generator.main([*map(str, arguments), "--root", str(project.root)])
    return code, err.getvalue()


def written_files(project: model.Project) -> list:
    return [path for path in (*project.include.glob("l2vpn_db/l2vpn_*.h"), *project.sources.glob("**/*"))
            if path.name != "l2vpn_db.h"]


def project_of(folder: str) -> model.Project:
    return model.Project(Path(folder).resolve(), ROOT / "include/l2vpn_db")


def check_rejected(make, seed: int) -> bool:
    """Returns whether the fault could be injected. Raises AssertionError if the catalog is accepted or the
    diagnostic is wrong."""
    rng = random.Random(seed)
    table, *others = model.random_tables(rng.randrange(2**32), 3)
    fault = Fault(rng, table)
    try:
        make(fault)
    except NotApplicable:
        return False
    with tempfile.TemporaryDirectory() as folder:
        project = project_of(folder)
        text, lines = fault.catalog.written(rng)
        text = fault.rewrite(text, lines)
        project.write(fault.name, text)
        for other in others:
            if other.name != fault.name:
                project.write(other.name, Catalog(other).written(rng)[0])
        for name, other_text in fault.others.items():
            project.write(name, other_text)
        project.write_glossary(fault.glossary)
        line = fault.place if isinstance(fault.place, int) else lines[fault.place]
        place = f"{fault.file or f'schema/catalog/{fault.name}.toml'}:{line}: "
        commands = [("headers",)] + ([] if fault.file else [("sources", project.sources)])
        for command in commands:
            code, messages = generate(project, *command)
            found = re.findall(r"(?m)^schema/", messages)
            if (code != 1 or len(found) != 1 and not fault.several or not found
                    or not messages.startswith(place[:place.index(":") + 1] if fault.several else place)
                    or not all(word in messages for word in fault.words) or written_files(project)
                    or not re.search(r"found .*, expected .*\n\Z", messages, re.S)):
                raise AssertionError(f"--case {make.__name__}:{seed}, {command[0]}: expected one message {place}"
                                     f"...{fault.words}; exit code {code}, written: {written_files(project)}, "
                                     f"messages:\n{messages}\n" + (text if isinstance(text, str) else repr(text)))
    return True


def check_accepted(seed: int) -> None:
    """The generated files depend on a catalog's content, not on its TOML layout."""
    rng = random.Random(seed)
    found = model.random_tables(seed, 3)
    texts = []
    with tempfile.TemporaryDirectory() as folder:
        project = project_of(folder)
        for _ in range(2):
            for table in found:
                project.write(table.name, Catalog(table).written(rng)[0])
            for command in ("headers",), ("sources", project.sources):
                code, messages = generate(project, *command)
                if code or messages:
                    raise AssertionError(f"accepted, seed {seed}: exit code {code}, messages:\n{messages}")
            texts.append({path: path.read_text(encoding="utf-8") for path in written_files(project) if path.is_file()})
    if texts[0] != texts[1] or len(texts[0]) < 5:
        raise AssertionError(f"accepted, seed {seed}: the same tables, written in two ways, gave different files")


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--count", type=int, default=20, help="number of catalogs for each kind of fault")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--case", help="one kind of fault and its seed, as printed by a failure: wrong_id:1000003")
    options = parser.parse_args()
    if options.case:
        name, _, seed = options.case.partition(":")
        return 0 if check_rejected(globals()[name], int(seed)) else 1
    rejected, failures = 0, []
    for number, make in enumerate(FAULTS):
        seed, done = options.seed * 1000003 + number * 100003, 0
        for attempt in range(options.count * 100):
            if done == options.count:
                break
            try:
                done += check_rejected(make, seed + attempt)
            except AssertionError as error:
                failures.append(str(error))
                break
            except Exception:  # raised by the generator or by the fault itself
                failures.append(f"--case {make.__name__}:{seed + attempt}: {traceback.format_exc()}")
                break
        else:
            failures.append(f"{make.__name__}: could be injected into {done} tables only")
        rejected += done
    for number in range(options.count):
        try:
            check_accepted(options.seed + number)
        except AssertionError as error:
            failures.append(str(error))
            break
    print("\n".join(failures))
    print(f"{rejected} catalogs with {len(FAULTS)} kinds of faults rejected; {2 * options.count} accepted; "
          f"{len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
