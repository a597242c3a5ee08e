# SPDX-License-Identifier: MIT
"""Table facts for the debugger's printers."""

import pprint

from catalog import Table


def facts(tables: list) -> str:
    """Python that sets TABLES; see debugger/printers.py."""
    rows = {table.name: describe(table) for table in tables}
    return f"TABLES = {pprint.pformat(rows, width=120, compact=True, sort_dicts=False)}\n"


def describe(table: Table) -> dict:
    return {
        "record": table.camel,
        "record_size": table.record_size,
        "stored_size": table.stored_size if table.typed else None,
        # name, display, width, offset in the caller record, offset in the stored record
        "fields": [(item.name, item.shape.display, item.width, item.offset, item.stored_offset)
                   for item in table.fields],
        "keys": [(key.name, *(item.name for item in key.members)) for key in table.keys],
    }
