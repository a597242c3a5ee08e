# SPDX-License-Identifier: MIT
"""The measurements as one self-contained HTML page."""

import html as escape
import math
from typing import NamedTuple

Row = dict

# The store comes first, in the accent colour.
COLOURS = 7
TIMED = ("read", "insert")
SAME_WIDTH = 'vector-effect="non-scaling-stroke"'

# PAGE_STYLE is for the page, STYLE for its contents, which the site embeds.
PAGE_STYLE = """
:root { color-scheme: light dark; }
body { margin: 0; background: light-dark(#fbfbf9, #14171a); color: light-dark(#1c2126, #e6e9eb);
  font: 16px/1.5 system-ui, sans-serif; }
main { max-width: 68rem; margin: 0 auto; padding: 2.5rem 1.25rem 4rem; }
h1 { font-size: 1.9rem; line-height: 1.2; margin: 0 0 .4rem; letter-spacing: -.01em; }
h2 { font-size: 1.25rem; margin: 2.6rem 0 .3rem; }
p { margin: 0 0 1rem; max-width: 46rem; color: light-dark(#66707a, #97a1aa); }
@media (max-width: 46rem) { main { padding: 1.5rem .9rem 3rem; } h1 { font-size: 1.5rem; } }
"""
STYLE = """
.measurements { --card: light-dark(#fff, #1c2024); --text: light-dark(#1c2126, #e6e9eb);
  --soft: light-dark(#66707a, #97a1aa); --line: light-dark(#e1e4e6, #30363c);
  --good: light-dark(#1a7f5a, #4cc38a); --bad: light-dark(#c2402b, #ff8067);
  --bar: light-dark(#dfe9e5, #1f3b30); --bad-bar: light-dark(#f4ded9, #4a2620);
  --c0: light-dark(#0b6bcb, #5aa9ff); --c1: light-dark(#b3541e, #f0965a); --c2: light-dark(#7a4fb5, #b99af2);
  --c3: light-dark(#257a4d, #5fcf92); --c4: light-dark(#c0357a, #f58abb); --c5: light-dark(#786a0d, #d9c44e);
  --c6: light-dark(#56707f, #9fb4c0); color: var(--text); container-type: inline-size; margin-bottom: 1.5rem; }
.measurements * { box-sizing: border-box; }
.measurements .card { background: var(--card); border: 1px solid var(--line); border-radius: .6rem;
  padding: 1rem 1.1rem; }
.measurements .charts { display: grid; gap: 1rem;
  grid-template-columns: repeat(auto-fit, minmax(min(100%, 24rem), 1fr)); }
.measurements .title { font-weight: 600; margin: 0 0 .5rem; }
.measurements svg { display: block; width: 100%; overflow: visible; }
.measurements svg text { font: 13px system-ui, sans-serif; fill: var(--soft); }
.measurements .bars { display: grid; gap: .55rem; }
.measurements .bar { display: grid; grid-template-columns: 5fr 4fr 10rem; gap: .2rem 1rem; align-items: center; }
.measurements .bar svg { height: 1.15rem; }
.measurements :is(.name, .text) { text-align: left; line-height: 1.3; }
.measurements :is(.name, .text) small { display: block; }
.measurements small { color: var(--soft); font-size: .82rem; opacity: 1; }
.measurements .value { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
.measurements .met b { color: var(--good); } .measurements .missed b { color: var(--bad); }
.measurements .met rect { fill: var(--bar); } .measurements .missed rect { fill: var(--bad-bar); }
.measurements .met line { stroke: var(--good); } .measurements .missed line { stroke: var(--bad); }
.measurements .bar .goal { stroke: var(--text); stroke-dasharray: 3 2; }
.measurements .grid { stroke: var(--line); }
.measurements .scroll { overflow-x: auto; }
.measurements table { border-collapse: collapse; width: 100%; font-size: .9rem; font-variant-numeric: tabular-nums; }
.measurements :is(th, td) { padding: .3rem .7rem; text-align: right; border-bottom: 1px solid var(--line);
  white-space: nowrap; }
.measurements th { color: var(--soft); font-weight: 600; }
.measurements :is(th, td):first-child { padding-left: 0; }
.measurements td.text { white-space: normal; } .measurements tr:last-child td { border-bottom: 0; }
@container (max-width: 36rem) {
  .measurements thead { display: none; }
  .measurements :is(tbody, td) { display: block; }
  .measurements tr { display: flex; flex-wrap: wrap; gap: 0 1rem; padding: .4rem 0; border-bottom: 1px solid var(--line); }
  .measurements tr:last-child { border-bottom: 0; }
  .measurements td { border: 0; padding: 0; }
  .measurements td.text { width: 100%; }
  .measurements td:empty { display: none; }
  .measurements td:not(.text)::before { content: attr(data-heading) ": "; color: var(--soft); }
  .measurements .bar { grid-template-columns: 1fr auto; } .measurements .bar svg { grid-row: 2; grid-column: 1 / 3; }
  .measurements .bars { gap: .9rem; }
}
@container (max-width: 30rem) { .measurements svg text { font-size: 16px; } }
"""


def number(value: float) -> str:
    return f"{value:,.0f}" if value >= 100 else f"{value:.3g}"


def against(row: Row) -> str:
    return f'against: {escape.escape(row["reference"])}' if "reference" in row else row["unit"]


def duration(nanoseconds: float) -> str:
    size, unit = next((size, unit) for size, unit in ((1e6, "ms"), (1e3, "µs"), (1, "ns")) if nanoseconds >= size)
    return f"{nanoseconds / size:g} {unit}"


# ---- Goals --------------------------------------------------------------------------------------

def bar(row: Row) -> str:
    """A bar for the distance from the goal: met if left of the line; an eighth of the width is a factor of 1.5."""
    upward = "at_least" in row
    goal = row["at_least"] if upward else row["at_most"]

    def place(value: float) -> float:
        factor = goal / value if upward else value / goal
        return min(100, max(1, 62.5 + 12.5 * math.log(factor, 1.5)))

    end = place(row["value"])
    spread = ""
    if "lower_quartile" in row:
        low, high = sorted((place(row["lower_quartile"]), place(row["upper_quartile"])))
        spread = f'<line x1="{low:.2f}" x2="{high:.2f}" y1="5" y2="5" {SAME_WIDTH}/>'
    records = f' &middot; {row["records"]:,} records' if "records" in row else ""
    return (
        f'<div class="bar {"met" if row["met"] else "missed"}">'
        f'<div class="name">{escape.escape(row["subject"])}<small>{against(row)}{records}</small></div>'
        '<svg viewBox="0 0 100 10" preserveAspectRatio="none" role="presentation">'
        f'<rect width="{end:.2f}" height="10"/>'
        f'<line x1="{end:.2f}" x2="{end:.2f}" y2="10" stroke-width="3" {SAME_WIDTH}/>{spread}'
        f'<line class="goal" x1="62.5" x2="62.5" y1="-2" y2="12" {SAME_WIDTH}/></svg>'
        f'<div class="value"><b>{number(row["value"])}</b> '
        f'<small>goal {"&ge;" if upward else "&le;"} {number(goal)}</small></div></div>')


# ---- Curves -------------------------------------------------------------------------------------

def curves(rows: list[Row], operation: str) -> dict[str, dict[int, float]]:
    """Nanoseconds by number of records, for each subject that works one record at a time."""
    result: dict[str, dict[int, float]] = {}
    for row in rows:
        for side in ("subject", "reference"):
            kind, _, who = row.get(side, "").partition(": ")
            if kind == operation and "records" in row and "," not in who and "without" not in who:
                result.setdefault(who, {}).setdefault(row["records"], row[f"{side}_ns"])
    return result


def chart(title: str, lines: dict[str, dict[int, float]]) -> str:
    width, height, left, right, top, bottom = 500, 340, 48, 154, 10, 30
    sizes = sorted({size for points in lines.values() for size in points})
    times = [time for points in lines.values() for time in points.values()]
    low, high = math.floor(math.log10(min(times))), math.ceil(math.log10(max(times)))

    def x(size: int) -> float:
        first, last = math.log10(sizes[0]), math.log10(sizes[-1])
        return left + (width - left - right) * (math.log10(size) - first) / max(last - first, 1e-9)

    def y(time: float) -> float:
        return top + (height - top - bottom) * (high - math.log10(time)) / (high - low)

    parts = []
    for power in range(low, high + 1):
        parts.append(f'<line class="grid" x1="{left}" x2="{width - right}" y1="{y(10 ** power):.1f}" y2="{y(10 ** power):.1f}"/>'
                     f'<text x="{left - 6}" y="{y(10 ** power) + 4:.1f}" text-anchor="end">{duration(10 ** power)}</text>')
    for size in sizes:
        parts.append(f'<text x="{x(size):.1f}" y="{height - 8}" text-anchor="middle">{size:,}</text>')
    order = sorted(lines, key=lambda who: (who != "store", who))
    label_at = -math.inf
    labels = {}
    for who in sorted(lines, key=lambda who: y(lines[who][max(lines[who])])):  # from the top
        label_at = labels[who] = max(label_at + 17, y(lines[who][max(lines[who])]) + 4)
    for number_, who in enumerate(order):
        colour = f"var(--c{number_ % COLOURS})"
        points = " ".join(f"{x(size):.1f},{y(time):.1f}" for size, time in sorted(lines[who].items()))
        bold = 3 if who == "store" else 1.8
        parts.append(f'<polyline points="{points}" fill="none" stroke="{colour}" stroke-width="{bold}" stroke-linejoin="round"/>')
        parts += [f'<circle cx="{x(size):.1f}" cy="{y(time):.1f}" r="{bold + 1}" fill="{colour}">'
                  f'<title>{escape.escape(who)}, {size:,} records: {time:,.0f} ns</title></circle>'
                  for size, time in lines[who].items()]
        weight = ' font-weight="700"' if who == "store" else ""
        parts.append(f'<text x="{width - right + 10}" y="{labels[who]:.1f}" style="fill: {colour}"{weight}>'
                     f'{escape.escape(who)}</text>')
    return (f'<div class="card"><p class="title">{title}</p><svg viewBox="0 0 {width} {height}" role="img" '
            f'aria-label="{title}">{"".join(parts)}</svg></div>')


# ---- Tables -------------------------------------------------------------------------------------

def table(head: list[str], rows: list[list[str]]) -> str:
    def cells(tag: str, values: list[str]) -> str:
        return "".join(f'<{tag} data-heading="{heading}"{"" if n else " class=text"}>{value}</{tag}>'
                       for n, (heading, value) in enumerate(zip(head, values)))

    return ('<div class="card scroll"><table><thead><tr>' + cells("th", head) + "</tr></thead><tbody>" +
            "".join(f"<tr>{cells('td', row)}</tr>" for row in rows) + "</tbody></table></div>")


def operations(counted: dict) -> str:
    x86, arm = counted["x86_64"], counted["aarch64"]
    rows = []
    for name, store in x86["l2vpn_store_instructions"].items():
        rows.append([name] + [f"{amount:,.0f}" if amount else "&ndash;" for amount in (
            x86["l2vpn_instructions"][name].get("library"), arm["l2vpn_instructions"][name].get("library"),
            store.get("platform"), arm["l2vpn_store_instructions"][name].get("platform"))])
    return table(["per operation", "library, x86-64", "library, arm64", "store, x86-64", "store, arm64"], rows)


def all_rows(rows: list[Row]) -> str:
    def cells(row: Row) -> list[str]:
        spread = (f'{number(row["lower_quartile"])} &ndash; {number(row["upper_quartile"])}'
                  if row.get("upper_quartile") else "")
        remark = f'<small>{escape.escape(row["remark"])}</small>' if "remark" in row else ""
        return [f'{escape.escape(row["subject"])}<small>{against(row)}</small>{remark}',
                f'{row["records"]:,}' if "records" in row else "", number(row["value"]) if row["value"] else "&ndash;",
                spread] + [f"{row[key]:,.0f}" if row.get(key) else "" for key in ("subject_ns", "reference_ns")]

    return table(["subject", "records", "value", "quartiles", "ns", "reference, ns"], [cells(row) for row in rows])


class Section(NamedTuple):
    title: str
    words: str
    content: str


def sections(document: dict) -> list[Section]:
    """The contents; they need STYLE."""
    rows = document["rows"]
    judged = [row for row in rows if "met" in row]
    met = sum(row["met"] for row in judged)
    quick = " A quick run: timed figures are not judged." if document["quick"] else ""
    charts = "".join(chart(f"{operation.capitalize()}, nanoseconds by records in the table", lines)
                     for operation in TIMED if (lines := curves(rows, operation)))
    return [
        Section("Goals", f"{met} of {len(judged)} are met.{quick} The dashed line is the goal, left of it is better; "
                "the scale is logarithmic. The thin line spans the middle half of the slices.",
                f'<div class="card bars">{"".join(map(bar, judged))}</div>'),
        Section("Growing tables", "One record at a time, by primary key; each call takes effect immediately and atomically. "
                "Both scales are logarithmic.", f'<div class="charts">{charts}</div>'),
        Section("Instructions per operation", "Executed by the library and by the embedded store; counted, not timed. "
                "The store's figures for 64-bit ARM are from a smaller table.", operations(document["counted"])),
        Section("All comparisons", "Medians of the ratios of adjacent slices, and nanoseconds of both sides.", all_rows(rows))]


def origin(document: dict) -> str:
    machine = document["machine"]
    return f'Measured on {document["date"]}: {machine["processor"]}, {machine["processors"]} processors; {machine["compiler"]}.'


def framed(section: Section) -> str:
    return f'<div class="measurements">{section.content}</div>'


def html(document: dict) -> str:
    body = "\n".join(f"<h2>{section.title}</h2>\n<p>{section.words}</p>\n{framed(section)}"
                     for section in sections(document))
    return f"""<!doctype html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1">
<title>l2vpn_db: measurements</title><style>{PAGE_STYLE}{STYLE}</style></head><body><main>
<h1>l2vpn_db: measurements</h1>
<p>{escape.escape(origin(document))}</p>
{body}
</main></body></html>
"""
