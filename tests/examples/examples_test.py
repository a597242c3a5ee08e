# SPDX-License-Identifier: MIT
"""Runs the examples and compares their output with the .txt files in this folder.

usage: examples_test.py FOLDER [EMULATOR...]
"""

import subprocess
import sys
import unittest
from pathlib import Path

FOLDER, *EMULATOR = sys.argv[1:]
RECORDS = ("vrIndex=1,instanceId=100,srcPid=301", "vrIndex=1,instanceId=200,encapType=5",
           "vrIndex=2,instanceId=100,encapType=5,timeStampApp=0xffffffffffffffff")


def run(program: str, *arguments: str) -> tuple:
    result = subprocess.run([*EMULATOR, f"{FOLDER}/{program}", *arguments], capture_output=True, text=True,
                            timeout=60, check=False)
    return result.returncode, result.stdout, result.stderr


def expected(name: str) -> str:
    return Path(__file__).with_name(f"{name}.txt").read_text(encoding="utf-8")


class Examples(unittest.TestCase):
    @unittest.skipIf(EMULATOR, "the compiler is the same")
    def test_they_compile_without_warnings(self):
        """With the options of a careful user, without those of this build."""
        root = Path(__file__).resolve().parents[2]
        for compiler, standard, suffix in (("cc", "c11", "c"), ("c++", "c++17", "cpp")):
            for source in sorted(root.glob(f"examples/*.{suffix}")):
                if "<l2vpn_db/" in source.read_text(encoding="utf-8"): # installed headers only
                    result = subprocess.run(
                        [compiler, f"-std={standard}", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fsyntax-only",
                         f"-I{root}/include", source], capture_output=True, text=True, check=False)
                    self.assertEqual((result.returncode, result.stderr), (0, ""), source)

    def test_provisioning_is_the_same_in_both_languages_and_on_both_platforms(self):
        for program in ("provisioning", "provisioning_cxx", "provisioning_on_own_platform"):
            with self.subTest(program):
                self.assertEqual(run(program), (0, expected("provisioning"), ""))

    def test_iterators(self):
        self.assertEqual(run("iterators"), (0, expected("iterators"), ""))

    def test_table_walker(self):
        for program in ("table_walker", "table_walker_on_own_platform"):
            with self.subTest(program):
                self.assertEqual(run(program, "l2vpn_vpls_inst", *RECORDS), (0, expected("table_walker"), ""))

    def test_table_walker_on_other_tables(self):
        self.assertEqual(run("table_walker", "l2vpn_vpls_pw"), (0, "", ""))
        first, *_ = run("table_walker", "l2vpn_vll_pw", "vrIndex=3")[1].splitlines()
        self.assertEqual(first, "l2vpn_vll_pw vrIndex=3")

    def test_table_walker_rejects_bad_arguments(self):
        for arguments, message in (
                ((), "usage: table_walker TABLE field=number,field=number... ..."),
                (("l2vpn_vpls_pv",), "no such table: l2vpn_vpls_pv"),
                (("l2vpn_vpls_pw_",), "no such table: l2vpn_vpls_pw_"),
                (("l2vpn_bfdlnk",), "can be described and formatted only: l2vpn_bfdlnk"),
                (("l2vpn_vpls_inst", "vrindex=1"), "no such field: vrindex"),
                (("l2vpn_vpls_inst", "vrIndex"), "expected field=number: vrIndex"),
                (("l2vpn_vpls_inst", "vrIndex="), "expected a number for vrIndex"),
                (("l2vpn_vpls_inst", "vrIndex=1x"), "expected a number for vrIndex"),
                (("l2vpn_vpls_inst", "svcCtx=1"), "expected a number for svcCtx"),
                (("l2vpn_vpls_inst", "encapType=65536"), "too large for its field: encapType")):
            with self.subTest(arguments):
                self.assertEqual(run("table_walker", *arguments), (1, "", f"table_walker: {message}\n"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
