# SPDX-License-Identifier: MIT
"""Names derived from a table's schema name and its key names."""


def camel(table: str) -> str:
    """l2vpn_vpls_ac_share -> L2vpnVplsAcShare"""
    return "".join(part.capitalize() for part in table.split("_"))


def short(table: str) -> str:
    """l2vpn_vpls_ac_share -> vpls_ac_share"""
    return table.removeprefix("l2vpn_")


def infix(key: str, index: int) -> str:
    """The part of a function name that denotes a key: smooth_hash_key -> SmoothHash."""
    if index == 0:
        return "Primary"
    parts = key.split("_")
    if parts[-1] == "key":
        parts.pop()
    return "".join(part.capitalize() for part in parts)
