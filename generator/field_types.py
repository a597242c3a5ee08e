# SPDX-License-Identifier: MIT
"""The field types of the catalog: layout, C declaration, and how tools show a value."""

import re
from dataclasses import dataclass

COUNT = r"[1-9]\d{0,99}"  # more digits than a record has bytes, fewer than int() accepts


@dataclass(frozen=True)
class FieldType:
    name: str  # as the catalog spells it; N stands for a number
    about: str
    unit: int  # bytes, for each N
    alignment: int
    kind: str  # how the library copies and prints it: integer, mac, pair, context or bytes
    display: str  # how tools show and read it, an enumerator of records::Display
    declaration: str
    excluded: tuple = ()  # values of N

    def count(self, text: str) -> int | None:
        """N, 1 for a type without N, or None if the text is another type."""
        match = re.fullmatch(self.name.replace("N", f"({COUNT})"), text)
        count = int(match[1]) if match and match.groups() else 1
        return count if match and count not in self.excluded else None


ALL = (
    *(FieldType(f"u{8 * width}", "", width, width, "integer", "number", f"uint{8 * width}_t {{name}}")
      for width in (1, 2, 4, 8)),
    FieldType("ipv4", "an IPv4 address in a uint32_t", 4, 4, "integer", "ipv4", "uint32_t {name}"),
    FieldType("ipv6", "an IPv6 address in 16 bytes", 16, 1, "bytes", "ipv6", "uint8_t {name}[16]"),
    FieldType("pair", "two bytes", 2, 1, "pair", "pair", "uint8_t {name}[2]"),
    FieldType("mac", "", 6, 1, "mac", "mac", "uint8_t {name}[6]"),
    FieldType("2xN", "two elements of N bytes, N > 1", 2, 1, "context", "array", "uint8_t {name}[2][{count}]", (1,)),
    # Opaque bytes of an integer's width would be copied like an integer.
    FieldType("bytesN", "N opaque bytes, not 1, 2, 4 or 8", 1, 1, "bytes", "bytes", "uint8_t {name}[{count}]",
              (1, 2, 4, 8)),
)
NAMES = tuple(each.name for each in ALL)


def find(text: str) -> tuple | None:
    """The type that the text spells, and its N."""
    return next(((each, count) for each in ALL if (count := each.count(text)) is not None), None)


def described() -> str:
    return ", ".join(f"{each.name} ({each.about})" if each.about else each.name for each in ALL)
