# SPDX-License-Identifier: MIT
"""Property test: builds libraries of random tables with the real generator and compiler, and checks
each against the model in tables.py: the tests of tests/unit and tests/fresh, exports and headers.
"""

import argparse
import concurrent.futures
import functools
import json
import os
import random
import re
import shlex
import subprocess
import sys
import tempfile
from pathlib import Path

import tables as model

ROOT = Path(__file__).resolve().parents[2]
TABLES = 12  # per library
EXPORTS = ("test_exports_exactly_the_interface", "test_exports_are_strong_functions_and_objects",
           "test_imports_exactly_the_platform", "test_objects_have_their_sizes",
           "test_objects_are_writable_and_control_blocks_in_bss")
# Sources whose buffers are sized by the longest key of all tables.
KEY_ROOM = ("src/library/key_operations.cpp", "src/library/update.cpp")


class Failure(Exception):
    pass


def run(command: list, **more) -> str:
    result = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                            text=True, errors="replace", check=False, **more)
    if result.returncode != 0:
        raise Failure(f"{shlex.join(map(str, command))}\nexited with {result.returncode}:\n{result.stdout}")
    return result.stdout


class Build:
    """A build directory, whose objects and compile commands are reused."""

    def __init__(self, folder: Path):
        self.folder = folder
        self.gen = folder / "gen"
        cache = (folder / "CMakeCache.txt").read_text(encoding="utf-8")
        self.source = re.search(r"^CMAKE_HOME_DIRECTORY:INTERNAL=(.*)$", cache, re.M)[1]
        facts = (folder / "property.txt").read_text(encoding="utf-8").splitlines()
        self.facts = {name: values.split(";") for name, _, values in (line.partition("=") for line in facts)}
        self.compiler = self.facts["compiler"][0]
        with open(folder / "compile_commands.json", encoding="utf-8") as file:
            self.commands = json.load(file)

    def objects(self, name: str) -> list:
        """The objects that do not depend on the tables."""
        dependent = ("/gen/", *(f"/{source}." for source in KEY_ROOM))
        return [path for path in self.facts[f"{name}_objects"]
                if path.endswith(".o") and not any(part in path for part in dependent)]

    @functools.cache
    def command(self, source: str, target: str) -> list:
        """The command that compiles the target's source, without source and object."""
        places = (f"{self.gen}/{source}", f"{self.source}/{source}")
        command = next(shlex.split(entry["command"]) for entry in self.commands
                       if entry["file"].startswith(places) and f"/{target}.dir/" in entry["command"])
        return command[:command.index("-o")]


class Library:
    """The library for one seed, in a separate folder."""

    def __init__(self, build: Build, root: Path, seed: int, count: int, optimised: bool):
        self.build, self.root, self.optimised = build, root, optimised
        self.tables = model.random_tables(seed, count, typed=2)  # some tests need another table
        self.project = model.Project(root, ROOT / "include/l2vpn_db")
        self.expected = root / "expected"
        self.library = None  # until it is linked

    def write(self, rng: random.Random) -> None:
        for table in self.tables:
            self.project.write(table.name, model.Catalog(table).written(rng)[0])
        self.expected.mkdir()
        for name, text in model.expected_files(self.tables).items():
            (self.expected / name).write_text(text, encoding="utf-8")

    def generate(self) -> None:
        for arguments in ("headers",), ("sources", self.project.sources):
            run([sys.executable, "-B", ROOT / "generator", *arguments, "--root", self.root])

    def relocated(self, words: list) -> list:
        """The build's options, with this library's generated files instead of the build's."""
        paths = {str(self.build.gen): str(self.project.sources),
                 f"-I{self.build.source}/include": f"-I{self.project.include}"}
        for old, new in paths.items():
            words = [word.replace(old, new) for word in words]
        return words

    @functools.cache
    def compile(self, source: str, target: str) -> Path:
        path = ROOT / source if source in KEY_ROOM else self.project.sources / source
        kind = "tables/" if path.parent == self.project.sources / "tables" else source
        output = (self.project.sources / source).with_suffix(f".{target}.o")
        output.parent.mkdir(parents=True, exist_ok=True)
        quick = [] if self.optimised else ["-O0", "-g0", "-U_FORTIFY_SOURCE"]
        run([*self.relocated(self.build.command(kind, target)), *quick, "-o", output, "-c", path])
        return output

    def link(self, name: str, sources: list) -> Path:
        """Links the library or the platform from the build's objects and these sources."""
        target = {"library": "l2vpn_db", "platform": "l2vpn_platform"}[name]
        file = self.root / f"lib{target}.so"
        run([self.build.compiler, "-shared", f"-Wl,-soname,{file.name}.0", "-o", file,
             *self.relocated(self.build.facts[f"{name}_link_options"]), *self.build.objects(name),
             *(self.compile(source, target) for source in sources)])
        file.with_suffix(".so.0").symlink_to(file.name)
        return file

    def link_library(self) -> None:
        self.library = self.link("library", [*(f"tables/{table.name}.cpp" for table in self.tables),
                                             "schemas.cpp", "interface_rows.cpp", *KEY_ROOM])

    def link_program(self, name: str, *more) -> Path:
        program = self.root / f"{name}_tests"
        run([self.build.compiler, "-Wl,--strip-debug", "-o", program, *self.build.objects(name),
             *self.build.objects("facts"), self.compile("tests/table_list.cpp", "l2vpn_test_facts"),
             *more, *self.build.facts["test_libraries"], self.library, f"-Wl,-rpath,{self.root}"])
        return program

    def run_cases(self, program: Path, which: str) -> int:
        """Returns the number of test cases passed. A suite may be empty for the given tables."""
        output = run([program, "--gtest_brief", f"--gtest_filter={which}:GoogleTestVerification.*"],
                     env=os.environ | {"L2VPN_TEST_EXPECTED_DIR": str(self.expected)})
        return int(re.search(r"(\d+) tests from", output)[1])

    def test_library(self) -> int:
        program = self.link_program("unit", self.compile("platform/record_objects.cpp", "l2vpn_recording_platform"))
        # These require a process that has not called the library yet.
        return self.run_cases(program, "*Fresh*-") + self.run_cases(program, "-*Fresh*")

    def test_store(self) -> int:
        platform = self.link("platform", ["platform/record_objects.cpp"])
        return self.run_cases(self.link_program("store", platform), "-*StoreThreads*:*StoreMemory*")

    def check_file(self) -> None:
        run([sys.executable, "-B", ROOT / "tests/object/shared_object_test.py", "--library", self.library,
             "--platform", self.library, "--demo", self.library, "--readelf", "readelf", "--objdump", "objdump",
             "--expected", self.expected, *(f"Library.{test}" for test in EXPORTS)])

    def check_headers(self) -> None:
        run([sys.executable, "-B", ROOT / "tests/headers/headers_test.py", "--compiler", self.build.compiler,
             "--language", "c", "--standard", "c11", "--include", self.project.include])


def check(build: Build, seed: int, count: int, store: bool) -> tuple:
    """Tests the library for one seed, and a store with its tables. Returns the numbers of tables, fields,
    keys and test cases."""
    rng = random.Random(-seed)
    with tempfile.TemporaryDirectory() as folder:
        library = Library(build, Path(folder).resolve(), seed, count, optimised=rng.random() < 0.1 and count >= TABLES)
        library.write(rng)
        try:
            library.generate()
            library.link_library()
            cases = library.test_library() + (library.test_store() if store else 0)
            library.check_file()
            library.check_headers()
        except Failure as failure:
            named = [table for table in library.tables if re.search(rf"{table.name}\b", str(failure))]
            texts = [(library.project.catalog / f"{table.name}.toml").read_text(encoding="utf-8") for table in named]
            raise Failure("\n".join([str(failure), *texts, f"To reproduce: ./dev property --seed {seed} "
                                     f"--count {count}"])) from failure
    found = library.tables
    return (len(found), sum(len(table.fields) for table in found), sum(len(table.keys) for table in found), cases)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--count", type=int, default=300, help="number of tables")
    parser.add_argument("--seed", type=int, default=random.randrange(10**6), help="seed of the first library")
    parser.add_argument("--store", action="store_true", help="also test the embedded platform")
    parser.add_argument("--jobs", type=int, default=1)
    options = parser.parse_args()
    build = Build(options.build.resolve())
    if options.count < 2:
        parser.error("--count: a catalog has two tables or more")
    libraries = -(-options.count // TABLES)
    print(f"seeds {options.seed} to {options.seed + libraries - 1}", flush=True)

    totals, failed = [0] * 4, 0
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        jobs = [pool.submit(check, build, options.seed + number, max(2, min(TABLES, options.count - number * TABLES)),
                            options.store)
                for number in range(libraries)]
        for job in concurrent.futures.as_completed(jobs):
            try:
                totals = [sum(pair) for pair in zip(totals, job.result())]
            except Failure as failure:
                failed += 1
                print(failure, flush=True)
    print("{} random tables with {} fields and {} keys: {} test cases passed".format(*totals)
          + (f"; {failed} libraries failed" if failed else ""))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
