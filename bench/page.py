# SPDX-License-Identifier: MIT
"""The measurements as one page that needs nothing but itself."""

import html as escape
import math

Row = dict

# The store first, in the accent colour.
COLOURS = 7
TIMED = ("read", "insert")
SAME_WIDTH = 'vector-effect="non-scaling-stroke"'

STYLE = """
:root { color-scheme: light dark; --page: #fbfbf9; --card: #fff; --text: #1c2126; --soft: #66707a; --line: #e1e4e6;
  --good: #1a7f5a; --bad: #c2402b; --bar: #dfe9e5; --bad-bar: #f4ded9;
  --c0: #0b6bcb; --c1: #b3541e; --c2: #7a4fb5; --c3: #2b8a57; --c4: #c0357a; --c5: #8a7a12; --c6: #56707f; }
@media (prefers-color-scheme: dark) { :root { --page: #14171a; --card: #1c2024; --text: #e6e9eb; --soft: #97a1aa;
  --line: #30363c; --good: #4cc38a; --bad: #ff8067; --bar: #1f3b30; --bad-bar: #4a2620;
  --c0: #5aa9ff; --c1: #f0965a; --c2: #b99af2; --c3: #5fcf92; --c4: #f58abb; --c5: #d9c44e; --c6: #9fb4c0; } }
* { box-sizing: border-box; }
body { margin: 0; background: var(--page); color: var(--text); font: 16px/1.5 system-ui, sans-serif; }
main { max-width: 68rem; margin: 0 auto; padding: 2.5rem 1.25rem 4rem; }
h1 { font-size: 1.9rem; line-height: 1.2; margin: 0 0 .4rem; letter-spacing: -.01em; }
h2 { font-size: 1.25rem; margin: 2.6rem 0 .3rem; }
p { margin: 0 0 1rem; max-width: 46rem; color: var(--soft); }
.summary { font-size: 1.05rem; color: var(--text); }
.card { background: var(--card); border: 1px solid var(--line); border-radius: .6rem; padding: 1rem 1.1rem; }
.charts { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(100%, 24rem), 1fr)); gap: 1rem; }
h3 { font-size: 1rem; margin: 0 0 .5rem; }
svg { display: block; width: 100%; overflow: visible; }
svg text { font: 13px system-ui, sans-serif; fill: var(--soft); }
.bars { display: grid; gap: .55rem; }
.bar { display: grid; grid-template-columns: 22rem 1fr 11.5rem; gap: .2rem 1rem; align-items: center; }
.bar svg { height: 1.15rem; }
.name { line-height: 1.3; } .name small { display: block; color: var(--soft); font-size: .82rem; }
.value { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
.value small { color: var(--soft); font-size: .82rem; }
.met b { color: var(--good); } .missed b { color: var(--bad); }
.met rect { fill: var(--bar); } .missed rect { fill: var(--bad-bar); }
.met .spread, .met .end { stroke: var(--good); } .missed .spread, .missed .end { stroke: var(--bad); }
.goal { stroke: var(--text); stroke-dasharray: 3 2; }
.grid { stroke: var(--line); }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-size: .9rem; font-variant-numeric: tabular-nums; }
th, td { padding: .3rem .7rem; text-align: right; border-bottom: 1px solid var(--line); white-space: nowrap; }
th { color: var(--soft); font-weight: 600; } th:first-child, td:first-child { text-align: left; padding-left: 0; }
td.text, th.text { text-align: left; } tr:last-child td { border-bottom: 0; }
@media (max-width: 46rem) {
  main { padding: 1.5rem .9rem 3rem; } h1 { font-size: 1.5rem; } svg text { font-size: 16px; }
  th, td { white-space: normal; padding: .3rem .45rem; } td:first-child { min-width: 7.5rem; }
  .bar { grid-template-columns: 1fr auto; } .bar svg { grid-row: 2; grid-column: 1 / 3; } .bars { gap: .9rem; }
}
"""


def number(value: float) -> str:
    return f"{value:,.0f}" if value >= 100 else f"{value:.3g}"


def duration(nanoseconds: float) -> str:
    return f"{nanoseconds:g} ns" if nanoseconds < 1000 else f"{nanoseconds / 1000:g} µs"


# ---- Goals --------------------------------------------------------------------------------------

def bar(row: Row) -> str:
    """How far from its goal: left of the line is met, each eighth of the width is a factor of 1.5."""
    upward = "at_least" in row
    goal = row["at_least"] if upward else row["at_most"]

    def place(value: float) -> float:
        factor = goal / value if upward else value / goal
        return min(100, max(1, 62.5 + 12.5 * math.log(factor, 1.5)))

    end = place(row["value"])
    spread = ""
    if "lower_quartile" in row:
        low, high = sorted((place(row["lower_quartile"]), place(row["upper_quartile"])))
        spread = f'<line class="spread" x1="{low:.2f}" x2="{high:.2f}" y1="5" y2="5" {SAME_WIDTH}/>'
    records = f' &middot; {row["records"]:,} records' if "records" in row else ""
    against = f'against {escape.escape(row["reference"])}' if "reference" in row else row["unit"]
    return (
        f'<div class="bar {"met" if row["met"] else "missed"}">'
        f'<div class="name">{escape.escape(row["subject"])}<small>{against}{records}</small></div>'
        '<svg viewBox="0 0 100 10" preserveAspectRatio="none" role="presentation">'
        f'<rect width="{end:.2f}" height="10"/>'
        f'<line class="end" x1="{end:.2f}" x2="{end:.2f}" y2="10" stroke-width="3" {SAME_WIDTH}/>{spread}'
        f'<line class="goal" x1="62.5" x2="62.5" y1="-2" y2="12" {SAME_WIDTH}/></svg>'
        f'<div class="value"><b>{number(row["value"])}</b> '
        f'<small>goal {"&ge;" if upward else "&le;"} {number(goal)}</small></div></div>')


# ---- Curves -------------------------------------------------------------------------------------

def curves(rows: list[Row], operation: str) -> dict[str, dict[int, float]]:
    """Nanoseconds by records, of everyone who does it one at a time."""
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
    return (f'<div class="card"><h3>{title}</h3><svg viewBox="0 0 {width} {height}" role="img" '
            f'aria-label="{title}">{"".join(parts)}</svg></div>')


# ---- Tables -------------------------------------------------------------------------------------

def table(head: list[str], rows: list[list[str]], texts: int = 1) -> str:
    def cells(tag: str, values: list[str]) -> str:
        return "".join(f'<{tag}{" class=text" if n < texts else ""}>{value}</{tag}>' for n, value in enumerate(values))

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
        return [escape.escape(row["subject"]), escape.escape(row.get("reference", row["unit"])),
                f'{row["records"]:,}' if "records" in row else "", number(row["value"]) if row["value"] else "&ndash;",
                spread] + [f"{row[key]:,.0f}" if row.get(key) else "" for key in ("subject_ns", "reference_ns")]

    return table(["subject", "reference", "records", "ratio", "quartiles", "ns", "ns, reference"],
                 [cells(row) for row in rows], texts=2)


def html(document: dict) -> str:
    rows = document["rows"]
    judged = [row for row in rows if "met" in row]
    met = sum(row["met"] for row in judged)
    quick = " A quick run: what takes time is not judged." if document["quick"] else ""
    machine = document["machine"]
    charts = "".join(chart(f"{operation.capitalize()}, nanoseconds by records in the table", lines)
                     for operation in TIMED if (lines := curves(rows, operation)))
    return f"""<!doctype html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1">
<title>l2vpn_db: measurements</title><style>{STYLE}</style></head><body><main>
<h1>l2vpn_db: measurements</h1>
<p class="summary"><b>{met} of {len(judged)}</b> goals are met.{quick}</p>
<p>{escape.escape(machine["processor"])}, {machine["processors"]} processors; {escape.escape(machine["compiler"])}.</p>
<h2>Goals</h2>
<p>The dashed line is the goal, left of it is better; the scale is logarithmic. The thin line spans the middle half
of the slices.</p>
<div class="card bars">{"".join(map(bar, judged))}</div>
<h2>Growing tables</h2>
<p>One record at a time, by primary key; each call takes effect at once and as a whole. Both scales are
logarithmic.</p>
<div class="charts">{charts}</div>
<h2>Instructions</h2>
<p>What the library and the embedded store execute, counted and not timed. The store's figures for 64-bit ARM are
those of a smaller table.</p>
{operations(document["counted"])}
<h2>All comparisons</h2>
<p>Subject by reference: the median of the ratios, slice by slice.</p>
{all_rows(rows)}
</main></body></html>
"""
