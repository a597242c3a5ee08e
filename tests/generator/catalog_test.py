# SPDX-License-Identifier: MIT
"""A wrong catalog entry is refused with its place, what was found and what was expected."""

import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

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
    """A copy of what the generator reads and writes, with a catalog of the test's own."""

    def __init__(self, test: unittest.TestCase, tables: dict):
        self.root = Path(tempfile.mkdtemp())
        test.addCleanup(shutil.rmtree, self.root)
        (self.root / "schema/catalog").mkdir(parents=True)
        (self.root / "include/l2vpn_db").mkdir(parents=True)
        shutil.copy(ROOT / "schema/glossary.toml", self.root / "schema")
        for name, text in tables.items():
            (self.root / "schema/catalog" / f"{name}.toml").write_text(text, encoding="utf-8")

    def run(self, *arguments: str) -> subprocess.CompletedProcess:
        return subprocess.run(
            [sys.executable, "-B", str(ROOT / "generator"), *arguments, "--root", str(self.root)],
            capture_output=True, text=True, check=False)

    def header(self, name: str) -> Path:
        return self.root / f"include/l2vpn_db/{name}.h"


class Refusal(unittest.TestCase):
    def refused(self, text: str, line: int, *words: str, name: str = "l2vpn_test") -> list:
        project = Project(self, {name: text})
        result = project.run("headers")
        self.assertEqual(result.returncode, 1, result.stdout)
        lines = result.stderr.strip().split("\n")
        place = f"schema/catalog/{name}.toml:{line}: "
        found = [message for message in lines
                 if message.startswith(place) and all(word in message for word in words)]
        self.assertTrue(found, f"wanted {place}...{words} in\n{result.stderr}")
        for message in lines:
            self.assertRegex(message, r"found .*, expected ")
        self.assertFalse(list(project.root.glob("include/l2vpn_db/*")), "a header was written")
        return lines

    def changed(self, old: str, new: str, line: int, *words: str) -> None:
        self.assertIn(old, TABLE)
        messages = self.refused(TABLE.replace(old, new, 1), line, *words)
        self.assertEqual(len(messages), 1, messages)

    def test_the_unchanged_table_is_accepted(self):
        project = Project(self, {"l2vpn_test": TABLE})
        result = project.run("headers")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertTrue(project.header("l2vpn_test").exists())

    def test_repeated_id(self):
        self.changed('[  3,  12, "u8"', '[  2,  12, "u8"', 11, '"rsv1", id', "found 2", "expected 3")

    def test_shifted_ids_are_reported_where_the_shift_begins(self):
        text = TABLE.replace("[  2,  10", "[  3,  10").replace("[  3,  12", "[  4,  12")
        text = text.replace("[  4,  13", "[  5,  13").replace("[  6,  15", "[  7,  15")
        text = text.replace("[  8,  28", "[  9,  28").replace("[  9,  32", "[ 10,  32")
        text = text.replace("[ 10,  40", "[ 11,  40")
        self.assertEqual(len(self.refused(text, 10, '"vlanId", id', "found 3", "expected 2")), 1)

    def test_a_service_array_takes_two_ids(self):
        self.changed('[  6,  15, "2x6"', '[  5,  15, "2x6"', 13, "found 5", "expected 6")

    def test_wrong_offset(self):
        self.changed('[  2,  10, "u16"', '[  2,  12, "u16"', 10, '"vlanId", offset', "found 12", "expected 10")

    def test_an_integer_stands_at_its_natural_alignment(self):
        self.changed('[  8,  28, "u32"', '[  8,  27, "u32"', 14, "found 27", "expected 28")

    def test_wrong_record_size(self):
        self.changed("record_size = 48", "record_size = 44", 3, "found 44", "expected 48")

    def test_wrong_stored_size(self):
        self.changed("stored_size = 41", "stored_size = 48", 4, "found 48", "expected 41")

    def test_unknown_type_names_the_nearest(self):
        self.changed('"u64"', '"U64"', 15, "found \"U64\"", 'did you mean "u64"')
        self.changed('"2x6"', '"2x0"', 13, 'found "2x0"')
        self.changed('"2x6"', '"2x1"', 13, 'found "2x1"', "pair")
        self.changed('"u16",  "last"', '"bytes4",  "last"', 16, 'found "bytes4"')

    def test_key_member_that_is_no_field_names_the_nearest(self):
        self.changed('"vrIndex", "macAddr"]', '"vrIndx", "macAddr"]', 19, 'found "vrIndx"',
                     'did you mean "vrIndex"')

    def test_key_member_twice(self):
        self.changed('["vlan_key", "vlanId"]', '["vlan_key", "vlanId", "vlanId"]', 20, "twice")

    def test_key_member_that_is_a_service_array(self):
        self.changed('["vlan_key", "vlanId"]', '["vlan_key", "svcStatus"]', 20, "svcStatus")

    def test_key_names_with_one_infix(self):
        self.changed('["vlan_key", "vlanId"]', '["if_inst_key", "vlanId"]', 21, '"IfInst"', '"if_inst_key"')
        self.changed('["vlan_key", "vlanId"]', '["IF_INST", "vlanId"]', 21, '"IfInst"')

    def test_key_names_that_meet_other_functions(self):
        self.changed('["vlan_key", "vlanId"]', '["primary", "vlanId"]', 20, '"Primary"')
        self.changed('["vlan_key", "vlanId"]', '["fast_pri_key", "vlanId"]', 20, '"FastPri"')
        self.changed('["vlan_key", "vlanId"]', '["key", "vlanId"]', 20, "no word besides key")

    def test_printed_fields_that_cannot_be_printed(self):
        self.changed('"timeStampApp"', '"timeStampApp", "print"', 15, "8 bytes")
        self.changed('"rsv1"', '"rsv1", "print"', 11, "reserved field")
        text = TABLE.replace('"2x6"', '"2x5"').replace("stored_size = 41", "stored_size = 39")
        self.refused(text.replace("[  8,  28", "[  8,  28"), 13, "10 bytes", "multiple of 4")

    def test_unknown_entry_names_the_nearest(self):
        self.changed("quirks      =", "quirk       =", 5, 'unknown entry: found "quirk"',
                     'did you mean "quirks"')

    def test_unknown_quirk_names_the_nearest(self):
        self.changed("trailing_separator", "trailing_seperator", 5, 'did you mean "trailing_separator"')

    def test_missing_entries(self):
        self.refused(TABLE.replace("record_size = 48\n", ""), 1, "record_size", "found none")
        self.refused(TABLE.replace("stored_size = 41\n", ""), 1, "stored_size", "found none")

    def test_wrong_access(self):
        self.refused(TABLE.replace('"typed"', '"typd"'), 2, 'found "typd"')

    def test_repeated_field_name(self):
        self.changed('"rsv1"', '"vlanId"', 11, "second field", "line 10")

    def test_field_names_that_c_cannot_have(self):
        self.changed('"last"', '"default"', 16, "a word of C or C++")
        self.changed('"last"', '"Last"', 16, "lower camel case")

    def test_a_row_of_the_wrong_shape(self):
        self.refused(TABLE.replace('[ 10,  40, "u16",  "last"]', '[ 10,  40, "u16"]'), 16, "field row 8")
        self.refused(TABLE.replace('["vlan_key", "vlanId"]', '["vlan_key"]'), 20, "key row 1")
        self.refused(TABLE.replace('"vlanId"],\n  [  3', '"vlanId", "prnt"],\n  [  3'), 10, '"print"')

    def test_syntax_error(self):
        self.refused(TABLE.replace('"if_inst", "vlanId"', '"if_inst" "vlanId"'), 21, "syntax")

    def test_repeated_entry(self):
        self.refused(TABLE + "record_size = 48\n", 23, "syntax")

    def test_batch_version_of_another_width(self):
        text = TABLE.replace('[  8,  28, "u32"', '[  8,  28, "u16"').replace("stored_size = 41", "stored_size = 39")
        self.refused(text, 14, '"batchVersion", type', 'expected "u32"')

    def test_file_name(self):
        self.refused(TABLE, 1, "table name", name="vpls_thing")
        self.refused(TABLE, 1, "table name", name="l2vpn_Thing")

    def test_names_that_the_shared_header_has(self):
        for name in ("l2vpn_db", "l2vpn_db_iter", "l2vpn_dal_intf", "l2vpn_ast_field"):
            self.refused(TABLE, 1, "table name", "does not begin with", name=name)

    def test_words_that_compilers_define(self):
        for word in ("linux", "unix", "typeof", "errno"):
            self.changed('"last"', f'"{word}"', 16, "a word of C or C++")

    def test_nothing_to_be_printed(self):
        self.refused(TABLE.replace(', "print"', ""), 6, "fields", "none to be printed")

    def test_a_record_that_is_too_long(self):
        self.refused(TABLE.replace('"2x6"', '"2x5000"'), 13, "records of at most 8192 bytes")

    def test_several_errors_are_reported_together(self):
        text = TABLE.replace("record_size = 48", "record_size = 44").replace('"vlan_key"', '"vlan key"')
        self.assertEqual(len(self.refused(text, 3)), 2)

    def test_lines_are_right_behind_comments_and_strings_over_several_lines(self):
        text = TABLE.replace('about       = "A table for tests."',
                             '# a comment with "quotes" and [brackets]\nabout = "A [table] # here."')
        self.refused(text.replace("[  2,  10", "[  2,  11"), 11, '"vlanId", offset')

    def test_several_rows_in_one_line(self):
        text = TABLE.replace('"vlanId"],\n  [  3,  12', '"vlanId"], [  7,  12')
        self.refused(text, 10, '"rsv1", id', "found 7")

    def test_tables_with_the_same_function_names(self):
        project = Project(self, {"l2vpn_a1": TABLE, "l2vpn_a_1": TABLE})
        result = project.run("headers")
        self.assertEqual(result.returncode, 1)
        self.assertIn("schema/catalog/l2vpn_a_1.toml:1: table name: found L2vpnA1", result.stderr)

    def test_tables_whose_headers_share_a_name(self):
        project = Project(self, {"l2vpn_x": TABLE, "l2vpn_x_glb_cb": TABLE})
        result = project.run("headers")
        self.assertEqual(result.returncode, 1)
        self.assertIn("found L2vpnXGlbCb", result.stderr)

    def test_no_catalog(self):
        result = Project(self, {}).run("headers")
        self.assertEqual(result.returncode, 1)
        self.assertIn("found no catalog files", result.stderr)


class Drift(unittest.TestCase):
    def test_headers_as_written_pass(self):
        project = Project(self, {"l2vpn_test": TABLE})
        project.run("headers")
        self.assertEqual(project.run("check").returncode, 0)

    def test_a_changed_header_is_found(self):
        project = Project(self, {"l2vpn_test": TABLE})
        project.run("headers")
        with open(project.header("l2vpn_test"), "a", encoding="utf-8") as file:
            file.write("\n")
        result = project.run("check", "--new-ok")
        self.assertEqual(result.returncode, 1)
        self.assertIn("include/l2vpn_db/l2vpn_test.h:1: found other text", result.stderr)

    def test_a_missing_header_is_found_unless_the_table_may_be_new(self):
        project = Project(self, {"l2vpn_test": TABLE})
        self.assertEqual(project.run("check").returncode, 1)
        self.assertEqual(project.run("check", "--new-ok").returncode, 0)

    def test_a_left_over_header_is_found_and_removed(self):
        project = Project(self, {"l2vpn_test": TABLE})
        project.run("headers")
        project.header("l2vpn_gone").write_text("", encoding="utf-8")
        result = project.run("check", "--new-ok")
        self.assertEqual(result.returncode, 1)
        self.assertIn("l2vpn_gone.h", result.stderr)
        project.run("headers")
        self.assertFalse(project.header("l2vpn_gone").exists())

    def test_the_committed_headers_are_what_the_catalog_gives(self):
        result = subprocess.run([sys.executable, "-B", str(ROOT / "generator"), "check"],
                                capture_output=True, text=True, check=False)
        self.assertEqual((result.returncode, result.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main()
