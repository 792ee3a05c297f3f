"""The byte form of the argument tree, written from docs/protocol.md alone.

Nothing here is taken from the C++ code: a mistake that both sides of the bus share shows as a difference to this.

A type is one of
    1, 2, 4, 8            a plain value of so many bytes
    record NAME           a plain value of several numbers, one behind the other
    class NAME            an object, a field for each of its types
    vec(T), set(T)        a sequence, a set
    map(K, V)             a map
    string, wstring       a byte string, a string of 16-bit code units
"""

import re
import struct

VERSION = b"\x01\0\0\0"
LEAF, LIST, MAP = 1, 2, 3
DEEPEST = 16
FORMATS = {1: "b", 2: "h", 4: "i", 8: "q"}  # a value may be written signed or unsigned
order = "<"  # of the bytes of a number: the machine's, here little-endian


class TreeError(Exception):
    pass


class Types:
    """The plain records and the objects that a list of operations declares."""

    def __init__(self):
        self.records = {}
        self.classes = {}

    def parse(self, text):
        text = text.strip()
        if text in ("1", "2", "4", "8"):
            return ("plain", (int(text),))
        if text in ("string", "wstring"):
            return (text,)
        if text in self.records:
            return ("plain", self.records[text])
        if text in self.classes:
            return ("class", self.classes[text])
        match = re.fullmatch(r"(vec|set|map)\((.*)\)", text)
        if match is None:
            raise TreeError(f"no such type: {text}")
        return (match[1], *(self.parse(part) for part in split_outside_brackets(match[2], ",")))

    def parse_list(self, text):
        return [self.parse(part) for part in split_outside_brackets(text, ",")]

    def declare(self, kind, name, fields):
        if kind == "record":
            self.records[name] = tuple(int(width) for width in fields.split(","))
        else:
            self.classes[name] = self.parse_list(fields)


def split_outside_brackets(text, separator):
    parts, depth, part = [], 0, ""
    for character in text:
        depth += (character in "([{") - (character in ")]}")
        if character == separator and depth == 0:
            parts.append(part)
            part = ""
        else:
            part += character
    return parts + [part] if part.strip() else parts


def node(kind, tag, content):
    return struct.pack(order + "BBHI", kind, 0, tag, len(content)) + content


def plain(widths, value):
    values = value if isinstance(value, tuple) else (value,)
    if len(values) != len(widths):
        raise TreeError(f"{values} has not the members {widths}")
    return b"".join(
        struct.pack(order + (FORMATS[width] if number < 0 else FORMATS[width].upper()), number)
        for width, number in zip(widths, map(int, values))
    )


def code_units(text):
    return text.encode("utf-16-le" if order == "<" else "utf-16-be")


def encode(kind, tag, value):
    """The node of an argument, or of an object's field."""
    if kind[0] == "plain":
        return node(LEAF, tag, plain(kind[1], value))
    if kind[0] == "string":
        length = node(LEAF, 0, struct.pack(order + "I", len(value)))
        return node(MAP, tag, length + (node(LEAF, 1, value) if value else b""))
    if kind[0] == "wstring":
        return node(MAP, tag, node(LEAF, 0, code_units(value)) if value else b"")
    if kind[0] == "class":
        if not isinstance(value, tuple):
            value = (value,)
        if len(value) != len(kind[1]):
            raise TreeError(f"{value} is no object of {len(kind[1])} fields")
        return node(MAP, tag, b"".join(encode(k, t, v) for t, (k, v) in enumerate(zip(kind[1], value))))
    if kind[0] == "vec" and kind[1][0] == "plain":
        packed = b"".join(plain(kind[1][1], element) for element in value)
        return node(LIST, tag, node(LEAF, 0, packed) if packed else b"")
    if kind[0] == "map":
        return node(LIST, tag, b"".join(element(kind[1], k) + element(kind[2], v) for k, v in sorted(value.items())))
    elements = sorted(value) if kind[0] == "set" else value
    return node(LIST, tag, b"".join(element(kind[1], e) for e in elements))


def element(kind, value):
    """The node of a container's element, key or value."""
    if kind[0] == "string":
        return node(LEAF, 0, value)
    if kind[0] == "wstring":
        return node(LEAF, 0, code_units(value))
    return encode(kind, 0, value)


def root(tag, arguments):
    """The pieces of a payload: version, root header, and a piece for each argument."""
    return [VERSION, struct.pack(order + "BBHI", LIST, 0, tag & 0xFFFF, sum(map(len, arguments))), *arguments]


class Node:
    def __init__(self, kind, tag, content, children):
        self.kind, self.tag, self.content, self.children = kind, tag, content, children


def read(payload):
    """The root node of a payload, or a TreeError for each of the reasons to refuse one."""
    if payload[:4] != VERSION:
        raise TreeError("another version")
    nodes = read_nodes(payload[4:], 1)
    if len(nodes) != 1 or nodes[0].kind != LIST:
        raise TreeError("there has to be one root, a list branch")
    return nodes[0]


def read_nodes(content, depth):
    nodes, at = [], 0
    if content and depth > DEEPEST:
        raise TreeError("too deep")
    while at < len(content):
        if len(content) - at < 8:
            raise TreeError("a header is cut")
        kind, zero, tag, size = struct.unpack_from(order + "BBHI", content, at)
        if kind not in (LEAF, LIST, MAP) or zero != 0:
            raise TreeError("no header")
        at += 8
        if size > len(content) - at:
            raise TreeError("a content is cut")
        inner = content[at : at + size]
        nodes.append(Node(kind, tag, inner, [] if kind == LEAF else read_nodes(inner, depth + 1)))
        at += size
    return nodes


def check(kind, found, inside=False):
    """Whether a node has the form of this type, whatever its values are; a TreeError says what is wrong."""
    expected = {"plain": LEAF, "class": MAP, "string": LEAF if inside else MAP, "wstring": LEAF if inside else MAP}
    if found.kind != expected.get(kind[0], LIST):
        raise TreeError(f"node {found.tag} has type {found.kind}, not {kind[0]}'s")
    if kind[0] == "plain" and len(found.content) != sum(kind[1]):
        raise TreeError(f"node {found.tag} has {len(found.content)} bytes instead of {sum(kind[1])}")
    if kind[0] == "class":
        if [child.tag for child in found.children] != list(range(len(kind[1]))):
            raise TreeError(f"node {found.tag}: fields {[child.tag for child in found.children]}")
        for field, child in zip(kind[1], found.children):
            check(field, child)
    elif kind[0] == "vec" and kind[1][0] == "plain":
        if len(found.children) > 1 or any(len(leaf.content) % sum(kind[1][1]) for leaf in found.children):
            raise TreeError(f"node {found.tag} holds no packed elements")
    elif kind[0] in ("vec", "set", "map"):
        for number, child in enumerate(found.children):
            check(kind[1 + number % (len(kind) - 1)], child, inside=True)
