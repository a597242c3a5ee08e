# SPDX-License-Identifier: MIT
"""Random tables and a model of the generator's derivations. The model shares no code with generator/,
so that an error in either of them shows as a difference.
"""

import random
import re
import tomllib
from pathlib import Path

INTEGERS = {"u8": 1, "u16": 2, "u32": 4, "u64": 8, "ipv4": 4}
SERVICE = ("svcStatus", "svcErrcode", "glbSvcCtx", "svcCtx")
QUIRKS = ("no_null_tests", "svc_fields_split", "trailing_separator")
LARGEST_RECORD = 8192

WORDS = ("vr", "if", "peer", "mac", "instance", "tunnel", "pw", "src", "vlan", "stat", "enable", "ttl", "mpls",
         "exp", "hub", "spoke", "x", "id", "type", "l2", "time", "lst")
# Names with a meaning in C, C++, the C library or the library's own sources.
COLLIDING = ("main", "assert", "offsetof", "read", "write", "remove", "stat", "index", "signal", "printf", "record",
           "name", "fields", "keys", "row", "key", "keyMembers", "descriptor", "controlBlock",
           "request", "result", "stored", "buffer", "separator", "module", "import", "final", "override", "xor2",
           "i", "k", "a", "e", "std", "l2vpn", "test", "format", "self", "line", "count", "id", "offset", "width",
           "kind", "printed", "value", "at", "end", "object", "table", "size", "length", "this2", "null", "nan")
RESERVED = ("resv", "resv1", "rsv", "rsv2", "rev", "rev1", "res", "res12")


class Field:
    def __init__(self, name: str, type_name: str, printed: bool = False):
        self.name, self.type, self.printed = name, type_name, printed
        self.offset = self.id = self.stored_offset = 0  # until the table is laid out
        self.alignment = INTEGERS.get(type_name, 1)
        if type_name in INTEGERS:
            self.elements, self.width = 1, INTEGERS[type_name]
        elif type_name == "mac":
            self.elements = self.width = 6
        elif type_name == "ipv6":
            self.elements = self.width = 16
        elif type_name == "pair":
            self.elements = self.width = 2
        elif type_name.startswith("2x"):
            self.elements, self.width = 2, 2 * int(type_name[2:])
        else:
            self.elements = self.width = int(type_name.removeprefix("bytes"))

    @property
    def array(self) -> bool:
        return self.elements == 2

    @property
    def reserved(self) -> bool:
        return re.fullmatch(r"(resv|rsv|rev|res)\d*", self.name) is not None

    @property
    def printable(self) -> bool:
        as_words = self.type.startswith(("2x", "bytes", "ipv6"))
        return not self.reserved and self.type != "u64" and not (as_words and self.width % 4)

    @property
    def printed_as(self) -> str:
        if self.type == "mac":
            return f"{self.name}:address"
        if self.type == "pair":
            return f"{self.name}:pair"
        return self.name if self.elements == 1 else f"{self.name}:{self.width // 4}"


class Key:
    def __init__(self, index: int, name: str, members: list):
        self.index, self.name, self.members = index, name, members
        self.length = sum(member.width for member in members)
        self.infix = infix(index, name)
        self.word = index * 0x1000000 + (1 if index == 0 else 9) * 0x10000 + self.length


class Table:
    def __init__(self, name: str, typed: bool, fields: list, keys: list, quirks: list, version: int, about: str):
        """keys: a list of (name, indexes of members)"""
        self.name, self.typed, self.fields, self.quirks = name, typed, fields, quirks
        self.version, self.about = version, about
        at = ident = stored = 0
        for field in fields:
            while at % field.alignment:
                at += 1
            field.offset, field.id, field.stored_offset = at, ident, stored
            at += field.width
            stored += field.width
            ident += 2 if field.array else 1
        self.end, self.stored_size = at, stored
        while at % max(field.alignment for field in fields):
            at += 1
        self.record_size = at
        self.keys = [Key(index, key, [fields[member] for member in members])
                     for index, (key, members) in enumerate(keys)]

    def field(self, name: str):
        return next((field for field in self.fields if field.name == name), None)

    def key_fields(self) -> set:
        return {member.name for key in self.keys for member in key.members}

    def padding(self) -> list:
        """The ranges [first, last] of padding bytes."""
        used = {at for field in self.fields for at in range(field.offset, field.offset + field.width)}
        ranges = []
        for at in sorted(set(range(self.record_size)) - used):
            if ranges and ranges[-1][1] == at - 1:
                ranges[-1][1] = at
            else:
                ranges.append([at, at])
        return ranges


def read(path: Path) -> Table:
    """Reads a valid catalog file. Its numbers are derived here, not read."""
    entries = tomllib.loads(path.read_text(encoding="utf-8"))
    fields = [Field(name, type_name, bool(flags)) for _, _, type_name, name, *flags in entries["fields"]]
    names = [field.name for field in fields]
    keys = [(name, [names.index(member) for member in members]) for name, *members in entries["keys"]]
    return Table(path.stem, entries["access"] == "typed", fields, keys, entries.get("quirks", []),
                 entries.get("version", 1), entries["about"])


def infix(index: int, name: str) -> str:
    if index == 0:
        return "Primary"
    words = name.split("_")
    return "".join(word[0].upper() + word[1:].lower() for word in (words[:-1] if words[-1] == "key" else words))


def camel(name: str) -> str:
    return infix(1, name + "_key")


# ---- The model's expectations, in the format of tests/expected -----------------------------------

def expected_files(tables: list) -> dict:
    """The text of each file of tests/expected, for these tables."""
    def joined(values) -> str:
        return ",".join(values) or "-"

    files = {
        "tables": [("table", "access", "record_size", "fields", "keys", "stored_size", "primary_key_length",
                    "generic_length")],
        "fields": [("table", "id", "field", "offset", "width", "elements")],
        "keys": [("table", "index", "key", "members", "infix", "length", "word")],
        "formats": [("table", "printed", "not_printed", "separator_at_end")],
        "displays": [("table", "field", "display")],
        "quirks": [("table", "quirk")],
        "updates": [("table", "caller_id", "store_id", "offset", "record_length")],
        "control_blocks": [("table", "key_buffer", "size", "counters")],
        "conversions": [("table", "gaps", "byte_strings", "arrays")],
    }
    for table in tables:
        name, typed = table.name, table.typed
        primary = table.keys[0].length
        files["tables"].append((name, "typed" if typed else "format", table.record_size, len(table.fields),
                                len(table.keys), *((table.stored_size, primary, table.record_size) if typed
                                                   else "---")))
        for field in table.fields:
            elements = "-" if field.elements == 1 else f"{field.elements}x{field.width // field.elements}"
            files["fields"].append((name, field.id, field.name, field.offset, field.width, elements))
            if field.type in ("ipv4", "ipv6", "mac"):
                files["displays"].append((name, field.name, field.type))
        for key in table.keys:
            files["keys"].append((name, key.index, key.name, joined(member.name for member in key.members),
                                  *((key.infix, key.length, f"0x{key.word:08X}") if typed else "---")))
        files["formats"].append((name, joined(field.printed_as for field in table.fields if field.printed),
                                 joined(field.name for field in table.fields if not field.printed),
                                 "yes" if "trailing_separator" in table.quirks else "no"))
        if not typed:
            continue
        files["quirks"] += [(name, quirk) for quirk in table.quirks if quirk != "trailing_separator"]
        batch = table.field("batchVersion")
        files["updates"].append((name, *((batch.id, batch.id, batch.offset) if batch else "---"), table.record_size))
        buffer = primary + -primary % 8
        files["control_blocks"].append((name, buffer, 192 + buffer, 104 + buffer))
        files["conversions"].append((
            name, joined(f"{first}-{last}" for first, last in table.padding()),
            joined(f"{field.name}:{field.width}" for field in table.fields if field.elements > 2),
            joined(f"{field.name}:2x{field.width // 2}{'*' if field.width > 2 else ''}"
                   for field in table.fields if field.array)))
    return {f"{name}.tsv": "".join("\t".join(map(str, row)) + "\n" for row in rows)
            for name, rows in files.items()}


# ---- Random tables -------------------------------------------------------------------------------

def random_word(rng: random.Random) -> str:
    first, *others = rng.choices(WORDS, k=rng.choice((2, 2, 3)))
    return first + "".join(word.capitalize() for word in others) + rng.choice(("", "", str(rng.randrange(100))))


def random_name(rng: random.Random, taken: set) -> str:
    while True:
        name = rng.choice((*(random_word(rng) for _ in range(8)), rng.choice(COLLIDING), rng.choice(RESERVED)))
        if name not in taken:
            taken.add(name)
            return name


def random_type(rng: random.Random) -> str:
    kind = rng.choices(("u8", "u16", "u32", "u64", "pair", "mac", "2x", "bytes", "ipv4", "ipv6"),
                       (6, 5, 8, 3, 2, 3, 2, 2, 1, 1))[0]
    if kind == "2x":
        return f"2x{rng.choice((2, 3, 4, 5, 6, 7, 9, 12, 16, 28, 33))}"
    if kind == "bytes":
        return f"bytes{rng.choice((3, 5, 6, 7, 9, 11, 12, 13, 15, 16, 17, 24, 31, 32, 60, 101, 1021, 4001))}"
    return kind


def service_fields(rng: random.Random) -> list:
    """Random service fields, mostly of their usual types."""
    types = {"svcStatus": ("pair",), "svcErrcode": ("pair",)}
    found = [name for name in (*SERVICE, "nhpSvcCtx") if rng.random() < 0.6]
    return [Field(name, random_type(rng) if rng.random() < 0.1 else
                  rng.choice(types.get(name, ("2x2", "2x3", "2x8", "2x22", "2x7"))))
            for name in found]


def random_fields(rng: random.Random, typed: bool) -> list:
    count = rng.choice((1, 1, 2, 3, rng.randint(4, 12), rng.randint(4, 30), rng.randint(20, 60), 60))
    fields = []
    if count > 3 and rng.random() < 0.7:
        fields += service_fields(rng)[:count - 2]
    if count > 1 and rng.random() < 0.7:
        batch = "u32" if typed or rng.random() < 0.7 else random_type(rng)
        fields.insert(rng.randint(0, len(fields)), Field("batchVersion", batch))
    taken = {field.name for field in fields} | {*SERVICE, "nhpSvcCtx", "batchVersion"}
    contiguous, scattered = fields, []
    if rng.random() < 0.5:
        contiguous, scattered = [], fields
    others = [Field(random_name(rng, taken), random_type(rng)) for _ in range(count - len(fields))]
    at = rng.choice((0, len(others), rng.randint(0, len(others))))
    others[at:at] = contiguous
    for field in scattered:
        others.insert(rng.randint(0, len(others)), field)
    while sum(field.width + 8 for field in others) > LARGEST_RECORD:
        others.pop(max(range(len(others)), key=lambda at: others[at].width))
    return others


def random_keys(rng: random.Random, fields: list) -> list:
    usable = [at for at, field in enumerate(fields) if not field.array]
    keys, names, infixes = [], set(), {"Primary", "FastPri", ""}
    for index in range(rng.choice((1, 1, 2, 3, rng.randint(1, 10), 10))):
        while True:
            words = rng.choices((*WORDS, "Iid", "SMOOTH", "hash", "l2vpnIid", "2"), k=rng.randint(1, 3))
            name = "_".join(words) + rng.choice(("_key", "_key", ""))
            if index == 0 and rng.random() < 0.6:
                name = "primary_key"
            if name[0].isalpha() and name not in names and (index == 0 or infix(index, name) not in infixes):
                break
        names.add(name)
        infixes.add(infix(index, name))
        members = rng.sample(usable, rng.randint(1, min(len(usable), rng.choice((1, 2, 3, 5, 16)))))
        keys.append((name, members))
    return keys


def random_table(rng: random.Random, name: str, typed: bool = False) -> Table:
    typed = rng.random() < 0.85 or typed
    fields = random_fields(rng, typed)
    if all(field.array for field in fields):
        fields[rng.randrange(len(fields))] = Field("onlyMember", rng.choice(("u8", "u16", "u32", "mac", "bytes12")))
    often = rng.choice((0.1, 0.5, 0.9))
    for field in fields:
        field.printed = field.printable and field.width < 200 and rng.random() < often
    if not any(field.printed for field in fields):
        printable = [field for field in fields if field.printable]
        if not printable:
            at = rng.randrange(len(fields))
            fields[at] = Field("onlyPrinted", rng.choice(("u8", "u16", "u32", "mac", "bytes12")))
            printable = [fields[at]]
        rng.choice(printable).printed = True
    split = any(field.name in SERVICE for field in fields)
    quirks = [quirk for quirk in QUIRKS if rng.random() < 0.3
              and (quirk == "trailing_separator" or typed) and (quirk != "svc_fields_split" or split)]
    rng.shuffle(quirks)
    about = rng.choice(("A table.", "What a table's records \\ hold, \"in short\": " + "words " * rng.randint(1, 30),
                        "100 % of /these/ * things *", "Ein Tisch für Prüfungen ✓"))
    return Table(name, typed, fields, random_keys(rng, fields), quirks,
                 rng.choice((1, 1, rng.randint(2, 65535))), about.strip())


def random_tables(seed: int, count: int, typed: int = 0) -> list:
    """The tables of one catalog, the first `typed` of them typed. A larger count appends tables."""
    rng = random.Random(seed)
    tables, names = [], set()
    while len(tables) < count:
        words = [rng.choice(("vpls", "vll", "pw", "ac", "mac", "x", "7", "a1", "peer", "inst"))
                 for _ in range(rng.randint(1, 3))]
        name = "_".join(["l2vpn", *words])
        if tables and rng.random() < 0.2:  # the name of another table as a prefix
            name = f"{tables[-1].name}_{rng.choice(('table', 'key', 'field', 'intf', 'keys', '0'))}"
        if camel(name) not in names:
            names.add(camel(name))
            tables.append(random_table(rng, name, len(tables) < typed))
    return tables


# ---- Catalog files -------------------------------------------------------------------------------

class Catalog:
    """The entries of a catalog file as TOML values, into which faults can be injected."""

    def __init__(self, table: Table):
        self.entries = {
            "about": quoted(table.about),
            "version": str(table.version),
            "access": quoted("typed" if table.typed else "format"),
            "record_size": str(table.record_size),
            "stored_size": str(table.stored_size),
            "quirks": [quoted(quirk) for quirk in table.quirks],
            "fields": [[str(field.id), str(field.offset), quoted(field.type), quoted(field.name),
                        *([quoted("print")] if field.printed else [])] for field in table.fields],
            "keys": [[quoted(key.name), *(quoted(member.name) for member in key.members)] for key in table.keys],
        }
        if not table.typed:
            del self.entries["stored_size"]
        if table.version == 1:
            del self.entries["version"]
        if not table.quirks:
            del self.entries["quirks"]

    def written(self, rng: random.Random) -> tuple:
        """The file's text in a random TOML layout, and the lines of every entry and (entry, row)."""
        out = Writer(rng)
        names = list(self.entries)
        if rng.random() < 0.5:
            rng.shuffle(names)
        for name in names:
            out.between_entries()
            out.lines[name] = out.line
            value = self.entries[name]
            out.add(rng.choice((name, name, name, f'"{name}"', f"'{name}'")) + rng.choice((" = ", "=", "\t=  ")))
            if isinstance(value, str):
                out.add(value)
            elif name == "quirks":
                out.array(value)
            else:
                out.rows(name, value)
            out.add(rng.choice(("", "", "  # [a comment] with 'quotes\"")) + "\n")
        text = "".join(out.text)
        return text.replace("\n", "\r\n") if rng.random() < 0.1 else text, out.lines


class Writer:
    def __init__(self, rng: random.Random):
        self.rng, self.text, self.line, self.lines = rng, [], 1, {}
        self.tidy = rng.random() < 0.5

    def add(self, text: str) -> None:
        self.text.append(text)
        self.line += text.count("\n")

    def between_entries(self) -> None:
        while self.rng.random() < 0.3:
            self.add(self.rng.choice(("\n", "# fields = [\n", "   \n", "\t# \"\"\" it's [[\n")))

    def space(self) -> None:
        """Adds random whitespace, line breaks and comments where TOML allows them."""
        if not self.tidy:
            self.add(self.rng.choice(("", "", "", " ", "\n", "\n\t", " # ], \"x\n", "\n# '''[\n")))

    def array(self, values: list) -> None:
        self.add("[")
        for number, value in enumerate(values):
            self.space()
            self.add(value)
            self.space()
            if number + 1 < len(values) or not self.tidy and self.rng.random() < 0.3:
                self.add(", ")
        self.space()
        self.add("]")

    def rows(self, name: str, rows: list) -> None:
        self.add("[")
        for number, row in enumerate(rows):
            self.add("\n  " if self.tidy else self.rng.choice(("\n  ", "\n", " ")))
            self.space()
            self.lines[name, number] = self.line
            if isinstance(row, str):
                self.add(row)
            else:
                self.array(row)
            if number + 1 < len(rows) or self.rng.random() < 0.7:
                self.space()
                self.add(",")
        self.add(self.rng.choice(("\n", " ")))
        self.add("]")


def quoted(text: str) -> str:
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


class Project:
    """A folder with the generator's inputs."""

    def __init__(self, root: Path, shared_headers: Path):
        self.root = root
        self.catalog, self.include, self.sources = root / "schema/catalog", root / "include", root / "gen"
        self.catalog.mkdir(parents=True)
        (self.include / "l2vpn_db").mkdir(parents=True)
        for name in ("l2vpn_db.h", "platform.h"):
            (self.include / "l2vpn_db" / name).symlink_to(shared_headers / name)
        self.write_glossary("")

    def write(self, name: str, text) -> None:
        (self.catalog / f"{name}.toml").write_bytes(text if isinstance(text, bytes) else text.encode("utf-8"))

    def write_glossary(self, text: str) -> None:
        (self.root / "schema/glossary.toml").write_text(text, encoding="utf-8")
