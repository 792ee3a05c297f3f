#!/usr/bin/env python3
"""Compares the binary interface of a built library with that of the last release: types and all, as its debugging
information tells them.

  released.py check LIBRARY DUMP    fails when something was removed or changed; what was added is no matter
  released.py update LIBRARY DUMP   writes the dump anew: scripts/update-abi.sh, at a release
  released.py sees COMPILER         tries the comparison itself, with a small library and changes of it

A dump is what abidw writes, packed by xz. It holds for g++ and for 64-bit Linux.
"""
import lzma
import pathlib
import subprocess
import sys
import tempfile

IGNORED = pathlib.Path(__file__).resolve().parent / "internal.abignore"
EXPORTED = ["--exported-interfaces-only", "--suppressions", IGNORED]


def run(*command):
    return subprocess.run(list(map(str, command)), text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=200)


def dump(library):
    with tempfile.NamedTemporaryFile(suffix=".abi") as file:
        result = run("abidw", *EXPORTED, "--drop-undefined-syms", "--no-show-locs", "--no-corpus-path",
                     "--no-comp-dir-path", "--no-elf-needed", "--no-parameter-names", "--out-file", file.name, library)
        text = pathlib.Path(file.name).read_bytes()
    if result.returncode or b"<class-decl" not in text:
        sys.exit(f"{library} has no types to dump: is it built without debugging information?\n{result.stdout}")
    return text


def differences(library, dumped):
    """None, when an application of the dumped library works with this one."""
    with tempfile.NamedTemporaryFile(suffix=".abi") as file:
        file.write(dumped)
        file.flush()
        result = run("abidiff", "--no-added-syms", *EXPORTED, file.name, library)
    return result.stdout or f"abidiff: status {result.returncode}" if result.returncode else None


SMALL = """
#define API __attribute__((visibility("default")))
enum EMode : int { MODE_NONE, MODE_SOME };
struct API TSRecord { int first; EMode mode; };
class API TCInterface {
public:
    virtual ~TCInterface();
    virtual int Enter(unsigned char slot, TSRecord& record);
};
TCInterface::~TCInterface() = default;
int TCInterface::Enter(unsigned char, TSRecord&) { return 0; }
extern "C" API TCInterface* Instance() { return nullptr; }
extern "C" API int Count(EMode) { return 0; }
"""
CHANGES = [  # what becomes what; whether an application would notice
    ("", "", False),
    ("extern \"C\"", "API int More() { return 0; }\nextern \"C\"", False),
    ("MODE_SOME", "MODE_SOME, MODE_MORE", False),
    ("virtual int", "virtual void First() {}\n    virtual int", True),
    ("record);\n}", "record);\n    virtual void Last() {}\n}", True),
    ("int first;", "int first; long more;", True),
    ("int first;", "short first;", True),
    ("MODE_NONE,", "MODE_ANY, MODE_NONE,", True),
    ("int Count(", "long Count(", True),
    ("extern \"C\" API int Count(EMode) { return 0; }", "", True),
]


def sees(compiler):
    failures = []
    with tempfile.TemporaryDirectory(prefix="ciapi-abi-") as folder:
        library = pathlib.Path(folder, "libsmall.so")

        def build(source):
            pathlib.Path(folder, "small.cpp").write_text(source)
            result = run(compiler, "-g2", "-O1", "-shared", "-fPIC", "-fvisibility=hidden", f"{folder}/small.cpp", "-o",
                         library)
            assert result.returncode == 0, result.stdout

        build(SMALL)
        released = dump(library)
        for before, after, matters in CHANGES:
            assert before in SMALL
            build(SMALL.replace(before, after, 1))
            found = differences(library, released)
            if (found is not None) != matters:
                failures.append(f"{before!r} becomes {after!r}: {'not noticed' if matters else found}")
    return "\n".join(failures) or None


def main():
    match sys.argv[1:]:
        case ["check", library, path]:
            found = differences(library, lzma.decompress(pathlib.Path(path).read_bytes()))
            sys.exit(f"{found}\nWhat a new version may change, and when the dump is renewed: docs/abi.md" if found else 0)
        case ["update", library, path]:
            pathlib.Path(path).write_bytes(lzma.compress(dump(library), preset=9))
        case ["sees", compiler]:
            sys.exit(sees(compiler))
        case _:
            sys.exit(__doc__)


main()
