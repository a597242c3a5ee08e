# SPDX-License-Identifier: MIT
"""Each invalid catalog entry is rejected with a diagnostic that names its position, the value found and
the value expected."""

import contextlib
import importlib.util
import io
import re
import shutil
import subprocess
import sys
import tempfile
import tomllib
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "generator"))
import toml_lines  # noqa: E402  # pylint: disable=wrong-import-position

spec = importlib.util.spec_from_file_location("generator", ROOT / "generator/__main__.py")
generator = importlib.util.module_from_spec(spec)
spec.loader.exec_module(generator)

TABLE = """\
about       = "A table for tests."
access      = "typed"
record_size = 48
stored_size = 41
quirks      = ["trailing_separator"]
fields = [
  # id   at  type    name
  [  0,   0, "u32",  "vrIndex", "print"],
  [  1,   4, "mac",  "macAddr", "print"],
  [  2,  10, "u16",  "vlanId"],
  [  3,  12, "u8",   "rsv1"],
  [  4,  13, "pair", "svcStatus", "print"],
  [  6,  15, "2x6",  "svcCtx", "print"],
  [  8,  28, "u32",  "batchVersion", "print"],
  [  9,  32, "u64",  "timeStampApp"],
  [ 10,  40, "u16",  "last"],
]
keys = [
  ["primary_key", "vrIndex", "macAddr"],
  ["vlan_key", "vlanId"],
  ["if_inst", "vlanId", "vrIndex"],
]
"""


class Project:
    """A temporary project with the given catalog files."""

    def __init__(self, test: unittest.TestCase, tables: dict, glossary: str = ""):
        self.root = Path(tempfile.mkdtemp())
        test.addCleanup(shutil.rmtree, self.root)
        (self.root / "schema/catalog").mkdir(parents=True)
        (self.root / "include/l2vpn_db").mkdir(parents=True)
        (self.root / "schema/glossary.toml").write_text(glossary, encoding="utf-8")
        for name, text in tables.items():
            self.table(name).write_text(text, encoding="utf-8")

    def table(self, name: str) -> Path:
        return self.root / f"schema/catalog/{name}.toml"

    def run(self, *arguments: str) -> subprocess.CompletedProcess:
        """Runs the generator in this process, which is much faster than a new one."""
        out, err = io.StringIO(), io.StringIO()
        with contextlib.redirect_stdout(out), contextlib.redirect_stderr(err):
            code = generator.main([*arguments, "--root", str(self.root)])
        return subprocess.CompletedProcess(arguments, code, out.getvalue(), err.getvalue())

    def header(self, name: str) -> Path:
        return self.root / f"include/l2vpn_db/{name}.h"


class Rejection(unittest.TestCase):
    def rejects(self, text: str, line: int, *words: str, name: str = "l2vpn_test", glossary=None) -> list:
        """Returns the diagnostics. One must contain the words and be at the line of the table or, if
        given, of the glossary."""
        project = Project(self, {name: text}, glossary or "")
        result = project.run("headers")
        self.assertEqual(result.returncode, 1, result.stdout)
        lines = result.stderr.strip().split("\n")
        place = f"schema/catalog/{name}.toml:{line}: " if glossary is None else f"schema/glossary.toml:{line}: "
        found = [message for message in lines
                 if message.startswith(place) and all(word in message for word in words)]
        self.assertTrue(found, f"no {place}...{words} in\n{result.stderr}")
        for message in lines:
            self.assertRegex(message, r"found .*, expected ")
        self.assertFalse(list(project.root.glob("include/l2vpn_db/*")), "a header was written")
        return lines

    def invalid(self, old: str, new: str, line: int, *words: str) -> None:
        """Expects one diagnostic if `old` is replaced by `new`."""
        self.assertIn(old, TABLE)
        messages = self.rejects(TABLE.replace(old, new, 1), line, *words)
        self.assertEqual(len(messages), 1, messages)

    def test_the_unchanged_table_is_accepted(self):
        project = Project(self, {"l2vpn_test": TABLE})
        result = project.run("headers")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertTrue(project.header("l2vpn_test").exists())

    def test_repeated_id(self):
        self.invalid('[  3,  12, "u8"', '[  2,  12, "u8"', 11, '"rsv1", id', "found 2", "expected 3")

    def test_shifted_ids_are_reported_at_the_first(self):
        text = TABLE.replace("[  2,  10", "[  3,  10").replace("[  3,  12", "[  4,  12")
        text = text.replace("[  4,  13", "[  5,  13").replace("[  6,  15", "[  7,  15")
        text = text.replace("[  8,  28", "[  9,  28").replace("[  9,  32", "[ 10,  32")
        text = text.replace("[ 10,  40", "[ 11,  40")
        self.assertEqual(len(self.rejects(text, 10, '"vlanId", id', "found 3", "expected 2")), 1)

    def test_a_service_array_takes_two_ids(self):
        self.invalid('[  6,  15, "2x6"', '[  5,  15, "2x6"', 13, "found 5", "expected 6")

    def test_wrong_offset(self):
        self.invalid('[  2,  10, "u16"', '[  2,  12, "u16"', 10, '"vlanId", offset', "found 12", "expected 10")

    def test_misaligned_integer(self):
        self.invalid('[  8,  28, "u32"', '[  8,  27, "u32"', 14, "found 27", "expected 28")

    def test_wrong_record_size(self):
        self.invalid("record_size = 48", "record_size = 44", 3, "found 44", "expected 48")

    def test_wrong_stored_size(self):
        self.invalid("stored_size = 41", "stored_size = 48", 4, "found 48", "expected 41")

    def test_unknown_type_gets_a_suggestion(self):
        self.invalid('"u64"', '"U64"', 15, "found \"U64\"", 'did you mean "u64"')
        self.invalid('"2x6"', '"2x0"', 13, 'found "2x0"')
        self.invalid('"2x6"', '"2x1"', 13, 'found "2x1"', "pair")
        for width in (1, 2, 4, 8):
            self.invalid('"u16",  "last"', f'"bytes{width}",  "last"', 16, f'found "bytes{width}"')

    def test_unknown_key_member_gets_a_suggestion(self):
        self.invalid('"vrIndex", "macAddr"]', '"vrIndx", "macAddr"]', 19, 'found "vrIndx"',
                     'did you mean "vrIndex"')

    def test_key_member_twice(self):
        self.invalid('["vlan_key", "vlanId"]', '["vlan_key", "vlanId", "vlanId"]', 20, "twice")

    def test_key_member_that_is_a_service_array(self):
        self.invalid('["vlan_key", "vlanId"]', '["vlan_key", "svcStatus"]', 20, "svcStatus")

    def test_key_names_with_the_same_infix(self):
        self.invalid('["vlan_key", "vlanId"]', '["if_inst_key", "vlanId"]', 21, '"IfInst"', '"if_inst_key"')
        self.invalid('["vlan_key", "vlanId"]', '["IF_INST", "vlanId"]', 21, '"IfInst"')

    def test_key_names_that_collide_with_other_functions(self):
        self.invalid('["vlan_key", "vlanId"]', '["primary", "vlanId"]', 20, '"Primary"')
        self.invalid('["vlan_key", "vlanId"]', '["fast_pri_key", "vlanId"]', 20, '"FastPri"')
        self.invalid('["vlan_key", "vlanId"]', '["key", "vlanId"]', 20, "no word besides key")

    def test_printed_fields_that_cannot_be_printed(self):
        self.invalid('"timeStampApp"', '"timeStampApp", "print"', 15, "8 bytes")
        self.invalid('"rsv1"', '"rsv1", "print"', 11, "reserved field")
        text = TABLE.replace('"2x6"', '"2x5"').replace("stored_size = 41", "stored_size = 39")
        self.rejects(text.replace("[  8,  28", "[  8,  28"), 13, "10 bytes", "multiple of 4")

    def test_unknown_entry_gets_a_suggestion(self):
        self.invalid("quirks      =", "quirk       =", 5, 'unknown entry: found "quirk"',
                     'did you mean "quirks"')

    def test_unknown_quirk_gets_a_suggestion(self):
        self.invalid("trailing_separator", "trailing_seperator", 5, 'did you mean "trailing_separator"')

    def test_missing_entries(self):
        self.rejects(TABLE.replace("record_size = 48\n", ""), 1, "record_size", "found none")
        self.rejects(TABLE.replace("stored_size = 41\n", ""), 1, "stored_size", "found none")

    def test_wrong_access(self):
        self.invalid('"typed"', '"typd"', 2, 'found "typd"')
        self.invalid('access      = "typed"', 'access      = 1', 2, "found 1")

    def test_repeated_field_name(self):
        self.invalid('"rsv1"', '"vlanId"', 11, "second field", "line 10")

    def test_invalid_field_names(self):
        self.invalid('"last"', '"default"', 16, "a C or C++ keyword")
        self.invalid('"last"', '"Last"', 16, "lower camel case")

    def test_malformed_row(self):
        self.invalid('[ 10,  40, "u16",  "last"]', '[ 10,  40, "u16"]', 16, "field row 8")
        for number in ("10.0", '"10"', "[10]"):
            self.invalid("[ 10,  40", f"[ {number}, 40", 16, "field row 8")
        for number in ("40.0", '"40"', "[40]"):
            self.invalid("[ 10,  40", f"[ 10, {number}", 16, "field row 8")
        self.invalid('["vlan_key", "vlanId"]', '["vlan_key"]', 20, "key row 1")
        self.invalid('"vlanId"],\n  [  3', '"vlanId", "prnt"],\n  [  3', 10, '"print"')

    def test_a_malformed_row_causes_no_follow_up_errors(self):
        """In later rows, key members, sizes, quirks or printed fields."""
        text = TABLE.replace("trailing_separator", "svc_fields_split").replace(', "print"', "")
        for row in ('[  0,   0, "u32",  "vrIndex"]', '[  1,   4, "mac",  "macAddr"]',
                    '[  4,  13, "pair", "svcStatus"]', '[  6,  15, "2x6",  "svcCtx"]'):
            for malformed in (row.replace('"]', '", "print", 1]'), row.replace(",", ", true,", 1), "7"):
                line = text[:text.index(row)].count("\n") + 1
                self.assertEqual(len(self.rejects(text.replace(row, malformed), line, "field row")), 1, malformed)
        self.assertEqual(len(self.rejects(text.replace("fields = [", "fields = 7\nquirk = ["), 6, "fields")), 2)

    def test_a_wrong_number_after_a_malformed_row_is_reported(self):
        text = TABLE.replace('"u16",  "vlanId"]', '"u16"]')
        self.assertEqual(len(self.rejects(text.replace("[  8,  28", "[  8,  29"), 14, '"batchVersion", offset')), 2)

    def test_syntax_error(self):
        self.invalid('"if_inst", "vlanId"', '"if_inst" "vlanId"', 21, "syntax: found Unclosed array (at line 21, "
                     "column 14), expected valid TOML")
        self.rejects(TABLE.removesuffix("]\n"), 22,
                     "syntax: found Invalid value (at end of document), expected valid TOML")

    def test_repeated_entry(self):
        self.rejects(TABLE + "record_size = 48\n", 23, "syntax")

    def test_batch_version_of_another_width(self):
        text = TABLE.replace('[  8,  28, "u32"', '[  8,  28, "u16"').replace("stored_size = 41", "stored_size = 39")
        self.rejects(text, 14, '"batchVersion", type', 'expected "u32"')

    def test_file_name(self):
        self.rejects(TABLE, 1, "table name", name="vpls_thing")
        self.rejects(TABLE, 1, "table name", name="l2vpn_Thing")

    def test_table_names_that_collide_with_the_shared_header(self):
        for name in ("l2vpn_db", "l2vpn_db_iter", "l2vpn_dal_intf", "l2vpn_ast_field"):
            self.rejects(TABLE, 1, "table name", "does not begin with", name=name)

    def test_field_names_that_are_compiler_macros(self):
        for word in ("linux", "unix", "typeof", "errno"):
            self.invalid('"last"', f'"{word}"', 16, "a C or C++ keyword")

    def test_no_printed_field(self):
        self.rejects(TABLE.replace(', "print"', ""), 6, "fields", "none to be printed")

    def test_record_above_the_maximum_size(self):
        for wide in ("2x5000", "2x32768", "2x100000", "bytes65536", "bytes100000", "bytes1" + 90 * "0"):
            self.rejects(TABLE.replace('"2x6"', f'"{wide}"'), 13, "records of at most 8192 bytes")
        self.rejects(TABLE.replace('"2x6"', '"bytes' + 5000 * "9" + '"'), 13, "bytesN")
        longest = (TABLE.replace('"u16",  "last"', '"bytes8152",  "last"')
                   .replace("record_size = 48", "record_size = 8192").replace("stored_size = 41", "stored_size = 8191"))
        result = Project(self, {"l2vpn_test": longest}).run("headers")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        longer = (longest
                  .replace('"last"],\n', '"last"],\n  [ 11, 8192, "u8", "more"],\n  [ 12, 8193, "u8", "most"],\n')
                  .replace("record_size = 8192", "record_size = 8200")
                  .replace("stored_size = 8191", "stored_size = 8193"))
        messages = self.rejects(longer, 17,
                                'field "more": found an end at 8193, expected records of at most 8192 bytes')
        self.assertEqual(len(messages), 1, messages)

    def test_several_errors_are_reported_together(self):
        text = TABLE.replace("record_size = 48", "record_size = 44").replace('"vlan_key"', '"vlan key"')
        self.assertEqual(len(self.rejects(text, 3)), 2)

    def test_line_numbers_after_comments_and_brackets_in_strings(self):
        text = TABLE.replace('about       = "A table for tests."',
                             '# a comment with "quotes" and [brackets]\nabout = "A [table] # here."')
        self.rejects(text.replace("[  2,  10", "[  2,  11"), 11, '"vlanId", offset')

    def test_several_rows_on_one_line(self):
        text = TABLE.replace('"vlanId"],\n  [  3,  12', '"vlanId"], [  7,  12')
        self.rejects(text, 10, '"rsv1", id', "found 7")

    def test_tables_with_the_same_function_names(self):
        project = Project(self, {"l2vpn_a1": TABLE, "l2vpn_a_1": TABLE})
        result = project.run("headers")
        self.assertEqual(result.returncode, 1)
        self.assertIn("schema/catalog/l2vpn_a_1.toml:1: table name: found L2vpnA1", result.stderr)

    def test_tables_whose_headers_declare_the_same_name(self):
        project = Project(self, {"l2vpn_x": TABLE, "l2vpn_x_glb_cb": TABLE})
        result = project.run("headers")
        self.assertEqual(result.returncode, 1)
        self.assertIn("found L2vpnXGlbCb", result.stderr)

    def test_no_catalog(self):
        result = Project(self, {}).run("headers")
        self.assertEqual(result.returncode, 1)
        self.assertIn("found no catalog files", result.stderr)
    def test_wrong_versions(self):
        for version in ("0", "-1", "1.0", "true", '"1"', "65536"):
            self.invalid("quirks  ", f"version = {version}\nquirks  ", 5, f"version: found {version}")

    def test_a_folder_in_place_of_a_file(self):
        project = Project(self, {"l2vpn_test": TABLE})
        project.table("x").mkdir()
        result = project.run("headers")
        self.assertEqual((result.returncode, result.stderr), (
            1, 'schema/catalog/x.toml:1: file: found "Is a directory", expected a file that can be read\n'))

    def test_glossary_entries_without_a_field(self):
        for name, *words in (("vlanid", 'did you mean "vlanId"'), ("rsv1", "unreserved"), ("frob",)):
            found = self.rejects(TABLE, 2, f'name: found "{name}"', *words, glossary=f'last = "x"\n{name} = "y"\n')
            self.assertEqual(len(found), 1, found)

    def test_glossary_texts_that_are_invalid_in_a_comment(self):
        for text in ("7", '""', '"a\\nb"', '"*/"', '["a"]'):
            found = self.rejects(TABLE, 3, 'name "last": found', glossary=f'# words\n\nlast = {text}\n')
            self.assertEqual(len(found), 1, found)

    def test_glossary_entries_with_escapes_in_their_names(self):
        """Their line is unknown, so line 1 is reported."""
        for name, what in (("last", 'name "last": found 7'), ("frob", 'name: found "frob"')):
            entry = f'"\\u{ord(name[0]):04x}{name[1:]}" = 7'
            found = self.rejects(TABLE, 1, what, glossary=f"# words\n\n{entry}\n")
            self.assertEqual(len(found), 1, found)

    def test_repeated_glossary_entry(self):
        found = self.rejects(TABLE, 3, "syntax", glossary='last = "x"\nvlanId = "y"\nlast = "z"\n')
        self.assertEqual(len(found), 1, found)


class History(unittest.TestCase):
    """Released schemas must not change. One diagnostic names the change, its position and the release."""

    TABLE = """\
about       = "A table that has been released."
access      = "format"
record_size = 20
fields = [
  [0,  0, "u32",  "vrIndex", "print"],
  [1,  4, "u8",   "kind"],
  [2,  8, "u32",  "wide"],
  [3, 12, "pair", "status"],
  [5, 14, "u16",  "mtu"],
  [6, 16, "u32",  "last"],
]
keys = [
  ["primary_key", "vrIndex", "kind"],
  ["mtu_key", "mtu"],
  ["kind_key", "kind"],
]
"""
    FIELD = (("record_size = 20", "record_size = 24"), ('"last"],\n', '"last"],\n  [7, 20, "u16",  "more"],\n'))
    KEY = (('["kind_key", "kind"],\n', '["kind_key", "kind"],\n  ["last_key", "last"],\n'),)
    VERSION_2 = (("access", "version = 2\naccess"),)
    USERS = "programs built against l2vpn_db 0.1.0 "

    def released(self) -> Project:
        project = Project(self, {"l2vpn_test": self.TABLE, "l2vpn_other": TABLE})
        self.release(project, "0.1.0")
        project.run("headers")
        return project

    def release(self, project: Project, version: str, *words: str) -> None:
        (project.root / "VERSION").write_text(version + "\n", encoding="utf-8")
        self.answers(project.run("release"), *words)

    def answers(self, result: subprocess.CompletedProcess, *words: str) -> None:
        """Expects one diagnostic with the words, or success if there are none."""
        self.assertEqual((result.returncode, result.stderr.count("\n")), (1, 1) if words else (0, 0), result.stderr)
        for word in words:
            self.assertIn(word, result.stderr)
            self.assertRegex(result.stderr, r"^[\w/.]+:\d+: .+: found .+, expected ")

    def change(self, project: Project, *changes: tuple) -> None:
        text = project.table("l2vpn_test").read_text(encoding="utf-8")
        for old, new in changes:
            self.assertIn(old, text)
            text = text.replace(old, new, 1)
        project.table("l2vpn_test").write_text(text, encoding="utf-8")

    def accepted(self, *changes: tuple) -> Project:
        project = self.released()
        self.change(project, *changes)
        self.answers(project.run("headers"))
        self.answers(project.run("check"))
        return project

    def rejects(self, line: int, message: str, *changes: tuple) -> None:
        project = self.released()
        header = project.header("l2vpn_test").read_text(encoding="utf-8")
        self.change(project, *changes)
        for command in (["check"], ["headers"], ["sources", str(project.root / "gen")]):
            self.answers(project.run(*command), f"schema/catalog/l2vpn_test.toml:{line}: {message}", self.USERS,
                         '("Changing a table" in docs/adding-a-table.md)')
        self.assertEqual(project.header("l2vpn_test").read_text(encoding="utf-8"), header)
        self.assertFalse((project.root / "gen").exists())

    def test_changes_outside_the_schema_are_accepted(self):
        self.accepted(("A table", "The table"), ('"kind"]', '"kind", "print"]'), ("fields =", "quirks = []\nfields ="))

    def test_a_moved_field(self):
        self.rejects(7, 'field "wide", offset: found 5, expected 8: ', ('2,  8, "u32"', '2,  5, "2x2"'),
                     ("3, 12", "4,  9"), ("5, 14", "6, 12"), ("6, 16", "7, 16"))

    def test_a_field_with_another_width(self):
        self.rejects(10, 'field "last", width: found 8, expected 4: ', ('"u32",  "last"', '"u64",  "last"'),
                     ("record_size = 20", "record_size = 24"))

    def test_a_field_with_another_id(self):
        self.rejects(9, 'field "mtu", id: found 4, expected 5: ', ('"pair"', '"u16"'), ("5, 14", "4, 14"),
                     ("6, 16", "5, 16"))

    def test_a_renamed_field(self):
        self.rejects(7, 'field row 2: found "broad", expected "wide" (id 2, 4 bytes at 8; ', ('"wide"', '"broad"'))

    def test_a_removed_field(self):
        self.rejects(4, 'field row 5: found none, expected "last" (id 6, 4 bytes at 16; ',
                     ('  [6, 16, "u32",  "last"],\n', ""), ("record_size = 20", "record_size = 16"))

    def test_an_inserted_field(self):
        self.rejects(8, 'field row 3: found "more", '
                     'expected "status" (id 3, 2 bytes at 12; new fields go to the end): ',
                     ("  [3, 12", '  [3, 12, "u16",  "more"],\n  [4, 14'), ("6, 16", "7, 20"), ("5, 14", "6, 16"),
                     ("record_size = 20", "record_size = 24"))

    def test_a_renamed_key(self):
        self.rejects(14, 'key row 1: found "mru_key", expected "mtu_key" (index 1; ', ("mtu_key", "mru_key"))

    def test_reordered_keys(self):
        self.rejects(14, 'key row 1: found "kind_key", expected "mtu_key" (index 1; ',
                     ('["mtu_key", "mtu"],\n  ["kind_key", "kind"]', '["kind_key", "kind"],\n  ["mtu_key", "mtu"]'))

    def test_a_removed_key(self):
        self.rejects(12, 'key row 2: found none, expected "kind_key" (index 2; ', ('  ["kind_key", "kind"],\n', ""))

    def test_a_key_with_other_members(self):
        self.rejects(13, 'key "primary_key", members: found kind, vrIndex, expected vrIndex, kind: ',
                     ('"vrIndex", "kind"]', '"kind", "vrIndex"]'))
        self.rejects(15, 'key "kind_key", members: found kind, mtu, expected kind: ',
                     ('["kind_key", "kind"]', '["kind_key", "kind", "mtu"]'))

    def test_a_removed_table(self):
        project = self.released()
        project.table("l2vpn_test").unlink()
        project.run("headers")
        self.answers(project.run("check"), "schema/catalog/l2vpn_test.toml:1: table: found no file", self.USERS)

    def test_release_reports_its_output(self):
        project = Project(self, {"l2vpn_test": self.TABLE, "l2vpn_other": TABLE})
        (project.root / "VERSION").write_text("0.1.0\n", encoding="utf-8")
        for output in ("wrote schema/released/0.1.0.toml: 2 schemas\n",
                       "no schema differs from its released version\n"):
            result = project.run("release")
            self.assertEqual((result.returncode, result.stdout, result.stderr), (0, output, ""))

    def test_appending_requires_the_next_version(self):
        for changes, item in ((self.FIELD, 'field "more"'), (self.KEY, 'key "last_key"')):
            self.accepted(*changes, *self.VERSION_2)
            self.rejects(1, f"version: found 1, expected 2: {self.USERS}take version 1 for a schema without {item}",
                         *changes)
        self.accepted(*self.FIELD, *self.KEY, *self.VERSION_2)
        self.rejects(2, "version: found 3, expected 2: ", *self.KEY, ("access", "version = 3\naccess"))

    def test_the_version_must_not_change_otherwise(self):
        self.rejects(2, "version: found 2, expected 1: ", *self.VERSION_2)

    def test_an_unreleased_table_may_change(self):
        project = self.released()
        for text in (TABLE, TABLE.replace('"last"', '"other"'), TABLE.replace("quirks  ", "version = 7\nquirks  ")):
            project.table("l2vpn_new").write_text(text, encoding="utf-8")
            project.run("headers")
            self.answers(project.run("check"))
        project.table("l2vpn_new").unlink()
        project.run("headers")
        self.answers(project.run("check"))

    def test_several_releases(self):
        project = self.accepted(*self.KEY, *self.VERSION_2)
        self.release(project, "0.2.0")
        text = (project.root / "schema/released/0.2.0.toml").read_text(encoding="utf-8")
        self.assertIn("[l2vpn_test]", text)
        self.assertNotIn("[l2vpn_other]", text)
        self.answers(project.run("check"))
        self.change(project, *self.FIELD)
        self.answers(project.run("check"), "l2vpn_test.toml:2: version: found 2, expected 3", "l2vpn_db 0.2.0 ")
        self.change(project, ("version = 2", "version = 3"))
        self.answers(project.run("headers"))
        self.release(project, "1.0.0")
        self.answers(project.run("check"))
        self.change(project, ("more", "moreover"))
        self.answers(project.run("check"), 'found "moreover", expected "more"', "against l2vpn_db 1.0.0 ")
        self.change(project, ("moreover", "more"), ("mtu_key", "mru_key"))
        self.answers(project.run("check"), 'found "mru_key", expected "mtu_key"', self.USERS)

    def test_a_longer_record_requires_a_major_version(self):
        project = self.accepted(*self.FIELD, *self.VERSION_2)
        self.release(project, "0.2.0", 'l2vpn_test.toml:12: field "more": found it in version 0.2.0, expected it in '
                     "version 1.0.0: " + self.USERS + "pass records of 20 bytes")
        self.assertFalse((project.root / "schema/released/0.2.0.toml").exists())
        self.release(project, "1.0.0")

    def test_a_version_is_released_once(self):
        project = self.released()
        self.release(project, "0.1.0")  # unchanged: no error
        self.change(project, *self.KEY, *self.VERSION_2)
        for version in ("0.1.0", "0.0.9"):
            self.release(project, version, f"VERSION:1: version: found {version}, expected more than 0.1.0")
        for version in ("0.2", "next", ""):
            self.release(project, version, f'VERSION:1: version: found "{version}", expected <major>.<minor>.<patch>')

    def test_a_release_requires_a_version_file(self):
        project = self.accepted(*self.KEY, *self.VERSION_2)
        (project.root / "VERSION").unlink()
        self.answers(project.run("release"),
                     "VERSION:1: version: found \"No such file or directory\", expected <major>.<minor>.<patch>")

    def test_an_incompatible_change_is_not_released(self):
        project = self.released()
        self.change(project, ("mtu_key", "mru_key"))
        self.release(project, "1.0.0", 'found "mru_key", expected "mtu_key"')

    def test_corrupt_release_files(self):
        project = self.released()
        file = project.root / "schema/released/0.1.0.toml"
        text = file.read_text(encoding="utf-8")
        for corrupt, line in ((text.replace("fields = [", "fields = ["  "<<<", 1), 8), (text + "[x]\n", 1),
                              (text.replace('"mtu"]', '"mtu", 1]', 1), 1), ("x = 1", 1),
                              (text.replace('"primary_key", "vrIndex"', '"primary_key", 1'), 1),
                              (text.replace('["mtu_key", "mtu"]', '"ab"'), 1),
                              (text.replace('["mtu_key", "mtu"]', '["mtu_key"]'), 1),
                              (text.replace("version = 1", 'version = "1"', 1), 1)):
            self.assertNotEqual(corrupt, text)
            file.write_text(corrupt, encoding="utf-8")
            self.answers(project.run("check"), f"schema/released/0.1.0.toml:{line}: ")
        file.rename(file.with_name("first.toml"))
        self.answers(project.run("check"), 'schema/released/first.toml:1: file name: found "first.toml"')


class Drift(unittest.TestCase):
    def test_generated_headers_pass(self):
        project = Project(self, {"l2vpn_test": TABLE})
        project.run("headers")
        self.assertEqual(project.run("check").returncode, 0)

    def test_a_changed_header_fails(self):
        project = Project(self, {"l2vpn_test": TABLE})
        project.run("headers")
        with open(project.header("l2vpn_test"), "a", encoding="utf-8") as file:
            file.write("\n")
        result = project.run("check", "--new-ok")
        self.assertEqual(result.returncode, 1)
        self.assertIn("include/l2vpn_db/l2vpn_test.h:1: found other text", result.stderr)

    def test_a_missing_header_fails_unless_new_tables_are_allowed(self):
        project = Project(self, {"l2vpn_test": TABLE})
        self.assertEqual(project.run("check").returncode, 1)
        self.assertEqual(project.run("check", "--new-ok").returncode, 0)

    def test_a_stale_header_fails_and_is_removed(self):
        project = Project(self, {"l2vpn_test": TABLE})
        project.run("headers")
        project.header("l2vpn_gone").write_text("", encoding="utf-8")
        result = project.run("check", "--new-ok")
        self.assertEqual(result.returncode, 1)
        self.assertIn("l2vpn_gone.h", result.stderr)
        project.run("headers")
        self.assertFalse(project.header("l2vpn_gone").exists())

    def test_written_and_removed_files_are_reported(self):
        project = Project(self, {"l2vpn_test": TABLE, "l2vpn_gone": TABLE})
        header = project.header("l2vpn_test")
        header.parent.rmdir()
        header.parent.parent.rmdir()
        wrote = "wrote include/l2vpn_db/l2vpn_gone.h\n", "wrote include/l2vpn_db/l2vpn_test.h\n"
        removed = "removed include/l2vpn_db/l2vpn_gone.h: no catalog file\n"

        def expect_output(text: str) -> None:
            result = project.run("headers")
            self.assertEqual((result.returncode, result.stdout, result.stderr), (0, text, ""))

        expect_output("".join(wrote))
        expect_output("")
        project.table("l2vpn_gone").unlink()
        header.write_text("", encoding="utf-8")
        expect_output(wrote[1] + removed)
        expect_output("")

    def test_usage(self):
        for arguments in ([], ["frob"], ["sources"], ["headers", "--new-ok"]):
            err = io.StringIO()
            with contextlib.redirect_stderr(err), self.assertRaises(SystemExit) as stopped:
                generator.main(arguments)
            self.assertEqual(stopped.exception.code, 2, arguments)
            self.assertIn("usage: generator", err.getvalue())

    def test_a_missing_list_causes_one_diagnostic(self):
        for name in ("fields", "keys"):
            project = Project(self, {"l2vpn_test": re.sub(rf"^{name} = \[.*?^\]\n", "", TABLE, flags=re.M | re.S)})
            result = project.run("check", "--new-ok")
            self.assertEqual((result.returncode, result.stderr.count("\n")), (1, 1), result.stderr)
            self.assertIn(f"l2vpn_test.toml:1: entry {name}: found none, expected an entry", result.stderr)

    def test_stale_sources_are_removed(self):
        project = Project(self, {"l2vpn_test": TABLE, "l2vpn_gone": TABLE})
        output = project.root / "gen"
        sources = [output / "facts/l2vpn_gone.h", output / "tables/l2vpn_gone.cpp"]
        project.run("sources", str(output))
        self.assertTrue(all(path.exists() for path in sources))
        project.table("l2vpn_gone").unlink()
        self.assertEqual(project.run("sources", str(output)).returncode, 0)
        self.assertFalse(any(path.exists() for path in sources))
        self.assertTrue((output / "facts/l2vpn_test.h").exists())

    def test_headers_name_the_padding(self):
        """Between fields and after the last one."""
        project = Project(self, {"l2vpn_test": TABLE})
        project.run("headers")
        text = project.header("l2vpn_test").read_text(encoding="utf-8").replace("\n * ", " ")
        self.assertEqual(re.findall(r"Bytes (.*?) are padding", text), ["27, 42 to 47"])

    def test_headers_document_the_result_of_an_update(self):
        without = TABLE.replace("trailing_separator", "no_null_tests")
        project = Project(self, {"l2vpn_test": TABLE, "l2vpn_without": without})
        project.run("headers")
        documented = []
        for name in "l2vpn_test", "l2vpn_without":
            text = re.sub(r"\n \*\s*", " ", project.header(name).read_text(encoding="utf-8"))
            documented += re.findall(r"@return ([^@]*?) ?/\n\w+ L2VPN_DB_\w+UpdateFields", text)
        result = "the store's result, which reflects the setter's"
        self.assertEqual(documented, [f"L2VPN_DB_ERR_PARAM if record is null; else {result}", result])

    def test_a_word_longer_than_a_line_is_not_broken(self):
        word = "x" * 120
        project = Project(self, {"l2vpn_test": TABLE.replace("for tests.", f"for {word}.")})
        project.run("headers")
        self.assertIn(f"\n * {word}.\n", project.header("l2vpn_test").read_text(encoding="utf-8"))

    def test_the_committed_headers_match_the_catalog(self):
        result = subprocess.run([sys.executable, "-B", str(ROOT / "generator"), "check"],
                                capture_output=True, text=True, check=False)
        self.assertEqual((result.returncode, result.stderr), (0, ""))


class Lines(unittest.TestCase):
    """The line numbers of entries and elements."""

    def test_entries_and_elements(self):
        text = """\
numbers = [12, 345, # 6, 7
  true]
"quoted" = ["one, two]", 'three # "four', "five \\" ]"]

[section] # of [brackets]
long = \"\"\"
] = [
\"\"\"
rows = [
  ["a]", [1, 2], 3], ["b"],
  # ["c"],
  ['[', "#"], {x = ["y"]},
  '''
]
''', 4
]
last = 5
"""
        self.assertEqual(tomllib.loads(text)["section"]["rows"][4:], ["]\n", 4])
        self.assertEqual(toml_lines.locate(text), {
            "numbers": 1, ("numbers", 0): 1, ("numbers", 1): 1, ("numbers", 2): 2,
            "quoted": 3, ("quoted", 0): 3, ("quoted", 1): 3, ("quoted", 2): 3,
            "section": 5, "long": 6,
            "rows": 9, ("rows", 0): 10, ("rows", 1): 10, ("rows", 2): 12, ("rows", 3): 12, ("rows", 4): 13,
            ("rows", 5): 15, "last": 17})


if __name__ == "__main__":
    unittest.main()
