# SPDX-License-Identifier: MIT
# gdb printers for caller records, stored records, key requests, control blocks, descriptors and
# iterator handles. The build prepends the table facts, TABLES, and puts the file where gdb loads it
# with the library.
import difflib
import re
import socket

import gdb
import gdb.printing


class Field:
    def __init__(self, name, display, width, offset, stored_offset):
        self.name, self.display, self.width = name, display, width
        self.offset, self.stored_offset = offset, stored_offset

    def text(self, data: bytes) -> str:
        return DISPLAYS[self.display](data)


class Table:
    def __init__(self, name, record, record_size, stored_size, fields, keys):
        self.name, self.record = name, record
        self.record_size, self.stored_size = record_size, stored_size
        self.fields = [Field(*row) for row in fields]
        named = {item.name: item for item in self.fields}
        self.keys = [(key, [named[member] for member in members]) for key, *members in keys]

    def key_text(self, index: int, data: bytes) -> str:
        """A key's members from its packed value."""
        name, members = self.keys[index]
        texts, at = [], 0
        for member in members:
            texts.append(f"{member.name} {member.text(data[at:at + member.width])}")
            at += member.width
        return f"{name} of {self.name}: " + ", ".join(texts)


def hexadecimal(data: bytes) -> str:
    """Bytes in hexadecimal, trailing zeros as a count."""
    shown = data.rstrip(b"\0")
    zeros = len(data) - len(shown)
    rest = f"{zeros} zero byte{'s' if zeros > 1 else ''}" if zeros else ""
    return " + ".join(filter(None, (shown.hex(), rest)))


def array(data: bytes) -> str:
    half = len(data) // 2
    return f"{{{hexadecimal(data[:half])}, {hexadecimal(data[half:])}}}"


DISPLAYS = {  # the displays of generator/field_types.py
    "number": lambda data: str(int.from_bytes(data, "little")),
    "ipv4": lambda data: ".".join(str(byte) for byte in reversed(data)),
    "ipv6": lambda data: socket.inet_ntop(socket.AF_INET6, data),
    "mac": lambda data: data.hex(":"),
    "pair": lambda data: f"{{{data[0]}, {data[1]}}}",
    "array": array,
    "bytes": hexadecimal,
}
BY_NAME = {name: Table(name, **row) for name, row in TABLES.items()}  # noqa: F821
BY_RECORD = {table.record: table for table in BY_NAME.values()}


def memory(address, length: int) -> bytes:
    return gdb.selected_inferior().read_memory(int(address), length).tobytes()


def table_of_block(address: int):
    """The table whose control block contains the address, or None, and the offset in the block."""
    symbol = gdb.execute(f"info symbol {address}", to_string=True)
    match = re.match(r"g_l2vpn(\w+)GlbCb(?: \+ (\d+))? in section", symbol)
    return (BY_RECORD[match[1]], int(match[2] or 0)) if match and match[1] in BY_RECORD else (None, 0)


def key_request_text(request, table=None) -> str:
    """A key request, with its members if the table is known, and its mismatches with the table."""
    if int(request["keyId"]) == 0 or int(request["key"]) == 0:
        return "no key"
    if table is None:  # the fast iterator's request refers to its own control block
        table, _ = table_of_block(int(request["keyId"]))
    word, length = int(request["keyId"].dereference()), int(request["keyLength"])
    index, flags = word >> 24, word >> 16 & 0xFF
    problems = []
    if flags != (9 if index else 1):
        problems.append(f"flags {flags}")
    if word & 0xFFFF != length:
        problems.append(f"length {word & 0xFFFF} in word 0x{word:08x}")
    data = memory(request["key"], length)
    if table is None:
        text = f"key {index}"
    elif index >= len(table.keys):
        text = f"key {index}, which {table.name} does not have"
    elif length != (wanted := sum(member.width for member in table.keys[index][1])):
        text = f"{table.keys[index][0]} of {table.name}, which has {wanted} bytes"
    else:
        return ", but ".join([table.key_text(index, data), *problems])
    return ", but ".join([f"{text}: {length} bytes {data.hex()}", *problems])


class RecordPrinter:
    """A caller record without the fields that are 0."""

    def __init__(self, value, table):
        self.value, self.table = value, table
        self.data = {item.name: self.bytes_of(item) for item in table.fields}

    def bytes_of(self, field) -> bytes:
        def flat(value) -> bytes:
            if value.type.strip_typedefs().code != gdb.TYPE_CODE_ARRAY:
                return int(value).to_bytes(value.type.sizeof, "little")
            first, last = value.type.strip_typedefs().range()
            return b"".join(flat(value[i]) for i in range(first, last + 1))

        return flat(self.value[field.name])

    def to_string(self):
        zeros = sum(not any(data) for data in self.data.values())
        total = len(self.data)
        hidden = {0: "", total: " (all fields are 0)"}.get(zeros, f" ({zeros} of {total} fields are 0)")
        return self.table.name + hidden

    def children(self):
        for field in self.table.fields:
            if any(data := self.data[field.name]):
                yield field.name, self.child(field, data)

    def child(self, field, data):
        if field.display != "number":
            return field.text(data)
        # gdb would print a uint8_t as a character.
        number = gdb.selected_inferior().architecture().integer_type(8 * field.width, False)
        return self.value[field.name].cast(number)


class KeyRequestPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return key_request_text(self.value)


class ControlBlockPrinter:
    def __init__(self, block, name):
        self.block, self.name = block, name

    def to_string(self):
        return f"control block of {self.name}" if self.name else "control block"

    def children(self):
        block = self.block
        used = f"in use, GetNext called {int(block['delivered'])} times (modulo 256)" if block["inUse"] else "free"
        yield "fast iterator", used
        yield "its key", key_request_text(block["keyRequest"])
        yield "spin lock", ("held" if block["spinLock"] else "free") + (
            "" if block["spinLockReady"] else ", not initialised")
        # The C library's mutex begins with the lock word, a count and the owner's thread id.
        first, second = int(block["mutex"][0]), int(block["mutex"][1])
        yield "mutex", f"held by thread {second & 0xFFFFFFFF}" if first & 0xFFFFFFFF else "free"
        names = counter_names()
        counters = [f"{names.get(i, i)} {int(block['stat'][i])}" for i in range(22) if block["stat"][i]]
        yield "counters", "{" + ", ".join(counters) + "}" if counters else "all 0"


def counter_names() -> dict:
    """The store defines the counters; the names of the embedded one's are in its debug information."""
    try:
        store = gdb.solib_name(int(gdb.parse_and_eval("(unsigned long)&DAL_VELD_Write")))
        names = gdb.lookup_type("L2vpnStoreStat").strip_typedefs().fields()
    except gdb.error:
        return {}
    if "libl2vpn_platform" not in (store or ""):
        return {}
    return {item.enumval: item.name.removeprefix("L2VPN_STORE_STAT_").lower() for item in names}


class DescriptorPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        name = self.value["name"]
        return f"descriptor of {name.string()}" if int(name) else "descriptor without a name"


class IteratorPrinter:
    def __init__(self, value):
        self.handle = int(value)

    def to_string(self):
        if self.handle == 0:
            return "0x0, no iterator"
        table, offset = table_of_block(self.handle)
        whose = "a store iterator" if table is None or offset else f"the fast iterator of {table.name}"
        return f"0x{self.handle:x}, {whose}"


class Printers(gdb.printing.PrettyPrinter):
    def __call__(self, value):
        if value.type.code == gdb.TYPE_CODE_REF:
            value = value.referenced_value()
        kind = value.type.strip_typedefs().unqualified()
        if kind.code == gdb.TYPE_CODE_PTR:
            return IteratorPrinter(value) if kind.target().unqualified().name == "L2vpnDbIter" else None
        if kind.code != gdb.TYPE_CODE_STRUCT or kind.name is None:
            return None
        table = BY_RECORD.get(kind.name)
        if table is not None:  # a program may have been built for another version's record
            return RecordPrinter(value, table) if kind.sizeof == table.record_size else None
        table = BY_RECORD.get(kind.name.removesuffix("GlbCb"))
        if table is not None:
            return ControlBlockPrinter(value["cb"], table.name)
        shared = {"L2vpnDbKeyData": KeyRequestPrinter, "L2vpnDbTblIntf": DescriptorPrinter,
                  "L2vpnDbGlbCb": lambda block: ControlBlockPrinter(block, None)}
        return shared[kind.name](value) if kind.name in shared else None


def named_table(value) -> Table:
    """The table that a string, a descriptor or a pointer to one names."""
    kind = value.type.strip_typedefs()
    if kind.code == gdb.TYPE_CODE_PTR and kind.target().strip_typedefs().unqualified().name == "L2vpnDbTblIntf":
        value = value.dereference()
    name = (value["name"] if value.type.strip_typedefs().code == gdb.TYPE_CODE_STRUCT else value).string()
    if name not in BY_NAME:
        close = difflib.get_close_matches(name, BY_NAME, 1, 0.5)
        raise gdb.GdbError(f'found "{name}", expected a table' + (f'; did you mean "{close[0]}"?' if close else ""))
    return BY_NAME[name]


def request(value, name: str):
    """The request that the value is or points to; None if it is something else."""
    if value.type.strip_typedefs().code == gdb.TYPE_CODE_PTR:
        if value.type.strip_typedefs().target().strip_typedefs().unqualified().name != name:
            return None
        return value.dereference()
    return value if value.type.strip_typedefs().unqualified().name == name else None


class Stored(gdb.Function):
    """$l2vpn_stored(TABLE, WHERE): a stored record, unpacked into a caller record.
TABLE is a name, "l2vpn_...", or a descriptor; WHERE points to the packed bytes or is a record
request. Members can be selected: print $l2vpn_stored("l2vpn_vpls_pw", bytes).peerIp"""

    def __init__(self):
        super().__init__("l2vpn_stored")

    def invoke(self, table, where):
        table = named_table(table)
        if table.stored_size is None:
            raise gdb.GdbError(f"{table.name} has no stored records: it can only be described and formatted")
        found = request(where, "L2vpnDbRecData")
        if found is not None:
            if int(found["length"]) != table.stored_size:
                raise gdb.GdbError(f"found a record of {int(found['length'])} bytes, expected "
                                   f"{table.stored_size}, the stored size of {table.name}")
            where = found["data"]
        try:
            kind = gdb.lookup_type(table.record)
        except gdb.error:
            raise gdb.GdbError(f"found no debug information for {table.record}; "
                               "load it, for example with symbol-file") from None
        if kind.sizeof != table.record_size:
            raise gdb.GdbError(f"found a {table.record} of {kind.sizeof} bytes, expected {table.record_size}: "
                               "the program was built for another version")
        stored, record = memory(where, table.stored_size), bytearray(table.record_size)
        for field in table.fields:
            record[field.offset:field.offset + field.width] = stored[field.stored_offset:
                                                                     field.stored_offset + field.width]
        return gdb.Value(bytes(record), kind)


class Key(gdb.Function):
    """$l2vpn_key(TABLE, REQUEST): a key request's members, as text.
TABLE is a name, "l2vpn_...", or a descriptor; REQUEST is a L2vpnDbKeyData or points to one."""

    def __init__(self):
        super().__init__("l2vpn_key")

    def invoke(self, table, key):
        found = request(key, "L2vpnDbKeyData")
        if found is None:
            raise gdb.GdbError(f"found a {key.type}, expected a L2vpnDbKeyData or a pointer to one")
        return key_request_text(found, named_table(table))


Stored()
Key()
gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers("l2vpn_db"), replace=True)
