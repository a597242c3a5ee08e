# SPDX-License-Identifier: MIT
"""A table's public header: record, constants and functions, spelled out and documented."""

import textwrap

from catalog import Field, Table
from glossary import Glossary
from operations import sections

WIDTH = 100


def comment(text: str) -> str:
    """A documentation comment; lines that begin with @ or a blank start a paragraph."""
    lines = []
    for paragraph in text.strip().split("\n"):
        hanging = "        " if paragraph.startswith("@") else ""
        lines += textwrap.wrap(paragraph, WIDTH - 3, subsequent_indent=hanging,
                               break_long_words=False) or [""]
    if len(lines) == 1 and len(lines[0]) + 8 <= WIDTH:
        return f"/** {lines[0]} */\n"
    body = "".join(f" * {line}".rstrip() + "\n" for line in lines)
    return f"/**\n{body} */\n"


def section(title: str) -> str:
    return f"/* ---- {title} ".ljust(WIDTH - 3, "-") + " */\n\n"


def declaration(result: str, name: str, arguments: str) -> str:
    """A function declaration, its arguments wrapped under the first one. Ignoring a returned
    iterator handle leaks it."""
    kept = "__attribute__((warn_unused_result))\n" if result == "L2vpnDbIter *" else ""
    head = f"{result}{'' if result.endswith('*') else ' '}{name}("
    lines, line = [], head
    for number, argument in enumerate(arguments.split(", ")):
        last = number == arguments.count(", ")
        piece = argument + (");" if last else ",")
        if len(line) + len(piece) + 1 > WIDTH:
            lines.append(line.rstrip())
            line = " " * len(head)
        line += piece + ("" if last else " ")
    return kept + "\n".join(lines + [line]) + "\n\n"


def ids(item: Field) -> str:
    return f"Fields {item.id} and {item.id + 1}" if item.ids == 2 else f"Field {item.id}"


class Header:
    def __init__(self, table: Table, glossary: Glossary):
        self.table, self.glossary = table, glossary
        self.macro = table.name.upper()
        self.record = table.camel
        self.out = []

    def add(self, text: str) -> None:
        self.out.append(text)

    def text(self) -> str:
        table = self.table
        guard = f"L2VPN_DB_{self.macro}_H"
        self.add("/* SPDX-License-Identifier: MIT */\n"
                 f"/* Generated from schema/catalog/{table.name}.toml by ./dev generate. */\n")
        access = ("" if table.typed else
                  "\n \nThis table has no typed access: its records can only be described and formatted.")
        self.add(comment(f"@file {table.name}.h\n{table.about}{access}\n \nThe conventions at the head "
                         "of l2vpn_db.h hold for every function: ownership, result codes, threads."))
        self.add(f"#ifndef {guard}\n#define {guard}\n\n"
                 '#include "l2vpn_db/l2vpn_db.h"\n\n'
                 '#ifdef __cplusplus\nextern "C" {\n#endif\n\n')
        self.add_record()
        self.add_constants()
        for part in sections(table):
            self.add(section(part.title))
            for operation in part.operations:
                self.add(comment(operation.text)
                         + declaration(operation.result, operation.symbol, operation.parameters))
        if table.typed:
            self.add_objects()
            self.add_imports()
        self.add(f"#ifdef __cplusplus\n}}\n#endif\n\n#endif\n")
        return "".join(self.out)

    def add_record(self) -> None:
        table = self.table
        self.add(section("Record"))
        gaps = ", ".join(f"{a} to {b}" if a != b else str(a) for a, b in table.gaps)
        gap_text = (f" Bytes {gaps} are padding: no function reads or writes them." if gaps else "")
        stored = (f" The stored record is packed: {table.stored_size} bytes."
                  if table.typed else "")
        self.add(comment(f"Caller record, {table.record_size} bytes.{stored}{gap_text}"))
        members = [item.declaration for item in table.fields]
        width = max(map(len, members))
        self.add(f"typedef struct {self.record} {{\n")
        for item, text in zip(table.fields, members):
            self.add(f"    {text:<{width}} /**< {ids(item)} at {item.offset}: {self.glossary[item]}. */\n")
        self.add(f"}} {self.record};\n\n")
        self.add(f'static_assert(sizeof({self.record}) == {table.record_size}, '
                 f'"{table.name}: record size");\n\n')

    def add_constants(self) -> None:
        table = self.table
        self.add(comment("Field ids, as the schema descriptor and the update functions use them."))
        self.enum("FIELD", [(item.name, item.id) for item in table.fields])
        self.add(comment("Key indexes."))
        self.enum("KEY", [(key.name, key.index) for key in table.keys])
        self.add(comment("Version of the schema, raised when a release appends fields or keys."))
        self.add(f"#define {self.macro}_SCHEMA_VERSION {table.version}\n\n")
        self.add(comment(f"Equal to l2vpn_schema_hash(L2VPN_AST_{self.record}Module()) if the "
                         "loaded library has this schema."))
        self.add(f"#define {self.macro}_SCHEMA_HASH UINT64_C(0x{table.schema_hash:016X})\n\n")

    def enum(self, what: str, pairs: list) -> None:
        rows = ",\n".join(f"    {self.macro}_{what}_{name} = {value}" for name, value in pairs)
        self.add(f"enum {{\n{rows}\n}};\n\n")

    def add_objects(self) -> None:
        table, record = self.table, self.record
        self.add(section("Exported data"))
        buffer = table.key_buffer
        self.add(comment(f"Control block, {table.control_block_size} bytes; see L2vpnDbGlbCb."))
        self.add(f"typedef struct {record}GlbCb {{\n"
                 "    uint32_t keyId[4]; /**< At 0: the fast iterator's key identifier area. */\n"
                 f"    {f'uint8_t key[{buffer}];':<18} "
                 f"/**< At 16: its key, {table.keys[0].length} bytes. */\n"
                 f"    L2vpnDbGlbCb cb;   /**< At {16 + buffer}: the part common to all tables. */\n"
                 f"}} {record}GlbCb;\n\n")
        self.add(comment("The table's control block. Its address is the handle of the fast iterator."))
        self.add(f"extern {record}GlbCb g_l2vpn{record}GlbCb;\n\n")
        self.add(comment("The table's descriptor, followed by its update-field map "
                         f"({'1 pair' if table.field_named('batchVersion') else 'empty'}) and its key map "
                         f"({len(table.keys)} pair{'s' if len(table.keys) > 1 else ''})."))
        self.add(f"extern L2vpnDbTblIntf g_l2vpn{record}Intf;\n\n")

    def add_imports(self) -> None:
        table = self.table
        name = f"l2vpn_{table.short}"
        self.add(section("Imported from the platform (see platform.h)"))
        self.add(declaration("L2vpnDbRecObj *", f"db_create_{name}_obj", "L2vpnDbModuleIntf *module"))
        for verb in ("release", "reset"):
            self.add(declaration("void", f"db_{verb}_{name}_object",
                                 "L2vpnDbModuleIntf *module, L2vpnDbRecObj *object"))
        self.add(declaration("uint32_t", f"db_set_{name}_all_fields",
                             "L2vpnDbRecObj *object, const L2vpnDbRecData *record"))
        if table.field_named("batchVersion"):
            self.add(declaration("uint32_t", f"db_set_{name}_batchVersion",
                                 "L2vpnDbRecObj *object, uint32_t value"))


def header(table: Table, glossary: Glossary) -> str:
    return Header(table, glossary).text()
