# SPDX-License-Identifier: MIT
"""
Writes schemas of a table's caller record for FlatBuffers, Cap'n Proto and Protocol Buffers, and C++
functions that encode and decode it.

  python3 bench/serializer_schemas.py CATALOG_FILE FOLDER
"""

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "generator"))
import catalog  # noqa: E402

FLAT = {1: "ubyte", 2: "ushort", 4: "uint", 8: "ulong"}
CAPN = {1: "UInt8", 2: "UInt16", 4: "UInt32", 8: "UInt64"}
PROTO = {1: "uint32", 2: "uint32", 4: "uint32", 8: "uint64"}


def members(table: catalog.Table) -> list[tuple[str, str, int]]:
    """Name, expression and width of each member. A pair is two members; the width of opaque bytes is 0."""
    result = []
    for item in table.fields:
        if item.kind == "pair":
            result += [(f"{item.name}{n}", f"{item.name}[{n}]", 1) for n in range(2)]
        else:
            result.append((item.name, item.name, item.width if item.kind == "integer" else 0))
    return result


def flatbuffers(table: catalog.Table) -> tuple[str, str]:
    sizes = {item.name: item.width for item in table.fields}
    lines, encode, decode = ["namespace l2vpn.bench.flat;"], [], []
    opaque = sorted({sizes[name] for name, _, width in members(table) if not width})
    lines += [f"struct Bytes{size} {{ bytes:[ubyte:{size}]; }}" for size in opaque]
    lines.append("table Record {")
    for camel, place, width in members(table):
        name = camel.lower()
        if width:
            lines.append(f"  {name}:{FLAT[width]};")
            encode.append(f"to.add_{name}(record.{place});")
            decode.append(f"record.{place} = from.{name}();")
        else:
            size = sizes[camel]
            lines.append(f"  {name}:Bytes{size};")
            encode.append(f"const flat::Bytes{size} {name}(flatbuffers::span<const std::uint8_t, {size}>("
                      f"&record.{place}[0][0], {size}));")
            encode.append(f"to.add_{name}(&{name});")
            decode.append(f"std::memcpy(record.{place}, from.{name}()->bytes()->Data(), {size});")
    lines += ["}", "root_type Record;"]
    return "\n".join(lines), functions(table, "flat::RecordBuilder &to", encode, "const flat::Record &from", decode)


def capnproto(table: catalog.Table) -> tuple[str, str]:
    lines, encode, decode = ["@0xb35a1f0c8a5d7e21;", 'using Cxx = import "/capnp/c++.capnp";',
                       '$Cxx.namespace("l2vpn::bench::capn");', "struct Record {"], [], []
    for number, (name, place, width) in enumerate(members(table)):
        capital = name[0].upper() + name[1:]
        lines.append(f"  {name} @{number} :{CAPN[width] if width else 'Data'};")
        if width:
            encode.append(f"to.set{capital}(record.{place});")
            decode.append(f"record.{place} = from.get{capital}();")
        else:
            encode.append(f"std::memcpy(to.init{capital}(sizeof record.{place}).begin(), record.{place}, "
                      f"sizeof record.{place});")
            decode.append(f"std::memcpy(record.{place}, from.get{capital}().begin(), sizeof record.{place});")
    lines.append("}")
    return "\n".join(lines), functions(table, "capn::Record::Builder to", encode, "capn::Record::Reader from", decode)


def protobuf(table: catalog.Table) -> tuple[str, str]:
    lines, encode, decode = ['syntax = "proto3";', "package l2vpn.bench.proto;", "message Record {"], [], []
    for number, (name, place, width) in enumerate(members(table), 1):
        lines.append(f"  {PROTO[width] if width else 'bytes'} {name} = {number};")
        if width:
            encode.append(f"to.set_{name.lower()}(record.{place});")
            decode.append(f"record.{place} = static_cast<std::uint{8 * width}_t>(from.{name.lower()}());")
        else:
            encode.append(f"to.set_{name.lower()}(record.{place}, sizeof record.{place});")
            decode.append(f"std::memcpy(record.{place}, from.{name.lower()}().data(), sizeof record.{place});")
    lines.append("}")
    return "\n".join(lines), functions(table, "proto::Record &to", encode, "const proto::Record &from", decode)


def functions(table: catalog.Table, to_type: str, encode: list[str], from_type: str, decode: list[str]) -> str:
    return "\n    ".join([f"inline void encode(const {table.camel} &record, {to_type}) {{", *encode]) + "\n}\n" + \
        "\n    ".join([f"inline void decode({from_type}, {table.camel} &record) {{", *decode]) + "\n}\n"


def main() -> None:
    file, folder = map(Path, sys.argv[1:])
    errors: list = []
    table = next(table for table in catalog.load(file.parents[2], errors) if table.name == file.stem)
    code = ["#pragma once", "#include <cstring>", f'#include "l2vpn_db/{table.name}.h"',
            '#include "record_generated.h"', '#include "record.capnp.h"', '#include "record.pb.h"',
            "namespace l2vpn::bench {"]
    for suffix, make in (("fbs", flatbuffers), ("capnp", capnproto), ("proto", protobuf)):
        schema, conversions = make(table)
        (folder / f"record.{suffix}").write_text(schema + "\n", encoding="ascii")
        code.append(conversions)
    (folder / "codecs.h").write_text("\n".join([*code, "}"]) + "\n", encoding="ascii")


if __name__ == "__main__":
    main()
