# SPDX-License-Identifier: MIT
"""
A coverage-guided fuzzer for the generator's catalog reader. It mutates files by byte and by token, and
keeps inputs that reach a new line or a new edge between lines.

  python3 catalog_fuzz.py CORPUS                                     replays the corpus
  python3 catalog_fuzz.py CORPUS --seconds N [--new F] [--crashes F] [--seed N]   fuzzes
  python3 catalog_fuzz.py CORPUS --merge F                           adds inputs of F that increase coverage

An input is one file of the project: its first line is "# <path>", the rest is the file's text. The
generator must either accept it and generate all its output, or reject it with diagnostics whose
positions exist in the file.
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
import field_types  # noqa: E402
import glossary  # noqa: E402
import headers  # noqa: E402
import history  # noqa: E402
import sources  # noqa: E402

PATH = re.compile(r"schema/(catalog/[^/\0]{1,60}\.toml|glossary\.toml|released/[^/\0]{1,20}\.toml)")
# A table that the input can collide with; its glossary words are present, too.
NEIGHBOUR = "schema/catalog/l2vpn_eth.toml"


class Failure(Exception):
    """The generator violated its contract."""


class Project:
    """A project of one input and its neighbour."""

    def __init__(self, root: Path):
        self.root = root
        for folder in ("schema/catalog", "schema/released"):
            (root / folder).mkdir(parents=True)
        table = (ROOT / NEIGHBOUR).read_text(encoding="utf-8")
        words = (ROOT / "schema/glossary.toml").read_text(encoding="utf-8").splitlines(True)
        (root / NEIGHBOUR).write_text(table, encoding="utf-8")
        # The glossary rejects words that no table uses.
        (root / "schema/glossary.toml").write_text(
            "".join(line for line in words if f'"{line.split(" ")[0]}"' in table), encoding="utf-8")

    def run(self, data: bytes) -> bool:
        """Returns whether the generator accepted the input. Raises Failure, or the generator's exception."""
        first, _, text = data.partition(b"\n")
        name = first.decode("utf-8", "replace").removeprefix("# ").strip()
        if not PATH.fullmatch(name):
            name = "schema/catalog/l2vpn_test.toml"
        path = self.root / name
        kept = path.read_bytes() if path.exists() else None
        try:
            path.write_bytes(text)
        except OSError:
            return False  # not a valid file name
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
            raise Failure("a released schema does not survive a write and a read")
        for write in (sources.schemas, sources.interface_rows, sources.export_list,
                      sources.record_objects, sources.test_table_list):
            write(tables)
        return True

    def check_messages(self, errors: list) -> None:
        for error in errors:
            match = re.fullmatch(r"(schema/[^\n]+?\.toml):(\d+): [^\n]*found [^\n]*, expected [^\n]*", error)
            if not match:
                raise Failure(f"a diagnostic without a position, or of several lines: {error!r}")
            path = self.root / match[1]
            lines = path.read_bytes().count(b"\n") + 1 if path.exists() else 1
            if not 1 <= int(match[2]) <= lines:
                raise Failure(f"a diagnostic for a line past the end of the file: {error!r}")


# ---- Coverage ---------------------------------------------------------------------------------


class Coverage:
    """The executed lines of the generator and the edges between them."""

    def __init__(self):
        self.known = {}  # code object: its file's name, None if it is not the generator's
        self.lines, self.edges = set(), set()

    def trace(self, frame, event, _):
        code = frame.f_code
        if code not in self.known:
            path = Path(code.co_filename)
            self.known[code] = path.name if path.parent == GENERATOR else None
        name = self.known[code]
        if name is None:
            return None
        previous = [frame.f_lineno]
        self.lines.add((name, frame.f_lineno))

        def line(frame, event, _):
            if event == "line":
                self.lines.add((name, frame.f_lineno))
                self.edges.add((name, previous[0], frame.f_lineno))
                previous[0] = frame.f_lineno
            return line

        return line

    def run(self, action):
        sys.settrace(self.trace)
        try:
            return action()
        finally:
            sys.settrace(None)


def executable_lines() -> set:
    """The executable lines of all functions of the generator."""
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


# ---- Mutating inputs --------------------------------------------------------------------------

TOKEN = re.compile(rb'"[^"\n]*"|[A-Za-z_][A-Za-z0-9_]*|\d+|\s+|.', re.S)
WORDS = [word.encode() for word in (
    *field_types.NAMES, "2x2", "2x6", "2x16", "bytes3", "bytes16", "2x99999", "bytes65535",
    *catalog.QUIRKS, *catalog.SERVICE_FIELDS, *catalog.Reader.ENTRIES, "typed", "format", "print",
    "primary_key", "fast_pri", "batchVersion", "vrIndex", "resv1", "int", "a/*b", "\u00e9", "\u2028",
    "true", "false", "inf", "nan", "-1", "+7", "0", "1", "255", "8192", "65536", "4294967296",
    "9" * 40, "1e3", "1.5", "0x10", "0b1", "1_000", "1979-05-27", "07:32:00", "[]", "{}", "[[x]]", "[x]",
    "a.b = 1", '"""', "'''", "\\u0000", "\\u2028", "\\n", "\r\n", "\r", "\t", "\0", "#", "=", ",", "[", "]",
    "{a = 1}", "\ufeff", "db", "dal", "ast", "e_th", "catalog", "glossary", "released", "key", "fast_pri_key")]
# Paths that an input may name.
PATHS = [b"# schema/" + place.encode() for place in (
    "catalog/l2vpn_test.toml", "catalog/l2vpn_db_test.toml", "catalog/l2vpn_ast.toml", "catalog/l2vpn_e_th.toml",
    "catalog/l2vpn_eth.toml", "catalog/L2vpn.toml", "glossary.toml", "released/0.1.0.toml", "released/1.toml")]
# Lines of a catalog file.
LINES = [line.encode() for line in (
    'quirks = ["no_null_tests", "svc_fields_split"]', 'quirks = ["trailing_separator", "trailing_separator"]',
    'access = "typed"', 'access = "format"', "version = 2", "stored_size = 4", "fields = []", "keys = []", "keys = 1",
    '  [0, 0, "u32", "ifIndex", "print"],', '  [9, 9, "pair", "svcStatus"],', '  [9, 9, "2x6", "svcCtx", "print"],',
    '  [9, 9, "u64", "timeStamp", "print"],', '  [9, 9, "u8", "rsv1", "print"],', '  [9, 9, "bytes7000", "most"],',
    '  ["_key", "ifIndex"],', '  ["fast_pri", "ifIndex"],', '  ["status_key", "svcStatus"],', 'ifIndex = ""')]


def mutate(data: bytes, corpus: list, rng: random.Random) -> bytes:
    for _ in range(rng.choice((1, 1, 1, 2, 2, 3, 5, 9))):
        if rng.random() < 0.4:
            data = mutate_bytes(data, corpus, rng)
        else:
            data = mutate_tokens(data, corpus, rng)
    return data[:6000]


def mutate_bytes(data: bytes, corpus: list, rng: random.Random) -> bytes:
    at = rng.randrange(len(data) + 1)
    end = min(len(data), at + rng.choice((0, 1, 1, 1, 2, 4, 16, 200)))
    choice = rng.randrange(5)
    if choice == 0:
        put = bytes([rng.randrange(256)])
    elif choice == 1 and end > at:
        put = bytes([data[at] ^ 1 << rng.randrange(8)])
        end = at + 1
    elif choice == 2:
        put = b""
    elif choice == 3:
        put = data[at:end] * 2
    else:
        other = rng.choice(corpus)
        start = rng.randrange(len(other) + 1)
        put = other[start:start + rng.randrange(1, 200)]
    return data[:at] + put + data[end:]


def mutate_tokens(data: bytes, corpus: list, rng: random.Random) -> bytes:
    lines = data.split(b"\n")
    number = rng.randrange(len(lines))
    choice = rng.randrange(8)
    if choice == 0:
        del lines[number]
    elif choice == 1:
        lines.insert(rng.randrange(len(lines) + 1), lines[number])
    elif choice == 2:
        lines.insert(number, rng.choice(rng.choice((LINES, rng.choice(corpus).split(b"\n")))))
    elif choice == 3 and rng.random() < 0.3:
        lines[0] = rng.choice(PATHS)
    elif choice == 4 and rng.random() < 0.5:
        lines[number] = rng.choice(LINES)
    else:
        tokens = TOKEN.findall(lines[number]) or [b""]
        at = rng.randrange(len(tokens))
        word = rng.choice(WORDS)
        if rng.random() < 0.4:
            word = rng.choice(TOKEN.findall(rng.choice(corpus)) or [b""])
        if choice == 3:
            tokens.insert(at, word)
        elif choice == 4:
            del tokens[at]
        elif choice == 5 and tokens[at].isdigit() and len(tokens[at]) < 20:
            tokens[at] = str(max(0, int(tokens[at]) + rng.choice((-8, -2, -1, 1, 2, 8)))).encode()
        elif choice == 6 and tokens[at].startswith(b'"'):
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
        except Exception:  # any exception is a finding
            traceback.print_exc()
            print(f"failed: {path}", file=sys.stderr)
            failed += 1
    print(f"replayed {len(corpus)} inputs, {failed} failed")
    return 1 if failed or not corpus else 0


def fuzz(project: Project, options, corpus: dict) -> int:
    rng = random.Random(options.seed)
    coverage = Coverage()
    kept, found, executions, accepted = [], 0, 0, 0
    crashes = set()

    def execute(data: bytes) -> bool:
        """Returns whether the input increased coverage."""
        nonlocal executions, accepted
        before = len(coverage.lines) + len(coverage.edges)
        executions += 1
        try:
            accepted += coverage.run(lambda: project.run(data))
        except Exception as error:  # any exception is a finding
            place = traceback.extract_tb(error.__traceback__)[-1]
            where = (type(error), place.filename, place.lineno)
            if where not in crashes:
                crashes.add(where)
                report(data, options.crashes)
        return len(coverage.lines) + len(coverage.edges) > before

    begin = time.monotonic()
    for data in corpus.values():
        execute(data)
        kept.append(data)
    while time.monotonic() - begin < options.seconds:
        # Prefers recent inputs as parents.
        parent = rng.choice(kept[-20:] if rng.random() < 0.5 else kept)
        data = mutate(parent, kept, rng)
        if execute(data):
            kept.append(data)
            found += 1
            if options.new:
                options.new.mkdir(parents=True, exist_ok=True)
                (options.new / name_of(data)).write_bytes(data)
    seconds = time.monotonic() - begin
    lines = executable_lines()
    print(f"executions {executions} accepted {accepted} seconds {seconds:.0f} "
          f"covered {len(coverage.lines & lines)} of {len(lines)} edges {len(coverage.edges)} "
          f"new {found} crashes {len(crashes)}")
    if options.missed:
        for name, line in sorted(lines - coverage.lines):
            print(f"not covered: generator/{name}:{line}")
    return 1 if crashes else 0


def merge(project: Project, corpus: dict, options) -> int:
    """Adds the inputs that increase the corpus's coverage, smallest first."""
    coverage = Coverage()
    for data in corpus.values():
        coverage.run(lambda: project.run(data))
    for path in sorted(options.merge.iterdir(), key=lambda path: path.stat().st_size):
        data = path.read_bytes()
        before = len(coverage.lines) + len(coverage.edges)
        coverage.run(lambda: project.run(data))
        if len(coverage.lines) + len(coverage.edges) > before:
            (options.corpus / name_of(data)).write_bytes(data)
    return 0


def main() -> int:
    parser = argparse.ArgumentParser(description="Fuzzes the catalog's reader.")
    parser.add_argument("corpus", type=Path)
    parser.add_argument("--seconds", type=float)
    parser.add_argument("--new", type=Path, help="folder for new inputs that increase coverage")
    parser.add_argument("--crashes", type=Path, default=Path("crashes"))
    parser.add_argument("--missed", action="store_true", help="list the lines that were not covered")
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
