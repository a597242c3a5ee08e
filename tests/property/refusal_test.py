# SPDX-License-Identifier: MIT
"""Damages random catalogs in one place each: the generator must refuse every one of them, with one
message that names the file and the line, and write nothing. The undamaged ones it must accept.
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


class Unfit(Exception):
    """The table has nothing that could be damaged in this way."""


class Damage:
    """A table's catalog file, to be damaged, and what the message must say about it."""

    def __init__(self, rng: random.Random, table: model.Table):
        self.rng, self.table, self.name = rng, table, table.name
        self.catalog = Catalog(table)
        self.entries = self.catalog.entries
        self.others = {}  # files that come with it: name to text
        self.glossary = ""
        self.place = 1  # an entry, (entry, row), or a line
        self.several = False  # messages, in any places
        self.file = None  # if it is not the table's
        self.words = ()
        self.rewrite = lambda text, lines: text  # what is damaged after it has been written

    def at(self, place, *words) -> None:
        self.place, self.words = place, words

    def choose(self, values):
        values = list(values)
        if not values:
            raise Unfit
        return self.rng.choice(values)

    def row(self, usable=lambda field: True) -> tuple:
        """(index, field, row) of a field."""
        at, field = self.choose((at, field) for at, field in enumerate(self.table.fields) if usable(field))
        return at, field, self.entries["fields"][at]

    def key(self, first: int = 0) -> tuple:
        at = self.choose(range(first, len(self.table.keys)))
        return at, self.table.keys[at], self.entries["keys"][at]

    def rename(self, old: str, new: str) -> None:
        """A field, wherever it is named."""
        for row in self.entries["fields"]:
            row[3] = quoted(new) if row[3] == quoted(old) else row[3]
        for row in self.entries["keys"]:
            row[1:] = [quoted(new) if word == quoted(old) else word for word in row[1:]]

    def relaid(self, change) -> None:
        """Changes the table's fields and writes the numbers anew, so that they are right."""
        change(self.table.fields)
        keys = [(key.name, [self.table.fields.index(member) for member in key.members]) for key in self.table.keys]
        self.table = model.Table(self.name, self.table.typed, self.table.fields, keys, self.table.quirks,
                                 self.table.version, self.table.about)
        self.catalog = Catalog(self.table)
        self.entries = self.catalog.entries

    def retyped(self, at: int, type_name: str) -> Field:
        """Changes a field's type."""
        old = self.table.fields[at]
        new = Field(old.name, type_name, old.printed)
        for key in self.table.keys:
            key.members = [new if member is old else member for member in key.members]

        def change(fields):
            fields[at] = new
        self.relaid(change)
        return self.table.fields[at]


def is_free(damage: Damage):
    """Whether nothing else refers to a field."""
    used = damage.table.key_fields() | {*model.SERVICE, "batchVersion"}
    return lambda field: field.name not in used


# ---- Fields --------------------------------------------------------------------------------------

def wrong_id(damage):
    at, field, row = damage.row()
    wrong = damage.choose((field.id + 1, field.id - 1, field.id + 2, field.id + 10, 10 * field.id + 7))
    row[0] = str(wrong)
    damage.at(("fields", at), f'field "{field.name}", id: found {wrong}, expected {field.id} ')


def ids_shifted(damage):
    at, field, _ = damage.row()
    by = damage.choose((-1, 1, 2, 5))
    for other, row in zip(damage.table.fields[at:], damage.entries["fields"][at:]):
        row[0] = str(other.id + by)
    damage.at(("fields", at), f'field "{field.name}", id: found {field.id + by}, expected {field.id} ')


def wrong_offset(damage):
    at, field, row = damage.row()
    wrong = damage.choose((field.offset + 1, field.offset + 4, field.offset - 4, field.offset * 10 + 1, 70000))
    row[1] = str(wrong)
    damage.at(("fields", at), f'field "{field.name}", offset: found {wrong}, expected {field.offset}')


def offsets_shifted(damage):
    """The record size with them, as its author would write it."""
    at, field, _ = damage.row()
    for other, row in zip(damage.table.fields[at:], damage.entries["fields"][at:]):
        row[1] = str(other.offset + 8)
    damage.entries["record_size"] = str(damage.table.record_size + 8)
    damage.at(("fields", at), f'field "{field.name}", offset: found {field.offset + 8}, expected {field.offset}')


def unknown_type(damage):
    at, field, row = damage.row()
    wrong = damage.choose(("u12", "U32", "u128", "int", "2x0", "2x1", "2x", "2x02", "3x4", "2X4", "bytes",
                           "bytes0", "bytes1", "bytes4", "bytes8", "bytes03", "bytes-3", "macs", "Mac",
                           "pairs", "", " u8", "u8 ", "bytes3\\n"))
    row[2] = f'"{wrong}"'
    damage.at(("fields", at), f'field "{field.name}", type: found "{wrong}", expected one of u8, ')


def wrong_type(damage):
    """One that there is: what shows is that the numbers do not fit, perhaps in several places."""
    at, field, row = damage.row()
    wrong = damage.choose(("u8", "u16", "u32", "u64", "pair", "mac", "2x9", "bytes11"))
    if not damage.table.typed or Field("x", wrong).width == field.width:
        raise Unfit
    row[2] = quoted(wrong)
    damage.several = True


def row_of_another_shape(damage):
    at, field, row = damage.row()
    whole = [str(field.id), str(field.offset), quoted(field.type), quoted(field.name)]
    damage.entries["fields"][at] = damage.choose((
        whole[:3], [], [*whole, quoted("print"), quoted("print")], ["true", *whole[1:]], [whole[0], "1.5", *whole[2:]],
        [quoted("1"), *whole[1:]], [*whole[:2], "32", whole[3]], [*whole[:3], "7"], whole[1:] + whole[:1], "7",
        quoted("row"), "{id = 1}", ["[" + ", ".join(whole) + "]"]))
    damage.at(("fields", at), f"field row {at}: found ", 'expected [id, offset, "type", "name"] or ')


def wrong_last_word(damage):
    at, field, row = damage.row()
    wrong = damage.choose(('"prnt"', '"Print"', '""', "1", "true", "[]"))
    row[4:] = [wrong]
    damage.at(("fields", at), f'field "{field.name}": found {wrong}, expected "print" or nothing after the name')


def field_name_of_another_case(damage):
    at, field, _ = damage.row(lambda field: field.name not in (*model.SERVICE, "batchVersion"))
    wrong = damage.choose((field.name.capitalize(), field.name + "_x", "_" + field.name, "9" + field.name, "",
                           field.name + " ", field.name[0] + "-" + field.name[1:], "größe"))
    damage.rename(field.name, wrong)
    damage.at(("fields", at), f'field "{wrong}": found "{wrong}", expected a name in lower camel case')


def field_name_that_is_taken(damage):
    at, field, _ = damage.row(lambda field: field.name not in (*model.SERVICE, "batchVersion"))
    wrong = damage.choose(("default", "int", "class", "register", "not", "and", "this", "typeof", "unix", "linux",
                           "alignas", "constexpr", "concept", "requires", "true", "asm", "errno"))
    damage.rename(field.name, wrong)
    damage.at(("fields", at), f'field "{wrong}": found a word of C or C++')


def field_name_twice(damage):
    first, earlier, _ = damage.row(lambda field: not field.reserved)
    at, _, row = damage.choose((at, field, row) for at, (field, row) in enumerate(
        zip(damage.table.fields, damage.entries["fields"])) if at > first and is_free(damage)(field))
    row[3] = quoted(earlier.name)
    damage.at(("fields", at), f'field "{earlier.name}": found a second field of that name (first in line ')


def printed_field_that_cannot_be(damage):
    at, field, row = damage.row(lambda field: not field.printable)
    row[4:] = [quoted("print")]
    damage.at(("fields", at), f'field "{field.name}": found a printed ', 'expected no "print"')


def nothing_printed(damage):
    for row in damage.entries["fields"]:
        del row[4:]
    damage.at("fields", "fields: found none to be printed, expected at least one")


def batch_version_of_another_type(damage):
    if not damage.table.typed:
        raise Unfit
    at, _, _ = damage.row(lambda field: field.name == "batchVersion")
    wrong = damage.choose(("u8", "u16", "mac", "bytes12"))
    damage.retyped(at, wrong)
    damage.at(("fields", at), f'field "batchVersion", type: found "{wrong}", expected "u32"')


def record_too_long(damage):
    at, field, _ = damage.row(lambda field: is_free(damage)(field) and not field.printed)
    damage.retyped(at, damage.choose(("2x4097", "bytes8193", "2x32768", "2x100000", "bytes65536", "bytes1000000")))
    damage.at(("fields", at), f'field "{field.name}": found an end at ', "expected records of at most 8192 bytes")


def fields_of_another_kind(damage):
    wrong = damage.choose(("7", '"u32"', "[]", "true", "{}"))
    damage.entries["fields"] = wrong
    damage.at("fields", "fields: found ", "expected a list with one row per field")


# ---- Keys ----------------------------------------------------------------------------------------

def unknown_member(damage):
    at, key, row = damage.key()
    number = damage.choose(range(1, len(row)))
    wrong = damage.choose((key.members[number - 1].name + "y", "frobnicator", "", "VrIndex"))
    if damage.table.field(wrong):
        raise Unfit
    row[number] = quoted(wrong)
    damage.at(("keys", at), f'key "{key.name}", member: found "{wrong}", expected a field of the table')


def misspelt_member(damage):
    at, key, row = damage.key()
    number = damage.choose(range(1, len(row)))
    name = key.members[number - 1].name
    if len(name) < 6 or damage.table.field(name[:-1]):
        raise Unfit
    row[number] = quoted(name[:-1])
    damage.at(("keys", at), f'key "{key.name}", member: found "{name[:-1]}"', "; did you mean ")


def array_as_member(damage):
    at, key, row = damage.key()
    _, field, _ = damage.row(lambda field: field.array)
    row.insert(damage.choose(range(1, len(row) + 1)), quoted(field.name))
    damage.at(("keys", at), f'key "{key.name}", member: found "{field.name}", a service array, expected an integer')


def member_twice(damage):
    at, key, row = damage.key()
    again = damage.choose(row[1:])
    row.insert(damage.choose(range(1, len(row) + 1)), again)
    damage.at(("keys", at), f'key "{key.name}", member: found {again} twice, expected each member once')


def key_name_that_c_cannot_have(damage):
    at, key, row = damage.key()
    wrong = damage.choose(("a key", "9lives", "a__b", "_a", "a_", "", "a-b", "schlüssel"))
    row[0] = quoted(wrong)
    damage.at(("keys", at), f'key "{wrong}": found "{wrong}", expected words joined by underscores')


def key_with_anothers_infix(damage):
    at, key, row = damage.key(2)
    other = damage.table.keys[damage.choose(range(1, at))].name
    wrong = damage.choose((other.upper(), other.capitalize(), other.removesuffix("_key"), other + "_key"))
    if model.infix(1, wrong) != model.infix(1, other) or wrong in ("key", *(key.name for key in damage.table.keys)):
        raise Unfit
    row[0] = quoted(wrong)
    damage.at(("keys", at), f'key "{wrong}": found the function infix ', "expected an infix of its own")


def key_with_a_functions_name(damage):
    at, _, row = damage.key(1)
    wrong = damage.choose(("primary", "Primary_key", "primary_key", "fast_pri", "fast_pri_key", "FAST_PRI"))
    if wrong == damage.table.keys[0].name:
        raise Unfit
    row[0] = quoted(wrong)
    damage.at(("keys", at), f'key "{wrong}": found the function infix ', "expected an infix of its own")


def key_named_like_the_primary_key(damage):
    at, _, row = damage.key(1)
    name = damage.table.keys[0].name
    if name in ("primary_key", "primary", "key") or model.infix(1, name) in {key.infix for key in damage.table.keys}:
        raise Unfit
    row[0] = quoted(name)
    damage.at(("keys", at), f'key "{name}": found a second key of that name', "expected each key once")


def key_named_key(damage):
    at, _, row = damage.key(1)
    row[0] = quoted("key")
    if "key" == damage.table.keys[0].name:
        raise Unfit
    damage.at(("keys", at), 'key "key": found no word besides key, expected a name that functions can be named after')


def key_row_of_another_shape(damage):
    at, key, row = damage.key()
    damage.entries["keys"][at] = damage.choose(([quoted(key.name)], [], [*row, "7"], ["1", *row[1:]], quoted(key.name),
                                                "12", "true", [row[0], "[" + ", ".join(row[1:]) + "]"]))
    damage.at(("keys", at), f"key row {at}: found ", 'expected ["name", "member", ...]')


def keys_of_another_kind(damage):
    damage.entries["keys"] = damage.choose(("7", '"vrIndex"', "[]", "false", "{}"))
    damage.at("keys", "keys: found ", "expected a list with 1 to 256 rows, one per key")


def too_many_keys(damage):
    member = damage.table.keys[0].members[0].name
    damage.entries["keys"] = [[quoted(f"k{number}x"), quoted(member)] for number in range(257)]
    damage.at("keys", "keys: found ", "expected a list with 1 to 256 rows, one per key")


# ---- Other entries -------------------------------------------------------------------------------

REQUIRED = ("about", "access", "record_size", "stored_size", "fields", "keys")


def entry_missing(damage):
    name = damage.choose(name for name in REQUIRED if name in damage.entries)
    if name == "access" and "stored_size" not in damage.entries and "quirks" in damage.entries:
        raise Unfit
    del damage.entries[name]
    damage.at(1, f"entry {name}: found none, expected an entry {name} = ...")


def unknown_entry(damage):
    wrong = damage.choose(("colour", "x", "id", "key_count", "sections", "9"))
    damage.entries[wrong] = damage.choose(("1", '"typed"', "[1, 2]"))
    damage.at(wrong, f'unknown entry: found "{wrong}", expected one of about, version, ')


def misspelt_entry(damage):
    name = damage.choose(damage.entries)
    wrong = damage.choose((name[:-1], name + "s", name.capitalize(), name[0] + name))
    if wrong in damage.entries:
        raise Unfit
    damage.entries = damage.catalog.entries = {wrong if key == name else key: value
                                               for key, value in damage.entries.items()}
    damage.at(wrong, f'unknown entry: found "{wrong}", ', f'; did you mean "{name}"?')


def wrong_access(damage):
    wrong = damage.choose(('"typd"', '"Typed"', '""', "1", "true", '["typed"]', '"formatted"'))
    damage.entries["access"] = wrong
    damage.at("access", f"access: found ", 'expected "typed" or "format"')


def less_access(damage):
    """What a table with typed access alone may have."""
    if not damage.table.typed or {*damage.table.quirks} - {"trailing_separator"}:
        raise Unfit
    damage.entries["access"] = quoted("format")
    damage.at("stored_size", "stored_size: found a stored size, expected none in a table without access")


def more_access(damage):
    batch = damage.table.field("batchVersion")
    if damage.table.typed or batch and batch.type != "u32":
        raise Unfit
    damage.entries["access"] = quoted("typed")
    damage.at(1, "entry stored_size: found none")


def wrong_size(damage):
    name = damage.choose(name for name in ("record_size", "stored_size") if name in damage.entries)
    right = int(damage.entries[name])
    wrong = damage.choose((str(right + 1), str(right - 1), str(-right), str(right * 10), f"{right}.0", f'"{right}"',
                           "true" if right != 1 else "false", "[]"))
    damage.entries[name] = wrong
    damage.at(name, f"{name}: found ", f"expected {right}")


def wrong_version(damage):
    damage.entries["version"] = damage.choose(("0", "-1", "65536", "1.0", "true", '"1"', "[1]"))
    damage.at("version", "version: found ", "expected a number from 1 to 65535")


def wrong_about(damage):
    damage.entries["about"] = damage.choose(('""', '"  "', '"a */ b"', '"a /* b"', '"two\\nlines"', '"""x\ny"""', "7",
                                             '["x"]', '"\\u0007"', '"tab\\t"', '"\\u202e"'))
    damage.at("about", "about: found ", "expected one line that says what the table holds")


def stored_size_without_typed_access(damage):
    if damage.table.typed:
        raise Unfit
    damage.entries["stored_size"] = str(damage.table.stored_size)
    damage.at("stored_size", "stored_size: found a stored size, expected none in a table without access")


def unknown_quirk(damage):
    wrong = damage.choose(("frob", "no_null_test", "trailing_seperator", "Svc_fields_split", ""))
    damage.entries["quirks"] = [*damage.entries.get("quirks", []), quoted(wrong)]
    damage.at("quirks", f'quirk: found "{wrong}", expected one of no_null_tests, svc_fields_split, trailing_separator')


def quirk_twice(damage):
    quirk = damage.choose(damage.table.quirks)
    damage.entries["quirks"].insert(damage.rng.randint(0, len(damage.table.quirks)), quoted(quirk))
    damage.at("quirks", f'quirk: found "{quirk}" twice, expected each quirk once')


def quirks_of_another_kind(damage):
    damage.entries["quirks"] = damage.choose(('"trailing_separator"', "7", '["trailing_separator", 7]', "{}", "[[]]"))
    damage.at("quirks", "quirks: found ", "expected a list of names")


def quirk_without_typed_access(damage):
    if damage.table.typed:
        raise Unfit
    quirk = damage.choose(("no_null_tests", "svc_fields_split"))
    damage.entries["quirks"] = [*damage.entries.get("quirks", []), quoted(quirk)]
    damage.at("quirks", f'quirk: found "{quirk}", expected it in tables with access = "typed" only')


def split_without_service_fields(damage):
    if not damage.table.typed or any(field.name in model.SERVICE for field in damage.table.fields):
        raise Unfit
    damage.entries["quirks"] = [*damage.entries.get("quirks", []), quoted("svc_fields_split")]
    damage.at("quirks", 'quirk: found "svc_fields_split" without service fields, expected at least one of svcStatus, ')


# ---- TOML ----------------------------------------------------------------------------------------

def line_that_is_no_toml(damage):
    wrong = damage.choose(("<<<", "= 7", "about", "x = ", "x = 'open", 'x = "\\q"', "x = 012", "x = [1 2]", "x 1",
                           "x = 1 y = 2", 'x = "bell \x07"', "x = nope", "]", "[unclosed"))
    entry = damage.choose(damage.entries)

    def rewrite(text, lines):
        line = lines[entry]
        at = 0
        for _ in range(line - 1):
            at = text.index("\n", at) + 1
        damage.place = line
        return text[:at] + wrong + "\n" + text[at:]
    damage.rewrite = rewrite
    damage.words = ("syntax: found ", "expected valid TOML")


def entry_twice(damage):
    name, value = damage.choose((name, value) for name, value in damage.entries.items() if isinstance(value, str))

    def rewrite(text, lines):
        end = "" if text.endswith("\n") else "\n"
        damage.place = (text + end).count("\n") + 1
        return text + end + f"{name} = {value}\n"
    damage.rewrite = rewrite
    damage.words = ("syntax: found ", "expected valid TOML")


def missing_comma(damage):
    list_name = damage.choose(("fields", "keys"))
    at = damage.choose(range(len(damage.entries[list_name])))
    row = damage.entries[list_name][at]
    last = len(row) - 1
    row[last - 1:] = [f"{row[last - 1]} {row[last]}"]
    # Where TOML stops to be valid: at the second of the two.
    mark = row[last - 1]
    row[last - 1] = "@@@"

    def rewrite(text, _):
        damage.place = text[:text.index("@@@")].count("\n") + 1
        return text.replace("@@@", mark, 1)
    damage.rewrite = rewrite
    damage.words = ("syntax: found ", "expected valid TOML")


def end_is_missing(damage):
    """The file ends within a list."""
    list_name = damage.choose(("fields", "keys"))
    at = damage.choose(range(len(damage.entries[list_name])))
    row = damage.entries[list_name][at]
    row[-1] = row[-1] + "@@@"

    def rewrite(text, _):
        text = text[:text.index("@@@")]
        damage.place = text.count("\n") + 1
        return text
    damage.rewrite = rewrite
    damage.words = ("syntax: found ", "expected valid TOML")


def no_utf8(damage):
    def rewrite(text, _):
        return text.encode("utf-8") + damage.choose((b"# \xff\n", b"\xc3\x28\n", b"x = '\xe4'\n"))
    damage.rewrite = rewrite
    damage.at(1, "encoding: found ", "expected UTF-8")


# ---- Files ---------------------------------------------------------------------------------------

def file_name(damage):
    damage.name = damage.choose(("vpls_x", "l2vpn", "l2vpn_", "L2vpn_x", "l2vpn_X", "l2vpn__x", "l2vpn_x_", "l2vpn_x y",
                                 "l2vpn_ü", "l2vpn-x"))
    damage.at(1, f'table name: found "{damage.name}", expected the file to be named l2vpn_<words in lower snake case>')


def name_of_the_shared_header(damage):
    damage.name = damage.choose(("l2vpn_db", "l2vpn_db_iter", "l2vpn_dal", "l2vpn_dal_intf", "l2vpn_ast_module"))
    damage.at(1, f'table name: found "{damage.name}", expected a name that does not begin with l2vpn_db, ')


def names_of_another_table(damage):
    """Of two files that share names, the later one is refused."""
    text = Catalog(damage.table).written(damage.rng)[0]
    if damage.rng.random() < 0.5 and damage.table.typed:
        damage.name, other, shared = "l2vpn_twin_glb_cb", "l2vpn_twin", "L2vpnTwinGlbCb"
    else:
        other, damage.name, shared = damage.choose((("l2vpn_a1", "l2vpn_a_1", "L2vpnA1"),
                                                    ("l2vpn_ab12", "l2vpn_ab_12", "L2vpnAb12")))
        first, second = sorted((other, damage.name))
        other, damage.name = first, second
    damage.others[other] = text
    damage.at(1, f"table name: found {shared}, which schema/catalog/{other}.toml gives too, expected names of its own")


# ---- The glossary --------------------------------------------------------------------------------

def explained(damage) -> list:
    """Names of the table that may stand in the glossary."""
    return [field.name for field in damage.table.fields if not field.reserved]


def glossary_line(damage, entry: str) -> None:
    before = "".join(f'{name} = "words"\n' for name in explained(damage)[:damage.rng.randint(0, 3)])
    damage.glossary = f"# Words\n\n{before}{entry}\n" + damage.choose(("", "# the end\n", "\n\n"))
    damage.file = "schema/glossary.toml"
    damage.place = before.count("\n") + 3


def glossary_of_no_field(damage):
    name = damage.choose(("frobnicator", "RSV", "resv99", "VrIndex"))
    glossary_line(damage, f'{name} = "words"')
    damage.words = (f'name: found "{name}", expected a field of a table that is not reserved',)


def glossary_text(damage):
    name = damage.choose(explained(damage)[3:])
    glossary_line(damage, f"{name} = " + damage.choose(("7", '""', '" "', '"a\\nb"', '"*/"', '"/* x"', "['x']",
                                                              "true")))
    damage.words = (f'name "{name}": found ', "expected a few words in one line")


def glossary_twice(damage):
    name = damage.choose(explained(damage)[3:])
    glossary_line(damage, f'{name} = "x"\n{name} = "y"')
    damage.place += 1
    damage.words = ("syntax: found ", "expected valid TOML")


DAMAGES = [
    wrong_id, ids_shifted, wrong_offset, offsets_shifted, unknown_type, wrong_type, row_of_another_shape, wrong_last_word,
    field_name_of_another_case, field_name_that_is_taken, field_name_twice, printed_field_that_cannot_be,
    nothing_printed, batch_version_of_another_type, record_too_long, fields_of_another_kind, unknown_member,
    misspelt_member, array_as_member, member_twice, key_name_that_c_cannot_have, key_with_anothers_infix,
    key_with_a_functions_name, key_named_like_the_primary_key, key_named_key, key_row_of_another_shape,
    keys_of_another_kind, too_many_keys, entry_missing, unknown_entry, misspelt_entry, wrong_access, less_access,
    more_access, wrong_size, wrong_version, wrong_about, stored_size_without_typed_access, unknown_quirk, quirk_twice,
    quirks_of_another_kind, quirk_without_typed_access, split_without_service_fields, line_that_is_no_toml,
    entry_twice, missing_comma, end_is_missing, no_utf8, file_name, name_of_the_shared_header, names_of_another_table,
    glossary_of_no_field, glossary_text, glossary_twice,
]


def generate(project: model.Project, *arguments) -> tuple:
    """(exit code, messages) of the generator, in this process."""
    out, err = io.StringIO(), io.StringIO()
    with contextlib.redirect_stdout(out), contextlib.redirect_stderr(err):
        code = generator.main([*map(str, arguments), "--root", str(project.root)])
    return code, err.getvalue()


def written_files(project: model.Project) -> list:
    return [path for path in (*project.include.glob("l2vpn_db/l2vpn_*.h"), *project.sources.glob("**/*"))
            if path.name != "l2vpn_db.h"]


def project_of(folder: str) -> model.Project:
    return model.Project(Path(folder).resolve(), ROOT / "include/l2vpn_db")


def check_refused(make, seed: int) -> bool:
    """Whether there was something to damage."""
    rng = random.Random(seed)
    table, *others = model.random_tables(rng.randrange(2**32), 3)
    damage = Damage(rng, table)
    try:
        make(damage)
    except Unfit:
        return False
    with tempfile.TemporaryDirectory() as folder:
        project = project_of(folder)
        text, lines = damage.catalog.written(rng)
        text = damage.rewrite(text, lines)
        project.write(damage.name, text)
        for other in others:
            if other.name != damage.name:
                project.write(other.name, Catalog(other).written(rng)[0])
        for name, other_text in damage.others.items():
            project.write(name, other_text)
        project.write_glossary(damage.glossary)
        line = damage.place if isinstance(damage.place, int) else lines[damage.place]
        place = f"{damage.file or f'schema/catalog/{damage.name}.toml'}:{line}: "
        commands = [("headers",)] + ([] if damage.file else [("sources", project.sources)])
        for command in commands:
            code, messages = generate(project, *command)
            found = re.findall(r"(?m)^schema/", messages)
            if (code != 1 or len(found) != 1 and not damage.several or not found
                    or not messages.startswith(place[:place.index(":") + 1] if damage.several else place)
                    or not all(word in messages for word in damage.words) or written_files(project)
                    or not re.search(r"found .*, expected .*\n\Z", messages, re.S)):
                raise AssertionError(f"--case {make.__name__}:{seed}, {command[0]}: wanted one message {place}"
                                     f"...{damage.words}; exit code {code}, written: {written_files(project)}, "
                                     f"messages:\n{messages}\n" + (text if isinstance(text, str) else repr(text)))
    return True


def check_accepted(seed: int) -> None:
    """However it is written, a catalog gives the same."""
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
    parser.add_argument("--count", type=int, default=20, help="how many catalogs are damaged in each of the ways")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--case", help="one damage and its seed, as a failure names them: wrong_id:1000003")
    options = parser.parse_args()
    if options.case:
        name, _, seed = options.case.partition(":")
        return 0 if check_refused(globals()[name], int(seed)) else 1
    refused, failures = 0, []
    for number, make in enumerate(DAMAGES):
        seed, done = options.seed * 1000003 + number * 100003, 0
        for attempt in range(options.count * 100):
            if done == options.count:
                break
            try:
                done += check_refused(make, seed + attempt)
            except AssertionError as error:
                failures.append(str(error))
                break
            except Exception:  # the generator's, or a damage's own
                failures.append(f"--case {make.__name__}:{seed + attempt}: {traceback.format_exc()}")
                break
        else:
            failures.append(f"{make.__name__}: only {done} of the tables had something to damage")
        refused += done
    for number in range(options.count):
        try:
            check_accepted(options.seed + number)
        except AssertionError as error:
            failures.append(str(error))
            break
    print("\n".join(failures))
    print(f"{refused} catalogs refused, damaged in {len(DAMAGES)} ways; {2 * options.count} accepted; "
          f"{len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
