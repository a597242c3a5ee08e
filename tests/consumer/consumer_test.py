# SPDX-License-Identifier: MIT
"""Builds and runs programs outside the source tree against the installed files and against the Debian
packages of a second build."""

import argparse
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
SOURCE = HERE.parents[1]
DEBIAN_NAMES = {"x86_64-linux-gnu": "amd64", "aarch64-linux-gnu": "arm64"}
ARGUMENTS = None


def run(*command: object, **more) -> str:
    result = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, check=False, **more)
    if result.returncode != 0:
        raise AssertionError(f"{shlex.join(map(str, command))}\n{result.stdout}")
    return result.stdout


def toolchain() -> list[str]:
    return [f"-DCMAKE_TOOLCHAIN_FILE={ARGUMENTS.toolchain}"] if ARGUMENTS.toolchain else []


class Consumer(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def run_programs(self, programs: Path, libraries: Path) -> None:
        """Runs both programs with the given libraries."""
        emulator = ARGUMENTS.emulator
        where = {"LD_LIBRARY_PATH": str(libraries)}
        setting = ["-E", f"LD_LIBRARY_PATH={libraries}"] if emulator else []
        for program, expected in (("in_c", "vrIndex:1 pwTunnelId:2 "), ("in_cxx", "1 instance")):
            output = run(*emulator, *setting, programs / program,
                         env=os.environ if emulator else {**os.environ, **where})
            self.assertTrue(output.startswith(expected), output)

    def use_cmake(self, prefix: Path, libraries: Path) -> None:
        build = self.folder / "with_cmake"
        run("cmake", "-S", HERE, "-B", build, "-G", "Ninja", *toolchain(),
            f"-DCMAKE_FIND_ROOT_PATH={prefix}", f"-DCMAKE_PREFIX_PATH={prefix}")
        run("cmake", "--build", build)
        self.run_programs(build, libraries)

    def use_pkg_config(self, libraries: Path) -> None:
        build = self.folder / "with_pkg_config"
        build.mkdir()
        flags = run("pkg-config", "--cflags", "--libs", "l2vpn_platform",
                    env={**os.environ, "PKG_CONFIG_PATH": str(libraries / "pkgconfig")}).split()
        run(ARGUMENTS.cc, "-std=c11", "-Wl,--as-needed", HERE / "in_c.c", *flags,
            "-o", build / "in_c")
        run(ARGUMENTS.cxx, "-std=c++20", "-Wl,--as-needed", HERE / "in_cxx.cpp", *flags,
            "-o", build / "in_cxx")
        self.run_programs(build, libraries)

    def use_debugger(self, prefix: Path) -> None:
        """A gdb in the same prefix loads the printers automatically."""
        scripts = prefix / "share/gdb/auto-load"
        output = run("gdb", "--batch", "-nx", "-iex", f"set auto-load scripts-directory {scripts}",
                     "-iex", f"set auto-load safe-path {scripts}", "-ex", "info pretty-printer",
                     prefix / "lib/libl2vpn_db.so")
        self.assertRegex(output, r"objfile .*/libl2vpn_db\.so.* pretty-printers:\n +l2vpn_db")

    def use_readme(self, prefix: Path) -> None:
        """The commands of README.md's section "Installed", with the test's prefix and compiler."""
        section = (SOURCE / "README.md").read_text(encoding="utf-8").split("\n## Installed\n")[1].split("\n## ")[0]
        section = section.replace("/opt/l2vpn", str(prefix)).replace("    cc ", f"    {ARGUMENTS.cc} ")
        folder = self.folder / "readme"
        folder.mkdir()
        shutil.copy(SOURCE / "examples/first_steps.c", folder / "service.c")
        commands = re.search(r"((?:^    .*\n)+)^    \./service\n", section, re.M)[1]
        run("sh", "-e", "-c", commands, cwd=folder)
        (folder / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.25)\nproject(service LANGUAGES C)\nadd_executable(service service.c)\n"
            + re.search(r"```cmake\n(.*?)```", section, re.S)[1], encoding="utf-8")
        configure = shlex.split(re.search(r"`(cmake -D\S+)`", section)[1])
        run(*configure, "-S", ".", "-B", "build", *toolchain(), f"-DCMAKE_FIND_ROOT_PATH={prefix}", cwd=folder)
        run("cmake", "--build", folder / "build")
        for program in (folder / "service", folder / "build/service"):
            self.assertRegex(run(*ARGUMENTS.emulator, program), "^vrIndex:1, pwTunnelId:7001, .*, batchVersion:2\n")

        configure = shlex.split(re.search(r"`(cmake -S .*)`", section)[1])
        run(*configure, *toolchain(), f"-DCMAKE_FIND_ROOT_PATH={prefix}", cwd=self.folder)
        run("cmake", "--build", self.folder / "examples")
        expected = (SOURCE / "tests/examples/provisioning.txt").read_text(encoding="utf-8")
        for name in ("provisioning", "provisioning_cxx"):
            self.assertEqual(run(*ARGUMENTS.emulator, self.folder / "examples" / name), expected)

    def test_installed_prefix(self) -> None:
        prefix = self.folder / "prefix"
        run("cmake", "--install", ARGUMENTS.build, "--prefix", prefix)
        self.use_cmake(prefix, prefix / "lib")
        self.use_pkg_config(prefix / "lib")
        self.use_readme(prefix)
        if not ARGUMENTS.emulator:
            self.use_debugger(prefix)

    def test_second_build_and_its_packages(self) -> None:
        # The build is reproducible: paths of other names and depths do not change the libraries.
        source = self.folder / "somewhere" / "else"
        build = self.folder / "of" / "another" / "depth"
        shutil.copytree(SOURCE, source, ignore=shutil.ignore_patterns("build", ".git"))
        header = next((source / "include/l2vpn_db").glob("l2vpn_*_*.h"))
        header.unlink()
        run("cmake", "-S", source, "-B", build, "-G", "Ninja", *toolchain(),
            f"-DCMAKE_BUILD_TYPE={ARGUMENTS.build_type}", "-DBUILD_TESTING=OFF",
            f"-DCMAKE_INSTALL_LIBDIR=lib/{ARGUMENTS.multiarch}")
        self.assertFalse(header.exists(), "the configuration wrote a header")
        run("cmake", "--build", build, "--target", "l2vpn_db", "l2vpn_platform")
        self.assertTrue(header.exists())
        for name in ("libl2vpn_db.so", "libl2vpn_platform.so"):
            self.assertTrue((ARGUMENTS.build / name).read_bytes() == (build / name).read_bytes(),
                            f"{name}: two builds differ")

        run("cpack", "--config", build / "CPackConfig.cmake", "-B", self.folder / "packages",
            "-D", "CPACK_COMPONENTS_ALL=l2vpn_db;l2vpn_platform;development")
        packages = sorted((self.folder / "packages").glob("*.deb"))
        names = [run("dpkg-deb", "-f", package, "Package", "Architecture").split()[1::2]
                 for package in packages]
        architecture = DEBIAN_NAMES[ARGUMENTS.multiarch]
        self.assertEqual(names, [[name, architecture] for name in
                                 ("libl2vpn-db-dev", "libl2vpn-db0", "libl2vpn-platform0")])
        version = (SOURCE / "VERSION").read_text(encoding="utf-8").strip()
        self.assertEqual(run("dpkg-deb", "-f", packages[0], "Depends").strip(),
                         f"libl2vpn-db0 (= {version}), libl2vpn-platform0 (= {version})")
        # Any lintian tag is a failure.
        self.assertEqual(run("lintian", "--allow-root", *packages), "")
        system = self.folder / "system"
        for package in packages:
            run("dpkg-deb", "-x", package, system)
        libraries = system / "usr" / "lib" / ARGUMENTS.multiarch
        printers = f"share/gdb/auto-load/usr/lib/{ARGUMENTS.multiarch}/libl2vpn_db.so.{version}-gdb.py"
        for path in (printers, "share/man/man3/l2vpn_db.3.gz", "share/doc/libl2vpn-db-dev/examples/provisioning.c"):
            self.assertTrue((system / "usr" / path).is_file(), path)
        self.use_cmake(system / "usr", libraries)
        self.use_pkg_config(libraries)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--build-type", required=True)
    parser.add_argument("--multiarch", required=True, help="Debian's name of the architecture's folder")
    parser.add_argument("--cc", required=True)
    parser.add_argument("--cxx", required=True)
    parser.add_argument("--toolchain", type=str, default="")
    parser.add_argument("--emulator", nargs=argparse.REMAINDER, default=[], help="and its arguments: the last option")
    ARGUMENTS = parser.parse_args()
    unittest.main(argv=sys.argv[:1], verbosity=2)
