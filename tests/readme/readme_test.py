# SPDX-License-Identifier: MIT
"""The documents agree with the repository."""

import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
DOCUMENTS = {path.relative_to(ROOT): path.read_text(encoding="utf-8") for path in (
    *sorted(ROOT.glob("*.md")), ROOT / "examples/README.md", *sorted((ROOT / "docs").glob("*.md")))}


def blocks(document: str, language: str) -> list:
    return re.findall(rf"```{language}\n(.*?)```", DOCUMENTS[Path(document)], re.S)


def block(document: str, language: str) -> str:
    return blocks(document, language)[0]


class Readme(unittest.TestCase):
    def test_the_c_example_is_the_tested_program(self):
        program = (ROOT / "examples/first_steps.c").read_text(encoding="utf-8")
        self.assertEqual(program.split("\n", 1)[1], block("README.md", "c"))

    def test_the_iterator_guide_quotes_the_example_and_its_output(self):
        program = (ROOT / "examples/iterators.c").read_text(encoding="utf-8")
        output = (ROOT / "tests/examples/iterators.txt").read_text(encoding="utf-8")
        quotes = blocks("docs/iterators.md", "c")
        self.assertEqual(len(quotes), 2)
        for quote in quotes:
            self.assertIn(quote, program)
        self.assertIn(block("docs/iterators.md", "text"), output)

    def test_the_catalog_example_is_accepted(self):
        with tempfile.TemporaryDirectory() as folder:
            root = Path(folder)
            for name, text in (("schema/catalog/l2vpn_sample.toml", block("docs/adding-a-table.md", "toml")),
                               ("schema/glossary.toml", ""), ("include/l2vpn_db/l2vpn_db.h", "")):
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).write_text(text, encoding="utf-8")
            result = subprocess.run([sys.executable, "-B", str(ROOT / "generator"), "headers", "--root", folder],
                                    capture_output=True, text=True, check=False)
            self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_no_document_counts_the_tables(self):
        count = len(list((ROOT / "schema/catalog").glob("*.toml")))
        site = {path: path.read_text(encoding="utf-8") for path in (ROOT / "docs/site").glob("*.[mh]*")}
        for document, text in (DOCUMENTS | site).items():
            if document == Path("CHANGELOG.md"):  # history
                continue
            self.assertNotRegex(text, rf"(?i)\b{count} (tables|in all)\b|\b(all|the) {count}\b", document)

    def test_linked_files_exist(self):
        for document, text in DOCUMENTS.items():
            for link in re.findall(r"\]\(([^)#:]+)\)", text):
                self.assertTrue((ROOT / document.parent / link).exists(), f"{document}: {link}")


if __name__ == "__main__":
    unittest.main()
