"""Watches the bus while a program calls every operation once, and compares what went over it with what is documented.

    ci-daemon-sim run -- outside_test.py all_calls

Nothing here is the library's: the bus is watched by dbus-monitor, and the argument trees are read by the encoder of the
golden bytes.
"""

import os
import pathlib
import queue
import struct
import subprocess
import sys
import threading

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "golden"))

import argument_tree
import encode

BOUND = 20  # seconds
METHOD_CALL, NO_REPLY = 1, 1
ONE_WAY, HELLO = 1, 2


class Reader:
    """The basic types of a little-endian D-Bus message."""

    def __init__(self, data):
        self.data, self.at = data, 0

    def align(self, size):
        self.at += -self.at % size

    def number(self, code):
        size = struct.calcsize(code)
        self.align(size)
        (value,) = struct.unpack_from("<" + code, self.data, self.at)
        self.at += size
        return value

    def text(self, length_code):
        length = self.number(length_code)
        value = self.data[self.at : self.at + length].decode()
        self.at += length + 1
        return value

    def value(self, signature):
        if signature == "ay":
            length = self.number("I")
            value = self.data[self.at : self.at + length]
            self.at += length
            return value
        if signature in "so":
            return self.text("I")
        return self.text("B") if signature == "g" else self.number({"y": "B", "i": "i", "u": "I"}[signature])


class Message:
    """A message of the bus: its type, flags, header fields by number, and body."""

    PATH, INTERFACE, MEMBER, DESTINATION, SIGNATURE = 1, 2, 3, 6, 8

    def __init__(self, data):
        if data[:1] != b"l":
            sys.exit("this test reads messages in the byte order of little-endian machines only")
        reader = Reader(data)
        _, self.type, self.flags, _ = (reader.number("B") for _ in range(4))
        reader.number("I")
        reader.number("I")
        end = reader.number("I") + reader.at
        self.fields = {}
        while reader.at < end:
            reader.align(8)
            field = reader.number("B")
            self.fields[field] = reader.value(reader.text("B"))
        reader.align(8)
        self.body = []
        if self.type == METHOD_CALL:
            body = Reader(data[reader.at :])
            signature = self.fields.get(self.SIGNATURE, "").replace("ay", "A")
            self.body = [body.value("ay" if kind == "A" else kind) for kind in signature]


def read_messages(stream, found):
    """Puts each message of a capture into a queue, and None at its end."""
    stream.read(24)
    while len(header := stream.read(16)) == 16:
        found.put(Message(stream.read(struct.unpack("<4I", header)[2])))
    found.put(None)


def watch(monitor, program):
    """All messages of the calling convention that the program sends, and its process id."""
    found = queue.Queue()
    threading.Thread(target=read_messages, args=(monitor.stdout, found), daemon=True).start()
    address = os.environ["DBUS_SYSTEM_BUS_ADDRESS"]
    ping = ["dbus-send", f"--bus={address}", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/",
            "org.freedesktop.DBus.Peer.Ping"]

    def is_ping(message):
        return message is not None and message.fields.get(Message.MEMBER) == "Ping"

    for _ in range(BOUND * 10):  # until the monitor is one
        subprocess.run(ping, check=True)
        try:
            if is_ping(found.get(timeout=0.1)):
                break
        except queue.Empty:
            continue
    else:
        sys.exit("dbus-monitor sees nothing")
    caller = subprocess.Popen(program)
    if caller.wait(timeout=BOUND) != 0:
        sys.exit(f"{program[-1]}: exit status {caller.returncode}")
    subprocess.run(ping, check=True)
    calls = []
    while True:
        message = found.get(timeout=BOUND)
        if message is None:
            sys.exit("dbus-monitor ended")
        if is_ping(message) and calls:
            return calls, caller.pid
        if message.fields.get(Message.MEMBER) == "MethodCall":
            calls.append(message)


def check_call(operation, bus_name, call, pid, program_name):
    """What is wrong with a call, as texts."""
    header, length, process_id, *rest = call.body
    expected = (ONE_WAY if operation.may_be_one_way else 0) | (HELLO if program_name else 0)
    payload = rest.pop() if rest and isinstance(rest[-1], bytes) else b""
    for what, seen, wanted in (
        ("interface", call.fields.get(Message.INTERFACE), bus_name),
        ("object", call.fields.get(Message.PATH), "/com/kelvora/Object"),
        ("types", call.fields.get(Message.SIGNATURE), "iii" + ("s" if program_name else "") + "ay"),
        ("flags", header >> 16, expected),
        ("no reply expected", call.flags & NO_REPLY, expected & ONE_WAY),
        ("length", length, len(payload)),
        ("process id", process_id, pid),
        ("program", rest, [program_name] if program_name else []),
    ):
        if seen != wanted:
            yield f"{what}: {seen} instead of {wanted}"
    try:
        tree = argument_tree.read(payload)
        sent = [argument for argument in operation.arguments if argument.sent]
        if tree.tag != operation.id:
            yield f"root's tag: {tree.tag}"
        if [node.tag for node in tree.children] != [argument.position for argument in sent]:
            yield f"arguments: {[node.tag for node in tree.children]}"
        for argument, node in zip(sent, tree.children):
            argument_tree.check(argument.kind, node)
    except argument_tree.TreeError as error:
        yield str(error)


def main():
    bus_names, operations = encode.operations()
    program = sys.argv[1:]  # with an emulator before it, where it needs one
    rules = ["type='method_call',member='MethodCall'", "type='method_call',member='Ping'"]
    monitor = subprocess.Popen(["dbus-monitor", "--address", os.environ["DBUS_SYSTEM_BUS_ADDRESS"], "--pcap", *rules],
                               stdout=subprocess.PIPE)
    try:
        calls, pid = watch(monitor, program)
    finally:
        monitor.terminate()
        monitor.wait()
    wanted = {(bus_names[operation.interface], operation.id): operation for operation in operations}
    errors, hello = [], os.path.basename(program[-1])[:15]
    for call in calls:
        key = (call.fields.get(Message.DESTINATION), call.body[0] & 0xFFFF)
        operation = wanted.pop(key, None)
        if operation is None:
            errors.append(f"{key} is not to be sent, or was sent twice")
            continue
        errors += [f"{operation.interface} {operation.id} {operation.name}: {error}"
                   for error in check_call(operation, key[0], call, pid, hello)]
        hello = None
    errors += [f"{operation.interface} {operation.id} {operation.name}: not seen" for operation in wanted.values()]
    print(f"{len(calls)} calls of {len(operations)} operations seen")
    if errors:
        sys.exit("\n".join(errors))


if __name__ == "__main__":
    main()
