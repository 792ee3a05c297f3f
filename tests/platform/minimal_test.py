"""A second platform library: the library is built against tests/platform/minimal and calls a simulated daemon.

    minimal_test.py SOURCES CMAKE COMPILER LAUNCHER SIMULATOR   LAUNCHER: of the compiler; may be empty
    minimal_test.py update SOURCES                              writes the headers into docs/platform.md anew

docs/platform.md shows the minimal platform's headers. They hold what the library needs, all of it, or it would not
build, and nothing else, which is what is looked at here.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

UPDATES = sys.argv[1] == "update"
SOURCES = pathlib.Path(sys.argv[2 if UPDATES else 1])
MINIMAL = SOURCES / "tests/platform/minimal"
PAGE = SOURCES / "docs/platform.md"
HEADERS = {header.name: header.read_text() for header in sorted((MINIMAL / "include/tvplatform").iterdir())}
BLOCK = re.compile(r"(### `tvplatform/(\w+\.h)`\n\n```cpp\n)(.*?)(```\n)", re.S)

# Names that only the headers themselves need: of an argument's type, of a friend.
OWN_NAMES = {"ETreeData", "TCTreeBytes"}
# What the library reaches through a table of virtual functions alone.
OVERRIDES = {"TSTvMode::ClassToTree(TCTreeBranch&)", "TSTvMode::TreeToClass(TCTreeBranch&)"}


def shown(header):
    return re.sub(r"#pragma once\n+", "", HEADERS[header])


def run(*command, **options):
    return subprocess.run(list(map(str, command)), text=True, timeout=580, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **options)


def must(*command, **options):
    result = run(*command, **options)
    assert result.returncode == 0, f"{command}: {result.returncode}\n{result.stdout}"
    return result.stdout


def functions(library, *which):
    """Of the dynamic symbols, the functions that are no copies of inline ones, and what is undefined."""
    lines = must("nm", "--dynamic", "--demangle", *which, library).splitlines()
    return {match[1].partition("@")[0] for line in lines if (match := re.search(r" [TU] (.*)", line))}


class Minimal(unittest.TestCase):
    def test_the_page_shows_the_headers(self):
        blocks = {name: text for _, name, text, _ in BLOCK.findall(PAGE.read_text())}
        self.assertEqual(list(blocks), list(HEADERS))
        for name, text in blocks.items():
            self.assertEqual(text, shown(name), f"{name}: minimal_test.py update writes it")

    def test_the_sources_need_these_headers_and_names(self):
        text = "\n".join(file.read_text() for folder in ("src", "include") for file in (SOURCES / folder).rglob("*.*"))
        self.assertEqual(set(re.findall(r"#include <tvplatform/(\S+)>", text)), set(HEADERS))
        words = set(re.findall(r"\w+", text))
        for name, header in HEADERS.items():
            header = re.sub(r"//.*|#.*", "", header)
            # Types, functions, enumerators: no keywords, arguments and members.
            names = set(re.findall(r"\b[A-Z]\w{3,}\b|\b(?!m_)[a-z]+_\w+(?=\()", header)) - OWN_NAMES
            self.assertEqual(names - words, set(), f"{name} has what the library does not need")

    def test_the_library_takes_every_function_and_works(self):
        cmake, compiler, launcher, simulator = sys.argv[2:]
        with tempfile.TemporaryDirectory(prefix="ciapi-platform-") as folder:
            folder = pathlib.Path(folder)
            platform = folder / "libtvplatform.so"
            must(*([launcher] if launcher else []), compiler, "-std=c++17", "-Wall", "-Wextra", "-Werror", "-shared",
                 "-fPIC", f"-I{MINIMAL}/include", *sorted(MINIMAL.glob("*.cpp")), "-o", platform)
            # Without optimisation, so that what the library takes does not depend on what a compiler sees through.
            must(cmake, "-G", "Ninja", "-S", SOURCES, "-B", folder / "build", f"-DCMAKE_CXX_COMPILER={compiler}",
                 f"-DCMAKE_CXX_COMPILER_LAUNCHER={launcher}", "-DCMAKE_BUILD_TYPE=Debug",
                 "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DCIAPI_WERROR=ON", "-DCIAPI_PLATFORM=system",
                 f"-DTVPLATFORM_INCLUDE_DIR={MINIMAL}/include", f"-DTVPLATFORM_LIBRARY={platform}",
                 "-DCIAPI_BUILD_TOOLS=OFF", "-DCIAPI_BUILD_TESTS=OFF")
            must(cmake, "--build", folder / "build", "-j", os.cpu_count())

            given = functions(platform, "--defined-only")
            taken = functions(folder / "build/lib/libciapi.so", "--undefined-only")
            self.assertEqual(given - taken, OVERRIDES, "what the minimal platform gives and the library does not take")

            tour = run(simulator, "run", "--", folder / "build/bin/example-tour")
            self.assertEqual(tour.returncode, 0, tour.stdout)
            self.assertIn("4 CI_API: ", tour.stdout, "the lines of the minimal platform's log")


def update():
    PAGE.write_text(BLOCK.sub(lambda block: block[1] + shown(block[2]) + block[4], PAGE.read_text()))


update() if UPDATES else unittest.main(argv=sys.argv[:1])
