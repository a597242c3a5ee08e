# SPDX-License-Identifier: MIT
"""The ABI check detects every kind of difference from the recorded baseline."""

import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

TABLE = """\
about       = "A table."
access      = "format"
record_size = 8
fields = [
  [0, 0, "u32", "vrIndex", "print"],
  [1, 4, "u32", "last"],
]
keys = [["primary_key", "vrIndex"]]
"""
HEADER = """\
#include <stdint.h>
#define L2VPN_CODE UINT32_C(1)
typedef enum L2vpnColour { L2VPN_RED = 1, L2VPN_GREEN } L2vpnColour;
typedef void (*L2vpnCallback)(const char *text, uint32_t length);
typedef struct L2vpnPair { uint32_t first; uint32_t second; } L2vpnPair;
extern L2vpnPair g_l2vpnPair;
"""
SOURCE = """\
#include "l2vpn_db/l2vpn_db.h"
L2vpnPair g_l2vpnPair;
uint32_t L2VPN_One(const L2vpnPair *pair, uint32_t value) { return pair->first + value; }
uint32_t L2VPN_Two(void) { return 2; }
uint32_t L2VPN_AST_L2vpnNewFormat(uint32_t id) { return id; }
"""


class Baseline(unittest.TestCase):
    def setUp(self):
        self.root = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.root)
        for name in ("abi", "include/l2vpn_db", "schema/catalog"):
            (self.root / name).mkdir(parents=True)
        shutil.copy(ROOT / "abi/baseline.py", self.root / "abi")
        shutil.copytree(ROOT / "generator", self.root / "generator")
        (self.root / "schema/catalog/l2vpn_old.toml").write_text(TABLE, encoding="utf-8")
        (self.root / "VERSION").write_text("0.1.0\n", encoding="utf-8")
        subprocess.run([sys.executable, "-B", self.root / "generator", "release"], check=True, capture_output=True)
        (self.root / "schema/catalog/l2vpn_new.toml").write_text(TABLE, encoding="utf-8")
        for name in ("platform.h", "memory_store.h"):
            (self.root / "include/l2vpn_db" / name).write_text("", encoding="utf-8")
        self.build()
        self.assertEqual(self.run_script("record").returncode, 0)

    def build(self, *change: str, options=()) -> None:
        """Builds the library, with one text replaced by another if given."""
        for name, text in (("include/l2vpn_db/l2vpn_db.h", HEADER), ("one.c", SOURCE)):
            (self.root / name).write_text(text.replace(*change) if change else text, encoding="utf-8")
        self.assertTrue(not change or change[0] in HEADER + SOURCE)
        subprocess.run(["cc", "-g", "-shared", "-fPIC", "-I", "include", "one.c", "-o", "libone.so", *options],
                       cwd=self.root, check=True)

    def run_script(self, command: str) -> subprocess.CompletedProcess:
        return subprocess.run([sys.executable, "-B", "abi/baseline.py", command, "libone.so", "include"], cwd=self.root,
                              capture_output=True, text=True, check=False)

    def differs(self, old: str, new: str, place: str, *words: str) -> None:
        self.build(old, new)
        result = self.run_script("check")
        self.assertEqual(result.returncode, 1, result.stdout + result.stderr)
        self.assertIn(f"abi/{place}:1: interface: found another one in ", result.stdout)
        for word in words:
            self.assertIn(word, result.stdout)

    def test_the_recorded_interface_is_accepted(self):
        result = self.run_script("check")
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))

    def test_functions_and_objects(self):
        self.differs("L2VPN_Two(void)", "L2VPN_Three(void)", "libone.abi", "1 Removed function", "1 Added function")
        self.differs("L2vpnPair g_l2vpnPair;\nuint32_t L2VPN_One", "uint32_t L2VPN_One", "libone.abi",
                     "1 Removed variable")
        self.differs("uint32_t L2VPN_Two", "int more;\nuint32_t L2VPN_Two", "libone.abi", "1 Added variable")

    def test_parameters_and_results(self):
        self.differs("uint32_t value", "uint64_t value", "libone.abi", "L2VPN_One", "parameter 2")
        self.differs("uint32_t value", "int32_t value", "libone.abi", "L2VPN_One", "parameter 2")
        self.differs("const L2vpnPair *pair", "L2vpnPair *pair", "libone.abi", "L2VPN_One", "parameter 1")
        self.differs("uint32_t L2VPN_Two", "uint8_t L2VPN_Two", "libone.abi", "L2VPN_Two", "return type")

    def test_structures(self):
        self.differs("uint32_t first; uint32_t second;", "uint32_t second; uint32_t first;", "libone.abi",
                     "offset changed")
        self.differs("uint32_t second;", "uint32_t second; uint32_t third;", "libone.abi", "type size changed")
        self.differs("uint32_t second;", "uint16_t second;", "libone.abi", "L2vpnPair")
        self.differs("uint32_t second;", "uint32_t other;", "libone.abi", "other")

    def test_constants_and_callback_types(self):
        self.differs("UINT32_C(1)", "UINT32_C(2)", "headers.txt", "+L2VPN_CODE UINT32_C(2)")
        self.differs("L2VPN_RED = 1", "L2VPN_RED = 5", "headers.txt", "+L2VPN_RED 5", "+L2VPN_GREEN 6")
        self.differs("L2VPN_GREEN }", "L2VPN_GREEN, L2VPN_BLUE }", "headers.txt", "+L2VPN_BLUE 3")
        self.differs("uint32_t length)", "uint64_t length)", "headers.txt", "+typedef void (*L2vpnCallback)")

    def test_unreleased_tables_may_change(self):
        for new in ("uint32_t L2VPN_AST_L2vpnNewFormat(uint64_t id)",
                    "uint32_t L2VPN_AST_L2vpnNewFormatTable(uint32_t id)"):
            self.build("uint32_t L2VPN_AST_L2vpnNewFormat(uint32_t id)", new)
            self.assertEqual(self.run_script("check").returncode, 0)
        self.differs("L2VPN_AST_L2vpnNewFormat(", "L2VPN_AST_L2vpnNewOther(", "libone.abi", "1 Added function")

    def test_a_library_without_debug_information_is_rejected(self):
        for options in (("-s",), ("-g0",)):
            self.build(options=options)
            result = self.run_script("check")
            self.assertEqual(result.returncode, 1)
            self.assertIn("libone.so:1: debug information: found none", result.stderr)

    def test_a_function_without_debug_information_is_rejected(self):
        self.build()
        subprocess.run(["cc", "-g0", "-c", "-x", "c", "-fPIC", "-", "-o", "bare.o"], cwd=self.root, check=True,
                       input="int L2VPN_Bare(void) { return 0; }\n", text=True)
        self.build(options=("bare.o",))
        result = self.run_script("check")
        self.assertEqual(result.returncode, 1)
        self.assertIn("libone.so:1: debug information: found none of L2VPN_Bare", result.stderr)


if __name__ == "__main__":
    unittest.main()
