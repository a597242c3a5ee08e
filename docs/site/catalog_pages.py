# SPDX-License-Identifier: MIT
"""Pages of the tables, from the catalog and facts derived from it."""

import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "generator"))
import catalog  # noqa: E402  # pylint: disable=wrong-import-position
import glossary  # noqa: E402  # pylint: disable=wrong-import-position

QUIRKS = {
    "no_null_tests": "Some of its functions do not check for null pointers; their comments say which.",
    "svc_fields_split": "The service fields have conversions of their own.",
    "trailing_separator": "Its formatted line ends with the separator.",
}


def rows(head: tuple, body: list) -> str:
    return "".join("| " + " | ".join(map(str, row)) + " |\n" for row in (head, ("---",) * len(head), *body)) + "\n"


def table_page(table, words) -> str:
    out = [f"# {table.name}\n\n{table.about}\n"]
    stored = (f"{table.stored_size} bytes stored" if table.typed else
              "no typed access: descriptor and formatter only")
    out.append(f"Caller record of {table.record_size} bytes, {stored}; {len(table.fields)} fields, "
               f"{len(table.keys)} key{'s' if len(table.keys) > 1 else ''}. "
               f"Functions and types: {{doc}}`/api/{table.name}`.\n")
    out += [f"{QUIRKS[quirk]}\n" for quirk in table.quirks]
    columns = 3 if table.typed else 2  # caller record, stored record, keys
    out.append(f"## Layout\n\n````{{container}} picture{'' if table.typed else ' untyped'}\n" +
               f"```{{container}} part\n![Layout of {table.name}]({table.name}.svg)\n```\n" * columns + "````\n")
    out.append("## Keys\n")
    head = ("index", "name", "members, in key order", "bytes", *(("word", "functions") if table.typed else ()))
    body = []
    for key in table.keys:
        row = [key.index, f"`{key.name}`", ", ".join(f"`{item.name}`" for item in key.members), key.length]
        if table.typed:
            row += [f"`0x{key.word:08X}`", f"`Create{key.infix}Iter`, `CountBy{key.infix}Key`, `Set{key.infix}Key`"]
        body.append(row)
    out.append(rows(head, body))
    out.append("## Fields\n\nOffsets and widths in bytes; *print*: shown by the formatter.\n")
    head = ("id", "name", "meaning", "type", "offset") + ("stored offset",) * table.typed + ("print",)
    out.append(rows(head, [
        (f"{item.id}, {item.id + 1}" if item.ids == 2 else item.id, f"`{item.name}`", words[item], f"`{item.type}`",
         item.offset, *(item.stored_offset,) * table.typed, "yes" if item.printed else "") for item in table.fields]))
    return "\n".join(out)


def index_page(tables: list) -> str:
    body = [(f"[{table.name}](/catalog/{table.name}.md)", table.about, table.record_size,
             table.stored_size if table.typed else "", len(table.fields), len(table.keys)) for table in tables]
    typed = sum(table.typed for table in tables)
    listing = "\n".join(table.name for table in tables)
    return (f"# The tables\n\nAll {len(tables)} tables of `schema/catalog/`. {typed} have typed access; the others, "
            "without a stored size, have only a schema descriptor and a formatter.\n\n"
            + rows(("table", "contents", "record", "stored", "fields", "keys"), body)
            + f"```{{toctree}}\n:hidden:\n\n{listing}\n```\n")


def pages() -> dict:
    """One page per table and an index, by name."""
    errors = []
    tables = catalog.load(ROOT, errors)
    words = glossary.load(ROOT, tables, errors)
    if errors:
        sys.exit("\n".join(errors))
    return {"index": index_page(tables)} | {table.name: table_page(table, words) for table in tables}
