# SPDX-License-Identifier: MIT
"""A table's public header: records, constants and functions, spelled out and documented."""

import textwrap

from catalog import Field, Key, Table
from glossary import Glossary

WIDTH = 100
C_INTEGERS = {1: "uint8_t", 2: "uint16_t", 4: "uint32_t", 8: "uint64_t"}


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
    """A function declaration, its arguments wrapped under the first one. Nobody can release an
    iterator whose handle was not kept."""
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


def member(item: Field) -> str:
    if item.kind == "integer":
        return f"{C_INTEGERS[item.width]} {item.name};"
    if item.kind == "context":
        return f"uint8_t {item.name}[2][{item.width // 2}];"
    return f"uint8_t {item.name}[{item.width}];"


def ids(item: Field) -> str:
    return f"Fields {item.id} and {item.id + 1}" if item.ids == 2 else f"Field {item.id}"


def in_words(members: list) -> str:
    found = [item.name for item in members]
    return " and ".join(filter(None, (", ".join(found[:-1]), found[-1])))


class Header:
    def __init__(self, table: Table, glossary: Glossary):
        self.table, self.glossary = table, glossary
        self.macro = table.name.upper()
        self.record = table.camel
        self.out = []

    def add(self, text: str) -> None:
        self.out.append(text)

    def function(self, text: str, result: str, name: str, arguments: str = "void") -> None:
        self.add(comment(text) + declaration(result, name, arguments))

    def db(self, text: str, result: str, operation: str, arguments: str = "void") -> None:
        self.function(text, result, f"L2VPN_DB_{self.record}{operation}", arguments)

    def text(self) -> str:
        table = self.table
        guard = f"L2VPN_DB_{self.macro}_H"
        self.add("/* SPDX-License-Identifier: MIT */\n"
                 f"/* Generated from schema/catalog/{table.name}.toml by ./dev generate. */\n")
        access = ("" if table.typed else
                  "\n \nThis table has no typed access: its records can be described and formatted only.")
        self.add(comment(f"@file {table.name}.h\n{table.about}{access}\n \nThe conventions at the head "
                         "of l2vpn_db.h hold for every function: ownership, result codes, threads."))
        self.add(f"#ifndef {guard}\n#define {guard}\n\n"
                 '#include "l2vpn_db/l2vpn_db.h"\n\n'
                 '#ifdef __cplusplus\nextern "C" {\n#endif\n\n')
        self.add_record()
        self.add_constants()
        if table.typed:
            self.add_single_record()
            self.add_update()
            self.add_iteration()
            for key in table.keys:
                self.add_key(key)
            self.add_store_interface()
            self.add_generic()
        self.add_formatting()
        if table.typed:
            self.add_objects()
            self.add_imports()
        self.add(f"#ifdef __cplusplus\n}}\n#endif\n\n#endif\n")
        return "".join(self.out)

    def add_record(self) -> None:
        table = self.table
        self.add(section("Record"))
        gaps = ", ".join(f"{a} to {b}" if a != b else str(a) for a, b in table.gaps)
        gap_text = (f" Bytes {gaps} are alignment: no function reads or writes them." if gaps else "")
        stored = (f" The store holds its fields without gaps, {table.stored_size} bytes."
                  if table.typed else "")
        self.add(comment(f"Caller record, {table.record_size} bytes.{stored}{gap_text}"))
        members = [member(item) for item in table.fields]
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
        self.add(comment(f"Equal to l2vpn_schema_hash(L2VPN_AST_{self.record}Module()) if the library "
                         "has the schema that is declared here."))
        self.add(f"#define {self.macro}_SCHEMA_HASH UINT64_C(0x{table.schema_hash:016X})\n\n")

    def enum(self, what: str, pairs: list) -> None:
        rows = ",\n".join(f"    {self.macro}_{what}_{name} = {value}" for name, value in pairs)
        self.add(f"enum {{\n{rows}\n}};\n\n")

    def primary(self) -> str:
        return in_words(self.table.keys[0].members)

    def add_single_record(self) -> None:
        record = self.record
        self.add(section("Single records"))
        self.db("Stores a record: inserts it, or replaces the one with the same primary key "
                f"({self.primary()}).\n"
                "@return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result",
                "uint32_t", "Write", f"const {record} *record")
        self.db("Reads the record with the primary key that record holds, and overwrites record with it.\n"
                "@param record in: the key fields; out: the whole record, unchanged on failure\n"
                "@return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result",
                "uint32_t", "Read", f"{record} *record")
        self.db("Reads the record that a key request selects.\n"
                "@param record out, unchanged on failure; must not be null (not checked)\n"
                "@param key built by one of the Set...Key functions; must not be null (not checked)\n"
                "@return 0; else the store's result",
                "uint32_t", "ReadByKey", f"{record} *record, const L2vpnDbKeyData *key")
        self.db("Deletes the record with the primary key that record holds; its other fields do not matter.\n"
                "@return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result",
                "uint32_t", "Delete", f"const {record} *record")
        self.db("Counts the table's records.\n"
                "@param count out, written by the store; not checked here\n@return the store's result",
                "uint32_t", "Count", "uint32_t *count")

    def add_update(self) -> None:
        table, record = self.table, self.record
        batch = table.field_named("batchVersion")
        unchecked = "no_null_tests" in table.quirks
        null = "must not be null (not checked)" if unchecked else "names the stored record by its primary key"
        param = "" if unchecked else "L2VPN_DB_ERR_PARAM if record is null; else "
        which = (f"the only field that can be is batchVersion ({batch.id})" if batch else
                 "no field of this table can be, so that the setter always refuses")
        self.add(section("Partial update"))
        self.db(f"Changes the listed fields of a stored record to the values that record holds; {which}. "
                "The record and the list must not change during the call.\n"
                f"@param record {null}\n@param fieldIds fieldCount field ids; checked by the setter only\n"
                f"@return {param}the store's result, which reflects the setter's",
                "uint32_t", "UpdateFields",
                f"const {record} *record, const uint32_t *fieldIds, uint32_t fieldCount")
        self.db("Changes one field: the same as UpdateFields with a list of one.",
                "uint32_t", "UpdateField", f"const {record} *record, uint32_t fieldId")

    def add_iteration(self) -> None:
        table, record = self.table, self.record
        unchecked = "no_null_tests" in table.quirks
        null = ("must not be null (not checked)" if unchecked
                else "holds the primary-key fields; null gives 0")
        self.add(section("Iteration and counts"))
        self.db(f"Opens an iterator over the records with one key's values.\n"
                f"@param keyIndex {self.macro}_KEY_...\n"
                "@param record holds the key's fields; null with the primary key means the whole table\n"
                "@return a handle to release with ReleaseIter, for a primary key perhaps the fast "
                "iterator, which only its owner may use; 0 for an unknown key index, for a null "
                "record with a secondary key, or if the store opens none",
                "L2vpnDbIter *", "CreateIter", f"uint32_t keyIndex, const {record} *record")
        self.db("Counts the records with one key's values.\n"
                f"@param keyIndex {self.macro}_KEY_...\n@param record holds the key's fields\n"
                "@param count out, written by the store; not checked here\n"
                "@return 0; L2VPN_DB_ERR_PARAM for an unknown key index or a null record; else the "
                "store's result",
                "uint32_t", "CountByKey",
                f"uint32_t keyIndex, const {record} *record, uint32_t *count")
        self.db("Opens an iterator over one full primary key. The table's one fast iterator, whose handle "
                "is the control block's address, costs one read and nothing in the store; while it is "
                "handed out, this opens an iterator of the store. Only its owner may use the handle.\n"
                f"@param record {null}\n"
                "@return a handle to release with ReleaseIter; 0 for none",
                "L2vpnDbIter *", "CreateFastPriIter", f"const {record} *record")
        self.db("Delivers an iterator's next record.\n"
                "@param iter from one of this table's Create...Iter functions\n"
                "@param record out, unchanged unless the result is 0\n"
                "@return 0; L2VPN_DB_ERR_PARAM if an argument is null; L2VPN_DB_NO_MORE when the fast "
                "iterator has made its read; else the store's result, its end code among them",
                "uint32_t", "GetNext", f"L2vpnDbIter *iter, {record} *record")
        self.db("Releases an iterator, exactly once, whatever GetNext returned.\n"
                "@return 0 for the fast iterator; else the store's result",
                "uint32_t", "ReleaseIter", "L2vpnDbIter *iter")

    def add_key(self, key: Key) -> None:
        record, what = self.record, in_words(key.members)
        self.add(section(f"Key {key.index}: {key.name} ({', '.join(item.name for item in key.members)})"))
        self.db(f"Opens an iterator of the store over the records with the same {what} as record.\n"
                "@return a handle to release with ReleaseIter; 0 if record is null or the store opens none",
                "L2vpnDbIter *", f"Create{key.infix}Iter", f"const {record} *record")
        self.db(f"Counts the records with the same {what} as record.\n"
                "@param count out, written by the store; not checked here\n"
                "@return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result",
                "uint32_t", f"CountBy{key.infix}Key", f"const {record} *record, uint32_t *count")
        self.db(f"Builds the key request, identifier word 0x{key.word:08X}, from {what}. "
                "No pointer is checked.\n"
                "@param request out, zeroed by the caller; refers to keyId and key, which must outlive it\n"
                "@param keyId out, first word of a zeroed area of 16 bytes\n"
                f"@param key out, {key.length} bytes",
                "void", f"Set{key.infix}Key",
                f"const {record} *record, L2vpnDbKeyData *request, uint32_t *keyId, void *key")

    def add_store_interface(self) -> None:
        table, record = self.table, self.record
        self.add(section("Conversions, maps and callbacks"))
        self.db("Maps a key index to its key code, (index << 8) | flags.\n"
                "@return the code, or L2VPN_DB_NO_MAPPING",
                "uint32_t", "MapKeyId", "uint32_t keyIndex")
        self.db("Maps a field id of an update to the store's.\n@return the id, or L2VPN_DB_NO_MAPPING",
                "uint32_t", "MapUpdateFieldId", "uint32_t fieldId")
        if table.field_named("batchVersion"):
            null = ("; record->data must not be null (not checked)"
                    if "no_null_tests" in table.quirks else ", or record->data is null")
            text = ("The setter that the store calls during an update: sets batchVersion in the record "
                    "object, once for each time the list names it.\n"
                    "@return 0; L2VPN_DB_ERR_PARAM if record or fieldIds is null, fieldCount is 0, or at "
                    f"the first other field id{null}; else the bitwise OR of the record object's results")
        else:
            text = ("The setter that the store calls during an update; it ignores its arguments.\n"
                    "@return L2VPN_DB_ERR_PARAM: no field of this table can be updated")
        self.db(text, "uint32_t", "SetFields",
                "const L2vpnDbRecData *record, L2vpnDbRecObj *object, const uint32_t *fieldIds, "
                "uint32_t fieldCount")
        result = "@return not to be relied on"
        self.db(f"Packs a caller record into {table.stored_size} bytes of stored record. "
                f"No pointer is checked; the two must not overlap.\n{result}",
                "uint32_t", "SetAllFields", f"const {record} *record, void *stored")
        self.db("Unpacks a stored record; the caller record's alignment bytes keep their values. No pointer "
                f"is checked; the two must not overlap.\n{result}",
                "uint32_t", "GetAllFields", f"const void *stored, {record} *record")
        if "svc_fields_split" in table.quirks:
            self.db(f"Packs the service fields alone, leaving the rest of the stored record.\n{result}",
                    "uint32_t", "SetSvcFields", f"const {record} *record, void *stored")
            self.db(f"Unpacks the service fields alone, leaving the rest of the caller record.\n{result}",
                    "uint32_t", "GetSvcFields", f"const void *stored, {record} *record")
        self.db("Initialises the control block's spin lock, once however often it is called.\n@return 0",
                "uint32_t", "GlbInit")
        self.db("Adds an amount to a counter, atomically and modulo 2^32. The store calls it.\n"
                "@param statId below L2VPN_DB_STAT_COUNT; any other is ignored",
                "void", "Stat", "uint32_t statId, uint32_t amount")
        self.db("Reads a counter; its meaning is the store's.\n"
                "@return the value, perhaps a moment old; 0 if statId is not below L2VPN_DB_STAT_COUNT",
                "uint32_t", "GetStat", "uint32_t statId")

    def add_generic(self) -> None:
        table = self.table
        self.add(section("Generic interface"))
        self.db("Initialises the control block (GlbInit) and returns the table's functions for code that "
                "does not know its record type. The caller owns the copy.",
                "L2vpnDalIntf", "DalIntf")
        size = table.record_size

        def dal(text, result, name, arguments):
            self.function(text, result, f"L2VPN_DAL_{self.record}{name}", arguments)

        refused = f"@return L2VPN_DB_ERR_PARAM if length is not {size}; else what it returns"
        dal(f"L2VPN_DB_{self.record}Read behind a check of the record's length.\n{refused}",
            "uint32_t", "Read", "void *record, uint32_t length")
        dal(f"L2VPN_DB_{self.record}Write behind a check of the record's length.\n{refused}",
            "uint32_t", "Write", "const void *record, uint32_t length")
        dal(f"L2VPN_DB_{self.record}UpdateFields behind a check of the record's length.\n{refused}",
            "uint32_t", "Update",
            "const void *record, uint32_t length, const uint32_t *fieldIds, uint32_t fieldCount")
        dal(f"L2VPN_DB_{self.record}Delete behind a check of the record's length.\n{refused}",
            "uint32_t", "Remove", "const void *record, uint32_t length")
        dal(f"L2VPN_DB_{self.record}CreateIter behind a check of the record's length, which does not matter "
            f"for a null record.\n@return 0 if record is not null and length is not {size}; else what it "
            "returns",
            "L2vpnDbIter *", "CreateIter", "uint32_t keyIndex, const void *record, uint32_t length")
        dal(f"L2VPN_DB_{self.record}GetNext behind a check of the record's length.\n{refused}",
            "uint32_t", "GetNext", "L2vpnDbIter *iter, void *record, uint32_t length")
        dal(f"The same as L2VPN_DB_{self.record}Count; the interface table holds that one.",
            "uint32_t", "Count", "uint32_t *count")
        dal(f"L2VPN_DB_{self.record}CountByKey behind a check of the record's length, which a null record "
            f"must pass too.\n{refused}",
            "uint32_t", "CountByKey",
            "uint32_t keyIndex, const void *record, uint32_t length, uint32_t *count")

    def add_formatting(self) -> None:
        table = self.table
        self.add(section("Formatting and schema"))
        printed = [item for item in table.fields if item.printed]
        fields = ", ".join(item.name for item in printed) or "nothing"
        mac = (" A MAC field shows the low 32 bits of its address in memory, not its contents."
               if any(item.kind == "mac" for item in printed) else "")
        self.function(f"Renders a record as one line of text, \"name:value\" items joined by the separator: "
                      f"{fields}.{mac} Pieces that do not fit are left out.\n"
                      "@param formatId L2VPN_AST_WHOLE_RECORD; any other prints \"not support\"\n"
                      f"@param record a {table.camel}\n"
                      "@param buffer out, terminated text of at most bufferLength bytes\n"
                      "@return the number of characters without the terminator; L2VPN_AST_ERR if a pointer "
                      "is null or bufferLength is 0; for another formatId the result of sprintf_s",
                      "uint32_t", f"L2VPN_AST_{self.record}Format",
                      "uint32_t formatId, const void *record, char *buffer, uint32_t bufferLength, "
                      "const char *separator")
        self.function("The whole-record presentation alone. No argument is checked.\n"
                      "@return the number of characters without the terminator",
                      "uint32_t", f"L2VPN_AST_{self.record}FormatTable",
                      f"const {self.record} *record, char *buffer, uint32_t bufferLength, "
                      "const char *separator")
        self.function("Returns the table's schema descriptor, which the library owns and nobody may change.",
                      "L2vpnAstModule *", f"L2VPN_AST_{self.record}Module")

    def add_objects(self) -> None:
        table, record = self.table, self.record
        self.add(section("Exported data"))
        buffer = table.key_buffer
        self.add(comment(f"Control block, {table.control_block_size} bytes; see L2vpnDbGlbCb."))
        self.add(f"typedef struct {record}GlbCb {{\n"
                 "    uint32_t keyId[4]; /**< At 0: the fast iterator's key identifier area. */\n"
                 f"    {f'uint8_t key[{buffer}];':<18} "
                 f"/**< At 16: its key, {table.keys[0].length} bytes. */\n"
                 f"    L2vpnDbGlbCb cb;   /**< At {16 + buffer}: what all tables have. */\n"
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
