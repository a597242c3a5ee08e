# SPDX-License-Identifier: MIT
"""Mutation test: applies each mutant of mutants.py and reports whether the compiler, the generator's
checks or the tests kill it. Equivalent mutants are listed in equivalent.tsv, each with the reason."""

import argparse
import concurrent.futures
import os
import random
import resource
import shutil
import subprocess
import sys
import tempfile
import threading
import time
from collections import Counter, defaultdict
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "generator"))
import catalog  # noqa: E402  # pylint: disable=wrong-import-position
import mutants  # noqa: E402  # pylint: disable=wrong-import-position

LIBRARY, STORE, RUNTIME = "src/library", "src/platform/store", "src/platform/runtime"
FILES = {
    "templates": [f"{LIBRARY}/*.{ending}" for ending in ("h", "cpp")],
    "store": [f"{STORE}/*.{ending}" for ending in ("h", "cpp")],
    "generator": ["generator/*.py"],
    "catalog": ["schema/catalog/*.toml"],
}
MUTATORS = {"templates": mutants.cpp, "store": mutants.cpp, "generator": mutants.python, "catalog": mutants.catalog}
MINIMUM_SCORES = {"templates": 98, "store": 98, "generator": 98, "catalog": 100}
# Generous limits: a mutant that exceeds them is in an endless loop.
CPU_SECONDS, SECONDS, BYTES = 15, 40, 4 << 30


def limit(cpu_seconds: int) -> None:
    resource.setrlimit(resource.RLIMIT_CPU, (cpu_seconds, cpu_seconds))
    resource.setrlimit(resource.RLIMIT_AS, (BYTES, BYTES))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def passes(command: list, seconds: int = SECONDS, cpu_seconds: int = CPU_SECONDS, **more) -> bool:
    try:
        return subprocess.run([str(word) for word in command], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              stdin=subprocess.DEVNULL, check=False, timeout=seconds,
                              preexec_fn=lambda: limit(cpu_seconds), **more).returncode == 0
    except subprocess.TimeoutExpired:
        return False


def compiles(command: list) -> bool:
    return subprocess.run(["g++", *map(str, command)], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                          stdin=subprocess.DEVNULL, check=False).returncode == 0


class Cpp:
    """Compiles the mutated sources and runs their tests. A mutated file precedes the original on the include path."""

    def __init__(self, build: Path):
        self.build, self.gen = build, build / "gen"
        self.library, self.platform = build / "libl2vpn_db.so.0", build / "libl2vpn_platform.so.0"
        self.headers = ["-std=c++20", "-w", f"-I{ROOT}", f"-I{ROOT}/src", f"-I{ROOT}/include", f"-I{self.gen}",
                        "-I/usr/src/googletest/googletest/include"]
        self.gtest = [build / "lib/libgtest.a", build / "lib/libgtest_main.a"]

    def compiles(self, folder: Path, arguments: list) -> bool:
        return compiles([f"-I{folder}/mutant", f"-I{folder}/mutant/src", *self.headers, *arguments])

    def killed_by(self, folder: Path, mutant: mutants.Mutant) -> str:
        path = folder / "mutant" / mutant.path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(mutant.text, encoding="utf-8")
        try:
            return self.run_tests(folder, mutant.path)
        finally:
            path.unlink()

    def run_tests(self, folder: Path, mutated: Path | None = None) -> str:
        raise NotImplementedError


def write_unit(path: Path, sources: list) -> None:
    """Writes a translation unit that includes the sources."""
    path.write_text("".join(f'#include "{source}"\n' for source in sources), encoding="utf-8")


def sources_in(folder: str) -> list:
    return sorted(path.relative_to(ROOT) for path in (ROOT / folder).glob("*.cpp"))


class Templates(Cpp):
    """Compiles the mutated library and runs its tests, first with a few tables that together use every
    feature of the catalog, then with all tables."""

    PARTS = [f"tests/parts/{name}_test.cpp" for name in ("derivations", "key_codes")]
    SOME = ("bfdlnk", "extnhp", "glb_en", "oam_staticmac", "stp", "vpls_macpingup", "vpls_pw")

    def __init__(self, build: Path):
        super().__init__(build)
        self.headers.append("-O0")
        self.tables = sorted(path.stem for path in (self.gen / "tables").glob("*.cpp"))
        self.shared = ["-fno-exceptions", "-fno-rtti", "-fPIC"]
        self.some = [f"l2vpn_{table}" for table in self.SOME]

    def prepare(self, folder: Path) -> None:
        common = [*sources_in(LIBRARY), "schemas.cpp", "interface_rows.cpp"]
        for name, tables, more in (("some", self.some, common), ("all", self.tables, common),
                                   ("others", [t for t in self.tables if t not in self.some], []),
                                   ("parts", [], self.PARTS + common)):
            write_unit(folder / f"{name}.cpp", [*more, *(f"tables/{table}.cpp" for table in tables)])
        if not self.compiles(folder, [*self.shared, "-c", folder / "others.cpp", "-o", folder / "others.o"]):
            sys.exit("mutate: the library does not compile")

    def run_tests(self, folder: Path, mutated: Path | None = None) -> str:
        some = ":".join(f"*{table}*" for table in self.some)
        return (self.library_tests(folder, [folder / "some.cpp", folder / "others.o"], [f"--gtest_filter={some}"])
                or self.parts_tests(folder) or self.library_tests(folder, [folder / "all.cpp"], []))

    def library_tests(self, folder: Path, sources: list, options: list) -> str:
        library = folder / self.library.name
        if not self.compiles(folder, [*self.shared, "-shared", f"-Wl,-soname,{library.name}",
                                      f"-Wl,--version-script={self.gen}/exports.map", *sources, "-o", library]):
            return "compiler"
        environment = {**os.environ, "LD_PRELOAD": str(library)}
        programs = [[self.build / "unit_tests", "--gtest_fail_fast", *options], [self.build / "fresh_tests"]]
        return "" if all(passes(program, env=environment) for program in programs) else "tests"

    def parts_tests(self, folder: Path) -> str:
        test = folder / "parts_tests"
        if not self.compiles(folder, [folder / "parts.cpp", "-o", test, *self.gtest, "-Wl,--no-as-needed",
                                      self.library, self.platform, f"-Wl,-rpath,{self.build}"]):
            return "compiler"
        return "" if passes([test]) else "tests"


class Store(Cpp):
    """Compiles the mutated store into the platform and into the tests of its parts, and runs the platform's
    tests with a few tables that together have every kind of key: the store's code does not depend on the table."""

    LIMITS = {"cpu_seconds": 5, "seconds": 25}

    def __init__(self, build: Path):
        super().__init__(build)
        self.headers += ["-O1", "-fPIC"]
        self.sources = [*sources_in(STORE), *sources_in(RUNTIME), Path("platform/record_objects.cpp")]
        self.parts = [path for path in sources_in("tests/parts") if str(path) not in Templates.PARTS]
        program = build / "platform_tests"
        tables = [table for table in catalog.load(ROOT, []) if table.typed]
        some = [f"*/{table.name}" for table in covering(tables)]
        others = ":".join({f"*/{table.name}" for table in tables} - set(some))
        # One process for each table, one for the tests without a table, one for each test in an unused store.
        patterns = [*(f"{table}-*Fresh*" for table in some), "-*Fresh*:*/l2vpn_*", *cases(program, f"*Fresh*-{others}")]
        self.programs = [[program, f"--gtest_filter={pattern}"] for pattern in patterns]

    def prepare(self, folder: Path) -> None:
        write_unit(folder / "platform.cpp", self.sources)
        write_unit(folder / "parts.cpp", self.parts)
        if not (self.object(folder, folder / "parts.cpp", "parts.o") and
                all(self.object(folder, self.path(source), f"{source.stem}.o") for source in self.sources)):
            sys.exit("mutate: the store does not compile")

    def path(self, source: Path) -> Path:
        return ROOT / source if (ROOT / source).exists() else self.gen / source

    def object(self, folder: Path, source: Path, made: str) -> bool:
        return self.compiles(folder, ["-c", source, "-o", folder / made])

    def run_tests(self, folder: Path, mutated: Path | None = None) -> str:
        return next((killer for killer in self.steps(folder, mutated) if killer), "")

    def steps(self, folder: Path, mutated: Path | None):
        """Yields the killer, or "", of one step after the other."""
        in_header = mutated is not None and mutated.suffix == ".h"
        if mutated is None or in_header:
            source, objects = folder / "platform.cpp", [folder / "mutant.o"]
        else:
            source = folder / "mutant" / mutated
            objects = [folder / "mutant.o", *(folder / f"{path.stem}.o" for path in self.sources if path != mutated)]
        library, parts = folder / self.platform.name, folder / "parts_tests"
        yield "" if self.object(folder, source, "mutant.o") and compiles([
            "-shared", *objects, "-o", library, f"-Wl,-soname,{library.name}",
            f"-Wl,--version-script={ROOT}/src/platform/exports.map"]) else "compiler"

        def tests(command):
            return "" if passes([*command, "--gtest_fail_fast"], **self.LIMITS,
                                env={**os.environ, "LD_PRELOAD": str(library)}) else "tests"

        yield tests(self.programs[0])
        made = "mutated_parts.o" if in_header else "parts.o"
        yield "" if not in_header or self.object(folder, folder / "parts.cpp", made) else "compiler"
        yield "" if compiles([folder / made, *objects, *self.gtest, self.library, f"-Wl,-rpath,{self.build}",
                              "-o", parts]) else "compiler"
        for program in [[parts], *self.programs[1:]]:
            yield tests(program)


def cases(program: Path, pattern: str) -> list:
    """Returns the names of a test program's cases that match the pattern."""
    found, suite = [], ""
    for line in subprocess.run([program, "--gtest_list_tests", f"--gtest_filter={pattern}"], stdout=subprocess.PIPE,
                               check=True, text=True).stdout.splitlines()[1:]:
        if line.startswith(" "):
            found.append(suite + line.split()[0])
        else:
            suite = line.split()[0]
    return found


def covering(tables: list) -> list:
    """Returns few tables, the smallest first, that together have every feature that the store distinguishes."""
    def features(table):
        yield "keys", min(len(table.keys), 3)
        yield "batch version", any(field.name == "batchVersion" for field in table.fields)
        for key in table.keys:
            ends = [member.stored_offset + member.width for member in key.members]
            gaps = sum(end != member.stored_offset for end, member in zip(ends, key.members[1:]))
            yield "gaps", min(gaps, 2), key.index == 0
            yield "length", min(key.length // 8, 2), key.index == 0

    missing = {feature for table in tables for feature in features(table)}
    chosen = []
    while missing:
        best = max(tables, key=lambda table: len(missing & set(features(table))))
        missing -= set(features(best))
        chosen.append(best)
    return sorted(chosen, key=lambda table: table.stored_size * len(table.keys))


class Generator:
    """Runs the mutated generator's tests, then those of libraries of random tables."""

    def __init__(self, build: Path):
        self.build = build

    def prepare(self, folder: Path) -> None:
        for name in ("generator", "tests", "schema", "include", "src", "abi"):
            shutil.copytree(ROOT / name, folder / name, ignore=shutil.ignore_patterns("__pycache__"))
        for name in ("VERSION", "CHANGELOG.md"):
            shutil.copy(ROOT / name, folder / name)

    def killed_by(self, folder: Path, mutant: mutants.Mutant) -> str:
        path = folder / mutant.path
        path.write_text(mutant.text, encoding="utf-8")
        try:
            return self.run_tests(folder)
        finally:
            shutil.copy(ROOT / mutant.path, path)

    def run_tests(self, folder: Path) -> str:
        python = [sys.executable, "-B"]
        if not passes([*python, "generator", "check"], cwd=folder):
            return "committed headers"
        for test in (["generator/expected_test.py"], ["generator/debugger_test.py"],
                     ["generator/catalog_test.py", "--failfast"], ["property/invalid_catalog_test.py", "--count", "3"]):
            if not passes([*python, f"tests/{test[0]}", *test[1:]], 4 * SECONDS, cwd=folder):
                return "tests"
        if not passes([*python, "tests/property/library_test.py", "--build", self.build, "--jobs", "1",
                       "--count", "12", "--seed", "1"], 10 * SECONDS, cwd=folder):
            return "random tables"
        return ""


class Catalog:
    """Loads the mutated table alone and compares it with tests/expected and with the released schemas."""

    def __init__(self, _build: Path):
        sys.path.insert(0, str(ROOT / "tests/generator"))
        # pylint: disable=import-outside-toplevel
        import expected_test
        import history
        self.expected, self.history = expected_test, history
        self.files = expected_test.expected()
        self.releases = history.load(ROOT, [])

    def prepare(self, folder: Path) -> None:
        (folder / "schema/catalog").mkdir(parents=True)

    def run_tests(self, _folder: Path) -> str:
        errors = []
        tables = self.expected.catalog.load(ROOT, errors)
        return "tests" if errors or self.expected.differences(tables, self.files) else ""

    def killed_by(self, folder: Path, mutant: mutants.Mutant) -> str:
        path = folder / mutant.path
        path.write_text(mutant.text, encoding="utf-8")
        errors = []
        tables = self.expected.catalog.load(folder, errors)
        path.unlink()
        if errors:
            return "generator"
        if self.expected.differences(tables, self.files):
            return "tests"
        known = [self.history.Release(release.name, {
            name: schema for name, schema in release.schemas.items() if name == tables[0].name})
            for release in self.releases]
        self.history.check(tables, known, errors)
        return "released schemas" if errors else ""


def equivalents() -> dict:
    """The equivalent mutants (file, original line, mutated line) and the reason for each."""
    rows = (ROOT / "tests/mutation/equivalent.tsv").read_text(encoding="utf-8").splitlines()
    return {tuple(row.split("\t")[:3]): row.split("\t")[3] for row in rows if row and not row.startswith("#")}


def run(group: str, chosen: list, build: Path, jobs: int, sampled: bool) -> list:
    """Pairs each mutant with its killer, "" if it survives. Without a sample, first runs everything
    unmutated, which must pass; a sample runs as one of the tests."""
    runner = {"templates": Templates, "store": Store, "generator": Generator, "catalog": Catalog}[group](build)
    jobs = 1 if group == "catalog" else jobs  # it runs in this process
    local = threading.local()
    done, started, last = 0, time.monotonic(), 0.0
    with tempfile.TemporaryDirectory() as scratch:
        def one(mutant):
            if not hasattr(local, "folder"):
                local.folder = Path(tempfile.mkdtemp(dir=scratch))
                runner.prepare(local.folder)
            return runner.killed_by(local.folder, mutant)

        if not sampled:
            unmutated = Path(tempfile.mkdtemp(dir=scratch))
            runner.prepare(unmutated)
            if failed := runner.run_tests(unmutated):
                sys.exit(f"mutate: {group}: fails unmutated: {failed}")
        results = []
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            for mutant, killer in zip(chosen, pool.map(one, chosen)):
                results.append((mutant, killer))
                done += 1
                if time.monotonic() - last > 60:
                    last = time.monotonic()
                    print(f"{group}: {done} of {len(chosen)} after {last - started:.0f} s", file=sys.stderr, flush=True)
        return results


def report(group: str, results: list, known: dict) -> bool:
    """Prints the mutants by kind and killer. Returns whether the score is high enough."""
    kinds = defaultdict(Counter)
    survivors = []
    for mutant, killer in results:
        reason = known.get((str(mutant.path), mutant.old.strip(), mutant.new.strip()))
        state = killer or ("equivalent" if reason else "survived")
        kinds[mutant.kind][state] += 1
        if state == "survived":
            survivors.append(mutant)
        elif killer and reason:
            print(f"killed, but listed in equivalent.tsv: {mutant}")
    states = list(dict.fromkeys(state for counts in kinds.values() for state in counts))
    print(f"\n{group:<12}{'mutants':>8}" + "".join(f"  {state}" for state in states))
    kinds["all"] = sum(kinds.values(), Counter())
    for kind, counts in kinds.items():
        print(f"{kind:<12}{sum(counts.values()):>8}" + "".join(f"{counts[s]:>{len(s) + 2}}" for s in states))
    killable = len(results) - kinds["all"]["equivalent"]
    score = 100 * (killable - len(survivors)) / killable
    print(f"killed: {killable - len(survivors)} of {killable}, {score:.1f} % (minimum {MINIMUM_SCORES[group]} %)")
    for mutant in survivors:
        print(f"survived: {mutant}")
    return score >= MINIMUM_SCORES[group]


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("groups", nargs="*", default=list(FILES), metavar="GROUP", help=", ".join(FILES))
    parser.add_argument("--build", type=Path, required=True, help="build directory of the tests")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--sample", type=int, help="number of random mutants in each group")
    parser.add_argument("--seed", type=int, default=1, help="seed of the sample")
    parser.add_argument("--only", default="", help="mutate only files whose path contains ONLY")
    options = parser.parse_args()
    passed = True
    for group in options.groups:
        if group not in FILES:
            parser.error(f"unknown group '{group}'; choose from {', '.join(FILES)}")
        chosen = [mutant for pattern in FILES[group] for path in sorted(ROOT.glob(pattern))
                  if options.only in str(path) for mutant in MUTATORS[group](ROOT, path.relative_to(ROOT))]
        if options.sample and options.sample < len(chosen):
            chosen = random.Random(options.seed).sample(chosen, options.sample)
        results = run(group, chosen, options.build.resolve(), options.jobs, options.sample is not None)
        passed = report(group, results, equivalents()) and passed
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
