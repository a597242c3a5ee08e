# SPDX-License-Identifier: MIT
"""
Counts instructions per operation and bytes of code, which do not depend on the load of the machine.

Callgrind counts in a build for this processor, the emulator in one for 64-bit ARM: it logs each
executed instruction of the libraries. Both attribute instructions to modules.
"""

import re
import subprocess
import sys
import tempfile
from collections import Counter
from collections.abc import Iterator
from dataclasses import dataclass, field
from pathlib import Path

LIBRARIES = {"library": "libl2vpn_db.so", "platform": "libl2vpn_platform.so"}
# Over the stub store, on the embedded store, and for all tables over the stub.
STUB, STORE, TABLES = "l2vpn_instructions", "l2vpn_store_instructions", "l2vpn_table_instructions"
EMULATOR = ("qemu-aarch64", "-cpu", "max,pauth-impdef=on", "-L", "/usr/aarch64-linux-gnu")
EMULATED_TIMES = 30

Amounts = dict[str, float]


def output_of(*command: object) -> str:
    result = subprocess.run([str(part) for part in command], capture_output=True, text=True, check=False)
    if result.returncode:
        sys.exit(f"{' '.join(map(str, command))}: exit code {result.returncode}\n{result.stdout}{result.stderr}")
    return result.stdout


def processor_of(folder: Path) -> str:
    header = output_of("readelf", "-h", folder / LIBRARIES["library"])
    return "aarch64" if "AArch64" in header else "x86_64"


def compiler_of(folder: Path) -> str:
    """The compiler's version, from the library's .comment section."""
    comment = output_of("readelf", "-p", ".comment", folder / LIBRARIES["library"])
    return " and ".join(sorted(set(re.findall(r"(?:GCC|clang).* [\d.]+$", comment, re.M))))


# ---- Instructions -------------------------------------------------------------------------------

@dataclass
class Run:
    """A program's output: the addresses of libraries and marks, and the calls of each operation."""
    bases: dict[str, int]
    marks: tuple[int, int]
    times: dict[str, int] = field(default_factory=dict)

    def __init__(self, text: str):
        where, *counted = text.splitlines()
        library, platform, begin, end = (int(address, 16) for address in where.split())
        self.bases = {"library": library, "platform": platform}
        self.marks = (begin, end)
        self.times = {name: int(times) for name, times in (line.rsplit(" ", 1) for line in counted)}


def callgrind_profile(profile: str) -> Counter:
    """Instructions by module, and the calls of sprintf_s."""
    names: dict[str, str] = {}
    owner, callee, amounts, called = "", "", Counter(), False
    for line in profile.splitlines():
        if match := re.match(r"(c?)(ob|fn)=\((\d+)\)(?: (.*))?", line):
            name = names.setdefault(match[2] + match[3], match[4] or "")
            if match[2] == "ob" and not match[1]:
                owner = ("library" if "libl2vpn_db" in name else "platform" if "_platform.so" in name
                         else "harness" if "l2vpn_" in Path(name).name else "libc")
            elif match[2] == "fn" and match[1]:
                callee = name
        elif match := re.match(r"calls=(\d+)", line):
            called = True  # the next line is the inclusive cost of the callee, which is listed itself
            if callee == "sprintf_s":
                amounts["pieces"] += int(match[1])
        elif re.match(r"[+\-*\d]", line):
            if not called:
                amounts[owner] += int(line.split()[1])
            called = False
    return amounts


def by_callgrind(program: Path) -> tuple[Run, list[Counter]]:
    with tempfile.TemporaryDirectory() as folder:
        run = Run(output_of("valgrind", "--quiet", "--tool=callgrind", "--zero-before=begin_counting",
                            "--dump-before=end_counting", f"--callgrind-out-file={folder}/out", program))
        return run, [callgrind_profile(Path(f"{folder}/out.{n + 1}").read_text(encoding="utf-8"))
                     for n in range(len(run.times))]


def text_section(file: Path) -> tuple[int, int]:
    """Its address and size."""
    match = re.search(r"\.text\s+PROGBITS\s+(\w+) \w+ (\w+)", output_of("readelf", "-SW", file))
    return int(match[1], 16), int(match[2], 16)


def by_emulator(program: Path) -> tuple[Run, list[Counter]]:
    # The first run prints the addresses, which are the same in each run.
    run = Run(output_of(*EMULATOR, program, EMULATED_TIMES))
    ranges = {}
    for owner, name in LIBRARIES.items():
        if (owner == "library" or program.name == STORE):
            address, size = text_section(program.parent / name)
            ranges[owner] = range(run.bases[owner] + address, run.bases[owner] + address + size)
    wanted = ",".join([f"{r.start:#x}..{r.stop - 1:#x}" for r in ranges.values()] +
                      [f"{mark:#x}+4" for mark in run.marks])
    with tempfile.TemporaryDirectory() as folder:
        trace = Path(folder) / "trace"
        again = Run(output_of(*EMULATOR, "-singlestep", "-d", "exec,nochain", "-dfilter", wanted, "-D", trace,
                              program, EMULATED_TIMES))
        if again != run:
            sys.exit(f"{program.name}: the emulator loads it at varying addresses")
        return run, list(traced(trace, run.marks, ranges))


def traced(trace: Path, marks: tuple[int, int], ranges: dict[str, range]) -> Iterator[Counter]:
    """The executed instructions of each interval between the marks."""
    addresses: Counter[int] = Counter()
    with trace.open(encoding="ascii") as lines:
        for line in lines:
            if not line.startswith("Trace "):
                continue
            address = int(line.split("/", 2)[1], 16)
            if address == marks[1]:
                amounts: Counter = Counter()
                for at, times in addresses.items():
                    for owner, code in ranges.items():
                        if at in code:
                            amounts[owner] += times
                yield amounts
            if address in marks:
                addresses.clear()
            addresses[address] += 1


def instructions(folder: Path, program: str) -> dict[str, Amounts]:
    """Instructions per call, by operation and module."""
    run, counted = (by_emulator if processor_of(folder) == "aarch64" else by_callgrind)(folder / program)
    if len(counted) != len(run.times):
        sys.exit(f"{program}: {len(counted)} operations were counted, {len(run.times)} ran")
    return {name: {who: amount / times for who, amount in amounts.items()}
            for (name, times), amounts in zip(run.times.items(), counted)}


# ---- Code ---------------------------------------------------------------------------------------

def code_sizes(file: Path, tables: list[str]) -> dict[str, int]:
    """Bytes of code of each table's functions, attributed by name, and of shared functions, without
    the steps of clear<Length>, of which a long record has functions of its own."""
    camel = {"".join(map(str.capitalize, table.split("_"))): table for table in tables}
    longest_first = re.compile("|".join(sorted(camel, key=len, reverse=True)))
    sizes: dict[str, int] = dict.fromkeys(["shared", *tables], 0)
    seen = set()
    for line in output_of("readelf", "--syms", "--wide", file).splitlines():
        match line.split():
            case [_, address, size, "FUNC", _, _, section, name, *_] if section.isdigit():
                if address not in seen and "clearILm" not in name:
                    table = longest_first.search(name)
                    sizes[camel[table[0]] if table else "shared"] += int(size, 0)
                seen.add(address)
    return sizes


def jumps(folder: Path) -> dict[str, int]:
    """Counts jumps within functions and repeated string moves in record conversions, key builders and
    their callees: 0 for straight-line code."""
    tool = {"aarch64": "aarch64-linux-gnu-objdump", "x86_64": "objdump"}[processor_of(folder)]
    inner: Counter[str] = Counter()
    leads_to: dict[str, set[str]] = {}
    function = ""
    for line in output_of(tool, "-d", "--no-show-raw-insn", folder / LIBRARIES["library"]).splitlines():
        if match := re.match(r"\w+ <(\w+)>:", line):
            function = match[1]
            leads_to[function] = set()
        elif match := re.search(r"\t(?:j\w+|call|bl?(?:\.\w+)?|[ct]bn?z)\s.*<([^>+]+)(\+?)", line):
            if match[2]:
                inner[function] += 1
            else:
                leads_to[function].add(match[1])
        elif "\trep" in line:
            inner[function] += 1
    result = {}
    for kind, name in (("conversions", r"[SG]et(?:All|Svc)Fields"), ("keys", r"Set\w+Key")):
        reached: set[str] = set()
        coming = {found for found in leads_to if re.fullmatch(rf"L2VPN_DB_\w+?{name}", found)}
        while coming - reached:
            reached |= coming
            coming = set().union(*(leads_to.get(found, set()) for found in reached))
        result[kind] = sum(inner[found] for found in reached)
    return result
