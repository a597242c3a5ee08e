# SPDX-License-Identifier: MIT
"""The site's pages leave nothing out: every declaration of the headers, every field and key of the
tables. What links to what is Sphinx's to check, in ./dev docs."""

import re
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "docs/site"))
import api  # noqa: E402  # pylint: disable=wrong-import-position
import catalog_pages  # noqa: E402  # pylint: disable=wrong-import-position

INCLUDE = ROOT / "include/l2vpn_db"


class Site(unittest.TestCase):
    def test_headers(self):
        pages = api.pages(INCLUDE)
        self.assertEqual(sorted(pages), sorted(path.stem for path in INCLUDE.glob("*.h")))
        for name, page in pages.items():
            text = (INCLUDE / f"{name}.h").read_text(encoding="utf-8")
            without_comments = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
            # Functions stand at the beginning of a line, their names before a parenthesis.
            functions = set(re.findall(r"^(?!typedef|#|static_assert)\w[\w ]*[ *](\w+)\(", without_comments, re.M))
            self.assertEqual(set(re.findall(r"\.\. c:function:: [^(]*?(\w+)\(", page)), functions, name)
            macros = set(re.findall(r"^#define (\w+) \S", text, re.M))
            self.assertEqual(set(re.findall(r"\.\. c:macro:: (\w+)", page)), macros, name)
            structures = set(re.findall(r"^typedef struct (\w+)", text, re.M))
            self.assertEqual(set(re.findall(r"\.\. c:struct:: (\w+)", page)), structures, name)
            bodies = re.findall(r"^typedef struct \w+ \{(.*?)^\}", without_comments, re.M | re.S)
            self.assertEqual(page.count(".. c:member:: "), sum(body.count(";") for body in bodies), name)
            self.assertEqual(re.findall(r"^(.*)\n-+$", page, re.M), re.findall(r"^/\* ---- (.*?) -+ \*/", text, re.M))

    def test_comments_arrive_whole(self):
        page = api.pages(INCLUDE)["l2vpn_vpls_pw"]
        self.assertIn("   Opens an iterator of the store over the records with the same vrIndex and instanceId as record."
                      "\n\n\n   :return: a handle to release with ReleaseIter; 0 if record is null or the store opens "
                      "none\n", page)
        self.assertIn("   .. c:member:: uint8_t glbSvcCtx[2][28]\n\n"
                      "      Fields 40 and 41 at 96: global service context, two elements of opaque bytes.\n", page)

    def test_tables(self):
        pages = catalog_pages.pages()
        errors = []
        tables = catalog_pages.catalog.load(ROOT, errors)
        self.assertEqual((errors, sorted(pages)), ([], sorted([table.name for table in tables] + ["index"])))
        for table in tables:
            self.assertIn(f"| [{table.name}](/catalog/{table.name}.md) | {table.about} | {table.record_size} |",
                          pages["index"])
            for item in table.fields:
                self.assertRegex(pages[table.name],
                                 rf"\| {item.id}(, {item.id + 1})? \| `{item.name}` \| .* \| {item.offset} \|")
            for key in table.keys:
                members = ", ".join(f"`{item.name}`" for item in key.members)
                self.assertIn(f"| {key.index} | `{key.name}` | {members} | {key.length} |", pages[table.name])


if __name__ == "__main__":
    unittest.main()
