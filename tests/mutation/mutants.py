# SPDX-License-Identifier: MIT
"""Generates mutants of C++, Python and catalog files: one change each."""

import ast
import re
from dataclasses import dataclass
from pathlib import Path


@dataclass(frozen=True)
class Mutant:
    path: Path  # relative to the root
    line: int
    kind: str
    old: str  # the original line
    new: str  # the mutated line; "" if it is deleted
    text: str  # the whole mutated file

    def __str__(self) -> str:
        return f"{self.path}:{self.line}: {self.kind}: {self.old.strip()} -> {self.new.strip() or '(nothing)'}"


def mutant(path: Path, lines: list, number: int, kind: str, new: str) -> Mutant:
    text = "\n".join([*lines[:number], *([new] if new else []), *lines[number + 1:]]) + "\n"
    return Mutant(path, number + 1, kind, lines[number], new, text)


# ---- C++ ------------------------------------------------------------------------------------------

# clang-format puts spaces around binary operators only.
OPERATORS = {"==": ["!="], "!=": ["=="], "<": ["<="], "<=": ["<"], ">": [">="], ">=": [">"],
             "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"], "&&": ["||"], "||": ["&&"],
             "&": ["|"], "|": ["&"], "<<": [">>"], ">>": ["<<"], "+=": ["-="], "-=": ["+="]}
OPERATOR = re.compile(r"(?<= )(" + "|".join(map(re.escape, sorted(OPERATORS, key=len, reverse=True))) + r")(?= |$)")
WORDS = {"true": ["false"], "false": ["true"], "max": ["min"], "min": ["max"],
         "to_packed": ["to_caller"], "to_caller": ["to_packed"],
         "L2VPN_DB_OK": ["L2VPN_DB_ERR_PARAM"], "L2VPN_DB_ERR_PARAM": ["L2VPN_DB_OK"],
         "mac": ["bytes"], "pair": ["context"], "context": ["pair"], "integer": ["pair"],
         "caller": ["stored"], "stored": ["caller"]}
WORD = re.compile(r"(?<=[\s(!])(true|false)\b|(?<=std::)(max|min)\b|"
                  r"(?<=Direction::)(to_packed|to_caller)\b|\b(L2VPN_DB_OK|L2VPN_DB_ERR_PARAM)\b|"
                  r"(?<=Kind::)(mac|pair|context|integer)\b|(?<=Step\.)(caller|stored)\b")
NUMBER = re.compile(r"(?<![\w.'])(0x[0-9A-Fa-f]+|\d+)(?=U?\b)(?![\w.]*['.])")
CONDITION = re.compile(r"^(\s*(?:\} else )?(?:if|while)(?: constexpr)? \()(.*)(\)(?: \{| \[\[\w+\]\] \{|)?)$")
RETURN = re.compile(r"^(\s*return )(.+);$")
STATEMENT = re.compile(r"^\s+(?:[\w:.>\[\]*+<-]+(?:\([^;]*\)| (?:=|\+=|-=) [^;]*)|\+\+[\w.]+);$")
NOT_CODE = re.compile(r"^\s*(//|#|static_assert|namespace|using|extern|public:|private:|template|friend)")
# Prefetches and pauses change no result, fences none on x86-64.
HINT = re.compile(r"prefetch|\bpause\(\)|std::atomic_\w+_fence")


def code_end(line: str) -> int:
    """The start of a trailing comment, or the line's length."""
    return found if (found := line.find(" //")) >= 0 else len(line)


def strings(line: str) -> list:
    return [match.span() for match in re.finditer(r'"(?:[^"\\]|\\.)*"', line)]


def other_builds(lines: list):
    """Yields the numbers of the lines that only other processors or sanitizers compile."""
    compiled = None  # inside a conditional: whether one of its branches has been compiled
    active = True
    for number, line in enumerate(lines):
        if line.startswith(("#if defined", "#elif defined", "#else")):
            native = "__x86_64__" in line or line.startswith("#else")
            compiled = bool(compiled) and not line.startswith("#if")
            active, compiled = native and not compiled, native or compiled
        elif line.startswith("#endif"):
            active, compiled = True, None
        if not active:
            yield number


def cpp(root: Path, path: Path):
    lines = (root / path).read_text(encoding="utf-8").splitlines()
    asserting = False
    left_out = set(other_builds(lines))
    for number, line in enumerate(lines):
        asserting = asserting or "static_assert(" in line
        skip = asserting or number in left_out
        asserting = asserting and not line.rstrip().endswith(");")
        if skip or HINT.search(line) or NOT_CODE.match(line) and " = " not in line:
            continue
        end, quoted = code_end(line), strings(line)

        def changes(pattern, kind, choose):
            for match in pattern.finditer(line, 0, end):
                if not any(first <= match.start() < last for first, last in quoted):
                    for new in choose(match.group(0)):
                        yield mutant(path, lines, number, kind, line[:match.start()] + new + line[match.end():])

        yield from changes(OPERATOR, "operator", OPERATORS.__getitem__)
        yield from changes(WORD, "word", WORDS.__getitem__)
        yield from changes(NUMBER, "number", lambda word: [hex(int(word, 16) + 1) if word[:2] == "0x"
                                                           else str(int(word) + 1)])
        if match := CONDITION.match(line[:end]):
            yield mutant(path, lines, number, "condition", f"{match[1]}!({match[2]}){match[3]}")
        if match := RETURN.match(line[:end]):
            if match[2] not in ("0", "{}", "false", "nullptr", "L2VPN_DB_OK"):
                yield mutant(path, lines, number, "result", f"{match[1]}{{}};")
        if STATEMENT.match(line[:end]) and not line.strip().startswith(("return ", "break")):
            yield mutant(path, lines, number, "statement", re.match(r"\s*", line)[0] + ";")


# ---- Python ---------------------------------------------------------------------------------------

COMPARISONS = {ast.Eq: "!=", ast.NotEq: "==", ast.Lt: "<=", ast.LtE: "<", ast.Gt: ">=", ast.GtE: ">",
               ast.In: "not in", ast.NotIn: "in", ast.Is: "is not", ast.IsNot: "is"}
ARITHMETIC = {ast.Add: "-", ast.Sub: "+", ast.Mult: "+", ast.FloorDiv: "*", ast.Mod: "*",
              ast.LShift: ">>", ast.RShift: "<<", ast.BitOr: "&", ast.BitAnd: "|"}


def python(root: Path, path: Path):
    text = (root / path).read_text(encoding="utf-8")
    lines = text.splitlines()
    tree = ast.parse(text)
    in_f_string = {id(node) for joined in ast.walk(tree) if isinstance(joined, ast.JoinedStr)
                   for node in ast.walk(joined)}

    def source(node):
        return ast.get_source_segment(text, node)

    def swap(node, kind, new):
        if node.lineno == node.end_lineno:
            # Offsets count bytes.
            line = lines[node.lineno - 1].encode()
            changed = (line[:node.col_offset] + new.encode() + line[node.end_col_offset:]).decode()
            yield mutant(path, lines, node.lineno - 1, kind, changed)

    for node in ast.walk(tree):
        if id(node) in in_f_string:  # Python 3.11 has no offsets for the parts of an f-string
            continue
        if isinstance(node, ast.Compare) and len(node.ops) == 1:
            yield from swap(node, "operator", f"{source(node.left)} {COMPARISONS[type(node.ops[0])]} "
                                              f"{source(node.comparators[0])}")
        elif isinstance(node, ast.BinOp) and type(node.op) in ARITHMETIC and not isinstance(node.left, ast.Constant):
            yield from swap(node, "operator", f"{source(node.left)} {ARITHMETIC[type(node.op)]} {source(node.right)}")
        elif isinstance(node, ast.BoolOp):
            word = " or " if isinstance(node.op, ast.And) else " and "
            yield from swap(node, "operator", word.join(f"({source(value)})" for value in node.values))
        elif isinstance(node, ast.UnaryOp) and isinstance(node.op, ast.Not):
            yield from swap(node, "operator", f"bool({source(node.operand)})")
        elif isinstance(node, ast.Constant) and isinstance(node.value, bool):
            yield from swap(node, "word", str(not node.value))
        elif isinstance(node, ast.Constant) and isinstance(node.value, int):
            yield from swap(node, "number", str(node.value + 1))
        elif isinstance(node, (ast.If, ast.While, ast.IfExp)):
            yield from swap(node.test, "condition", f"(not ({source(node.test)}))")
        elif isinstance(node, ast.Return) and node.value is not None and source(node.value) != "None":
            yield from swap(node.value, "result", "None")
        elif isinstance(node, ast.Expr) and isinstance(node.value, ast.Call):
            yield from swap(node, "statement", "pass")


# ---- The catalog ----------------------------------------------------------------------------------

TYPES = ("u8", "u16", "u32", "u64", "ipv4", "ipv6", "pair", "mac", "2x6", "2x16", "bytes3", "bytes6",
         "bytes16")


def catalog(root: Path, path: Path):
    """Changes every number, name, type and flag; drops or swaps with its neighbour every member, field
    and key; adds or removes every quirk."""
    lines = (root / path).read_text(encoding="utf-8").splitlines()
    section = None
    for number, line in enumerate(lines):
        section = line.split()[0] if re.match(r"(fields|keys) = \[", line) else section
        if re.match(r"\s+#|#|about|\]|fields|keys", line):
            continue

        def change(kind, new):
            return mutant(path, lines, number, kind, new)

        for match in re.finditer(r"(?<![\w\"])\d+", line):
            for delta in (1, -1):
                if int(match[0]) + delta >= 0:
                    yield change("number", line[:match.start()] + str(int(match[0]) + delta) + line[match.end():])
        if line.startswith("access"):
            yield change("access", 'access      = "format"' if "typed" in line else 'access      = "typed"')
        if not line.startswith(" "):
            continue
        words = [match.span(1) for match in re.finditer(r'"([^"]*)"', line)]
        names = words[1:2] if section == "fields" else words
        for first, last in names:
            yield change("name", line[:last] + "x" + line[last:])
        if section == "fields":
            first, last = words[0]
            for other in TYPES:
                if other != line[first:last]:
                    yield change("type", line[:first] + other + line[last:])
            yield change("flag", line.replace(', "print"', "") if '"print"' in line
                         else line.replace("],", ', "print"],'))
        else:
            row = [line[first:last] for first, last in words]
            fields = set(re.findall(r'\[ *\d+, *\d+, *"[^"]*", *"(\w+)"', "\n".join(lines)))
            for at in range(1, len(row)):
                yield change("member", key_row(row[:at] + row[at + 1:]))
                if at + 1 < len(row):
                    yield change("order", key_row(row[:at] + [row[at + 1], row[at]] + row[at + 2:]))
                for other in sorted(fields - set(row)):
                    yield change("member", key_row(row[:at] + [other] + row[at + 1:]))
            for other in sorted(fields - set(row)):
                yield change("member", key_row(row + [other]))
        yield change("row", "")
        if lines[number + 1].startswith("  ["):
            yield Mutant(path, number + 1, "order", line, lines[number + 1], "\n".join(
                [*lines[:number], lines[number + 1], line, *lines[number + 2:]]) + "\n")
    released = any(f"\n[{path.stem}]\n" in file.read_text(encoding="utf-8")
                   for file in (root / "schema/released").glob("*.toml"))
    yield from optional_entries(path, lines, released)


def key_row(row: list) -> str:
    return "  [" + ", ".join(f'"{word}"' for word in row) + "],"


def optional_entries(path: Path, lines: list, released: bool):
    """Adds or removes each quirk; adds a version to a released table that has none. The version of
    another table is free."""
    number = next((n for n, line in enumerate(lines) if line.startswith("quirks")), None)
    known = re.findall(r'"(\w+)"', lines[number]) if number is not None else []
    at = number if number is not None else next(n for n, line in enumerate(lines) if line.startswith("record_size"))
    for quirk in ("no_null_tests", "svc_fields_split", "trailing_separator"):
        wanted = [word for word in known if word != quirk] + ([] if quirk in known else [quirk])
        row = f"quirks = [{', '.join(f'{chr(34)}{word}{chr(34)}' for word in wanted)}]"
        if number is None:
            row += "\n" + lines[at]
        yield mutant(path, lines, at, "quirk", row)
    version = next((line for line in lines if line.startswith("version")), None)
    if released and version is None:
        at = next(n for n, line in enumerate(lines) if line.startswith("access"))
        yield mutant(path, lines, at, "number", "version = 2\n" + lines[at])
