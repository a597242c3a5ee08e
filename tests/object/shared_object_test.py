# SPDX-License-Identifier: MIT
"""Checks the built library as a file: what it exports, imports, needs and runs at load time.

All names are computed here from the tables (headers), the keys and their widths (tests/expected,
or the catalog for a table that is not listed there); nothing is taken from the generator.
"""

import argparse
import csv
import pathlib
import re
import subprocess
import sys
import tomllib
import unittest

options = argparse.Namespace()

STORE = {"DAL_VELD_" + name for name in (
    "Write", "Read", "Update", "Delete", "CreateIterator", "CreateIteratorByKey", "GetNextEntry",
    "ReleaseIterator", "Count", "CountByKey")}
HELPERS = {"ZAV_AtomicAdd", "memcpy_s", "sprintf_s"}
LIBC = {"pthread_mutex_lock", "pthread_mutex_unlock"}
SPIN_LOCK = {"pthread_spin_init", "pthread_spin_lock", "pthread_spin_unlock"}
HARDENING = {"__stack_chk_fail"}
MODULE = {"L2VPN_DB_ModuleIntf", "L2VPN_DB_MemIntfReg", "L2VPN_DB_LogIntfReg",
          "g_l2vpnDbModuleIntf"}
DB_FUNCTIONS = (
    "GlbInit", "Stat", "GetStat", "SetAllFields", "GetAllFields", "Write", "ReadByKey", "Read",
    "Delete", "Count", "MapKeyId", "CreateFastPriIter", "GetNext", "ReleaseIter", "UpdateFields",
    "UpdateField", "SetFields", "MapUpdateFieldId", "CreateIter", "CountByKey", "DalIntf")
DAL_FUNCTIONS = ("Read", "Write", "Update", "Remove", "CreateIter", "GetNext", "Count",
                 "CountByKey")
AST_FUNCTIONS = ("Format", "FormatTable", "Module")


class Table:
    def __init__(self, name, typed, keys, updatable, svc_fields_split):
        self.name = name
        self.camel = "".join(part.capitalize() for part in name.split("_"))
        self.typed = typed
        self.keys = keys  # [(infix, length)] in key index order
        self.updatable = updatable
        self.svc_fields_split = svc_fields_split

    def exports(self):
        names = {f"L2VPN_AST_{self.camel}{function}" for function in AST_FUNCTIONS}
        if not self.typed:
            return names
        names |= {f"L2VPN_DB_{self.camel}{function}" for function in DB_FUNCTIONS}
        names |= {f"L2VPN_DAL_{self.camel}{function}" for function in DAL_FUNCTIONS}
        for infix, _ in self.keys:
            names |= {f"L2VPN_DB_{self.camel}Set{infix}Key",
                      f"L2VPN_DB_{self.camel}Create{infix}Iter",
                      f"L2VPN_DB_{self.camel}CountBy{infix}Key"}
        if self.svc_fields_split:
            names |= {f"L2VPN_DB_{self.camel}SetSvcFields", f"L2VPN_DB_{self.camel}GetSvcFields"}
        return names | {self.control_block(), self.descriptor()}

    def imports(self):
        if not self.typed:
            return set()
        names = {f"db_create_{self.name}_obj", f"db_release_{self.name}_object",
                 f"db_reset_{self.name}_object", f"db_set_{self.name}_all_fields"}
        return names | ({f"db_set_{self.name}_batchVersion"} if self.updatable else set())

    def control_block(self):
        return f"g_l2vpn{self.camel}GlbCb"

    def descriptor(self):
        return f"g_l2vpn{self.camel}Intf"

    def control_block_size(self):
        return 192 + (self.keys[0][1] + 7) // 8 * 8

    def descriptor_size(self):
        return 80 + 8 * self.updatable + 8 * len(self.keys)


def infix_of(index, key):
    if index == 0:
        return "Primary"
    parts = key.split("_")
    if parts[-1] == "key":
        parts.pop()
    return "".join(part[:1].upper() + part[1:].lower() for part in parts)


def read_tsv(name):
    with open(options.expected / name, encoding="utf-8") as file:
        lines = [line for line in file if not line.startswith("#")]
    return list(csv.DictReader(lines, delimiter="\t"))


def width_of(type_name):
    plain = {"u8": 1, "u16": 2, "u32": 4, "u64": 8, "pair": 2, "mac": 6}
    if type_name in plain:
        return plain[type_name]
    elements, _, size = type_name.partition("x")
    if size:
        return int(elements) * int(size)
    return int(re.fullmatch(r"[a-z]+(\d+)", type_name)[1])


def listed_tables():
    keys = {}
    for row in read_tsv("keys.tsv"):
        length = 0 if row["length"] == "-" else int(row["length"])
        keys.setdefault(row["table"], []).append((row["infix"], length))
    updatable = {row["table"] for row in read_tsv("updates.tsv") if row["caller_id"] != "-"}
    split = {row["table"] for row in read_tsv("quirks.tsv") if row["quirk"] == "svc_fields_split"}
    return {row["table"]: Table(row["table"], row["access"] == "typed", keys[row["table"]],
                                row["table"] in updatable, row["table"] in split)
            for row in read_tsv("tables.tsv")}


def table_from_catalog(name):
    with open(options.catalog / (name + ".toml"), "rb") as file:
        entry = tomllib.load(file)
    widths = {field[3]: width_of(field[2]) for field in entry["fields"]}
    keys = [(infix_of(index, key[0]), sum(widths[member] for member in key[1:]))
            for index, key in enumerate(entry["keys"])]
    return Table(name, entry["access"] == "typed", keys, "batchVersion" in widths,
                 "svc_fields_split" in entry.get("quirks", ()))


def readelf(*arguments):
    return subprocess.run([options.readelf, "--wide", *arguments, options.library], check=True,
                          capture_output=True, text=True, env={"LC_ALL": "C"}).stdout


class Symbol:
    def __init__(self, columns):
        self.size = int(columns[2], 0)
        self.type = columns[3]
        self.binding = columns[4]
        self.section = columns[6]


def dynamic_symbols():
    symbols = {}
    for line in readelf("--dyn-syms").splitlines():
        columns = line.split()
        if len(columns) >= 8 and re.fullmatch(r"\d+:", columns[0]):
            symbols[columns[7].split("@")[0]] = Symbol(columns)
    # Local entries (sections, on ARM) are neither exports nor imports.
    return {name: symbol for name, symbol in symbols.items() if symbol.binding != "LOCAL"}


class SharedObject(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        headers = {path.stem for path in options.include.glob("l2vpn_db/l2vpn_*.h")}
        cls.listed = listed_tables()
        cls.tables = [cls.listed.get(name) or table_from_catalog(name)
                      for name in sorted(headers - {"l2vpn_db"})]
        cls.typed = [table for table in cls.tables if table.typed]
        symbols = dynamic_symbols()
        cls.exports = {name: symbol for name, symbol in symbols.items()
                       if symbol.section != "UND"}
        cls.imports = {name: symbol for name, symbol in symbols.items()
                       if symbol.section == "UND"}
        cls.dynamic = readelf("--dynamic")
        cls.machine = re.search(r"Machine:\s+(.*)", readelf("--file-header"))[1]

    def entries(self, tag):
        return re.findall(rf"\({tag}\)\s+(.*)", self.dynamic)

    def test_every_listed_table_has_a_header(self):
        self.assertLessEqual(set(self.listed), {table.name for table in self.tables})

    def test_exports_exactly_the_interface(self):
        names = MODULE.union(*(table.exports() for table in self.tables))
        self.assertEqual(sorted(self.exports), sorted(names))
        if set(self.listed) == {table.name for table in self.tables}:
            self.assertEqual(len(self.exports), 1132)

    def test_exports_are_strong_functions_and_objects(self):
        for name, symbol in self.exports.items():
            kind = "OBJECT" if name.startswith("g_") else "FUNC"
            self.assertEqual((symbol.type, symbol.binding), (kind, "GLOBAL"), name)

    def test_imports_exactly_the_platform(self):
        platform = STORE | HELPERS
        platform = platform.union(*(table.imports() for table in self.typed))
        libc = LIBC | (SPIN_LOCK if self.machine == "AArch64" else set())
        imports = set(self.imports)
        self.assertLessEqual(platform | libc, imports)
        self.assertLessEqual(imports - platform - libc, HARDENING)

    def test_needs_libc_only(self):
        needed = {re.search(r"\[(.*)\]", entry)[1] for entry in self.entries("NEEDED")}
        allowed = {"libc.so.6"}
        if self.machine == "AArch64":
            allowed.add("ld-linux-aarch64.so.1")
        self.assertIn("libc.so.6", needed)
        self.assertLessEqual(needed, allowed)

    def test_soname(self):
        self.assertEqual([re.search(r"\[(.*)\]", entry)[1] for entry in self.entries("SONAME")],
                         ["libl2vpn_db.so.0"])

    def test_runs_nothing_at_load_or_unload(self):
        for tag in ("INIT", "FINI", "INIT_ARRAY", "FINI_ARRAY", "PREINIT_ARRAY"):
            self.assertEqual(self.entries(tag), [], tag)
        sections = re.findall(r"\[ *\d+\] (\S+)", readelf("--sections"))
        for section in (".init", ".fini", ".init_array", ".fini_array", ".ctors", ".dtors"):
            self.assertNotIn(section, sections)
        self.assertIn(".text", sections)
        symbols = re.findall(r"(\S+)$", readelf("--syms"), re.MULTILINE)
        self.assertNotIn("_init", symbols)
        self.assertNotIn("_fini", symbols)

    def test_has_no_text_relocations_and_no_search_path(self):
        for tag in ("TEXTREL", "RPATH", "RUNPATH"):
            self.assertEqual(self.entries(tag), [], tag)
        flags = " ".join(self.entries("FLAGS"))
        self.assertNotIn("TEXTREL", flags)

    def test_is_not_bound_to_its_own_symbols(self):
        flags = " ".join(self.entries("FLAGS") + self.entries("FLAGS_1"))
        self.assertNotIn("SYMBOLIC", flags)
        self.assertEqual(self.entries("SYMBOLIC"), [])
        for line in readelf("--dyn-syms").splitlines():
            self.assertNotIn("PROTECTED", line)

    def test_stack_is_not_executable(self):
        stack = re.search(r"GNU_STACK\s.*", readelf("--segments"))
        self.assertIsNotNone(stack)
        self.assertNotIn("E", stack[0].split()[-2])

    def test_objects_have_their_sizes(self):
        self.assertEqual(self.exports["g_l2vpnDbModuleIntf"].size, 24)
        for table in self.typed:
            self.assertEqual(self.exports[table.control_block()].size, table.control_block_size(),
                             table.control_block())
            self.assertEqual(self.exports[table.descriptor()].size, table.descriptor_size(),
                             table.descriptor())

    def test_objects_are_writable_and_blocks_zero_filled(self):
        sections = {}
        for line in readelf("--sections").splitlines():
            match = re.match(r"\s+\[ *(\d+)\] (\S+)\s+(\S+)\s+(.*)", line)
            if match:
                flags = match[4].split()[4]
                sections[match[1]] = (match[2], match[3], flags)
        for table in self.typed:
            _, kind, flags = sections[self.exports[table.control_block()].section]
            self.assertEqual((kind, "W" in flags), ("NOBITS", True), table.control_block())
            name, kind, flags = sections[self.exports[table.descriptor()].section]
            self.assertEqual((kind, "W" in flags), ("PROGBITS", True), table.descriptor())
            self.assertNotIn("rel.ro", name, table.descriptor())
        self.assertEqual(sections[self.exports["g_l2vpnDbModuleIntf"].section][1], "NOBITS")


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--library", required=True)
    parser.add_argument("--readelf", required=True)
    for folder in ("include", "catalog", "expected"):
        parser.add_argument("--" + folder, type=pathlib.Path, required=True)
    _, rest = parser.parse_known_args(namespace=options)
    unittest.main(argv=[sys.argv[0], *rest])
