#!/usr/bin/env python3
"""Writes golden.txt, the bytes of a request and a reply of every operation, from operations.txt.

    encode.py                     writes golden.txt
    encode.py --check             fails when golden.txt is not what would be written
    encode.py --big-endian FILE   writes what a big-endian machine sends
"""

import ast
import pathlib
import re
import sys

import argument_tree
from argument_tree import TreeError, Types, encode, read, root, split_outside_brackets

FOLDER = pathlib.Path(__file__).resolve().parent


class Argument:
    """One pushed argument: its position is its tag."""

    def __init__(self, types, position, text):
        match = re.fullmatch(r"\s*(out|in-out|in) (.*?) = (.*)", text)
        if match is None:
            raise TreeError(f"no argument: {text}")
        values = match[3].split(" -> ")
        if len(values) != (2 if match[1] == "in-out" else 1):
            raise TreeError(f"one value, or two for an argument that goes both ways: {text}")
        self.position, self.kind = position, types.parse(match[2])
        self.sent, self.answered = "in" in match[1], "out" in match[1]
        self.first, self.last = ast.literal_eval(values[0].strip()), ast.literal_eval(values[-1].strip())

    def request(self):
        return encode(self.kind, self.position, self.first)

    def reply(self):
        return encode(self.kind, self.position, self.last)


class Operation:
    def __init__(self, types, interface, line):
        head, *arguments = split_outside_brackets(line, "|")
        identifier, self.name, *rest = head.split()
        self.interface, self.id, self.may_be_one_way = interface, int(identifier), rest == ["one-way"]
        self.arguments = [Argument(types, position, text.strip()) for position, text in enumerate(arguments)]

    def request(self):
        return root(self.id, [argument.request() for argument in self.arguments if argument.sent])

    def reply(self):
        return root(self.id, [argument.reply() for argument in self.arguments if argument.answered])


def operations():
    """Every operation of operations.txt, and the bus name of each interface."""
    types, names, found, interface = Types(), {}, [], None
    for number, line in enumerate((FOLDER / "operations.txt").read_text().splitlines(), 1):
        line = line.split("#")[0].strip()
        try:
            if match := re.fullmatch(r"(record|class) (\w+) : (.*)", line):
                types.declare(*match.groups())
            elif match := re.fullmatch(r"interface (\w+) (\S+)", line):
                interface = match[1]
                names[interface] = match[2]
            elif line:
                found.append(Operation(types, interface, line))
        except (TreeError, ValueError, SyntaxError) as error:
            sys.exit(f"operations.txt:{number}: {error}")
    return names, found


def golden():
    lines = ["# Written by encode.py from operations.txt: interface, identifier, name, what, bytes with a bar between",
             "# version, root and arguments."]
    for operation in operations()[1]:
        for what, pieces in (("request", operation.request()), ("reply", operation.reply())):
            if what == "request" and operation.may_be_one_way:
                what = "request/one-way"
            read(b"".join(pieces))
            text = "|".join(piece.hex() for piece in pieces)
            lines.append(f"{operation.interface} {operation.id} {operation.name} {what} {text}")
    return "\n".join(lines) + "\n"


def main():
    path = FOLDER / "golden.txt"
    if sys.argv[1:] == ["--check"]:
        for old, new in zip(path.read_text().splitlines() + [""], golden().splitlines() + [""]):
            if old != new:
                sys.exit(f"golden.txt is not what encode.py writes:\n- {old}\n+ {new}")
    elif sys.argv[1:2] == ["--big-endian"] and len(sys.argv) == 3:
        argument_tree.order = ">"
        pathlib.Path(sys.argv[2]).write_text(golden())
    else:
        path.write_text(golden())


if __name__ == "__main__":
    main()
