#!/usr/bin/env python3
"""A CI daemon that shares nothing with the library but docs/protocol.md: answers three operations to cictl.

Usage: foreign_daemon.py CICTL [FILE]    on the bus of DBUS_SYSTEM_BUS_ADDRESS; ends 0 when cictl understood every answer
                                         FILE: cictl records them there
       foreign_daemon.py --ask CICTL     only asks: somebody else is to give the same answers
"""
import json
import os
import struct
import subprocess
import sys
import tempfile
import threading

import dbus
import dbus.lowlevel
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

NAME = "com.kelvora.ciapi.ICIGeneral"
LEAF, LIST, MAP = 1, 2, 3


def node(kind, tag, content):
    return struct.pack("=BBHI", kind, 0, tag, len(content)) + content


def tree(tag, *arguments):
    return b"\x01\0\0\0" + node(LIST, tag, b"".join(arguments))


def integer(tag, value):
    return node(LEAF, tag, struct.pack("=i", value))


def text(tag, value):
    units = value.encode("utf-16-le" if sys.byteorder == "little" else "utf-16-be")
    field = node(LIST, 0, node(LEAF, 0, units) if units else b"")
    return node(MAP, tag, field)


def children(content):
    while content:
        kind, zero, tag, size = struct.unpack_from("=BBHI", content)
        assert zero == 0 and kind in (LEAF, LIST, MAP)
        yield kind, tag, content[8:8 + size]
        content = content[8 + size:]


def read_tree(payload):
    assert payload[:4] == b"\x01\0\0\0"
    ((kind, tag, content),) = children(payload[4:])
    assert kind == LIST
    return tag, {argument: value for _, argument, value in children(content)}


def slot_status(arguments):
    assert struct.unpack("=I", arguments[2]) == (7,)
    entries = b"".join(node(LEAF, 0, bytes([slot])) + node(LEAF, 0, struct.pack("=i", status))
                       for slot, status in ((0, 1), (3, 0)))
    return integer(0, 1), node(LIST, 1, entries)


def application_info(arguments):
    assert arguments[1] == b"\x03"
    return integer(0, 1), integer(2, 2), text(3, "Fremdes CAM \u00fc"), text(4, "")


def enter_menu(arguments):
    return (integer(0, 0 if arguments[1] == b"\x09" else 1),)


OPERATIONS = {0: slot_status, 10: application_info, 11: enter_menu}


def answer(connection, message):
    if message.get_type() != 1 or message.get_member() != "MethodCall":
        return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
    arguments = message.get_args_list(byte_arrays=True)
    flags, method = arguments[0] >> 16, arguments[0] & 0xFFFF
    assert message.get_path() == "/com/kelvora/Object" and message.get_interface() == NAME
    assert message.get_signature() == "iii" + ("s" if flags & 2 else "") + "ay"
    payload = bytes(arguments[-1])
    assert arguments[1] == len(payload)
    tag, values = read_tree(payload)
    assert tag == method
    reply = tree(method, *OPERATIONS[method](values))
    out = dbus.lowlevel.MethodReturnMessage(message)
    out.append(dbus.Byte(1), dbus.Int32(len(reply)), dbus.ByteArray(reply), signature="yiay")
    connection.send_message(out)
    return dbus.lowlevel.HANDLER_RESULT_HANDLED


def ask(cictl, *call):
    done = subprocess.run([cictl, "call", "--json", *call], stdout=subprocess.PIPE, timeout=30)
    print(call, done.returncode, done.stdout.decode().strip(), flush=True)
    answered = json.loads(done.stdout)
    return done.returncode, {key: answered[key] for key in ("result", "outputs") if key in answered}


def check(cictl):
    assert ask(cictl, "ICIGeneral.GetCiSlotStatus", "selection=7") == (0, {
        "result": 1, "outputs": {"statuses": {"0": "CAM_STATUS_READY", "3": "CAM_STATUS_NO_CAM"}}})
    assert ask(cictl, "ICIGeneral.GetApplicationInfo", "slot=3") == (0, {
        "result": 1, "outputs": {"applicationType": "CI_APPLICATION_TYPE_EPG", "firstText": "Fremdes CAM \u00fc",
                                 "secondText": ""}})
    assert ask(cictl, "ICIGeneral.EnterMenu", "slot=9")[0] == 1
    assert ask(cictl, "ICIGeneral.EnterMenu", "slot=1")[0] == 0


def check_recorded(cictl, file):
    recorder = subprocess.Popen([cictl, "trace", "--record", file], stderr=subprocess.PIPE)
    try:
        assert b"tracing" in recorder.stderr.readline()
        check(cictl)
    finally:
        recorder.terminate()
        recorder.wait(30)


def main():
    if sys.argv[1] == "--ask":
        check(sys.argv[2])
        return 0
    DBusGMainLoop(set_as_default=True)
    with tempfile.TemporaryDirectory() as folder:
        keys = os.path.join(folder, "keys")
        with open(keys, "w") as file:
            file.write("[com.kelvora/featureconf]\nproduct.num_of_ci=4\nbroadcasting.ci.support=true\n"
                       "broadcasting.certification.ci=true\nbroadcasting.tvs_supported=true\n")
        os.environ["TVPLATFORM_SYSTEM_INFO"] = keys
        os.environ["CIAPI_DAEMON_READY_FILE"] = keys
        bus = dbus.SystemBus()
        bus.add_message_filter(answer)
        name = dbus.service.BusName(NAME, bus)
        loop = GLib.MainLoop()
        status = []

        def run():
            try:
                check(sys.argv[1]) if len(sys.argv) == 2 else check_recorded(*sys.argv[1:])
                status.append(0)
            finally:
                GLib.idle_add(loop.quit)

        threading.Thread(target=run).start()
        loop.run()
        del name
        return status[0] if status else 1


if __name__ == "__main__":
    sys.exit(main())
