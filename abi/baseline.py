# SPDX-License-Identifier: MIT
"""
The interface as it has been recorded, against the interface as it is built (docs/abi.md).

  python3 abi/baseline.py check WHAT...     fails on any difference
  python3 abi/baseline.py record WHAT...    records what is there

WHAT is a built shared object, compared with its functions, objects and types in abi/lib<name>.abi,
or the folder include, whose constants and callback types are in abi/headers.txt. Tables that have
not been released are left out of both sides: they are free to change.
"""

import difflib
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

FOLDER = Path(__file__).resolve().parent
sys.path.insert(0, str(FOLDER.parent / "generator"))
import catalog  # noqa: E402
import history  # noqa: E402

LICENSE = "SPDX-License-Identifier: MIT"
SHARED_HEADERS = ("l2vpn_db.h", "platform.h", "memory_store.h")


def run(*command) -> subprocess.CompletedProcess:
    return subprocess.run(command, capture_output=True, text=True, check=False)


def run_or_exit(*command) -> str:
    result = run(*command)
    if result.returncode:
        sys.exit(f"{' '.join(map(str, command))}: exit code {result.returncode}\n{result.stdout}{result.stderr}")
    return result.stdout


def suppressions() -> str:
    """What is no interface: the library's own C++ types, and tables that have not been released."""
    errors = []
    root = FOLDER.parent
    tables = catalog.load(root, errors)
    released = history.latest(history.load(root, errors))
    if errors:
        sys.exit("\n".join(errors))
    text = "[suppress_type]\nname_regexp = ^(l2vpn|std|__gnu_cxx|__cxxabiv1)::\nname_not_regexp = ^l2vpn::TableDescriptor<\ndrop = yes\n"
    for table in tables:
        if table.name not in released:
            names = catalog.exported_functions(table) + catalog.exported_objects(table)
            names.append(f"db_[a-z]+_{table.name}_(obj|object|all_fields|batchVersion)")
            for kind in ("function", "variable"):
                text += f"\n[suppress_{kind}]\nsymbol_name_regexp = ^({'|'.join(names)})$\ndrop = yes\n"
    return text


def check_debug_info(library: Path) -> None:
    """Without it, the tools compare names of symbols and find everything else unchanged."""
    if ".debug_info" not in run_or_exit("readelf", "--sections", "--wide", library):
        sys.exit(f"{library}:1: debug information: found none, expected a build with -g, not stripped")


def interface_of_library(library: Path, ignore: Path) -> str:
    """Its functions, objects and types. The tools compare what has no debug information by name alone."""
    if ".debug_info" not in run_or_exit("readelf", "--sections", "--wide", library):
        sys.exit(f"{library}:1: debug information: found none, expected a build with -g, not stripped")
    text = run_or_exit(
        "abidw", "--suppressions", ignore, "--exported-interfaces-only", "--type-id-style", "hash",
        "--no-architecture", "--no-corpus-path", "--no-comp-dir-path", "--no-show-locs", "--no-elf-needed",
        "--no-write-default-sizes", "--no-parameter-names", library)
    described = set(re.findall(r" elf-symbol-id='([^'@]*)", text))
    bare = sorted(set(re.findall(r"<elf-symbol name='([^']*)'", text)) - described)
    if bare:
        sys.exit(f"{library}:1: debug information: found none of {bare[0]} and {len(bare) - 1} others, "
                 "expected that of every symbol")
    text = re.sub(r"(<abi-instr .*?path=')[^']*/", r"\1", text)
    # The tools tell the format by the first line.
    return text.replace("\n", f"\n<!-- {LICENSE} -->\n", 1)


def constants_and_callbacks(include: Path) -> str:
    """What the shared headers declare and no debug information holds, one declaration a line."""
    found = set()
    for header in SHARED_HEADERS:
        text = run_or_exit("cc", "-E", "-P", "-dD", "-I", include, include / "l2vpn_db" / header)
        found.update(re.findall(r"^#define (L2VPN_\w+ \S.*)$", text, re.MULTILINE))
        text = " ".join(re.sub(r"^#.*$", "", text, flags=re.MULTILINE).split())
        found.update(re.findall(r"typedef [^;{}]*\(\*L2vpn\w+\)\([^;]*\);", text))
        for body in re.findall(r"\benum \w* ?\{([^}]*)\}", text):
            value = -1
            for name, given in re.findall(r"(\w+)(?: = (\w+))?", body):
                value = int(given, 0) if given else value + 1
                if name.startswith("L2VPN_"):
                    found.add(f"{name} {value}")
    return f"# {LICENSE}\n" + "".join(f"{line}\n" for line in sorted(found))


def compare(baseline: Path, found: Path, ignore: Path) -> str:
    """What differs, or nothing."""
    if baseline.suffix == ".abi":
        # Not only its code for incompatible changes counts: it gives 4 for a changed layout.
        result = run("abidiff", "--suppressions", ignore, "--harmless", baseline, found)
        return (result.stdout + result.stderr or "abidiff failed") if result.returncode else ""
    texts = [path.read_text(encoding="utf-8").splitlines(True) for path in (baseline, found)]
    return "".join(difflib.unified_diff(*texts, "recorded", "found", n=0))


def main(command: str, whats: list) -> int:
    for tool in ("abidw", "abidiff", "readelf", "cc"):
        if not shutil.which(tool):
            sys.exit(f"{tool} is missing: install abigail-tools, binutils and gcc")
    failed = False
    with tempfile.TemporaryDirectory() as folder:
        ignore = Path(folder) / "ignore.suppr"
        ignore.write_text(suppressions(), encoding="utf-8")
        for what in whats:
            if what.is_dir():
                baseline, text = FOLDER / "headers.txt", constants_and_callbacks(what)
            else:
                baseline, text = FOLDER / (what.name.split(".so")[0] + ".abi"), interface_of_library(what, ignore)
            shown = baseline.relative_to(FOLDER.parent)
            if command == "record":
                baseline.write_text(text, encoding="utf-8")
                print(f"recorded {shown}")
                continue
            found = Path(folder) / baseline.name
            found.write_text(text, encoding="utf-8")
            if report := compare(baseline, found, ignore):
                failed = True
                print(f"{shown}:1: interface: found another one in {what}, expected the recorded one: programs "
                      f"and platforms built against it may break; docs/abi.md says what may change, ./dev abi "
                      f"records it\n{report}")
    return 1 if failed else 0


if __name__ == "__main__":
    if len(sys.argv) < 3 or sys.argv[1] not in ("check", "record"):
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], [Path(argument) for argument in sys.argv[2:]]))
