"""The manual pages, as man(1) shows them: without a warning, and saying what the programs and their sources say.

    manual_test.py SOURCES BUILD COMPILER
"""

import functools
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

SOURCES, BUILD = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
COMPILER = sys.argv[3]
PAGES = ["cictl.1", "ci-daemon-sim.1", "ciapi-scenario.5", "ciapi.7"]
PROGRAMS = ["cictl", "ci-daemon-sim"]

# Who reads an environment variable: the page that must tell it.
READERS = {
    "ciapi.7": ["src", "platform/src"],
    "cictl.1": ["tools/cictl"],
    "ci-daemon-sim.1": ["simulator", "privatebus"],
}


def run(*command, **options):
    return subprocess.run(list(map(str, command)), capture_output=True, text=True, timeout=60, **options)


@functools.cache
def shown(page):
    """The page on a screen that is wide enough to break no line, and what man has to say about it."""
    result = run("man", "--warnings", "-E", "UTF-8", "-l", BUILD / "man" / page,
                 env={**os.environ, "MANWIDTH": "1000", "LC_ALL": "C.UTF-8"})
    return result.stdout, result.stderr + ("" if result.returncode == 0 else f"status {result.returncode}")


def sections(text, indent=""):
    """What stands behind each heading that is indented so."""
    pieces = re.split(rf"(?m)^{indent}(\S.*)$", text)
    return dict(zip(pieces[1::2], pieces[2::2]))


def options_of(help_text):
    return set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", "\n".join(re.findall(r"(?m)^  ?(-\S+)", help_text))))


def texts_of(folders):
    for folder in folders:
        for file in (SOURCES / folder).rglob("*.cpp"):
            yield file.read_text()


class Manual(unittest.TestCase):
    def test_man_has_nothing_to_complain_of(self):
        for page in PAGES:
            text, complaints = shown(page)
            self.assertEqual(complaints, "", page)
            name, section = page.split(".")
            self.assertRegex(text, rf"^{name}\({section}\)")
            self.assertNotRegex(text, r"(?m)^@|\\[*_\[\]|<>#+`-]", "what is for scdoc is shown")

    def test_what_the_help_says_stands_in_the_page_and_no_more(self):
        for program in PROGRAMS:
            page = sections(shown(program + ".1")[0])
            general = options_of(run(BUILD / "bin" / program, "--help").stdout)
            self.assertEqual(general - set(re.findall(r"--[a-z-]+", page["OPTIONS"])), set(), program)
            known = set(general)
            commands = sections(page.get("COMMANDS") or page["VERBS"], "   ")
            self.assertEqual(list(commands), run(BUILD / "bin" / program, "--commands").stdout.split())
            for command, text in commands.items():
                options = options_of(run(BUILD / "bin" / program, command, "--help").stdout)
                known |= options
                told = set(re.findall(r"(?m)^ +(--[a-z-]+)", text))
                self.assertEqual(told, options - {"--help"}, f"{program} {command}")
            written = (SOURCES / f"docs/man/{program}.1.scd.in").read_text()
            self.assertEqual(set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", written)) - known, set(), program)

    def test_every_environment_variable_is_told_where_it_is_read(self):
        for page, folders in READERS.items():
            read = set()
            for text in texts_of(folders):
                read |= set(re.findall(r'(?:getenv|setenv|Variable|VariableOr)\("([A-Z_]+)"', text))
            self.assertGreater(len(read), 2, folders)
            told = sections(shown(page)[0])["ENVIRONMENT"]
            if "ciapi(7)" in told:  # the library's are told there
                told += sections(shown("ciapi.7")[0])["ENVIRONMENT"]
            told = set(re.findall(r"\b[A-Z][A-Z_]{3,}\b", told))
            self.assertEqual(read - told, set(), page)

    def test_what_is_shown_can_be_used(self):
        with tempfile.TemporaryDirectory() as folder:
            for page, file, command in [
                ("ciapi-scenario.5", "scenario.json", [BUILD / "bin/ci-daemon-sim", "check"]),
                ("ciapi.7", "main.cpp", [COMPILER, "-std=c++17", "-fsyntax-only", f"-I{SOURCES}/include",
                                         f"-I{SOURCES}/platform/include"]),
            ]:
                text = (SOURCES / f"docs/man/{page}.scd.in").read_text()
                [block] = re.findall(r"(?ms)^```\n(.*?)^```$", text)
                path = pathlib.Path(folder, file)
                path.write_text(block.replace("\\\\", "\\"))
                result = run(*command, path)
                self.assertEqual(result.returncode, 0, result.stdout + result.stderr)


unittest.main(argv=sys.argv[:1])
