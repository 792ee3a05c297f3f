#!/usr/bin/env python3
"""Writes the first inputs of the fuzzers: every call of tests/golden/golden.txt as it stands on the wire, and what the
shipped scenarios do. See README.md for how the corpora in the repository are made from them.

usage: fuzz/seeds.py FOLDER [CICTL]    with CICTL, a cictl that was built, the calls as JSON, too
"""
import json
import pathlib
import re
import struct
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
# As the table of interfaces has them: fuzzers choose an operation by its place.
INTERFACES = ["ICIGeneral", "ICIAppMMI", "ICIOperatorProfile", "IPvrCip", "ICIDebug", "ICIAuxiliaryFileSystem",
              "ICISignalSubscriber", "ICICAMPlayer", "ICISampleDecryption"]
CALL, RETURN, ERROR, SIGNAL = 1, 2, 3, 4


class Writer:
    """D-Bus's own form of values, little-endian."""

    def __init__(self):
        self.bytes = bytearray()

    def align(self, size):
        self.bytes += bytes(-len(self.bytes) % size)

    def put(self, kind, value):
        if kind == "y":
            self.bytes.append(value)
        elif kind in "iu":
            self.align(4)
            self.bytes += struct.pack("<" + {"i": "i", "u": "I"}[kind], value)
        elif kind in "so":
            text = value.encode()
            self.put("u", len(text))
            self.bytes += text + b"\0"
        elif kind == "g":
            self.bytes += bytes([len(value)]) + value.encode() + b"\0"
        else:  # "ay"
            self.put("u", len(value))
            self.bytes += value


def message(kind, serial, fields, arguments, flags=0):
    """A message. fields: {code: (type, value)}, arguments: [(type, value)]"""
    body = Writer()
    for argument in arguments:
        body.put(*argument)
    if arguments:
        fields = fields | {8: ("g", "".join(kind for kind, _ in arguments))}
    array = Writer()
    for code, (field_kind, value) in fields.items():
        array.align(8)
        array.put("y", code)
        array.put("g", field_kind)
        array.put(field_kind, value)
    head = Writer()
    head.bytes += bytes([ord("l"), kind, flags, 1])
    head.put("u", len(body.bytes))
    head.put("u", serial)
    head.put("u", len(array.bytes))
    head.bytes += array.bytes
    head.align(8)
    return bytes(head.bytes + body.bytes)


def call(interface, identifier, payload, serial, one_way=False, hello=False):
    flags = (1 if one_way else 0) | (2 if hello else 0)
    arguments = [("i", flags << 16 | identifier), ("i", len(payload)), ("i", 4711)]
    arguments += [("s", "tv-app")] if hello else []
    arguments += [("ay", payload)] if payload else []
    fields = {1: ("o", "/com/kelvora/Object"), 2: ("s", "com.kelvora.ciapi." + interface), 3: ("s", "MethodCall"),
              6: ("s", "com.kelvora.ciapi." + interface), 7: ("s", ":1.7")}
    return message(CALL, serial, fields, arguments, 1 if one_way else 0)


def reply(payload, serial, status=1):
    return message(RETURN, 90, {5: ("u", serial), 6: ("s", ":1.7"), 7: ("s", ":1.2")},
                   [("y", status), ("i", len(payload)), ("ay", payload)])


def error(name, text, serial):
    return message(ERROR, 91, {4: ("s", name), 5: ("u", serial), 6: ("s", ":1.7")}, [("s", text)])


def control(member, arguments):
    return message(CALL, 5, {1: ("o", "/com/kelvora/cisim"), 2: ("s", "com.kelvora.cisim.Control"), 3: ("s", member),
                             7: ("s", ":1.9")}, arguments)


def signal(interface, member, has_handle, payload, identifier="1281"):
    arguments = [("s", identifier)] + ([("s", "65537")] if has_handle else [])
    return message(SIGNAL, 3, {1: ("o", "/com/kelvora/ciapi/SignalObject"), 2: ("s", interface), 3: ("s", member),
                               7: ("s", ":1.2")}, arguments + [("i", len(payload)), ("ay", payload)])


def golden():
    """[(interface, identifier, what, payload)], sorted as the tables are."""
    rows = []
    for line in (ROOT / "tests/golden/golden.txt").read_text().splitlines():
        if not line.startswith("#") and line:
            interface, identifier, _, what, form = line.split()
            rows.append((interface, int(identifier), what.split("/")[0], bytes.fromhex(form.replace("|", ""))))
    return sorted(rows, key=lambda row: (INTERFACES.index(row[0]), row[1]))


def scenarios():
    """The shipped ones, as JSON."""
    for file in sorted((ROOT / "simulator/scenarios").glob("*.json")):
        yield file.stem, json.loads(re.sub(r"(^|\s)//.*$", "", file.read_text(), flags=re.M))


class Seeds:
    def __init__(self, folder):
        self.folder = folder

    def add(self, target, name, content):
        place = self.folder / f"{target}_fuzzer"
        place.mkdir(parents=True, exist_ok=True)
        (place / name).write_bytes(content if isinstance(content, bytes) else content.encode())


def from_golden(seeds, cictl):
    index, last = -1, None
    for interface, identifier, what, payload in golden():
        index += (interface, identifier) != last
        last = (interface, identifier)
        name = f"{interface}-{identifier}-{what}"
        is_reply = what == "reply"
        seeds.add("value", name, bytes([index, 4 if is_reply else 3]) + payload)
        seeds.add("tree", name, bytes([index]) + payload)
        if is_reply:
            seeds.add("answer", name, bytes([index]) + payload)
            seeds.add("reply", name, reply(payload, 1))
            seeds.add("trace", name, b"\0" + call(interface, identifier, request, 8) + reply(payload, 8))
        else:
            request = payload
            seeds.add("call", name, call(interface, identifier, payload, 8, hello=index % 2 == 0))
        if cictl:
            shown = subprocess.run([cictl, "decode", "--json", interface, payload.hex()] + ["--reply"] * is_reply,
                                   stdout=subprocess.PIPE, check=False)
            value = json.loads(shown.stdout)
            if is_reply:
                value = {key: value[key] for key in ("result", "outputs") if key in value}
            else:
                value = value.get("arguments", {})
                words = [text if isinstance(text, str) else json.dumps(text) for text in value.values()]
                seeds.add("value", "words-" + name, bytes([index, 2]) + "\n".join(words).encode())
            seeds.add("value", "json-" + name, bytes([index, 1 if is_reply else 0]) + json.dumps(value).encode())
    for interface in INTERFACES:
        calls = [row for row in golden() if row[0] == interface and row[2] == "request"]
        seeds.add("call", "all-" + interface,
                  b"".join(call(interface, row[1], row[3], number + 1) for number, row in enumerate(calls[:20])))


def from_scenarios(seeds):
    for name, scenario in scenarios():
        lines = []
        for step in scenario["timeline"]:
            (verb, value), = step.items()
            if verb in ("wait", "advance", "at"):
                lines.append(str(value))
            elif verb == "fault":
                lines.append(json.dumps(value))
                seeds.add("call", f"fault-{name}-{len(lines)}", control("AddFault", [("s", json.dumps(value))]) +
                          call("ICIGeneral", 28, bytes.fromhex("0100000002001c0000000000"), 1))
            elif not verb.startswith(("wait-", "expect-")) and verb not in ("clear-faults", "end"):
                lines.append(verb + " " + json.dumps(value))
                lines.append("2000")
        if lines:
            seeds.add("control", name, "\n".join(lines))


def by_hand(seeds):
    data = bytes(range(8)) + struct.pack("<iHH", 1, 1, 0)
    for member, has_handle in [("Signal", True), ("PipelineSignal", True), ("Data", False), ("Ht", True)]:
        seeds.add("signal", member, signal("com.kelvora.Signals", member, has_handle, data))
        seeds.add("signal", member + "-long", signal("com.kelvora.Signals", member, has_handle, data * 80))
        seeds.add("trace", member, b"\1" + signal("com.kelvora.ciapi.SignalIFace", member, has_handle, data))
    seeds.add("signal", "short", signal("com.kelvora.Signals", "Signal", True, data[:15]))
    seeds.add("signal", "text", signal("com.kelvora.Signals", "Signal", True, data, "seventeen"))
    for status in (0, 0x80, 0x81):
        seeds.add("reply", f"status-{status}", reply(data, 1, status))
    for number, name in enumerate(["NoReply", "ServiceUnknown"]):
        seeds.add("reply", name, error("org.freedesktop.DBus.Error." + name, "Grüße " * 60, 1))
    seeds.add("call", "verbs", control("RemoveCam", [("y", 0)]) + control("State", []) +
              control("InsertCam", [("y", 0), ("s", "plus")]) + control("Introspect", []))
    profile = struct.pack(">IIIIHHIII", 1, 2, 0, 2, 65, 66, 1, 3, 1)
    seeds.add("profile", "two", struct.pack(">I", 2) + profile + profile)
    seeds.add("profile", "cut", struct.pack(">I", 1) + profile[:20])
    seeds.add("profile_text", "three", "0x00 0xff 7f ")
    seeds.add("profile_text", "wrong", "0x00 0xfg 11111111111111111")
    seeds.add("keyfile", "number", "com.kelvora/featureconf/tv_model_type\n[com.kelvora/featureconf]\ntv_model_type=5\n")
    seeds.add("keyfile", "flag", "a/b\n# set\n[a]\nb=true\nc=12 \n")
    seeds.add("keyfile", "broken", "a/b\n[a]\nb=12x\n[a\nb")
    seeds.add("busname", "usual", b"\xff:1.42")
    seeds.add("busname", "long", b"\x40:1." + b"4" * 200)


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    seeds = Seeds(pathlib.Path(sys.argv[1]))
    from_golden(seeds, sys.argv[2] if len(sys.argv) == 3 else None)
    from_scenarios(seeds)
    by_hand(seeds)


if __name__ == "__main__":
    main()
