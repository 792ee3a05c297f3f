#!/usr/bin/env python3
"""Compares the binary interface of the built library with the lists beside this file.

  check_abi.py slots LIBRARY    order and signatures of virtual operations, read from the vtables, against slots.txt
  check_abi.py exports LIBRARY  exported symbols, both ways, against exports.txt
  check_abi.py load LIBRARY     nothing of it runs when it is loaded: no source file has constructors
  check_abi.py layout PROGRAM   how records lie in memory, as the program says, against layout.txt
  check_abi.py update-exports LIBRARY
                                writes exports.txt anew, after symbols were added (or removed, with a new SOVERSION)

slots.txt and layout.txt are kept by hand: a new operation goes to the end of its interface, and nothing else changes
without a new SOVERSION. They hold for 64-bit Linux with libstdc++.
"""
import pathlib
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent

DESTRUCTOR = re.compile(r"D[012]Ev$")


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def demangle(names):
    return subprocess.run(["c++filt"], input="\n".join(names), check=True, capture_output=True,
                          text=True).stdout.splitlines()


def plain(name):
    """A demangled name as one writes it: default template arguments and the library's namespace go."""
    for default in ("std::less<", "std::allocator<", "std::char_traits<"):
        while (begin := name.find(", " + default)) >= 0:
            end, depth = name.index("<", begin), 0
            while True:
                depth += {"<": 1, ">": -1}.get(name[end], 0)
                end += 1
                if depth == 0:
                    break
            name = name[:begin] + name[end:].lstrip(" ")
    name = name.replace("std::__cxx11::", "std::").replace("CIM::", "").replace("> >", ">>").replace("> >", ">>")
    return name.replace("std::basic_string<char>", "std::string")


def operation(demangled):
    name, parenthesis, parameters = demangled.partition("(")
    return plain(name.rsplit("::", 1)[-1] + parenthesis + parameters)


def words(library):
    """What stands at an address of the library as a file, as a number of eight bytes."""
    data = pathlib.Path(library).read_bytes()
    segments = []
    for line in run("readelf", "--wide", "--segments", library).splitlines():
        field = line.split()
        if field[:1] == ["LOAD"]:
            offset, address, size = (int(field[index], 16) for index in (1, 2, 4))
            segments.append((address, address + size, offset - address))

    def word(address):
        shift = next(shift for begin, end, shift in segments if begin <= address < end)
        return int.from_bytes(data[address + shift:address + shift + 8], sys.byteorder)
    return word


def vtables(library):
    """Class name to its virtual operations in slot order, for each class whose vtable is in the library."""
    functions, tables, slots = {}, {}, {}  # address to names; name to address and size; place to names
    for line in run("readelf", "--wide", "--symbols", library).splitlines():
        field = line.split()
        if len(field) == 8 and field[0].rstrip(":").isdigit() and field[6] != "UND":
            if field[7].startswith("_ZTV"):
                tables[field[7]] = (int(field[1], 16), int(field[2], 0))
            elif field[3] == "FUNC":
                functions.setdefault(int(field[1], 16), set()).add(field[7])
    word = words(library)
    for line in run("readelf", "--wide", "--relocs", library).splitlines():
        field = line.split()
        if len(field) == 1 and len(field[0]) == 16:  # a function inside the library, packed
            slots[int(field[0], 16)] = functions.get(word(int(field[0], 16)), set())
        elif len(field) == 4 and field[2].endswith("_RELATIVE"):  # a function inside the library
            slots[int(field[0], 16)] = functions.get(int(field[3], 16), set())
        elif len(field) > 4 and field[2].endswith(("_64", "_ABS64")):  # one found by its name
            slots[int(field[0], 16)] = {field[4].partition("@")[0]}
    result = {}
    for owner, table in zip(demangle(tables), tables):
        # Where the compiler merged equal functions, one place has several names: the class's own one counts.
        own = table.removeprefix("_ZTV").removesuffix("E")
        address, size = tables[table]
        names = [max(sorted(slots.get(place, set())), default="nothing",
                     key=lambda name: (bool(DESTRUCTOR.search(name)), own in name.replace("_ZNK", "_ZN")))
                 for place in range(address + 16, address + size, 8)]  # behind offset and type information
        operations = ["destructor" if DESTRUCTOR.search(name) else operation(text)
                      for name, text in zip(names, demangle(names))]
        # A destructor has two slots, for complete and for deleted objects.
        result[plain(owner.removeprefix("vtable for "))] = [
            text for number, text in enumerate(operations)
            if text != "destructor" or operations[number - 1:number] != ["destructor"]]
    return result


def check_slots(library):
    built, failures = vtables(library), 0
    for block in (HERE / "slots.txt").read_text().split("\n\n"):
        lines = [line for line in block.splitlines() if not line.startswith("#")]
        if not lines:
            continue
        name, expected = lines[0], [line.strip() for line in lines[1:]]
        slots = built.get(name)
        if slots != expected:
            failures += 1
            print(f"{name}: slots differ" if slots else f"{name}: no such vtable; is the library stripped?")
            for number in range(max(len(expected), len(slots or []))):
                want = expected[number] if number < len(expected) else "nothing"
                have = slots[number] if slots and number < len(slots) else "nothing"
                if want != have:
                    print(f"  {number}: listed {want}\n     built  {have}")
    return failures


def exports(library):
    lines = run("nm", "--dynamic", "--defined-only", "--demangle", library).splitlines()
    names = {line.split(" ", 2)[2] for line in lines}
    # An interface's own vtable, which nothing points at, is there only when the optimiser leaves a use of it.
    return {name for name in names if not name.startswith("vtable for CIM::I")}


def check_load(library):
    constructors = [line.split()[-1] for line in run("nm", library).splitlines() if "_GLOBAL__sub_I_" in line]
    for name in constructors:
        print(f"runs at load: {name.removeprefix('_GLOBAL__sub_I_')}")
    return len(constructors)


def differences(list_name, built, gone, new):
    listed = set((HERE / list_name).read_text().splitlines())
    for line in sorted(listed - built):
        print(f"{gone}: {line}")
    for line in sorted(built - listed):
        print(f"{new}: {line}")
    return len(listed ^ built)


def main():
    if len(sys.argv) != 3 or sys.argv[1] not in ("slots", "exports", "load", "layout", "update-exports"):
        sys.exit(__doc__)
    action, binary = sys.argv[1:]
    if action == "update-exports":
        (HERE / "exports.txt").write_text("".join(name + "\n" for name in sorted(exports(binary))))
    elif action == "slots":
        sys.exit(check_slots(binary) != 0)
    elif action == "load":
        sys.exit(check_load(binary) != 0)
    elif action == "exports":
        sys.exit(differences("exports.txt", exports(binary), "no longer exported", "exported and not listed") != 0)
    else:
        sys.exit(differences("layout.txt", set(run(binary).splitlines()), "listed", "built") != 0)


main()
