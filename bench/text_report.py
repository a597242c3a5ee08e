# SPDX-License-Identifier: MIT
"""The measurements as text."""

import instructions

Row = dict

COLUMNS = "{:<45} {:<31} {:>9} {:>8} {:>15} {:>8} {:>4} {:>13} {:>15}"
HEAD = COLUMNS.format("subject", "reference or unit", "records", "ratio", "quartiles", "goal", "met", "instructions",
                      "nanoseconds")


def number(value: float) -> str:
    return f"{value:,.0f}" if value >= 1000 else f"{value:.3g}" if value >= 100 else f"{value:.2f}"


def pair(values: list[float]) -> str:
    return " / ".join(f"{value:.0f}" for value in values)


def line(row: Row) -> str:
    goal = f"<= {row['at_most']:,g}" if "at_most" in row else f">= {row['at_least']:,g}" if "at_least" in row else ""
    spread = f"{number(row['lower_quartile'])} - {number(row['upper_quartile'])}" if row.get("upper_quartile") else ""
    times = [row[key] for key in ("subject_ns", "reference_ns") if row.get(key)]
    text = COLUMNS.format(
        row["subject"], row.get("reference", row["unit"]), f"{row['records']:,}" if "records" in row else "",
        number(row["value"]) if row["value"] else "-", spread, goal,
        {True: "yes", False: "NO", None: ""}[row.get("met")],
        pair(list((row.get("instructions") or row.get("bytes") or {}).values())), pair(times))
    return (text + ("  " + row["remark"] if "remark" in row else "")).rstrip()


def operations(by_processor: dict) -> str:
    stub, store, arm = (by_processor["x86_64"][instructions.STUB], by_processor["x86_64"][instructions.STORE],
                        by_processor["aarch64"][instructions.STUB])
    head = (f"{'':42}{'library':>20}{'embedded platform':>20}{'C library':>12}\n"
            f"{'instructions per operation':42}{'x86-64':>10}{'arm64':>10}{'x86-64':>20}{'x86-64':>12}\n")
    return head + "\n".join(
        f"{name:42}{stub[name].get('library', 0):10.0f}{arm[name].get('library', 0):10.0f}"
        f"{amounts.get('platform', 0):20.0f}{amounts.get('libc', 0):12.0f}" for name, amounts in store.items())


def whole(document: dict) -> str:
    return "\n".join((HEAD, *map(line, document["rows"]), "", operations(document["counted"])))
