# SPDX-License-Identifier: MIT
"""The functions that the library exports for a table: the one list behind headers, definitions, exports
and test tables. An operation is a name, a C signature, the function that implements it and its documentation."""

import re
from dataclasses import dataclass

U32, ITERATOR = "uint32_t", "L2vpnDbIter *"


@dataclass(frozen=True)
class Operation:
    family: str  # DB, DAL or AST
    symbol: str
    slot: str  # in the tests' tables of functions
    result: str
    parameters: str
    function: str  # in namespace l2vpn; empty if defined elsewhere
    extra: str  # last argument of `function`, after the parameters
    text: str

    @property
    def call(self) -> str:
        """The expression that the exported function returns."""
        names = re.findall(r"(\w+)(?:,|$)", self.parameters) if self.parameters != "void" else []
        return f"l2vpn::{self.function}({', '.join(filter(None, (*names, self.extra)))})"


@dataclass(frozen=True)
class Section:
    title: str
    key: object  # whose operations these are, or None
    operations: list


def in_words(members: list) -> str:
    *first, last = [item.name for item in members]
    return f"{', '.join(first)} and {last}" if first else last


def snake(name: str) -> str:
    return re.sub(r"(?<!^)(?=[A-Z])", "_", name).lower()


class Sections:
    """Builds the sections of one table."""

    def __init__(self, table):
        self.table, self.record = table, table.camel
        self.tag = f"l2vpn::{table.camel}Table"
        self.info = f"l2vpn::table_info<{self.tag}>"
        self.const = f"const {self.record} *record"
        self.unchecked = "no_null_tests" in table.quirks
        self.batch = table.field_named("batchVersion")
        self.all = []

    def section(self, title: str, key=None) -> None:
        self.all.append(Section(title, key, []))

    def add(self, name: str, function: str, result: str, parameters: str, text: str, extra: str = "",
            family: str = "DB", slot: str = "") -> None:
        self.all[-1].operations.append(Operation(
            family, f"L2VPN_{family}_{self.record}{name}", slot or snake(name), result, parameters, function,
            extra, text))

    def build(self) -> list:
        if self.table.typed:
            self.single_records()
            self.partial_update()
            self.iteration()
            for key in self.table.keys:
                self.key(key)
            self.store_interface()
            self.generic_interface()
        self.formatting()
        return self.all

    def single_records(self) -> None:
        record, typed = self.record, f"<{self.tag}>"
        self.section("Single records")
        self.add("Write", f"write{typed}", U32, self.const,
                 "Stores a record: inserts it, or replaces the one with the same primary key "
                 f"({in_words(self.table.keys[0].members)}).\n"
                 "@return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result")
        self.add("Read", f"read{typed}", U32, f"{record} *record",
                 "Reads the record with the primary key that record holds, and overwrites record with it.\n"
                 "@param record in: the key fields; out: the whole record, unchanged on failure\n"
                 "@return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result")
        self.add("ReadByKey", f"read_by_key{typed}", U32, f"{record} *record, const L2vpnDbKeyData *key",
                 "Reads the record that a key request selects.\n"
                 "@param record out, unchanged on failure; must not be null (not checked)\n"
                 "@param key built by one of the Set...Key functions; must not be null (not checked)\n"
                 "@return 0; else the store's result")
        self.add("Delete", "remove", U32, self.const,
                 "Deletes the record with the primary key that record holds; ignores its other fields.\n"
                 "@return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result", self.info, slot="remove")
        self.add("Count", "count", U32, "uint32_t *count",
                 "Counts the table's records.\n"
                 "@param count out, written by the store; not checked here\n@return the store's result", self.info)

    def partial_update(self) -> None:
        null = ("must not be null (not checked)" if self.unchecked
                else "selects the stored record by its primary key")
        refusal = "" if self.unchecked else "L2VPN_DB_ERR_PARAM if record is null; else "
        which = (f"Only batchVersion ({self.batch.id}) can be updated." if self.batch else
                 "No field of this table can be updated: the setter always fails.")
        self.section("Partial update")
        self.add("UpdateFields", "update_fields", U32,
                 f"{self.const}, const uint32_t *fieldIds, uint32_t fieldCount",
                 f"Sets the listed fields of a stored record to their values in record. {which} "
                 "The record and the list must not change during the call.\n"
                 f"@param record {null}\n@param fieldIds fieldCount field ids; checked by the setter only\n"
                 f"@return {refusal}the store's result, which reflects the setter's", self.info)
        self.add("UpdateField", "update_field", U32, f"{self.const}, uint32_t fieldId",
                 "Updates one field; equivalent to UpdateFields with a list of one.", self.info)

    def iteration(self) -> None:
        key_index = f"@param keyIndex {self.table.name.upper()}_KEY_...\n"
        null = ("must not be null (not checked)" if self.unchecked
                else "holds the primary-key fields; returns 0 if null")
        self.section("Iteration and counts")
        self.add("CreateIter", "create_iter", ITERATOR, f"uint32_t keyIndex, {self.const}",
                 f"Opens an iterator over the records that match a key.\n{key_index}"
                 "@param record holds the key's fields; null with the primary key means the whole table\n"
                 "@return a handle, to be released with ReleaseIter; with the primary key it can be the fast "
                 "iterator (see CreateFastPriIter). 0 for an unknown key index, a null record with a "
                 "secondary key, or if the store cannot open an iterator", self.info)
        self.add("CountByKey", "count_by_key", U32, f"uint32_t keyIndex, {self.const}, uint32_t *count",
                 f"Counts the records that match a key.\n{key_index}"
                 "@param record holds the key's fields\n"
                 "@param count out, written by the store; not checked here\n"
                 "@return 0; L2VPN_DB_ERR_PARAM for an unknown key index or a null record; else the "
                 "store's result", self.info)
        self.add("CreateFastPriIter", "create_fast_pri_iter", ITERATOR, self.const,
                 "Opens an iterator over one full primary key. Returns the table's fast iterator if it is "
                 "free: its handle is the address of the control block, and it costs one read and no "
                 "iterator in the store. Otherwise opens a store iterator. Only the caller that "
                 "received the handle may use it.\n"
                 f"@param record {null}\n@return a handle, to be released with ReleaseIter; 0 on failure",
                 self.info)
        self.add("GetNext", f"get_next<{self.tag}>", U32, f"L2vpnDbIter *iter, {self.record} *record",
                 "Delivers an iterator's next record.\n"
                 "@param iter from one of this table's Create...Iter functions\n"
                 "@param record out, unchanged unless the result is 0\n"
                 "@return 0; L2VPN_DB_ERR_PARAM if an argument is null; L2VPN_DB_NO_MORE after the single "
                 "read of the fast iterator; else the store's result, such as its end code")
        self.add("ReleaseIter", "release_iter", U32, "L2vpnDbIter *iter",
                 "Releases an iterator. Must be called exactly once per handle, even if GetNext failed.\n"
                 "@return 0 for the fast iterator; else the store's result", self.info)

    def key(self, key) -> None:
        what, info = in_words(key.members), f"l2vpn::key_info<{self.tag}>[{key.index}]"
        self.section(f"Key {key.index}: {key.name} ({', '.join(item.name for item in key.members)})", key)
        self.add(f"Create{key.infix}Iter", "create_key_iter", ITERATOR, self.const,
                 f"Opens a store iterator over the records with the same {what} as record.\n"
                 "@return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open one",
                 info, slot="create_iter")
        self.add(f"CountBy{key.infix}Key", "count_by", U32, f"{self.const}, uint32_t *count",
                 f"Counts the records with the same {what} as record.\n"
                 "@param count out, written by the store; not checked here\n"
                 "@return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result", info, slot="count_by")
        self.add(f"Set{key.infix}Key", f"build_key_out_of_line<{self.tag}, {key.index}>", "void",
                 f"{self.const}, L2vpnDbKeyData *request, uint32_t *keyId, void *key",
                 f"Builds the key request, identifier word 0x{key.word:08X}, from {what}. "
                 "No pointer is checked.\n"
                 "@param request out, zeroed by the caller; refers to keyId and key, which must outlive it\n"
                 "@param keyId out, first word of a zeroed area of 16 bytes\n"
                 f"@param key out, {key.length} bytes", slot="set")

    def store_interface(self) -> None:
        self.section("Conversions, maps and callbacks")
        self.add("MapKeyId", "find_mapping", U32, "uint32_t keyIndex",
                 "Maps a key index to its key code, (index << 8) | flags.\n"
                 "@return the code, or L2VPN_DB_NO_MAPPING", f"{self.info}.key_map")
        self.add("MapUpdateFieldId", "find_mapping", U32, "uint32_t fieldId",
                 "Maps the field id of an update to the store's field id.\n@return the id, or L2VPN_DB_NO_MAPPING",
                 f"{self.info}.update_map")
        null = "; record->data must not be null (not checked)" if self.unchecked else ", or record->data is null"
        setter = ("Sets batchVersion in the record object, once per occurrence in the list.\n"
                  "@return 0; L2VPN_DB_ERR_PARAM if record or fieldIds is null, fieldCount is 0, or at "
                  f"the first other field id{null}; else the bitwise OR of the record object's results")
        self.add("SetFields", "set_fields", U32,
                 "const L2vpnDbRecData *record, L2vpnDbRecObj *object, const uint32_t *fieldIds, "
                 "uint32_t fieldCount",
                 "Setter, called by the store during an update"
                 + (f". {setter}" if self.batch else ". Ignores its arguments.\n"
                    "@return L2VPN_DB_ERR_PARAM: no field of this table can be updated"), self.info)
        self.conversions("All", f"Packs a caller record into {self.table.stored_size} bytes of stored record. "
                         "No pointer is checked; the two must not overlap.",
                         "Unpacks a stored record; the caller record's padding is unchanged. "
                         "No pointer is checked; the two must not overlap.")
        if "svc_fields_split" in self.table.quirks:
            self.conversions("Svc", "Packs only the service fields; the rest of the stored record is unchanged.",
                             "Unpacks only the service fields; the rest of the caller record is unchanged.")
        self.add("GlbInit", "glb_init", U32, "void",
                 "Initialises the control block's spin lock on the first call; later calls do nothing.\n@return 0",
                 self.info)
        self.add("Stat", "stat", "void", "uint32_t statId, uint32_t amount",
                 "Adds an amount to a counter, atomically and modulo 2^32. Called by the store.\n"
                 "@param statId below L2VPN_DB_STAT_COUNT; larger values are ignored", self.info)
        self.add("GetStat", "get_stat", U32, "uint32_t statId",
                 "Reads a counter. The store defines the meaning of each.\n"
                 "@return the value, which may be stale; 0 if statId is not below L2VPN_DB_STAT_COUNT", self.info)

    def conversions(self, fields: str, pack: str, unpack: str) -> None:
        result = "\n@return unspecified"
        self.add(f"Set{fields}Fields", f"set_{fields.lower()}_fields<{self.tag}>", U32,
                 f"{self.const}, void *stored", pack + result)
        self.add(f"Get{fields}Fields", f"get_{fields.lower()}_fields<{self.tag}>", U32,
                 f"const void *stored, {self.record} *record", unpack + result)

    def generic_interface(self) -> None:
        db, size = f"L2VPN_DB_{self.record}", self.table.record_size
        self.section("Generic interface")
        self.add("DalIntf", "dal_intf", "L2vpnDalIntf", "void",
                 "Initialises the control block (GlbInit) and returns the table's functions for code that "
                 "does not know its record type. The caller owns the copy.", self.info)

        def add(name, typed, function, result, parameters, extra, exception=""):
            refused = (f"0 if record is not null and length is not {size}" if result == ITERATOR
                       else f"L2VPN_DB_ERR_PARAM if length is not {size}")
            self.add(name, function, result, parameters,
                     f"Checks the record length, then calls {db}{typed}.{exception}\n"
                     f"@return {refused}; else the result of that call", extra, "DAL")

        const = "const void *record, uint32_t length"
        add("Read", "Read", "dal_read_write", U32, "void *record, uint32_t length", f"{db}Read")
        add("Write", "Write", "dal_read_write", U32, const, f"{db}Write")
        add("Update", "UpdateFields", "dal_update", U32,
            f"{const}, const uint32_t *fieldIds, uint32_t fieldCount", self.info)
        add("Remove", "Delete", "dal_remove", U32, const, self.info)
        add("CreateIter", "CreateIter", "dal_create_iter", ITERATOR, f"uint32_t keyIndex, {const}", self.info,
            " The length of a null record is ignored.")
        add("GetNext", "GetNext", "dal_get_next", U32, "L2vpnDbIter *iter, void *record, uint32_t length",
            f"{db}GetNext")
        self.add("Count", "count", U32, "uint32_t *count",
                 f"Equivalent to {db}Count, which is the function in the interface table.", self.info, "DAL")
        add("CountByKey", "CountByKey", "dal_count_by_key", U32, f"uint32_t keyIndex, {const}, uint32_t *count",
            self.info, " The length of a null record is checked, too.")

    def formatting(self) -> None:
        printed = [item for item in self.table.fields if item.printed]
        fields = ", ".join(item.name for item in printed) or "nothing"
        mac = (" A MAC field shows the low 32 bits of its address in memory, not its contents."
               if any(item.kind == "mac" for item in printed) else "")
        text = "char *buffer, uint32_t bufferLength, const char *separator"
        whole = f"format_table<{self.tag}>"
        self.section("Formatting and schema")
        self.add("Format", "format", U32, f"uint32_t formatId, const void *record, {text}",
                 "Formats a record as one line of text, \"name:value\" items joined by the separator: "
                 f"{fields}.{mac} A piece that does not fit is omitted.\n"
                 "@param formatId L2VPN_AST_WHOLE_RECORD; other values print \"not support\"\n"
                 f"@param record a {self.record}\n"
                 "@param buffer out, terminated text of at most bufferLength bytes\n"
                 "@return the number of characters without the terminator; L2VPN_AST_ERR if a pointer "
                 "is null or bufferLength is 0; for another formatId the result of sprintf_s",
                 f"l2vpn::{whole}", "AST")
        self.add("FormatTable", whole, U32, f"{self.const}, {text}",
                 "Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.\n"
                 "@return the number of characters without the terminator", family="AST")
        self.add("Module", "", "L2vpnAstModule *", "void",
                 "Returns the table's schema descriptor. The library owns it; do not modify it.",
                 family="AST")


def sections(table) -> list:
    """All exported functions of a table, by header section."""
    return Sections(table).build()


def operations(table) -> list:
    return [operation for section in sections(table) for operation in section.operations]


def exported_functions(table) -> list:
    return [operation.symbol for operation in operations(table)]
