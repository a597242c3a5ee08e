# SPDX-License-Identifier: MIT
"""Pages of the public headers, from their declarations and documentation comments. All headers have
the same form: sections of declarations, each after its documentation comment."""

import re
import textwrap
from pathlib import Path

# A section, or a declaration with its optional comment.
ITEM = re.compile(
    r"/\* ---- (?P<section>.*?) -+ \*/|"
    r"(?P<comment>/\*\*(?:(?!\*/).)*\*/\n)?"
    r"(?P<code>#define \w+ \S[^\n]*|enum \{.*?\};|typedef enum \w+ \{.*?\} \w+;|typedef struct (?P<struct>\w+) \{"
    r"(?P<members>.*?)\n\} \w+;|typedef [^{;]*;|extern (?!\"C\")[^;{]*;|static inline [^;{]*\{.*?\n\}|"
    r"(?:__attribute__\(\(warn_unused_result\)\)\n)?[\w ]+[ *]\w+\([^;{}]*\)[^;{}]*;)", re.S)
MEMBER = re.compile(r"(?P<before>/\*\*(?:(?!\*/).)*\*/)?\s*(?P<declaration>[^;/*\s][^;/]*);"
                    r"(?:\s*(?P<after>/\*\*<(?:(?!\*/).)*\*/))?", re.S)


def words(comment: str | None) -> str:
    """A comment's text without delimiters and leading asterisks."""
    text = re.sub(r"^/\*\*<?|\*/$", "", (comment or "").strip())
    first, *rest = text.splitlines() or [""]
    rest = textwrap.dedent("\n".join(re.sub(r"^ *\* ?", "", line).rstrip() for line in rest))
    return f"{first.strip()}\n{rest}".strip("\n")


class Page:
    """Builds one page; names of headers and declarations become links."""

    def __init__(self, headers=(), roles=None):
        self.headers, self.roles, self.out = headers, roles or {}, []

    def add(self, text: str = "", indent: str = "") -> None:
        self.out += [(indent + line).rstrip() for line in text.split("\n")]

    def heading(self, text: str, line: str) -> None:
        self.add(f"{text}\n{line * len(text)}\n")

    def prose(self, text: str, indent: str = "") -> None:
        """Copies paragraphs, with indented ones as code and known names as links."""
        for paragraph in re.split(r"\n\s*\n", text):
            if not paragraph.strip():
                continue
            title, _, rest = paragraph.partition("\n")
            if re.match(r" ?\d+\. ", rest):  # a list under a word
                self.add(f"**{title}**\n", indent)
                paragraph = rest
            if all(line.startswith("    ") for line in paragraph.splitlines()):
                self.add("::\n\n" + paragraph + "\n", indent)
            else:
                self.add(self.linked(textwrap.dedent(paragraph)) + "\n", indent)

    def linked(self, text: str) -> str:
        def link(match):
            if match[0].endswith(".h") and match[0][:-2] in self.headers:
                return f":doc:`{match[0]} </api/{match[0][:-2]}>`\\ "
            role = self.roles.get(match[0])
            return f":c:{role}:`{match[0]}`\\ " if role else re.sub(r"([*_`|\\])", r"\\\1", match[0])

        return re.sub(r"\w+(?:\.h\b)?|[*`|\\]", link, text)

    def directive(self, kind: str, declaration: str, comment: str | None, indent: str = "") -> None:
        text, *tags = re.split(r"^@", words(comment), flags=re.M)
        self.add(f".. c:{kind}:: {' '.join(declaration.split())}\n", indent)
        indent += "   "
        self.prose(text, indent)
        for tag in tags:
            name, _, rest = tag.partition(" ")
            rest = " ".join(rest.split())
            if name == "param":
                argument, _, rest = rest.partition(" ")
                self.add(f":param {argument}: {self.linked(rest)}", indent)
            else:
                self.add(f":return: {self.linked(rest)}", indent)
        self.add()

    def item(self, match) -> None:
        code, comment = match["code"], match["comment"]
        if match["section"]:
            self.heading(match["section"], "-")
        elif match["struct"]:
            self.directive("struct", match["struct"], comment)
            for member in MEMBER.finditer(match["members"]):
                self.directive("member", member["declaration"], member["after"] or member["before"], "   ")
        elif code.startswith("#define"):
            _, name, value = code.split(maxsplit=2)
            self.directive("macro", name, comment)
            self.add(f"   Value: ``{value}``\n")
        elif "enum" in code.split("{")[0]:
            self.prose(words(comment))
            self.add(".. code-block:: c\n")
            self.add(code + "\n", "   ")
        elif re.match(r"typedef struct \w+ \w+;", code):
            self.directive("struct", code.split()[2], comment)
        elif code.startswith("typedef"):
            self.directive("type", code.removeprefix("typedef").rstrip(";"), comment)
        elif code.startswith("extern"):
            self.directive("var", code.removeprefix("extern").rstrip(";"), comment)
        else:
            declaration = re.sub(r"__attribute__\(\(.*?\)\)\)?", "", code.partition("{")[0])
            self.directive("function", declaration.strip().rstrip(";"), comment)


def declared(text: str) -> dict:
    """The Sphinx role of each name that a header declares."""
    roles = {}
    for match in ITEM.finditer(text):
        code = match["code"] or ""
        if match["struct"]:
            roles[match["struct"]] = "struct"
        elif code.startswith("#define"):
            roles[code.split()[1]] = "macro"
        elif code.startswith("extern"):
            roles[re.search(r"(\w+);", code)[1]] = "var"
        elif re.match(r"typedef struct \w+ \w+;", code):
            roles[code.split()[2]] = "struct"
        elif re.match(r"typedef (?!enum)", code):
            roles[re.search(r"\(\*(\w+)\)", code)[1]] = "type"
        elif code and "enum" not in code.split("{")[0]:
            roles[re.search(r"(\w+)\(", re.sub(r"__attribute__\(\(\w+\)\)", "", code))[1]] = "func"
    return roles


def pages(folder: Path) -> dict:
    """One page per header, by name."""
    texts = {path.stem: path.read_text(encoding="utf-8") for path in sorted(folder.glob("*.h"))}
    roles = {}
    for text in texts.values():
        roles |= declared(text)
    found = {}
    for name, text in texts.items():
        head, _, body = text.partition("#ifndef ")
        page = Page(texts, roles)
        page.heading(f"{name}.h", "=")
        page.prose(re.sub(r"^@file .*\n", "", words(head[head.index("/**"):])))
        page.add(f".. code-block:: c\n\n   #include <l2vpn_db/{name}.h>\n")
        for match in ITEM.finditer(body.split('extern "C" {', 1)[-1]):
            page.item(match)
        found[name] = "\n".join(page.out)
    return found


def index_page(headers: dict) -> str:
    shared = [name for name in ("l2vpn_db", "platform", "memory_store") if name in headers]
    tables = [name for name in headers if name not in shared]
    page = Page()
    page.heading("C interface", "=")
    page.add("Shared declarations, the platform's functions, the embedded store:\n")
    page.add(".. toctree::\n   :maxdepth: 1\n")
    page.add("\n".join(shared) + "\n", "   ")
    page.add("One header per table:\n\n.. toctree::\n   :maxdepth: 1\n")
    page.add("\n".join(tables) + "\n", "   ")
    return "\n".join(page.out)
