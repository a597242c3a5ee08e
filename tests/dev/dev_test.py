# SPDX-License-Identifier: MIT
"""Tests ./dev (help, errors, package installation) in a temporary folder with a fake package manager."""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
TOOLS = ("bash", "cat", "comm", "cut", "dirname", "env", "grep", "mktemp", "nproc", "rm", "sed", "sort")
GENERATOR = "import sys; print('generator', *sys.argv[1:])"


class Dev(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.bin = self.root / "bin"
        for directory in ("bin", "generator", "tests"):
            (self.root / directory).mkdir()
        shutil.copy(ROOT / "dev", self.root)
        shutil.copy(ROOT / "tests/labels.txt", self.root / "tests")
        (self.root / "generator/__main__.py").write_text(GENERATOR, encoding="utf-8")
        for tool in (*TOOLS, "python3"):
            (self.bin / tool).symlink_to(shutil.which(tool))

    def script(self, name: str, text: str) -> None:
        path = self.bin / name
        path.write_text(f"#!/bin/bash\necho {name} \"$@\" >>{self.root}/calls\n{text}\n", encoding="utf-8")
        path.chmod(0o755)

    def system(self, installed: bool, apt_get: str = "true") -> None:
        """Fakes a Debian system with or without python3, the only package that `generate` needs."""
        self.script("dpkg-query", "echo 'ii python3'" if installed else "echo 'un python3'; exit 1")
        self.script("apt-get", apt_get)
        self.script("sudo", '"$@"')

    def dev(self, *arguments: str, **environment: str) -> tuple:
        result = subprocess.run([self.root / "dev", *arguments], capture_output=True, text=True, check=False,
                                env={"PATH": str(self.bin), "HOME": str(self.root), **environment})
        return result.returncode, result.stdout, result.stderr

    def calls(self, name: str) -> list:
        calls = (self.root / "calls").read_text(encoding="utf-8").splitlines()
        return [call.removeprefix(f"{name} ") for call in calls if call.startswith(f"{name} ")]

    def test_every_command_has_help(self):
        commands = re.findall(r"^command_(\w+)\(\)", (ROOT / "dev").read_text(encoding="utf-8"), re.M)
        for arguments in ((), ("help",), ("--help",), ("-h",)):
            status, text, errors = self.dev(*arguments)
            self.assertEqual((status, errors), (0, ""))
            self.assertEqual(re.findall(r"^  (\w+)", text, re.M), commands)

    def test_unknown_command(self):
        self.assertEqual(self.dev("tests"), (2, "", 'dev: unknown command "tests"; ./dev help lists the commands\n'))

    def test_unknown_label(self):
        for label in ("units", "unit ", ".*", ""):
            status, _, errors = self.dev("test", "--label", label)
            self.assertEqual(status, 1)
            self.assertIn(f'dev: unknown label "{label}"', errors)
            self.assertRegex(errors, "\nunit +C..")

    def test_complete_system_is_queried_once_and_left_alone(self):
        self.system(installed=True)
        self.assertEqual(self.dev("generate"), (0, "generator headers\n", ""))
        self.assertEqual((len(self.calls("dpkg-query")), self.calls("sudo"), self.calls("apt-get")), (1, [], []))

    def test_missing_packages_are_named_and_installed(self):
        self.system(installed=False)
        sudo = "" if os.geteuid() == 0 else "sudo "
        self.assertEqual(self.dev("generate"),
                         (0, "generator headers\n", f"dev: installing with {sudo}apt-get: python3\n"))
        self.assertRegex(self.calls("apt-get")[-1], "install --no-install-recommends python3$")

    def test_failed_installation_shows_its_output(self):
        self.system(installed=False, apt_get="echo no space left; exit 100")
        status, output, errors = self.dev("generate")
        self.assertEqual((status, output), (1, ""))
        self.assertRegex(errors, "(?s)installing.*no space left\n.*the installation failed")

    def test_no_install_lists_missing_packages_and_continues(self):
        self.system(installed=False)
        expected = (0, "generator headers\n", "dev: not installed: python3\n")
        self.assertEqual(self.dev("--no-install", "generate"), expected)
        self.assertEqual(self.dev("generate", L2VPN_NO_INSTALL="1"), expected)
        self.assertEqual(self.calls("apt-get"), [])

    def test_other_systems(self):
        status, _, errors = self.dev("generate")
        self.assertEqual((status, errors), (1, "dev: this is not Debian: install the equivalents of python3 and run "
                                               "./dev --no-install\n"))


if __name__ == "__main__":
    unittest.main()
