# SPDX-License-Identifier: MIT
"""Checks the ELF files of the libraries and the demo: exports, imports, dependencies, load-time code
and hardening.

All names are derived from the expectation files (tests/support/expectations.py), independently of
the generator.
"""

import argparse
import csv
import pathlib
import re
import subprocess
import sys
import unittest

options = argparse.Namespace()

STORE = {"DAL_VELD_" + name for name in (
    "Write", "Read", "Update", "Delete", "CreateIterator", "CreateIteratorByKey", "GetNextEntry",
    "ReleaseIterator", "Count", "CountByKey")}
HELPERS = {"ZAV_AtomicAdd", "sprintf_s"}
LIBC = {"__register_atfork", "pthread_mutex_lock", "pthread_mutex_unlock"}
SPIN_LOCK = {"pthread_spin_init", "pthread_spin_lock", "pthread_spin_unlock"}
# The embedded platform may import a subset of these.
PLATFORM_LIBC = LIBC | {
    "__cxa_atexit", "__errno_location", "__libc_single_threaded", "__vsnprintf_chk", "_dl_find_object",
    "clock_gettime", "free", "getauxval", "getrandom", "madvise", "malloc", "memcmp", "memcpy", "memmove",
    "memset", "mmap", "munmap", "pthread_key_create", "pthread_setcancelstate", "pthread_setspecific",
    "strchr", "strlen"}
PLATFORM_LIBSTDCXX = {"_ZSt20__throw_system_errori"}
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
    def __init__(self, name, typed, keys, updatable, svc_fields_split, copied):
        self.name = name
        self.camel = "".join(part.capitalize() for part in name.split("_"))
        self.typed = typed
        self.keys = keys  # [(infix, length)] in key index order
        self.updatable = updatable
        self.svc_fields_split = svc_fields_split
        self.copied = copied  # whether its conversions call memcpy_s

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
        names |= {"memcpy_s"} if self.copied else set()
        return names | ({f"db_set_{self.name}_batchVersion"} if self.updatable else set())

    def control_block(self):
        return f"g_l2vpn{self.camel}GlbCb"

    def descriptor(self):
        return f"g_l2vpn{self.camel}Intf"

    def control_block_size(self):
        return 192 + (self.keys[0][1] + 7) // 8 * 8

    def descriptor_size(self):
        return 80 + 8 * self.updatable + 8 * len(self.keys)


def read_tsv(name):
    with open(options.expected / name, encoding="utf-8") as file:
        lines = [line for line in file if not line.startswith("#")]
    return list(csv.DictReader(lines, delimiter="\t"))


def all_tables():
    keys = {}
    for row in read_tsv("keys.tsv"):
        length = 0 if row["length"] == "-" else int(row["length"])
        keys.setdefault(row["table"], []).append((row["infix"], length))
    updatable = {row["table"] for row in read_tsv("updates.tsv") if row["caller_id"] != "-"}
    split = {row["table"] for row in read_tsv("quirks.tsv") if row["quirk"] == "svc_fields_split"}
    copied = {row["table"] for row in read_tsv("conversions.tsv")
              if row["byte_strings"] != "-" or "*" in row["arrays"]}
    return [Table(name, row["access"] == "typed", keys[name], name in updatable, name in split, name in copied)
            for row in read_tsv("tables.tsv") for name in [row["table"]]]


def platform_interface(tables):
    """The functions that the library imports from a platform."""
    return (STORE | HELPERS).union(*(table.imports() for table in tables))


def store_extensions():
    """The functions that memory_store.h declares beyond platform.h."""
    root = pathlib.Path(__file__).resolve().parents[2]
    header = (root / "include/l2vpn_db/memory_store.h").read_text(encoding="utf-8")
    return set(re.findall(r"^uint32_t (L2VPN_STORE_\w+)\(", header, re.MULTILINE))


class Symbol:
    def __init__(self, columns):
        self.address = int(columns[1], 16)
        self.size = int(columns[2], 0)
        self.type = columns[3]
        self.binding = columns[4]
        self.section = columns[6]


class ElfFile:
    def __init__(self, path):
        self.path = path
        symbols = self.dynamic_symbols()
        self.exports = {name: symbol for name, symbol in symbols.items()
                        if symbol.section != "UND"}
        self.imports = {name for name, symbol in symbols.items() if symbol.section == "UND"}
        self.dynamic = self.readelf("--dynamic")
        self.header = self.readelf("--file-header")
        self.arm = re.search(r"Machine:\s+(.*)", self.header)[1] == "AArch64"
        # Type and permissions of each segment.
        self.segments = re.findall(r"^ +([A-Z_]+) +(?:0x\w+ +){5}([RWE ]{3})",
                                   self.readelf("--segments"), re.MULTILINE)

    def run(self, tool, *arguments):
        return subprocess.run([tool, "--wide", *arguments, self.path], check=True,
                              capture_output=True, text=True, env={"LC_ALL": "C"}).stdout

    def readelf(self, *arguments):
        return self.run(options.readelf, *arguments)

    def dynamic_symbols(self):
        symbols = {}
        for line in self.readelf("--dyn-syms").splitlines():
            columns = line.split()
            if len(columns) >= 8 and re.fullmatch(r"\d+:", columns[0]):
                symbols[columns[7].split("@")[0]] = Symbol(columns)
        # Local symbols (section symbols on ARM) are neither exports nor imports.
        return {name: symbol for name, symbol in symbols.items() if symbol.binding != "LOCAL"}

    def entries(self, tag):
        return re.findall(rf"\({tag}\)\s+(.*)", self.dynamic)

    def names(self, tag):
        return [re.search(r"\[(.*)\]", entry)[1] for entry in self.entries(tag)]

    def instructions(self):
        """The disassembled instructions by address."""
        text = self.run(options.objdump, "--disassemble", "--no-show-raw-insn")
        return {int(address, 16): instruction.strip() for address, instruction
                in re.findall(r"^ +([0-9a-f]+):\t(.*)", text, re.MULTILINE)}

    def stack_protector(self):
        return {"__stack_chk_fail"} | ({"__stack_chk_guard"} if self.arm else set())

    def libc(self):
        return {"libc.so.6"} | ({"ld-linux-aarch64.so.1"} if self.arm else set())


class Hardened:
    """Properties of every file."""

    maxDiff = None

    def test_has_no_text_relocations_and_no_search_path(self):
        for tag in self.forbidden:
            self.assertEqual(self.file.entries(tag), [], tag)
        self.assertNotIn("TEXTREL", " ".join(self.file.entries("FLAGS")))

    def test_full_relro(self):
        self.assertIn(("GNU_RELRO", "R  "), self.file.segments)
        self.assertIn("BIND_NOW", " ".join(self.file.entries("FLAGS")))
        self.assertIn("NOW", " ".join(self.file.entries("FLAGS_1")))

    def test_no_segment_is_writable_and_executable(self):
        self.assertIn(("GNU_STACK", "RW "), self.file.segments)
        self.assertIn(("LOAD", "R E"), self.file.segments)
        for kind, permissions in self.file.segments:
            self.assertFalse("W" in permissions and "E" in permissions, kind)

    def test_has_a_stack_protector(self):
        self.assertLessEqual(self.file.stack_protector(), self.file.imports)

    def test_is_position_independent(self):
        self.assertRegex(self.file.header, r"Type:\s+DYN ")


class HardenedLibrary(Hardened):
    """Properties of both libraries."""

    forbidden = ("TEXTREL", "RPATH", "RUNPATH")

    def test_has_an_initialiser_and_no_finalisers(self):
        """The initialiser registers the fork handlers."""
        self.assertEqual(self.file.entries("INIT_ARRAYSZ"), ["8 (bytes)"])
        for tag in ("INIT", "FINI", "FINI_ARRAY", "PREINIT_ARRAY"):
            self.assertEqual(self.file.entries(tag), [], tag)
        sections = re.findall(r"\[ *\d+\] (\S+)", self.file.readelf("--sections"))
        for section in (".init", ".fini", ".fini_array", ".ctors", ".dtors"):
            self.assertNotIn(section, sections)
        self.assertIn(".text", sections)
        symbols = re.findall(r"(\S+)$", self.file.readelf("--syms"), re.MULTILINE)
        self.assertNotIn("_init", symbols)
        self.assertNotIn("_fini", symbols)

    def test_is_never_unloaded(self):
        self.assertIn("NODELETE", " ".join(self.file.entries("FLAGS_1")))

    def test_has_the_control_flow_protection_property(self):
        feature = re.search(r"feature: (.*)", self.file.readelf("--notes"))
        self.assertIsNotNone(feature)
        self.assertEqual(feature[1].split(", "),
                         ["BTI", "PAC"] if self.file.arm else ["IBT", "SHSTK"])

    def test_functions_begin_with_a_landing_pad(self):
        landing_pads = ("bti\tc", "paciasp") if self.file.arm else ("endbr64",)
        instructions = self.file.instructions()
        for name, symbol in self.file.exports.items():
            if symbol.type == "FUNC":
                self.assertIn(instructions[symbol.address], landing_pads, name)


class Library(HardenedLibrary, unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tables = all_tables()
        cls.typed = [table for table in cls.tables if table.typed]
        cls.file = ElfFile(options.library)
        cls.exports = cls.file.exports

    def test_exports_exactly_the_interface(self):
        names = MODULE.union(*(table.exports() for table in self.tables))
        self.assertEqual(sorted(self.exports), sorted(names))

    def test_exports_the_recorded_baseline(self):
        recorded = re.findall(r"<elf-symbol name='(\w+)'", options.recorded.read_text(encoding="utf-8"))
        self.assertGreater(len(recorded), 0)
        self.assertEqual(sorted(set(recorded) - set(self.exports)), [])

    def test_exports_are_strong_functions_and_objects(self):
        for name, symbol in self.exports.items():
            kind = "OBJECT" if name.startswith("g_") else "FUNC"
            self.assertEqual((symbol.type, symbol.binding), (kind, "GLOBAL"), name)

    def test_imports_exactly_the_platform(self):
        libc = LIBC | self.file.stack_protector() | (SPIN_LOCK if self.file.arm else set())
        self.assertEqual(sorted(self.file.imports), sorted(platform_interface(self.tables) | libc))

    def test_depends_on_libc_only(self):
        self.assertEqual(set(self.file.names("NEEDED")), self.file.libc())

    def test_soname(self):
        self.assertEqual(self.file.names("SONAME"), ["libl2vpn_db.so.0"])

    def test_its_symbols_can_be_interposed(self):
        flags = " ".join(self.file.entries("FLAGS") + self.file.entries("FLAGS_1"))
        self.assertNotIn("SYMBOLIC", flags)
        self.assertEqual(self.file.entries("SYMBOLIC"), [])
        for line in self.file.readelf("--dyn-syms").splitlines():
            self.assertNotIn("PROTECTED", line)

    def test_objects_have_their_sizes(self):
        self.assertEqual(self.exports["g_l2vpnDbModuleIntf"].size, 24)
        for table in self.typed:
            self.assertEqual(self.exports[table.control_block()].size, table.control_block_size(),
                             table.control_block())
            self.assertEqual(self.exports[table.descriptor()].size, table.descriptor_size(),
                             table.descriptor())

    def test_objects_are_writable_and_control_blocks_in_bss(self):
        sections = {}
        for line in self.file.readelf("--sections").splitlines():
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


class EmbeddedPlatform(HardenedLibrary, unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.file = ElfFile(options.platform)

    def test_exports_the_imports_of_the_library_and_the_extensions(self):
        self.assertEqual(sorted(self.file.exports),
                         sorted(platform_interface(all_tables()) | store_extensions()))
        for name, symbol in self.file.exports.items():
            self.assertEqual((symbol.type, symbol.binding), ("FUNC", "GLOBAL"), name)

    def test_imports_nothing_unexpected(self):
        self.assertLessEqual(
            self.file.imports, PLATFORM_LIBC | PLATFORM_LIBSTDCXX | self.file.stack_protector())

    def test_prints_with_the_fortified_function(self):
        self.assertIn("__vsnprintf_chk", self.file.imports)

    def test_depends_on_the_runtime_libraries_only(self):
        self.assertEqual(set(self.file.names("NEEDED")), self.file.libc() | {"libstdc++.so.6"})

    def test_soname(self):
        self.assertEqual(self.file.names("SONAME"), ["libl2vpn_platform.so.0"])


class Demo(Hardened, unittest.TestCase):
    forbidden = ("TEXTREL",)  # its RUNPATH is the build directory

    @classmethod
    def setUpClass(cls):
        cls.file = ElfFile(options.demo)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for file in ("library", "platform", "demo"):
        parser.add_argument("--" + file, required=True)
    for tool in ("readelf", "objdump"):
        parser.add_argument("--" + tool, required=True)
    parser.add_argument("--expected", type=pathlib.Path, required=True)
    parser.add_argument("--recorded", type=pathlib.Path, help="the recorded interface of the library")
    _, rest = parser.parse_known_args(namespace=options)
    unittest.main(argv=[sys.argv[0], *rest])
