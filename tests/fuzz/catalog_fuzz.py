# SPDX-License-Identifier: MIT
"""
Fuzzes the generator's reading of the catalog: files are changed byte by byte and word by word, and
what reaches new lines or new ways from line to line is kept and changed further.

  python3 catalog_fuzz.py CORPUS                                     replays the corpus
  python3 catalog_fuzz.py CORPUS --seconds N [--new F] [--crashes F] [--seed N]   fuzzes
  python3 catalog_fuzz.py CORPUS --merge F                           adds what F reaches beyond it

An input is a file of the project: its first line is "# <path>", what follows is its text. It must be
accepted, and everything can be derived from it, or refused with places that exist in it.
"""

import argparse
import hashlib
import inspect
import random
import re
import sys
import tempfile
import time
import tomllib
import traceback
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
GENERATOR = ROOT / "generator"
sys.path.insert(0, str(GENERATOR))
import catalog  # noqa: E402
import glossary  # noqa: E402
import headers  # noqa: E402
import history  # noqa: E402
import sources  # noqa: E402

PATH = re.compile(r"schema/(catalog/[^/\0]{1,60}\.toml|glossary\.toml|released/[^/\0]{1,20}\.toml)")
# Beside the input there are a table that it might collide with, and what belongs to it.
NEIGHBOUR = "schema/catalog/l2vpn_eth.toml"


class Failure(Exception):
    """The generator did what it must not do."""


class Project:
    """A folder in which the generator finds one input and its neighbour."""

    def __init__(self, root: Path):
        self.root = root
        for folder in ("schema/catalog", "schema/released"):
            (root / folder).mkdir(parents=True)
        table = (ROOT / NEIGHBOUR).read_text(encoding="utf-8")
        words = (ROOT / "schema/glossary.toml").read_text(encoding="utf-8").splitlines(True)
        (root / NEIGHBOUR).write_text(table, encoding="utf-8")
        # Words that no table uses would be refused.
        (root / "schema/glossary.toml").write_text(
            "".join(line for line in words if f'"{line.split(" ")[0]}"' in table), encoding="utf-8")

    def run(self, data: bytes) -> bool:
        """Whether the input was accepted; raises what the generator raises, or a Failure."""
        first, _, text = data.partition(b"\n")
        name = first.decode("utf-8", "replace").removeprefix("# ").strip()
        if not PATH.fullmatch(name):
            name = "schema/catalog/l2vpn_test.toml"
        path = self.root / name
        kept = path.read_bytes() if path.exists() else None
        try:
            path.write_bytes(text)
        except OSError:
            return False  # not a name that a file can have
        try:
            return self.derive(name)
        finally:
            if kept is None:
                path.unlink()
            else:
                path.write_bytes(kept)

    def derive(self, name: str) -> bool:
        errors = []
        tables = catalog.load(self.root, errors)
        if not errors:
            words = glossary.load(self.root, tables, errors)
        if not errors:
            by_name = {table.name: table for table in tables}
            releases = history.load(self.root, errors)
            for release in releases:
                if "released" not in name:
                    release.schemas = {table: schema for table, schema in release.schemas.items()
                                       if table in by_name}
            history.check(tables, releases, errors)
        if errors:
            self.check_messages(errors)
            return False
        typed = [table for table in tables if table.typed]
        for table in tables:
            headers.header(table, words)
            sources.facts(table, typed)
            sources.functions(table)
        schemas = {table.name: history.schema_of(table) for table in tables}
        written = tomllib.loads(history.text_of("1.0.0", schemas))
        if {table: history.Schema(**schema) for table, schema in written.items()} != schemas:
            raise Failure("what is written of a schema is not what is read")
        for write in (sources.schemas, sources.interface_rows, sources.export_list,
                      sources.record_objects, sources.test_table_list):
            write(tables)
        return True

    def check_messages(self, errors: list) -> None:
        for error in errors:
            match = re.fullmatch(r"(schema/[^\n]+?\.toml):(\d+): [^\n]*found [^\n]*, expected [^\n]*", error)
            if not match:
                raise Failure(f"a message without a place, or of several lines: {error!r}")
            path = self.root / match[1]
            lines = path.read_bytes().count(b"\n") + 1 if path.exists() else 1
            if not 1 <= int(match[2]) <= lines:
                raise Failure(f"a line that the file does not have: {error!r}")


# ---- Which lines were reached -----------------------------------------------------------------


class Coverage:
    """Lines of the generator, and steps from one to the next."""

    def __init__(self):
        self.known = {}  # code object: its file's name if that is to be watched
        self.lines, self.steps = set(), set()

    def trace(self, frame, event, _):
        code = frame.f_code
        if code not in self.known:
            path = Path(code.co_filename)
            self.known[code] = path.name if path.parent == GENERATOR else None
        name = self.known[code]
        if name is None:
            return None
        before = [frame.f_lineno]
        self.lines.add((name, frame.f_lineno))

        def line(frame, event, _):
            if event == "line":
                self.lines.add((name, frame.f_lineno))
                self.steps.add((name, before[0], frame.f_lineno))
                before[0] = frame.f_lineno
            return line

        return line

    def run(self, action):
        sys.settrace(self.trace)
        try:
            return action()
        finally:
            sys.settrace(None)


def executable_lines() -> set:
    """All lines of the modules' functions."""
    found = set()

    def add(code, name):
        if code.co_flags & inspect.CO_OPTIMIZED:  # a function, not a module or class
            found.update((name, line) for _, _, line in code.co_lines() if line)
        for constant in code.co_consts:
            if hasattr(constant, "co_code"):
                add(constant, name)

    for path in GENERATOR.glob("*.py"):
        if path.name != "__main__.py":
            add(compile(path.read_text(encoding="utf-8"), str(path), "exec"), path.name)
    return found


# ---- Changing inputs --------------------------------------------------------------------------

TOKEN = re.compile(rb'"[^"\n]*"|[A-Za-z_][A-Za-z0-9_]*|\d+|\s+|.', re.S)
WORDS = [word.encode() for word in (
    *catalog.INTEGERS, "mac", "pair", "2x2", "2x6", "2x16", "bytes3", "bytes16", "2x99999", "bytes65535",
    *catalog.QUIRKS, *catalog.SERVICE_FIELDS, *catalog.Reader.ENTRIES, "typed", "format", "print",
    "primary_key", "fast_pri", "batchVersion", "vrIndex", "resv1", "int", "a/*b", "\u00e9", "\u2028",
    "true", "false", "inf", "nan", "-1", "+7", "0", "1", "255", "8192", "65536", "4294967296",
    "9" * 40, "1e3", "1.5", "0x10", "0b1", "1_000", "1979-05-27", "07:32:00", "[]", "{}", "[[x]]", "[x]",
    "a.b = 1", '"""', "'''", "\\u0000", "\\u2028", "\\n", "\r\n", "\r", "\t", "\0", "#", "=", ",", "[", "]",
    "{a = 1}", "\ufeff", "db", "dal", "ast", "e_th", "catalog", "glossary", "released", "key", "fast_pri_key")]
# Where an input may claim to stand.
PLACES = [b"# schema/" + place.encode() for place in (
    "catalog/l2vpn_test.toml", "catalog/l2vpn_db_test.toml", "catalog/l2vpn_ast.toml", "catalog/l2vpn_e_th.toml",
    "catalog/l2vpn_eth.toml", "catalog/L2vpn.toml", "glossary.toml", "released/0.1.0.toml", "released/1.toml")]
# What a catalog file may hold beside its other entries.
LINES = [line.encode() for line in (
    'quirks = ["no_null_tests", "svc_fields_split"]', 'quirks = ["trailing_separator", "trailing_separator"]',
    'access = "typed"', 'access = "format"', "version = 2", "stored_size = 4", "fields = []", "keys = []", "keys = 1",
    '  [0, 0, "u32", "ifIndex", "print"],', '  [9, 9, "pair", "svcStatus"],', '  [9, 9, "2x6", "svcCtx", "print"],',
    '  [9, 9, "u64", "timeStamp", "print"],', '  [9, 9, "u8", "rsv1", "print"],', '  [9, 9, "bytes7000", "most"],',
    '  ["_key", "ifIndex"],', '  ["fast_pri", "ifIndex"],', '  ["status_key", "svcStatus"],', 'ifIndex = ""')]


def change(data: bytes, corpus: list, chance: random.Random) -> bytes:
    for _ in range(chance.choice((1, 1, 1, 2, 2, 3, 5, 9))):
        if chance.random() < 0.4:
            data = change_bytes(data, corpus, chance)
        else:
            data = change_tokens(data, corpus, chance)
    return data[:6000]


def change_bytes(data: bytes, corpus: list, chance: random.Random) -> bytes:
    at = chance.randrange(len(data) + 1)
    end = min(len(data), at + chance.choice((0, 1, 1, 1, 2, 4, 16, 200)))
    way = chance.randrange(5)
    if way == 0:
        put = bytes([chance.randrange(256)])
    elif way == 1 and end > at:
        put = bytes([data[at] ^ 1 << chance.randrange(8)])
        end = at + 1
    elif way == 2:
        put = b""
    elif way == 3:
        put = data[at:end] * 2
    else:
        other = chance.choice(corpus)
        start = chance.randrange(len(other) + 1)
        put = other[start:start + chance.randrange(1, 200)]
    return data[:at] + put + data[end:]


def change_tokens(data: bytes, corpus: list, chance: random.Random) -> bytes:
    lines = data.split(b"\n")
    number = chance.randrange(len(lines))
    way = chance.randrange(8)
    if way == 0:
        del lines[number]
    elif way == 1:
        lines.insert(chance.randrange(len(lines) + 1), lines[number])
    elif way == 2:
        lines.insert(number, chance.choice(chance.choice((LINES, chance.choice(corpus).split(b"\n")))))
    elif way == 3 and chance.random() < 0.3:
        lines[0] = chance.choice(PLACES)
    elif way == 4 and chance.random() < 0.5:
        lines[number] = chance.choice(LINES)
    else:
        tokens = TOKEN.findall(lines[number]) or [b""]
        at = chance.randrange(len(tokens))
        word = chance.choice(WORDS)
        if chance.random() < 0.4:
            word = chance.choice(TOKEN.findall(chance.choice(corpus)) or [b""])
        if way == 3:
            tokens.insert(at, word)
        elif way == 4:
            del tokens[at]
        elif way == 5 and tokens[at].isdigit() and len(tokens[at]) < 20:
            tokens[at] = str(max(0, int(tokens[at]) + chance.choice((-8, -2, -1, 1, 2, 8)))).encode()
        elif way == 6 and tokens[at].startswith(b'"'):
            tokens[at] = b'"' + word.strip(b'"') + b'"'
        else:
            tokens[at] = word
        lines[number] = b"".join(tokens)
    return b"\n".join(lines)


# ---- Running ----------------------------------------------------------------------------------


def name_of(data: bytes) -> str:
    return hashlib.sha1(data).hexdigest()[:16]


def report(data: bytes, crashes: Path) -> None:
    crashes.mkdir(parents=True, exist_ok=True)
    path = crashes / name_of(data)
    path.write_bytes(data)
    traceback.print_exc()
    print(f"crash: {path}", file=sys.stderr)


def replay(project: Project, corpus: dict) -> int:
    failed = 0
    for path, data in corpus.items():
        try:
            project.run(data)
        except Exception:  # whatever it is, it is what this looks for
            traceback.print_exc()
            print(f"failed: {path}", file=sys.stderr)
            failed += 1
    print(f"replayed {len(corpus)} inputs, {failed} failed")
    return 1 if failed or not corpus else 0


def fuzz(project: Project, options, corpus: dict) -> int:
    chance = random.Random(options.seed)
    coverage = Coverage()
    kept, found, executions, accepted = [], 0, 0, 0
    crashes = set()

    def execute(data: bytes) -> bool:
        """Whether the input has reached something new."""
        nonlocal executions, accepted
        before = len(coverage.lines) + len(coverage.steps)
        executions += 1
        try:
            accepted += coverage.run(lambda: project.run(data))
        except Exception as error:  # whatever it is, it is what this looks for
            place = traceback.extract_tb(error.__traceback__)[-1]
            where = (type(error), place.filename, place.lineno)
            if where not in crashes:
                crashes.add(where)
                report(data, options.crashes)
        return len(coverage.lines) + len(coverage.steps) > before

    begin = time.monotonic()
    for data in corpus.values():
        execute(data)
        kept.append(data)
    while time.monotonic() - begin < options.seconds:
        # What was found last is changed more often.
        parent = chance.choice(kept[-20:] if chance.random() < 0.5 else kept)
        data = change(parent, kept, chance)
        if execute(data):
            kept.append(data)
            found += 1
            if options.new:
                options.new.mkdir(parents=True, exist_ok=True)
                (options.new / name_of(data)).write_bytes(data)
    seconds = time.monotonic() - begin
    lines = executable_lines()
    print(f"executions {executions} accepted {accepted} seconds {seconds:.0f} "
          f"covered {len(coverage.lines & lines)} of {len(lines)} steps {len(coverage.steps)} "
          f"new {found} crashes {len(crashes)}")
    if options.missed:
        for name, line in sorted(lines - coverage.lines):
            print(f"not reached: generator/{name}:{line}")
    return 1 if crashes else 0


def merge(project: Project, corpus: dict, options) -> int:
    """Adds, the smallest first, what reaches lines or steps that the corpus does not."""
    coverage = Coverage()
    for data in corpus.values():
        coverage.run(lambda: project.run(data))
    for path in sorted(options.merge.iterdir(), key=lambda path: path.stat().st_size):
        data = path.read_bytes()
        before = len(coverage.lines) + len(coverage.steps)
        coverage.run(lambda: project.run(data))
        if len(coverage.lines) + len(coverage.steps) > before:
            (options.corpus / name_of(data)).write_bytes(data)
    return 0


def main() -> int:
    parser = argparse.ArgumentParser(description="Fuzzes the catalog's reader.")
    parser.add_argument("corpus", type=Path)
    parser.add_argument("--seconds", type=float)
    parser.add_argument("--new", type=Path, help="where inputs go that reach something new")
    parser.add_argument("--crashes", type=Path, default=Path("crashes"))
    parser.add_argument("--missed", action="store_true", help="lists the lines that were not reached")
    parser.add_argument("--seed", type=int, default=None)
    parser.add_argument("--merge", type=Path)
    options = parser.parse_args()
    corpus = {path: path.read_bytes() for path in sorted(options.corpus.iterdir())}
    with tempfile.TemporaryDirectory() as folder:
        project = Project(Path(folder))
        if options.merge:
            return merge(project, corpus, options)
        return replay(project, corpus) if options.seconds is None else fuzz(project, options, corpus)


if __name__ == "__main__":
    sys.exit(main())
