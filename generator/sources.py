# SPDX-License-Identifier: MIT
"""Sources that are built but not committed: facts, one-line functions, data, lists. No behaviour."""

from catalog import Table, exported_functions, exported_objects

NOTICE = "// Generated from schema/catalog by generator/.\n"
KINDS = ("integer", "mac", "bytes", "pair", "context")


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
            "\n// Users see the descriptor alone; the object goes on with the two maps.\n"
            f'extern "C" constinit l2vpn::TableDescriptor<l2vpn::{name}> {table.name}_descriptor\n'
            f'    __asm__("g_l2vpn{record}Intf") __attribute__((visibility("default")));\n\n'
            f"constexpr l2vpn::TableDescriptor<l2vpn::{name}> &l2vpn::{name}::descriptor() {{ return {table.name}_descriptor; }}\n")
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
    rec, out = f"const {record} *record", []

    def one(family, result, operation, function, arguments, passed):
        ret = "" if result == "void " else "return "
        out.append(f"{result}L2VPN_{family}_{record}{operation}({arguments}) {{ {ret}l2vpn::{function}"
                   f"({passed}); }}\n")

    u32, it = "uint32_t ", "L2vpnDbIter *"
    access = f"l2vpn::table_info<{tag}>"
    if table.typed:
        db = lambda *args: one("DB", *args)
        db(u32, "Write", f"write<{tag}>", rec, "record")
        db(u32, "Read", f"read<{tag}>", f"{record} *record", "record")
        db(u32, "ReadByKey", f"read_by_key<{tag}>", f"{record} *record, const L2vpnDbKeyData *key",
           "record, key")
        db(u32, "Delete", "remove", rec, f"record, {access}")
        db(u32, "Count", "count", "uint32_t *count", f"count, {access}")
        ids = "const uint32_t *fieldIds, uint32_t fieldCount"
        db(u32, "UpdateFields", "update_fields", f"{rec}, {ids}", f"record, fieldIds, fieldCount, {access}")
        db(u32, "UpdateField", "update_field", f"{rec}, uint32_t fieldId", f"record, fieldId, {access}")
        db(it, "CreateIter", "create_iter", f"uint32_t keyIndex, {rec}", f"keyIndex, record, {access}")
        db(u32, "CountByKey", "count_by_key", f"uint32_t keyIndex, {rec}, uint32_t *count",
           f"keyIndex, record, count, {access}")
        db(it, "CreateFastPriIter", "create_fast_pri_iter", rec, f"record, {access}")
        db(u32, "GetNext", f"get_next<{tag}>", f"L2vpnDbIter *iter, {record} *record", "iter, record")
        db(u32, "ReleaseIter", "release_iter", "L2vpnDbIter *iter", f"iter, {access}")
        for key in table.keys:
            this = f"l2vpn::key_info<{tag}>[{key.index}]"
            db(it, f"Create{key.infix}Iter", "create_key_iter", rec, f"record, {this}")
            db(u32, f"CountBy{key.infix}Key", "count_by", f"{rec}, uint32_t *count", f"record, count, {this}")
            db("void ", f"Set{key.infix}Key", f"build_key_out_of_line<{tag}, {key.index}>",
               f"{rec}, L2vpnDbKeyData *request, uint32_t *keyId, void *key",
               "record, request, keyId, key")
        db(u32, "MapKeyId", "find_mapping", "uint32_t keyIndex", f"keyIndex, {access}.key_map")
        db(u32, "MapUpdateFieldId", "find_mapping", "uint32_t fieldId", f"fieldId, {access}.update_map")
        db(u32, "SetFields", "set_fields", f"const L2vpnDbRecData *record, L2vpnDbRecObj *object, {ids}",
           f"record, object, fieldIds, fieldCount, {access}")
        halves = ["All"] + (["Svc"] if "svc_fields_split" in table.quirks else [])
        for half in halves:
            db(u32, f"Set{half}Fields", f"set_{half.lower()}_fields<{tag}>", f"{rec}, void *stored", "record, stored")
            db(u32, f"Get{half}Fields", f"get_{half.lower()}_fields<{tag}>", f"const void *stored, {record} *record",
               "stored, record")
        db(u32, "GlbInit", "glb_init", "void", access)
        db("void ", "Stat", "stat", "uint32_t statId, uint32_t amount", f"statId, amount, {access}")
        db(u32, "GetStat", "get_stat", "uint32_t statId", f"statId, {access}")
        out.append(f"L2vpnDalIntf L2VPN_DB_{record}DalIntf(void) {{ L2vpnDalIntf intf; "
                   f"l2vpn::dal_intf(intf, {access}); return intf; }}\n")
        dal = lambda *args: one("DAL", *args)
        crec = "const void *record, uint32_t length"
        dal(u32, "Read", "dal_read_write", "void *record, uint32_t length", f"record, length, L2VPN_DB_{record}Read")
        dal(u32, "Write", "dal_read_write", crec, f"record, length, L2VPN_DB_{record}Write")
        dal(u32, "Update", "dal_update", f"{crec}, {ids}", f"record, length, fieldIds, fieldCount, {access}")
        dal(u32, "Remove", "dal_remove", crec, f"record, length, {access}")
        dal(it, "CreateIter", "dal_create_iter", f"uint32_t keyIndex, {crec}",
            f"keyIndex, record, length, {access}")
        dal(u32, "GetNext", "dal_get_next", "L2vpnDbIter *iter, void *record, uint32_t length",
            f"iter, record, length, L2VPN_DB_{record}GetNext")
        dal(u32, "Count", "count", "uint32_t *count", f"count, {access}")
        dal(u32, "CountByKey", "dal_count_by_key", f"uint32_t keyIndex, {crec}, uint32_t *count",
            f"keyIndex, record, length, count, {access}")
    ast = lambda *args: one("AST", *args)
    text = "char *buffer, uint32_t bufferLength, const char *separator"
    ast(u32, "Format", "format", f"uint32_t formatId, const void *record, {text}",
        f"formatId, record, buffer, bufferLength, separator, l2vpn::format_table<{tag}>")
    ast(u32, "FormatTable", f"format_table<{tag}>", f"{rec}, {text}", "record, buffer, bufferLength, separator")

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
    body = "".join(out).replace(f"<{tag}", f"<l2vpn::{tag}")
    return (f'{NOTICE}#include "facts/{table.name}.h"\n\n{includes}#include "library/formatter.h"\n\n'
            f"extern \"C\" {{\n\n{objects}\n{body}\n}} // extern \"C\"\n")


def longest_key(tables: list) -> str:
    longest = max((key.length for table in tables if table.typed for key in table.keys), default=1)
    return (f"{NOTICE}#pragma once\n\n#include <cstddef>\n\n"
            "namespace [[gnu::visibility(\"hidden\")]] l2vpn {\n\n"
            "/// Of all tables' keys, in bytes.\n"
            f"constexpr std::size_t longest_key = {longest};\n\n}} // namespace l2vpn\n")


def schemas(tables: list) -> str:
    """The schema descriptors, members of one object so that they stand in order, side by side."""
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
    typed = [table for table in tables if table.typed]
    includes = "".join(f'#include "facts/{table.name}.h"\n' for table in typed)
    slots = ("DAL_{}Read", "DAL_{}Write", "DAL_{}Update", "DAL_{}Remove", "DAL_{}CreateIter",
             "DB_{}ReleaseIter", "DAL_{}GetNext", "DB_{}Count", "DAL_{}CountByKey")
    rows = "".join("    {" + ", ".join("L2VPN_" + slot.format(t.camel) for slot in slots) + ", nullptr},\n"
                   for t in typed)
    return (f'{NOTICE}{includes}#include "library/generic_interface.h"\n\n'
            'namespace [[gnu::visibility("hidden")]] l2vpn {\n\n'
            f"constinit const InterfaceRow interface_rows[] = {{\n{rows}}};\n\n"
            "} // namespace l2vpn\n")


def export_list(tables: list) -> str:
    names = ["L2VPN_DB_ModuleIntf", "L2VPN_DB_MemIntfReg", "L2VPN_DB_LogIntfReg", "g_l2vpnDbModuleIntf"]
    for table in tables:
        names += exported_functions(table) + exported_objects(table)
    body = "".join(f"    {name};\n" for name in names)
    return f"{{\n  global:\n{body}  local:\n    *;\n}};\n"


def record_objects(tables: list) -> str:
    """For platforms: the tables' stored layouts, and the db_* functions over one behaviour."""
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
            f"constexpr TableLayout layouts[] = {{\n{rows}}};\n\n}} // namespace\n\n"
            "extern constinit const std::span<const TableLayout> table_layouts;\n"
            "constinit const std::span<const TableLayout> table_layouts{layouts};\n\n"
            "} // namespace l2vpn::platform\n\nusing namespace l2vpn::platform;\n\n"
            f'extern "C" {{\n\n{functions_out}\n}} // extern "C"\n')


def record_table_list(tables: list) -> str:
    """The tables for code that knows no record type: addresses of their functions, no figures."""
    includes = "".join(f'#include "l2vpn_db/{table.name}.h"\n' for table in tables)
    rows = ""
    for table in tables:
        db, typed = f"L2VPN_DB_{table.camel}", ""
        if table.typed:
            key_builders = ", ".join(f"untyped<{db}Set{key.infix}Key>" for key in table.keys)
            typed = (f", {db}DalIntf, {db}GetStat, untyped<{db}SetAllFields>,\n"
                     f"     untyped<{db}GetAllFields>, {{{key_builders}}}")
        rows += f"    {{L2VPN_AST_{table.camel}Module{typed}}},\n"
    return (f'{NOTICE}{includes}#include "records/table_functions.h"\n\nnamespace l2vpn::records {{\n\n'
            f"const std::vector<TableFunctions> table_functions = {{\n{rows}}};\n\n"
            "} // namespace l2vpn::records\n")


def test_table_list(tables: list) -> str:
    """The tables as tests see them: names and functions behind untyped pointers, no figures."""
    includes = "".join(f'#include "l2vpn_db/{table.name}.h"\n' for table in tables)
    typed = "".join(typed_entry(table) for table in tables if table.typed)
    schema = "".join(
        f'        {{"{t.name}", "{t.camel}", sizeof({t.camel}), L2VPN_AST_{t.camel}Format,\n'
        f"         [](const void *record, char *buffer, uint32_t length, const char *separator) {{\n"
        f"             return L2VPN_AST_{t.camel}FormatTable(static_cast<const {t.camel} *>(record), buffer, "
        f"length, separator);\n         }},\n         L2VPN_AST_{t.camel}Module, "
        f"{t.name.upper()}_SCHEMA_VERSION, {t.name.upper()}_SCHEMA_HASH}},\n" for t in tables)
    return (f'{NOTICE}{includes}#include "tests/support/table_list.h"\n\nnamespace l2vpn::test {{\n\n'
            f"const std::vector<TypedTable> typed_tables = {{\n{typed}}};\n\n"
            f"const std::vector<SchemaTable> schema_tables = {{\n{schema}}};\n\n"
            "} // namespace l2vpn::test\n")


def typed_entry(table: Table) -> str:
    record, db = table.camel, f"L2VPN_DB_{table.camel}"
    into = f"static_cast<{record} *>(record)"
    rec = f"static_cast<const {record} *>(record)"

    def call(function, arguments, passed):
        return f"[]({arguments}) {{ return {function}({passed}); }}"

    svc = "svc_fields_split" in table.quirks
    keys = "".join(
        f'         {{"{key.name}", "{key.infix}",\n          '
        + ",\n          ".join((
            call(f"{db}Set{key.infix}Key",
                 "const void *record, L2vpnDbKeyData *request, uint32_t *id, void *key",
                 f"{rec}, request, id, key"),
            call(f"{db}Create{key.infix}Iter", "const void *record", rec),
            call(f"{db}CountBy{key.infix}Key", "const void *record, uint32_t *count", f"{rec}, count")))
        + "},\n" for key in table.keys)
    dal = f"L2VPN_DAL_{record}"
    entries = {
        "name": f'"{table.name}"', "camel": f'"{record}"', "descriptor": f"&g_l2vpn{record}Intf",
        "control_block": f"&g_l2vpn{record}GlbCb", "control_block_size": f"sizeof({record}GlbCb)",
        "record_size": f"sizeof({record})",
        "glb_init": f"{db}GlbInit", "stat": f"{db}Stat", "get_stat": f"{db}GetStat",
        "set_all_fields": call(f"{db}SetAllFields", "const void *record, void *stored", f"{rec}, stored"),
        "get_all_fields": call(f"{db}GetAllFields", "const void *stored, void *record", f"stored, {into}"),
        "set_svc_fields": call(f"{db}SetSvcFields", "const void *record, void *stored", f"{rec}, stored")
                          if svc else "nullptr",
        "get_svc_fields": call(f"{db}GetSvcFields", "const void *stored, void *record", f"stored, {into}")
                          if svc else "nullptr",
        "write": call(f"{db}Write", "const void *record", rec),
        "read_by_key": call(f"{db}ReadByKey", "void *record, const L2vpnDbKeyData *key", f"{into}, key"),
        "read": call(f"{db}Read", "void *record", into),
        "remove": call(f"{db}Delete", "const void *record", rec),
        "count": f"{db}Count", "map_key_id": f"{db}MapKeyId",
        "create_fast_pri_iter": call(f"{db}CreateFastPriIter", "const void *record", rec),
        "get_next": call(f"{db}GetNext", "L2vpnDbIter *iter, void *record", f"iter, {into}"),
        "release_iter": f"{db}ReleaseIter",
        "update_fields": call(f"{db}UpdateFields", "const void *record, const uint32_t *ids, uint32_t count",
                              f"{rec}, ids, count"),
        "update_field": call(f"{db}UpdateField", "const void *record, uint32_t id", f"{rec}, id"),
        "set_fields": f"{db}SetFields", "map_update_field_id": f"{db}MapUpdateFieldId",
        "create_iter": call(f"{db}CreateIter", "uint32_t key_index, const void *record", f"key_index, {rec}"),
        "count_by_key": call(f"{db}CountByKey", "uint32_t key_index, const void *record, uint32_t *count",
                             f"key_index, {rec}, count"),
        "keys": "{\n" + keys + "        }",
        "dal_intf": f"{db}DalIntf",
        "dal": "{" + ", ".join(f"{dal}{slot}" if slot else "nullptr" for slot in (
            "Read", "Write", "Update", "Remove", "CreateIter", "", "GetNext", "", "CountByKey"))
            + ", {nullptr, nullptr, nullptr, nullptr}}",
        "dal_count": f"{dal}Count",
    }
    return "    {\n" + "".join(f"        .{name} = {value},\n" for name, value in entries.items()) + "    },\n"
