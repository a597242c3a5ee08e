# SPDX-License-Identifier: MIT
# Sphinx configuration. build_site.py prepares the sources.
import os
from pathlib import Path

from docutils import nodes
from sphinx.writers.html5 import HTML5Translator

ROOT = Path(__file__).resolve().parents[2]

project = "libl2vpn_db"
version = (ROOT / "VERSION").read_text(encoding="utf-8").strip()
copyright = "the libl2vpn_db maintainers, MIT licence"  # pylint: disable=redefined-builtin
extensions = ["myst_parser"]
myst_enable_extensions = ["deflist"]
myst_heading_anchors = 3
nitpicky = True
# Types of the C library.
nitpick_ignore = [("c:identifier", name) for name in (
    "uint8_t", "uint16_t", "uint32_t", "uint64_t", "uintptr_t", "size_t")]
primary_domain = "c"
highlight_language = "text"
templates_path = []
html_theme = "furo"
# Both have a contrast of at least 4.5.
pygments_style = "default"
pygments_dark_style = "github-dark"
html_title = f"libl2vpn_db {version}"
html_static_path = ["_static"]
html_css_files = ["site.css"]
html_copy_source = False
html_show_sphinx = False
html_theme_options = {"navigation_with_keys": True}


def resolve(app, _env, node, content):
    """Resolves links that are paths in the repository. Files without a page become plain text."""
    target = node.get("reftarget", "")
    path = os.path.normpath(os.path.join(os.path.dirname(node["refdoc"]), target.split("#")[0]))
    if not (ROOT / path).exists():
        return None
    page = {"include/l2vpn_db": f"api/{Path(path).stem}", "examples": path.replace(".", "_"),
            "src/tool": f"manual/{os.path.basename(path).replace('.', '_')}"}.get(os.path.dirname(path), "")
    if page not in app.env.found_docs:
        return content
    uri = app.builder.get_relative_uri(node["refdoc"], page)
    return nodes.reference("", "", content, internal=True, refuri=uri)


class Translator(HTML5Translator):
    """Repeats a column's heading in each of its cells, for small screens."""

    def starttag(self, node, tagname, *arguments, **attributes):
        if tagname == "td":
            group = node.parent.parent.parent
            heads = next(iter(group.findall(nodes.thead)))
            attributes["data-heading"] = heads[0][node.parent.index(node)].astext()
        return super().starttag(node, tagname, *arguments, **attributes)


def setup(app):
    app.set_translator("html", Translator)
    app.connect("missing-reference", resolve)
