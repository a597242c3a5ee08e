# SPDX-License-Identifier: MIT
"""Sources that are built but not committed: facts, one-line functions, data, lists. No behaviour."""

from catalog import Table, exported_objects
from operations import exported_functions, operations, sections

NOTICE = "// Generated from schema/catalog by generator/.\n"


def c_bool(value) -> str:
    return "true" if value else "false"


def facts(table: Table, typed_tables: list) -> str:
    record, name = table.camel, f"{table.camel}Table"
    checks = "".join(
        f"static_assert(offsetof({record}, {item.name}) == {item.offset} && "
        f"sizeof({record}::{item.name}) == {item.width});\n" for item in table.fields)
    fields = "".join(
        f'        {{"{item.name}", {item.id}, {item.offset}, {item.width}, Kind::{item.kind}, '
        f"{c_bool(item.printed)}}},\n" for item in table.fields)
    positions = {item.name: index for index, item in enumerate(table.fields)}
    members, keys = [], ""
    for key in table.keys:
        keys += f'        {{"{key.name}", {len(members)}, {len(key.members)}}},\n'
        members += [str(positions[item.name]) for item in key.members]
    typed = descriptor = ""
    if table.typed:
        batch = (f"    static constexpr auto *set_batch_version = db_set_{table.name}_batchVersion;\n"
                 if table.field_named("batchVersion") else "")
        typed = (
            f"    using ControlBlock = {record}GlbCb;\n"
            f"    static constexpr std::size_t row = {typed_tables.index(table)};\n"
            f"    static constexpr bool no_null_tests = {c_bool('no_null_tests' in table.quirks)};\n"
            f"    static constexpr bool svc_fields_split = {c_bool('svc_fields_split' in table.quirks)};\n"
            f"    static constexpr ControlBlock &control_block() {{ return g_l2vpn{record}GlbCb; }}\n"
            f"    static constexpr TableDescriptor<{name}> &descriptor();\n"
            f"    static constexpr L2vpnDbSetFieldsFn set_fields_function = L2VPN_DB_{record}SetFields;\n"
            f"{batch}")
        descriptor = (
            "\n// Users see only the descriptor; in the object, the two maps follow it.\n"
            f'extern "C" constinit l2vpn::TableDescriptor<l2vpn::{name}> {table.name}_descriptor\n'
            f'    __asm__("g_l2vpn{record}Intf") __attribute__((visibility("default")));\n\n'
            f"constexpr l2vpn::TableDescriptor<l2vpn::{name}> &l2vpn::{name}::descriptor() "
            f"{{ return {table.name}_descriptor; }}\n")
    return (f'{NOTICE}#pragma once\n\n#include "library/table_descriptor.h"\n'
            f'#include "l2vpn_db/{table.name}.h"\n\n{checks}\n'
            "namespace [[gnu::visibility(\"hidden\")]] l2vpn {\n\n"
            f"struct {name} {{\n"
            f"    using Record = ::{record};\n"
            f'    static constexpr char name[] = "{table.name}";\n'
            f"    static constexpr Field fields[] = {{\n{fields}    }};\n"
            f"    static constexpr std::uint16_t key_members[] = {{{', '.join(members)}}};\n"
            f"    static constexpr Key keys[] = {{\n{keys}    }};\n"
            f"    static constexpr bool trailing_separator = {c_bool('trailing_separator' in table.quirks)};\n"
            f"{typed}}};\n\n}} // namespace l2vpn\n{descriptor}")


def functions(table: Table) -> str:
    """The exported functions and objects of one table."""
    record, tag = table.camel, f"{table.camel}Table"
    body = ""
    for operation in operations(table):
        if operation.function:
            result = operation.result + ("" if operation.result.endswith("*") else " ")
            returns = "" if operation.result == "void" else "return "
            body += f"{result}{operation.symbol}({operation.parameters}) {{ {returns}{operation.call}; }}\n"
    objects = ""
    if table.typed:
        objects = (
            f"constinit l2vpn::TableDescriptor<l2vpn::{tag}> {table.name}_descriptor =\n"
            f"    l2vpn::make_descriptor<l2vpn::{tag}>({{l2vpn::{tag}::name, db_create_{table.name}_obj,\n"
            f"        db_release_{table.name}_object, db_reset_{table.name}_object,\n"
            f"        db_set_{table.name}_all_fields, L2VPN_DB_{record}Stat, {{0, 0, 0, 0}}}});\n"
            f"constinit {record}GlbCb g_l2vpn{record}GlbCb{{}};\n")
    includes = "".join(f'#include "{path}.h"\n' for path in (
        "library/generic_interface", "library/key_operations", "library/fast_iterator", "library/record_operations",
        "library/make_table_info", "library/update")) if table.typed else ""
    return (f'{NOTICE}#include "facts/{table.name}.h"\n\n{includes}#include "library/formatter.h"\n\n'
            f"extern \"C\" {{\n\n{objects}\n{body}\n}} // extern \"C\"\n")


def longest_key(tables: list) -> str:
    longest = max((key.length for table in tables if table.typed for key in table.keys), default=1)
    return (f"{NOTICE}#pragma once\n\n#include <cstddef>\n\n"
            "namespace [[gnu::visibility(\"hidden\")]] l2vpn {\n\n"
            "/// Of all tables' keys, in bytes.\n"
            f"constexpr std::size_t longest_key = {longest};\n\n}} // namespace l2vpn\n")


def schemas(tables: list) -> str:
    """The schema descriptors, members of one object so that they are contiguous and in order."""
    includes = "".join(f'#include "facts/{table.name}.h"\n' for table in tables)
    members = "".join(f"    Schema<{t.camel}Table> {t.name};\n" for t in tables)
    values = "".join(
        f"    .{t.name} = make_schema<{t.camel}Table>(schemas.{t.name}, L2VPN_AST_{t.camel}Format),\n"
        for t in tables)
    accessors = "".join(
        f"L2vpnAstModule *L2VPN_AST_{t.camel}Module(void) {{ return &l2vpn::schemas.{t.name}.module; }}\n"
        for t in tables)
    return (f'{NOTICE}{includes}#include "library/schema_descriptor.h"\n\n'
            'namespace [[gnu::visibility("hidden")]] l2vpn {\n\n'
            f"struct Schemas {{\n{members}}};\n\nextern Schemas schemas;\n\n"
            f"constinit Schemas schemas{{\n{values}}};\n\n}} // namespace l2vpn\n\n"
            f'extern "C" {{\n\n{accessors}\n}} // extern "C"\n')


def interface_rows(tables: list) -> str:
    """The lists of all tables with typed access."""
    typed = [table for table in tables if table.typed]
    includes = "".join(f'#include "facts/{table.name}.h"\n' for table in typed)
    slots = ("DAL_{}Read", "DAL_{}Write", "DAL_{}Update", "DAL_{}Remove", "DAL_{}CreateIter",
             "DB_{}ReleaseIter", "DAL_{}GetNext", "DB_{}Count", "DAL_{}CountByKey")
    rows = "".join("    {" + ", ".join("L2VPN_" + slot.format(t.camel) for slot in slots) + ", nullptr},\n"
                   for t in typed)
    blocks = "".join(f"    &g_l2vpn{t.camel}GlbCb.cb,\n" for t in typed)
    return (f'{NOTICE}{includes}#include "library/control_block.h"\n#include "library/generic_interface.h"\n\n'
            'namespace [[gnu::visibility("hidden")]] l2vpn {\n\n'
            f"constinit const InterfaceRow interface_rows[] = {{\n{rows}}};\n\n"
            f"static constexpr L2vpnDbGlbCb *blocks[] = {{\n{blocks}}};\n"
            "constinit const std::span<L2vpnDbGlbCb *const> control_blocks{blocks};\n\n"
            "} // namespace l2vpn\n")


def export_list(tables: list) -> str:
    names = ["L2VPN_DB_ModuleIntf", "L2VPN_DB_MemIntfReg", "L2VPN_DB_LogIntfReg", "g_l2vpnDbModuleIntf"]
    for table in tables:
        names += exported_functions(table) + exported_objects(table)
    body = "".join(f"    {name};\n" for name in names)
    return f"{{\n  global:\n{body}  local:\n    *;\n}};\n"


def record_objects(tables: list) -> str:
    """For platforms: the tables' stored layouts, and the db_* functions, which share one implementation."""
    typed = [table for table in tables if table.typed]
    includes = "".join(f'#include "l2vpn_db/{table.name}.h"\n' for table in typed)
    arrays = rows = ""
    functions_out = ""
    for number, table in enumerate(typed):
        keys = []
        for key in table.keys:
            members = ", ".join(f"{{{item.stored_offset}, {item.width}}}" for item in key.members)
            arrays += f"constexpr KeyMember {table.name}_{key.index}[] = {{{members}}};\n"
            keys.append(f"{{{table.name}_{key.index}, {key.length}}}")
        arrays += f"constexpr KeyLayout {table.name}_keys[] = {{{', '.join(keys)}}};\n"
        batch = table.field_named("batchVersion")
        offset = str(batch.stored_offset) if batch else "TableLayout::no_field"
        rows += f'    {{"{table.name}", {table.stored_size}, {offset}, {table.name}_keys}},\n'
        layout = f"layouts[{number}]"
        functions_out += (
            f"L2vpnDbRecObj *db_create_{table.name}_obj(L2vpnDbModuleIntf *module) {{ "
            f"return create_object(module, {layout}); }}\n"
            f"void db_release_{table.name}_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object) {{ "
            f"release_object(module, {layout}, object); }}\n"
            f"void db_reset_{table.name}_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object) {{ "
            f"reset_object(module, {layout}, object); }}\n"
            f"uint32_t db_set_{table.name}_all_fields(L2vpnDbRecObj *object, const L2vpnDbRecData *record) {{ "
            f"return set_all_fields({layout}, object, record); }}\n")
        if batch:
            functions_out += (
                f"uint32_t db_set_{table.name}_batchVersion(L2vpnDbRecObj *object, uint32_t value) {{ "
                f"return set_batch_version({layout}, object, value); }}\n")
    return (f'{NOTICE}{includes}#include "platform/store/record_object_functions.h"\n\n'
            f"namespace l2vpn::platform {{\n\nnamespace {{\n\n{arrays}\n"
            f"constexpr TableLayout layouts[] = {{\n{rows}}};\n"
            "static_assert(std::size(layouts) <= max_tables);\n\n} // namespace\n\n"
            "extern constinit const std::span<const TableLayout> table_layouts;\n"
            "constinit const std::span<const TableLayout> table_layouts{layouts};\n\n"
            "} // namespace l2vpn::platform\n\nusing namespace l2vpn::platform;\n\n"
            f'extern "C" {{\n\n{functions_out}\n}} // extern "C"\n')


def record_table_list(tables: list) -> str:
    """The tables for code that knows no record type: addresses of their functions, no numbers."""
    includes = "".join(f'#include "l2vpn_db/{table.name}.h"\n' for table in tables)
    rows = ""
    for table in tables:
        db, typed = f"L2VPN_DB_{table.camel}", ""
        if table.typed:
            key_builders = ", ".join(f"untyped<{db}Set{key.infix}Key>" for key in table.keys)
            typed = (f", {db}DalIntf, {db}GetStat, untyped<{db}SetAllFields>,\n"
                     f"     untyped<{db}GetAllFields>, {{{key_builders}}}")
        displays = ", ".join(f"Display::{item.shape.display}" for item in table.fields)
        rows += f"    {{L2VPN_AST_{table.camel}Module, {{{displays}}}{typed}}},\n"
    return (f'{NOTICE}{includes}#include "records/table_functions.h"\n\nnamespace l2vpn::records {{\n\n'
            f"const std::vector<TableFunctions> table_functions = {{\n{rows}}};\n\n"
            "} // namespace l2vpn::records\n")


def test_table_list(tables: list) -> str:
    """The tables as tests see them: names and functions with untyped pointers, no numbers."""
    includes = "".join(f'#include "l2vpn_db/{table.name}.h"\n' for table in tables)
    typed = "".join(typed_entry(table) for table in tables if table.typed)
    schema = "".join(
        f'    {{.name = "{t.name}", .camel = "{t.camel}", .record_size = sizeof({t.camel}),\n'
        f"{slots(t, operations(t), 'AST')}     .schema_version = {t.name.upper()}_SCHEMA_VERSION,\n"
        f"     .schema_hash = {t.name.upper()}_SCHEMA_HASH}},\n" for t in tables)
    return (f'{NOTICE}{includes}#include "tests/support/table_list.h"\n\nnamespace l2vpn::test {{\n\n'
            f"const std::vector<TypedTable> typed_tables = {{\n{typed}}};\n\n"
            f"const std::vector<SchemaTable> schema_tables = {{\n{schema}}};\n\n"
            "} // namespace l2vpn::test\n")


def slots(table: Table, chosen: list, family: str) -> str:
    return "".join(f"     .{item.slot} = untyped<{table.camel}, {item.symbol}>,\n"
                   for item in chosen if item.family == family)


def typed_entry(table: Table) -> str:
    record, parts = table.camel, sections(table)
    common = [item for part in parts if not part.key for item in part.operations]
    keys = "".join(f'    {{.name = "{part.key.name}", .infix = "{part.key.infix}",\n'
                   f"{slots(table, part.operations, 'DB')}    }},\n" for part in parts if part.key)
    return (f'    {{.name = "{table.name}", .camel = "{record}", .descriptor = &g_l2vpn{record}Intf,\n'
            f"     .control_block = &g_l2vpn{record}GlbCb, .control_block_size = sizeof({record}GlbCb),\n"
            f"     .record_size = sizeof({record}),\n{slots(table, common, 'DB')}     .keys = {{\n{keys}     }},\n"
            f"     .dal = {{\n{slots(table, common, 'DAL')}     }}}},\n")
