# SPDX-License-Identifier: MIT
"""The site's pages are complete: every declaration of the headers, every field and key of the tables,
every document. Sphinx checks the links, in ./dev docs."""

import json
import re
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "docs/site"))
import api  # noqa: E402  # pylint: disable=wrong-import-position
import build_site  # noqa: E402  # pylint: disable=wrong-import-position
import catalog_pages  # noqa: E402  # pylint: disable=wrong-import-position
import figures  # noqa: E402  # pylint: disable=wrong-import-position
import text_report  # noqa: E402  # pylint: disable=wrong-import-position

INCLUDE = ROOT / "include/l2vpn_db"


class Site(unittest.TestCase):
    def test_headers(self):
        pages = api.pages(INCLUDE)
        self.assertEqual(sorted(pages), sorted(path.stem for path in INCLUDE.glob("*.h")))
        for name, page in pages.items():
            text = (INCLUDE / f"{name}.h").read_text(encoding="utf-8")
            without_comments = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
            # A function begins a line; its name precedes a parenthesis.
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
        self.assertIn("   Opens a store iterator over the records with the same vrIndex and instanceId as record."
                      "\n\n\n   :return: a handle, to be released with ReleaseIter; 0 if record is null or the store "
                      "cannot open one\n", page)
        self.assertIn("   .. c:member:: uint8_t glbSvcCtx[2][28]\n\n"
                      "      Fields 40 and 41 at 96: global service context, two elements of opaque bytes.\n", page)

    def test_lists_keep_their_indentation(self):
        for name, page in api.pages(INCLUDE).items():
            self.assertEqual(re.findall(r"(?m)^ .+\n(?=([^ \n\d].*))", page), [], name)

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

    def test_measurements(self):
        run = json.loads((ROOT / "docs/measurements.json").read_text(encoding="utf-8"))
        document = (ROOT / "docs/measurements.md").read_text(encoding="utf-8")
        printed = figures.as_printed(run["date"], text_report.whole(run))
        self.assertEqual(figures.put("measurements", document, printed), (document, 1))
        shown = build_site.measurements()
        self.assertEqual(shown.count('<div class="bar '), sum("met" in row for row in run["rows"]))
        for curve in ("store", "typed", "LMDB", "SQLite", "Redis"):
            self.assertEqual(shown.count(f">{curve}</text>"), 2, curve)  # reads and insertions
        self.assertNotIn("```text", shown)
        self.assertNotRegex(shown, "<t[dh](?! data-heading=)[ >]")  # small screens repeat headings in the cells

    def test_every_document_is_in_the_contents(self):
        contents = (ROOT / "docs/site/index.md").read_text(encoding="utf-8")
        for path in (ROOT / "docs").glob("*.md"):
            self.assertRegex(contents, rf"(?m)^docs/{path.stem}$")

    def test_the_iterator_guide_covers_changes_during_iteration(self):
        headings = re.findall("^## (.*)", (ROOT / "docs/iterators.md").read_text(encoding="utf-8"), re.M)
        self.assertIn("Deletion, insertion, update", headings)
        self.assertIn("(docs/iterators.md)", (ROOT / "docs/site/concepts.md").read_text(encoding="utf-8"))

    def test_manual_pages(self):
        self.assertEqual([path.name for path in build_site.MANUALS], ["l2vpn_db.3", "l2vpn-db.1"])
        for path in build_site.MANUALS:
            self.assertRegex(build_site.manual(path), ">SYNOPSIS<")  # mandoc fails where it has warnings


if __name__ == "__main__":
    unittest.main()
