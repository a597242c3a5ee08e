# SPDX-License-Identifier: MIT
"""Builds the site: links its sources in the repository's layout, generates the pages of tables and
headers, and runs Sphinx over both. Any warning is an error.

usage: build_site.py TOOL OUTPUT
"""

import json
import re
import shutil
import subprocess
import sys
from pathlib import Path

import api
import catalog_pages

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
sys.path += [str(ROOT / "docs"), str(ROOT / "bench")]
import figures  # noqa: E402  # pylint: disable=wrong-import-position
import html_report  # noqa: E402  # pylint: disable=wrong-import-position

MANUALS = [ROOT / "docs/man/l2vpn_db.3", ROOT / "docs/man/l2vpn-db.1"]
LANGUAGES = {".c": "c", ".cpp": "cpp"}


def write(path: Path, text: str) -> None:
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")


def example_pages() -> dict:
    """The page of the examples, and one for each program that it links."""
    readme = (ROOT / "examples/README.md").read_text(encoding="utf-8")
    names = [name for name in re.findall(r"\]\((\w+\.\w+)\)", readme) if Path(name).suffix in LANGUAGES]
    found = {name.replace(".", "_"): f"# {name}\n\n```{{literalinclude}} {name}\n"
             f":language: {LANGUAGES[Path(name).suffix]}\n:lines: 2-\n```\n" for name in names}
    return found | {"README": readme + "\n```{toctree}\n:hidden:\n\n" + "\n".join(found) + "\n```\n"}


def draw_layouts(tool: str, folder: Path) -> None:
    folder.mkdir(parents=True)
    for path in sorted((ROOT / "schema/catalog").glob("*.toml")):
        subprocess.run([tool, "layout", path.stem, "--svg", str(folder / f"{path.stem}.svg")],
                       check=True, stdout=subprocess.DEVNULL)


def manual(path: Path) -> str:
    return subprocess.run(["mandoc", "-Wwarning", "-Thtml", "-Ofragment", str(path)],
                          check=True, stdout=subprocess.PIPE, text=True).stdout


def manual_pages(folder: Path) -> None:
    """The installed manual pages as HTML."""
    folder.mkdir(parents=True)
    names = []
    for path in MANUALS:
        names.append(path.name.replace(".", "_"))
        write(folder / f"{names[-1]}.html", manual(path))
        write(folder / f"{names[-1]}.md",
              f"# {path.stem}({path.suffix[1]})\n\n```{{raw}} html\n:file: {names[-1]}.html\n```\n")
    write(folder / "index.md", "# Manual pages\n\n```{toctree}\n" + "\n".join(names) + "\n```\n")


def measurements() -> str:
    """The document, with plots instead of the printed table."""
    run = json.loads((ROOT / "docs/measurements.json").read_text(encoding="utf-8"))
    plots = f"{html_report.origin(run)}\n\n```{{raw}} html\n<style>{html_report.STYLE}</style>\n```\n" + "".join(
        f"\n### {section.title}\n\n{section.words}\n\n```{{raw}} html\n{html_report.framed(section)}\n```\n"
        for section in html_report.sections(run))
    text, _ = figures.put("measurements", (ROOT / "docs/measurements.md").read_text(encoding="utf-8"), plots)
    return text


def lay_out(tool: str, source: Path) -> None:
    for pattern in ("*.md", "docs/*.md", "examples/*.c", "examples/*.cpp"):
        for path in ROOT.glob(pattern):
            target = source / path.relative_to(ROOT)
            target.parent.mkdir(parents=True, exist_ok=True)
            target.symlink_to(path)
    for path in [*HERE.glob("*.md"), *HERE.glob("*.html")]:
        (source / path.name).symlink_to(path)
    (source / "docs/measurements.md").unlink()
    write(source / "docs/measurements.md", measurements())
    manual_pages(source / "manual")
    draw_layouts(tool, source / "catalog")
    for name, text in catalog_pages.pages().items():
        write(source / f"catalog/{name}.md", text)
    headers = api.pages(ROOT / "include/l2vpn_db")
    for name, text in headers.items():
        write(source / f"api/{name}.rst", text)
    write(source / "api/index.rst", api.index_page(headers))
    for name, text in example_pages().items():
        write(source / f"examples/{name}.md", text)


def complete_theme(static: Path) -> None:
    """Merges the parts of Debian's theme: browsers refuse the imports of its style and its script in
    local files, and its dark colours apply only if chosen by hand."""
    normal = Path("/usr/share/nodejs/normalize.css/normalize.css").read_text(encoding="utf-8")
    style = static / "styles/furo.css"
    text = re.sub(r"@import url\(.*?\);", lambda _: normal, style.read_text(encoding="utf-8"))
    dark = re.search(r'body\[data-theme="dark"\] (\{.*?\})', text, re.S)[1]
    style.write_text(f'{text}\n@media (prefers-color-scheme: dark) {{ body:not([data-theme="light"]) {dark} }}\n',
                     encoding="utf-8")
    script = static / "scripts/furo.js"
    imported, rest = re.fullmatch(r'import \w+ from "(.*?)";\n(.*)', script.read_text(encoding="utf-8"), re.S).groups()
    script.write_text((script.parent / imported).read_text(encoding="utf-8") + rest, encoding="utf-8")


def main() -> int:
    tool, output = sys.argv[1], Path(sys.argv[2]).resolve()
    source = output / "source"
    shutil.rmtree(output, ignore_errors=True)
    lay_out(tool, source)
    result = subprocess.run(
        [sys.executable, "-m", "sphinx", "-q", "-W", "--keep-going", "-n", "-j", "auto", "-b", "html", "-c", str(HERE),
         "-d", str(output / "doctrees"), str(source), str(output / "html")], check=False).returncode
    if result == 0:
        complete_theme(output / "html/_static")
    return result


if __name__ == "__main__":
    sys.exit(main())
